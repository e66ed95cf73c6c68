// The reader's view after a change on disk, over a stand-in for scrolling:
// tail at the bottom, follow changes off screen, find a place a short file lost.
import { test, before } from 'node:test';
import assert from 'node:assert/strict';
import { JSDOM } from 'jsdom';

let window;
let createChangeFollower;
const layout = { scrollY: 0, innerHeight: 500, scrollHeight: 5000 };

before(async () => {
  window = new JSDOM('<!doctype html><body></body>').window;
  Object.defineProperty(window, 'scrollY', { get: () => layout.scrollY });
  Object.defineProperty(window, 'innerHeight', { get: () => layout.innerHeight });
  Object.defineProperty(window.document.documentElement, 'scrollHeight', { get: () => layout.scrollHeight });
  globalThis.window = window;
  globalThis.document = window.document;
  ({ createChangeFollower } = await import('../src/follow.js'));
});

function setup() {
  const calls = [];
  let clock = 100000;
  let input = -Infinity;
  const scroll = {
    lastInput: () => input,
    topLine: () => layout.scrollY / 20,
    scrollToLine: (n) => calls.push(['line', n]),
    scrollToBottom: () => calls.push(['bottom']),
    scrollToElement: (el) => calls.push(['element', el.id]),
  };
  // The page's last block ends 500 px down the window.
  const container = window.document.createElement('main');
  container.appendChild(block('last', 460));
  const follower = createChangeFollower({ container, scroll, now: () => clock });
  return { follower, calls, advance: (ms) => (clock += ms), touch: () => (input = clock) };
}

/** A changed block at a viewport position. */
function block(id, top) {
  const el = window.document.createElement('p');
  el.id = id;
  el.getBoundingClientRect = () => ({ top, bottom: top + 40, height: 40, width: 600 });
  return el;
}

const TEXT = Array.from({ length: 250 }, (_, i) => `line ${i}`).join('\n');

test('tail, follow changes and the reader left alone', () => {
  const cases = [
    // name, scrollY, follow on, ms since the reader touched the page, changed blocks, left unmarked, expected calls
    ['at the bottom: tail', 4500, false, null, [block('new', 900)], true, [['bottom']]],
    ['at the bottom, following: still tail', 4500, true, null, [block('new', 900)], true, [['bottom']]],
    ['at the bottom, following, a change above: shown', 4500, true, null, [block('above', -2000)], false, [['element', 'above']]],
    ['at the bottom, a change above: tail', 4500, false, null, [block('above', -2000)], false, [['bottom']]],
    ['scrolled up: never moved', 1000, false, null, [block('new', 900)], false, []],
    ['following, change off screen: shown', 1000, true, null, [block('text', 0).appendChild(window.document.createTextNode('x')), block('far', 2000)], false, [['element', 'far']]],
    ['following, one change on screen: left alone', 1000, true, null, [block('far', 2000), block('near', 100)], false, []],
    ['following, reader touched the page a second ago', 1000, true, 1000, [block('far', 2000)], false, []],
    ['following, reader touched the page three seconds ago', 1000, true, 3000, [block('far', 2000)], false, [['element', 'far']]],
    ['following, nothing new (lines removed)', 1000, true, null, [], false, []],
  ];
  for (const [name, scrollY, follow, touchedAgo, changed, unmarked, expected] of cases) {
    const { follower, calls, advance, touch } = setup();
    follower.setFollowChanges(follow);
    if (touchedAgo !== null) {
      touch();
      advance(touchedAgo);
    }
    layout.scrollY = scrollY;
    const view = follower.before(TEXT);
    assert.equal(follower.isTailed(view, changed), unmarked, name);
    follower.after(view, TEXT + '\nmore', 251, changed);
    assert.deepEqual(calls, expected, name);
  }
});

test('a place lost to a truncated file is found again once the text above it is back', () => {
  const cases = [
    // name, what the file holds after it was emptied, expected calls after that
    ['rewritten the same', [TEXT], [['line', 100]]],
    ['rewritten in two writes', [TEXT.slice(0, 600), TEXT], [['line', 100]]],
    ['rewritten the same with more after', [TEXT + '\nnew'], [['line', 100]]],
    ['rewritten with other text above the place', [TEXT.replace('line 3\n', 'changed\n')], []],
  ];
  for (const [name, writes, expected] of cases) {
    const { follower, calls } = setup();
    layout.scrollY = 2000; // line 100 of 250, not at the bottom
    let shown = TEXT;
    let view = follower.before(shown);
    layout.scrollY = 0;
    layout.scrollHeight = 0; // the emptied page
    follower.after(view, '', 0, []);
    for (const text of writes) {
      view = follower.before(shown);
      shown = text;
      const total = text.split('\n').length;
      layout.scrollHeight = total * 20;
      follower.after(view, text, total, []);
    }
    layout.scrollHeight = 5000;
    assert.deepEqual(calls, expected, name);
  }
});
