// What a change made on disk by another program does to the reader's view.
// A reader at the bottom stays at the bottom, however the page grows (tail).
// With "follow changes" on, the first changed block is brought into view when
// none is on screen (for a reader at the bottom: when it lies above them),
// unless the reader touched the page a moment ago. A reader
// whose place vanished because the file was briefly shorter (truncated, then
// written again) is brought back to it once the text above it is back.
// Anyone else is never moved.

import { edgeBlock } from './chunks.js';

const TOUCH_QUIET_MS = 2000;
// A place lost to a short file is looked for this long.
const LOST_PLACE_MS = 30000;
const BOTTOM_SLACK_PX = 8;

function lineOffset(text, line) {
  let at = 0;
  for (let n = 0; n < line; n++) {
    at = text.indexOf('\n', at);
    if (at < 0) return -1;
    at += 1;
  }
  return at;
}

function onScreen(node) {
  const rect = node.getBoundingClientRect();
  return rect.bottom > 0 && rect.top < window.innerHeight && (rect.height > 0 || rect.width > 0);
}

/**
 * @param {{container: Element, scroll: {topLine: () => number, lastInput: () => number, scrollToLine: (n: number) => void,
 *   scrollToBottom: () => void, scrollToElement: (el: Element, room: number) => void},
 *   now?: () => number}} options
 */
export function createChangeFollower({ container, scroll, now = () => performance.now() }) {
  let followChanges = false;
  let lost = null; // {line, prefix, at}

  // A quarter down the window, with what came before it still in sight.
  const show = (element) => scroll.scrollToElement(element, window.innerHeight / 4);

  function atBottom() {
    const root = document.documentElement;
    return window.scrollY + window.innerHeight >= root.scrollHeight - BOTTOM_SLACK_PX;
  }

  return {
    setFollowChanges(on) {
      followChanges = !!on;
    },

    /** The view before an outside change replaces `text`. */
    before(text) {
      const last = edgeBlock(container, true);
      const end = last ? last.getBoundingClientRect().bottom + window.scrollY : 0;
      return { atBottom: atBottom(), line: scroll.topLine(), text, end };
    },

    /**
     * Whether the change needs no mark: text added past the end of the page
     * for a reader at the bottom, who is taken to it. A mark on every write of a
     * stream would keep the page repainting for as long as the stream lasts.
     */
    isTailed(view, changed) {
      const first = view?.atBottom ? changed.find((node) => node.nodeType === 1) : null;
      return !!first && first.getBoundingClientRect().top + window.scrollY >= view.end - 1;
    },

    /** After the change: `text` now on the page in `total` lines, `changed` its new nodes. */
    after(view, text, total, changed) {
      if (lost && scroll.lastInput() > lost.at) lost = null; // the reader has moved on
      if (lost) {
        if (now() - lost.at > LOST_PLACE_MS) lost = null;
        else if (total <= lost.line) return; // not back yet: the page's bottom is no place to tail
        else {
          const { line, prefix } = lost;
          lost = null;
          // Other text above it: the place is gone, but a reader who was not at
          // the bottom is not taken there either.
          if (text.startsWith(prefix)) scroll.scrollToLine(line);
          return;
        }
      }
      const elements = changed.filter((node) => node.nodeType === 1);
      const following = followChanges && now() - scroll.lastInput() >= TOUCH_QUIET_MS && elements.length > 0 && !elements.some(onScreen);
      if (view.atBottom) {
        // What grows below is tailed; a change above the reader is shown when changes are followed.
        if (following && elements[0].getBoundingClientRect().top < 0) show(elements[0]);
        else scroll.scrollToBottom();
        return;
      }
      if (view.line >= 1 && total <= view.line) {
        // The place is gone for now: remember it, and what stood above it.
        const end = lineOffset(view.text, Math.floor(view.line));
        if (end >= 0) lost = { line: view.line, prefix: view.text.slice(0, end), at: now() };
        return;
      }
      if (following) show(elements[0]);
    },
  };
}
