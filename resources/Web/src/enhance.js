// Work that would hold up the first paint of a long document runs after it:
// code colouring, math typesetting and diagrams. Blocks near the viewport go
// first (IntersectionObserver), the rest in idle time, in document order.
import katex from 'katex';
import { highlightCode } from './highlight.js';
import { renderDiagram } from './diagrams.js';

const TARGETS = 'pre, .math, .mermaid-diagram';
const IDLE_BATCH_ON_TIMEOUT = 24;

export function renderMath(el) {
  const tex = el.textContent;
  el.setAttribute('data-tex', tex);
  katex.render(tex, el, {
    displayMode: el.classList.contains('math-display'),
    throwOnError: false,
    strict: 'ignore',
    trust: false,
    maxExpand: 1000,
  });
  el.classList.add('rendered');
}

function addCopyButton(pre, post) {
  const button = document.createElement('button');
  button.type = 'button';
  button.className = 'lumo-ui code-copy';
  button.textContent = 'Copy';
  button.setAttribute('aria-label', 'Copy code');
  button.addEventListener('click', () => {
    const code = pre.querySelector(':scope > code');
    let text = code ? code.textContent : '';
    if (!code) {
      const clone = pre.cloneNode(true);
      clone.querySelectorAll('.lumo-ui').forEach((n) => n.remove());
      text = clone.textContent;
    }
    post({ type: 'copy', text });
    button.textContent = 'Copied';
    button.classList.add('done');
    setTimeout(() => {
      button.textContent = 'Copy';
      button.classList.remove('done');
    }, 1200);
  });
  pre.append(button);
}

/**
 * @param {{post: Function, isDark: () => boolean, onError: (err: unknown) => void}} options
 */
export function createEnhancer({ post, isDark, onError }) {
  const pending = new Set();
  const diagrams = new Set();
  let idle = 0;

  const observer = new IntersectionObserver(
    (entries) => {
      for (const entry of entries) if (entry.isIntersecting) run(entry.target);
    },
    { rootMargin: '800px 0px' },
  );

  function work(el) {
    if (el.classList.contains('mermaid-diagram')) {
      const job = renderDiagram(el, isDark());
      diagrams.add(job);
      job.finally(() => diagrams.delete(job));
    } else if (el.classList.contains('math')) {
      renderMath(el);
    } else if (el.tagName === 'PRE' && !el.closest('.mermaid-diagram')) {
      addCopyButton(el, post);
      const code = el.querySelector(':scope > code');
      if (code) highlightCode(code);
    }
  }

  function run(el) {
    if (!pending.delete(el)) return;
    observer.unobserve(el);
    if (!el.isConnected) return;
    try {
      work(el);
    } catch (err) {
      onError(err);
    }
  }

  function scheduleIdle() {
    if (idle || pending.size === 0) return;
    const callback = (deadline) => {
      idle = 0;
      let budget = deadline.didTimeout ? IDLE_BATCH_ON_TIMEOUT : Infinity;
      for (const el of pending) {
        if (budget-- <= 0 || (!deadline.didTimeout && deadline.timeRemaining() < 2)) break;
        run(el);
      }
      scheduleIdle();
    };
    idle = window.requestIdleCallback
      ? requestIdleCallback(callback, { timeout: 400 })
      : setTimeout(() => callback({ didTimeout: true, timeRemaining: () => 0 }), 16);
  }

  return {
    /** Queue the enhanceable blocks inside freshly inserted nodes. */
    add(nodes) {
      for (const el of pending) if (!el.isConnected) pending.delete(el);
      for (const node of nodes) {
        if (node.nodeType !== 1) continue;
        const found = node.matches(TARGETS) ? [node] : [];
        for (const el of found.concat(Array.from(node.querySelectorAll(TARGETS)))) {
          if (el.tagName === 'PRE' && el.closest('.mermaid-diagram')) continue;
          pending.add(el);
          observer.observe(el);
        }
      }
      scheduleIdle();
    },
    /** Finish everything now (export, print). */
    async flush() {
      for (const el of Array.from(pending)) run(el);
      await Promise.all(Array.from(diagrams));
    },
    /** Redraw rendered diagrams in the current appearance. */
    async retheme(container) {
      const jobs = [];
      const theme = isDark() ? 'dark' : 'default';
      for (const el of container.querySelectorAll('.mermaid-diagram')) {
        if (pending.has(el) || el.dataset.theme === theme) continue;
        jobs.push(renderDiagram(el, isDark()));
      }
      await Promise.all(jobs);
    },
    get pendingCount() {
      return pending.size;
    },
  };
}
