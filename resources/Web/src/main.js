// Entry point of the bundle (mv.js): builds the page object as window.mv and
// tells the native side when the page is ready.
import './polyfills.js';
import { post } from './bridge.js';
import { createPage } from './page.js';

window.addEventListener('error', (event) => {
  // Reported by the browser's own size bookkeeping for long documents (content-visibility); not a fault.
  if (String(event.message).includes('ResizeObserver loop')) {
    event.preventDefault(); // nor to the console
    return;
  }
  post({ type: 'error', message: String(event.message || event.error || 'Script error') });
});
window.addEventListener('unhandledrejection', (event) => {
  post({ type: 'error', message: String(event.reason?.message ?? event.reason) });
});

const container = document.querySelector('main.markdown');
// The converter's own bundle, put here by build.mjs: a page loaded from file://
// can start a Worker only from a Blob URL.
/* global LUMO_WORKER_SOURCE */
function startWorker() {
  const url = URL.createObjectURL(new Blob([LUMO_WORKER_SOURCE], { type: 'text/javascript' }));
  try {
    return new Worker(url, { name: 'lumo-convert' });
  } finally {
    URL.revokeObjectURL(url);
  }
}

const mv = createPage({ container, post, startWorker, dormant: true });
Object.defineProperty(window, 'mv', { value: Object.freeze(mv), enumerable: true });

let announced = false;
function ready() {
  if (announced) return;
  announced = true;
  post({ type: 'ready' });
}
if (document.readyState === 'complete') ready();
else window.addEventListener('load', ready, { once: true });
