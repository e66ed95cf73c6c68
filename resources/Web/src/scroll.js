// Source line <-> vertical position. Every element with data-line gives two
// points, (first line, top) and (end line, bottom); between points the
// mapping is linear, so fractional lines land inside a block in proportion.
import { blocksIn, isChunked, previousBlock } from './chunks.js';
import { footnoteSection, isRun, itemGroups, itemLine, nextItem } from './footnotes.js';
import { lineOf } from './lines.js';

/** Builds a monotone list of [line, y] points from annotated elements. */
export function buildPoints(elements, scrollY = 0) {
  const points = [[0, 0]];
  for (const el of elements) {
    const start = lineOf(el);
    const end = lineOf(el, 'data-line-end');
    if (!Number.isFinite(start) || !Number.isFinite(end)) continue;
    const rect = el.getBoundingClientRect();
    if (rect.width === 0 && rect.height === 0) continue; // hidden (closed <details>, display:none)
    const top = rect.top + scrollY;
    points.push([start, top], [Math.max(start, end), top + rect.height]);
  }
  points.sort((a, b) => a[0] - b[0] || a[1] - b[1]);
  // Overlapping blocks (floats, odd raw HTML) can break monotony; flatten it.
  for (let i = 1; i < points.length; i++) if (points[i][1] < points[i - 1][1]) points[i][1] = points[i - 1][1];
  return points;
}

/** y of a fractional source line: the top of the content that starts there. */
export function lineToY(points, line) {
  if (!(line > 0) || points.length < 2) return 0;
  let lo = 0;
  let hi = points.length - 1;
  if (line >= points[hi][0]) return points[hi][1];
  while (lo < hi) {
    const mid = (lo + hi + 1) >> 1;
    if (points[mid][0] <= line) lo = mid;
    else hi = mid - 1;
  }
  const [l0, y0] = points[lo];
  const [l1, y1] = points[lo + 1];
  return l1 === l0 ? y0 : y0 + ((line - l0) / (l1 - l0)) * (y1 - y0);
}

/** Fractional source line shown at height y. */
export function yToLine(points, y) {
  if (points.length < 2 || !(y > 0)) return 0;
  let lo = 0;
  let hi = points.length - 1;
  if (y >= points[hi][1]) return points[hi][0];
  while (lo < hi) {
    const mid = (lo + hi + 1) >> 1;
    if (points[mid][1] <= y) lo = mid;
    else hi = mid - 1;
  }
  const [l0, y0] = points[lo];
  const [l1, y1] = points[lo + 1];
  return y1 === y0 ? l0 : l0 + ((y - y0) / (y1 - y0)) * (l1 - l0);
}

// The page is searched block by block: of the container's children only a
// few are measured per question, and only the block asked about is measured
// inside. A long document lays out only the chunks near the viewport (see
// chunks.js): its chunks are searched first, then the blocks of one chunk,
// so that a question lays out at most that chunk.

/** Source line a top-level block starts at: its own, or that of the first annotated element inside raw HTML. */
function blockLine(el) {
  if (el.nodeType !== 1) return NaN;
  if (el.hasAttribute('data-line')) return lineOf(el);
  if (el.classList.contains('footnotes')) return NaN; // definitions from anywhere in the text
  const inner = el.querySelector('[data-line]');
  return inner ? lineOf(inner) : NaN;
}

/** The line a chunk starts at: that of its first annotated block. */
function chunkLine(chunk) {
  const blocks = blocksIn(chunk);
  const i = nextAnnotated(blocks, 0, 1);
  return i < 0 ? NaN : blockLine(blocks[i]);
}

function nextAnnotated(blocks, i, step, startOf = blockLine) {
  for (; i >= 0 && i < blocks.length; i += step) if (Number.isFinite(startOf(blocks[i]))) return i;
  return -1;
}

/** The first annotated block after the chunk at `i`. */
function firstAnnotatedAfter(chunks, i) {
  for (let c = i + 1; c < chunks.length; c++) {
    const at = nextAnnotated(blocksIn(chunks[c]), 0, 1);
    if (at >= 0) return chunks[c].children[at];
  }
  return null;
}

/** Points of block i (its inside included) and of the next annotated block (`after` past the last). */
function pointsAround(blocks, i, scrollY, after) {
  const el = blocks[i];
  const elements = el.hasAttribute('data-line') ? [el] : [];
  for (const inner of el.querySelectorAll('[data-line]')) elements.push(inner);
  const next = nextAnnotated(blocks, i + 1, 1);
  if (next >= 0) elements.push(blocks[next]);
  else if (after) elements.push(after);
  return buildPoints(elements, scrollY);
}

/** The last annotated element of `blocks` starting at or before `line`, or -1. */
function lastAtLine(blocks, line, startOf = blockLine) {
  let lo = 0;
  let hi = blocks.length - 1;
  let found = -1;
  while (lo <= hi) {
    const mid = (lo + hi) >> 1;
    const at = nextAnnotated(blocks, mid, 1, startOf);
    if (at < 0 || at > hi) {
      hi = mid - 1;
    } else if (startOf(blocks[at]) <= line) {
      found = at;
      lo = at + 1;
    } else hi = mid - 1;
  }
  return found;
}

/** The last element of `blocks` whose top is at or above `y` (viewport coordinates); 0 when none is. */
function lastAtY(blocks, y) {
  let lo = 0;
  let hi = blocks.length - 1;
  while (lo < hi) {
    const mid = (lo + hi + 1) >> 1;
    if (blocks[mid].getBoundingClientRect().top <= y) lo = mid;
    else hi = mid - 1;
  }
  return lo;
}

/** The blocks to search in for a question, and the annotated block that follows them. */
function scope(container, pick) {
  const children = container.children;
  if (!isChunked(container)) return { blocks: children, after: null };
  const c = pick(children);
  if (c < 0) return { blocks: [], after: null };
  return { blocks: blocksIn(children[c]), after: firstAnnotatedAfter(children, c) };
}

// The footnote section holds definitions from anywhere in the text, in the
// order of their first reference. From the page, a place in it is the line of
// the definition shown there. From the text, a line of a definition written
// after the text's last block (the usual place) shows it in the section; one of
// a definition amid the text stays with the text around it, so that following
// the text never jumps to the end of the page and back; a page showing that
// definition stays where it is (`keepsNote`), so that switching to the text
// and back leaves it there.

/** The line the text before the footnote section ends at: that of its last annotated block. */
function bodyEnd(section) {
  for (let el = previousBlock(section); el; el = previousBlock(el)) {
    const end = el.hasAttribute('data-line-end') ? el : Array.from(el.querySelectorAll('[data-line-end]')).at(-1);
    if (end) return lineOf(end, 'data-line-end');
  }
  return 0;
}

/** The item standing at height y (viewport coordinates), or null above the first. */
function itemAtY(section, y) {
  const list = section.querySelector(':scope > ol.footnotes-list');
  let items = list ? list.children : [];
  if (isRun(items[0])) items = items[lastAtY(items, y)].children;
  if (!items.length) return null;
  const item = items[lastAtY(items, y)];
  return item.getBoundingClientRect().top <= y ? item : null;
}

/** The start of the next definition when it follows right after `item`'s in the text, or null. */
function joinedNext(item, end) {
  const first = nextItem(item)?.querySelector('[data-line]');
  const gap = first ? lineOf(first) - end : NaN;
  return gap >= 0 && gap <= 1 ? first : null;
}

// How far above its end line a definition's bottom stands: the line after
// it is the text's, and the top line is reported to a thousandth.
const ABOVE_END = 0.001;

/**
 * Source line at height y inside the footnote section; null above its first
 * item. Between two definitions that follow each other in the text, the lines
 * between them. Below the text of one far from the next (definitions amid the
 * text), none of the text after it shows: inside its item, still its own last
 * line; in the space between the items, the next one's first.
 */
function notesYToLine(section, y, scrollY) {
  const item = itemAtY(section, y - scrollY);
  if (!item) return null;
  const end = itemEnd(item);
  const elements = Array.from(item.querySelectorAll('[data-line]'));
  const joined = joinedNext(item, end);
  if (joined) return yToLine(buildPoints([...elements, joined], scrollY), y);
  const next = nextItem(item);
  if (next && y - scrollY >= item.getBoundingClientRect().bottom && Number.isFinite(itemLine(next))) return itemLine(next);
  return Math.min(yToLine(buildPoints(elements, scrollY), y), end - ABOVE_END);
}

function itemEnd(item) {
  return Math.max(...Array.from(item.querySelectorAll('[data-line-end]'), (el) => lineOf(el, 'data-line-end')));
}

/** Whether the window shows the definition amid the text that `line` is in. */
function keepsNote(container, line) {
  const section = footnoteSection(container);
  if (!section || section.getBoundingClientRect().top >= window.innerHeight) return false;
  const floor = bodyEnd(section);
  let item = itemAtY(section, 0) ?? itemGroups(section)[0]?.[0];
  for (; item && item.getBoundingClientRect().top < window.innerHeight; item = nextItem(item)) {
    const start = itemLine(item);
    if (start <= line && line <= itemEnd(item) && start < floor) return true;
  }
  return false;
}

/** y of a line inside a definition after the text (the last one starting at or before it), or null. */
function notesLineToY(section, line, scrollY) {
  const floor = bodyEnd(section);
  if (!(line >= floor)) return null;
  // Definitions stand in the order of their references, not of the text: every one is read (no layout).
  let found = null;
  let best = -Infinity;
  for (const items of itemGroups(section)) {
    for (const item of items) {
      const at = itemLine(item);
      if (at >= floor && at <= line && at > best) [found, best] = [item, at];
    }
  }
  return found ? lineToY(buildPoints(found.querySelectorAll('[data-line]'), scrollY), line) : null;
}

/** y of a fractional source line in a container of blocks. */
export function lineToPageY(container, line, scrollY = 0) {
  const notes = footnoteSection(container);
  const y = notes ? notesLineToY(notes, line, scrollY) : null;
  if (y !== null) return y;
  const { blocks, after } = scope(container, (chunks) => Math.max(0, lastAtLine(chunks, line, chunkLine)));
  const i = lastAtLine(blocks, line);
  if (i < 0) return 0;
  return lineToY(pointsAround(blocks, i, scrollY, after), line);
}

/** Fractional source line at height y of a container of blocks. */
export function pageYToLine(container, y, scrollY = 0) {
  const { blocks, after } = scope(container, (chunks) => (chunks.length ? lastAtY(chunks, y - scrollY) : -1));
  const at = blocks.length ? lastAtY(blocks, y - scrollY) : -1;
  const notes = at >= 0 && blocks[at] === footnoteSection(container) ? notesYToLine(blocks[at], y, scrollY) : null;
  if (notes !== null) return notes;
  const i = at >= 0 ? nextAnnotated(blocks, at, -1) : -1;
  if (i < 0) return 0;
  return yToLine(pointsAround(blocks, i, scrollY, after), y);
}

// A scroll this soon after the reader's own input in the page is theirs.
const USER_SCROLL_MS = 800;

/**
 * Wires the window's scrolling to the native side: reports the top line once
 * per frame while the page scrolls, never for scrolls it made itself, saying
 * whether the reader's input moved it (rather than layout, find or a render).
 */
export function createScrollSync({ container, post }) {
  let ownScrollY = NaN;
  let ownScrollAt = 0;
  let frame = 0;
  let settle = 0;
  let inputAt = -Infinity;
  let pressed = false;
  // Only the reader's own input ends a follow: the engine's scroll anchoring also
  // moves the page while blocks take their height, and must not.
  const noteInput = () => {
    inputAt = performance.now();
    cancelAnimationFrame(settle);
    settle = 0;
  };
  for (const type of ['wheel', 'touchstart', 'keydown', 'mousedown']) {
    window.addEventListener(type, noteInput, { passive: true, capture: true });
  }
  // A scrollbar dragged for a while is still the reader's doing.
  window.addEventListener('mousedown', () => (pressed = true), { passive: true, capture: true });
  window.addEventListener('mouseup', () => (pressed = false), { passive: true, capture: true });
  const byReader = () => pressed || performance.now() - inputAt < USER_SCROLL_MS;

  window.addEventListener(
    'scroll',
    () => {
      if (Math.abs(window.scrollY - ownScrollY) < 1 && performance.now() - ownScrollAt < 1000) {
        ownScrollY = NaN;
        return;
      }
      ownScrollY = NaN;
      if (frame) return;
      frame = requestAnimationFrame(() => {
        frame = 0;
        const line = Math.round(pageYToLine(container, window.scrollY, window.scrollY) * 1000) / 1000;
        post({ type: 'topLine', line, user: byReader() });
      });
    },
    { passive: true },
  );

  function scrollToY(y) {
    const before = window.scrollY;
    window.scrollTo({ top: Math.round(y), behavior: 'instant' });
    if (window.scrollY !== before) {
      ownScrollY = window.scrollY;
      ownScrollAt = performance.now();
    }
  }

  // Blocks laid out for the first time when they come into view change their
  // height, and with it where a target is: follow it for the next few frames.
  // Ends once the target has held still for a few frames, or after a second.
  function follow(targetY, scroll) {
    cancelAnimationFrame(settle);
    scroll(targetY());
    let frames = 60;
    let still = 0;
    const check = () => {
      settle = 0;
      const y = targetY();
      if (Math.abs(y - window.scrollY) >= 1) {
        scroll(y);
        still = 0;
      } else {
        still += 1;
      }
      if (still < 4 && --frames > 0) settle = requestAnimationFrame(check);
    };
    settle = requestAnimationFrame(check);
  }

  // End lands on blocks that take their real height only once they are in view,
  // which pushes the bottom further down: keep to it while they settle.
  window.addEventListener('keydown', (e) => {
    if (e.key !== 'End' || e.shiftKey || e.altKey || e.metaKey || e.defaultPrevented) return;
    const field = 'input, textarea, select, [contenteditable]';
    if (e.target instanceof Element && e.target.closest(field)) return;
    requestAnimationFrame(() => sync.scrollToBottom());
  });

  const sync = {
    /** When the reader last used the wheel, a key, the mouse or a finger in the page (performance.now()). */
    lastInput() {
      return inputAt;
    },
    scrollToLine(line) {
      const n = Number(line);
      if (!Number.isFinite(n) || keepsNote(container, n)) return;
      follow(() => lineToPageY(container, n, window.scrollY), scrollToY);
    },
    topLine() {
      return pageYToLine(container, window.scrollY, window.scrollY);
    },
    /** To the end of the page, following it while the blocks near it take their height. */
    scrollToBottom() {
      follow(
        () => document.documentElement.scrollHeight - window.innerHeight,
        (y) => window.scrollTo({ top: Math.round(y), behavior: 'instant' }),
      );
    },
    /** To a page y that moves while the chunks above it take their height (a find hit). */
    follow(targetY) {
      follow(targetY, (y) => window.scrollTo({ top: Math.round(y), behavior: 'instant' }));
    },
    /** `room`: how far below the top of the window the element is to stand. */
    scrollToElement(el, room = 0) {
      // A jump the user asked for: the native side hears the new top line.
      const margin = (parseFloat(getComputedStyle(el).scrollMarginTop) || 0) + room;
      follow(
        () => el.getBoundingClientRect().top + window.scrollY - margin,
        (y) => window.scrollTo({ top: Math.round(y), behavior: 'instant' }),
      );
    },
  };
  return sync;
}
