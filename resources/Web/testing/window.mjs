// The page's modules in a jsdom window: observers that never fire, no media
// queries, a scroll position the tests move, and a fake layout in which every
// source line is 20px tall, an inline element and text stand on their block's
// lines, and an element without lines (a chunk, the container) spans its
// annotated contents. Lines are those readers see (lines.js): where the
// blocks stand, whatever attributes an edit left them.
import { JSDOM, VirtualConsole } from 'jsdom';
import { lineOf } from '../src/lines.js';

export function installWindow(body = '', { height } = {}) {
  const { window } = new JSDOM(`<!doctype html><html><head></head><body>${body}</body></html>`, {
    url: 'file:///usr/share/lumo/Web/index.html',
    pretendToBeVisual: true,
    virtualConsole: new VirtualConsole(),
  });
  class Observer {
    observe() {}
    unobserve() {}
    disconnect() {}
  }
  window.IntersectionObserver = Observer;
  window.ResizeObserver = Observer;
  window.matchMedia = () => ({ matches: false, addEventListener() {} });
  let scrollY = 0;
  Object.defineProperty(window, 'scrollY', { get: () => scrollY, configurable: true });
  if (height) Object.defineProperty(window, 'innerHeight', { get: () => height, configurable: true });
  // Taller than the window: a reader at the top is not at the bottom.
  Object.defineProperty(window.document.documentElement, 'scrollHeight', { get: () => 100000, configurable: true });
  window.scrollTo = (x, y) => {
    scrollY = Math.max(0, typeof x === 'object' ? x.top : y);
  };
  // The lines an element spans: its block's, or those of the blocks it holds.
  const lines = (el) => {
    const block = el.closest('[data-line]');
    const first = block ?? el.querySelector('[data-line]');
    const all = el.querySelectorAll('[data-line-end]');
    const last = block ?? all[all.length - 1];
    return first ? [lineOf(first), lineOf(last, 'data-line-end')] : null;
  };
  const rect = (span) => {
    if (!span) return { top: 0, bottom: 0, height: 0, width: 0 };
    const [top, bottom] = [span[0] * 20 - scrollY, span[1] * 20 - scrollY];
    return { top, bottom, height: bottom - top, width: 600 };
  };
  window.Element.prototype.getBoundingClientRect = function elementRect() {
    return rect(lines(this));
  };
  // Text sits on the first line of its block.
  window.Range.prototype.getBoundingClientRect = function rangeRect() {
    const line = lines(this.startContainer.parentElement)[0];
    return rect([line, line + 1]);
  };
  for (const name of ['window', 'document', 'NodeFilter', 'CustomEvent', 'getComputedStyle', 'requestAnimationFrame', 'cancelAnimationFrame', 'IntersectionObserver', 'ResizeObserver', 'XMLSerializer', 'Image']) {
    Object.defineProperty(globalThis, name, { value: name === 'window' ? window : window[name], configurable: true, writable: true });
  }
  return window;
}
