// The page's modules in a jsdom window: observers that never fire, no media
// queries, a scroll position the tests move, and a fake layout in which every
// source line is 20px tall and an element without lines (a chunk, the
// container) spans its annotated contents.
import { JSDOM, VirtualConsole } from 'jsdom';

export function installWindow(body = '') {
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
  // Taller than the window: a reader at the top is not at the bottom.
  Object.defineProperty(window.document.documentElement, 'scrollHeight', { get: () => 100000, configurable: true });
  window.scrollTo = (x, y) => {
    scrollY = Math.max(0, typeof x === 'object' ? x.top : y);
  };
  window.Element.prototype.getBoundingClientRect = function rect() {
    const first = this.hasAttribute('data-line') ? this : this.querySelector('[data-line]');
    const all = this.querySelectorAll('[data-line-end]');
    const last = this.hasAttribute('data-line') ? this : all[all.length - 1];
    if (!first) return { top: 0, bottom: 0, height: 0, width: 0 };
    const top = Number(first.getAttribute('data-line')) * 20 - scrollY;
    const bottom = Number(last.getAttribute('data-line-end')) * 20 - scrollY;
    return { top, bottom, height: bottom - top, width: 600 };
  };
  for (const name of ['window', 'document', 'NodeFilter', 'HTMLInputElement', 'CustomEvent', 'getComputedStyle', 'requestAnimationFrame', 'cancelAnimationFrame', 'IntersectionObserver', 'ResizeObserver', 'XMLSerializer', 'Image']) {
    Object.defineProperty(globalThis, name, { value: name === 'window' ? window : window[name], configurable: true, writable: true });
  }
  return window;
}
