// Work that would hold up the first paint of a long document runs after it:
// code colouring, math typesetting and diagrams. Blocks near the viewport go
// first, the rest in idle time, in the order they arrived. The blocks near
// the viewport are found by a binary search over the container's children
// (chunks first in a long document): observing every target would cost the
// browser work on each frame for each of tens of thousands of them.
import katex from 'katex';
import { blocksIn, isChunked, nextBlock } from './chunks.js';
import { highlightCode } from './highlight.js';
import { renderDiagram } from './diagrams.js';
import { hiddenParts } from './wide.js';

const TARGETS = 'pre, .math, .mermaid-diagram';
// Work done in one go when idle: short, so that a render asked for meanwhile
// (a keystroke in the editor) does not wait behind it.
const IDLE_SLICE_MS = 8;

/** Index of the first of `elements` whose bottom is at or below `y` (the last when none is). */
function firstEndingBelow(elements, y) {
  let lo = 0;
  let hi = elements.length - 1;
  while (lo < hi) {
    const mid = (lo + hi) >> 1;
    if (elements[mid].getBoundingClientRect().bottom < y) lo = mid + 1;
    else hi = mid;
  }
  return lo;
}

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
    // What is rendered, not every text node: a hidden span must not reach the clipboard.
    let text = code ? (code.innerText ?? code.textContent) : '';
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

const NEAR_PX = 800;
const VISIBLE_BUDGET_MS = 12;

/**
 * @param {{container: Element, post: Function, isDark: () => boolean, onError: (err: unknown) => void}} options
 */
export function createEnhancer({ container, post, isDark, onError }) {
  const pending = new Map(); // top-level block -> its targets, in arrival order
  const diagrams = new Set();
  let idle = 0;
  let frame = 0;
  let held = false; // while a long document is still arriving, only what is in view

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

  function runBlock(block) {
    const targets = pending.get(block);
    if (!targets) return;
    pending.delete(block);
    if (!block.isConnected) return;
    for (const el of targets) {
      try {
        work(el);
      } catch (err) {
        onError(err);
      }
    }
  }

  /** Top-level blocks within NEAR_PX of the viewport, top to bottom. */
  function nearViewport() {
    if (pending.size === 0) return [];
    const low = -NEAR_PX;
    const high = window.innerHeight + NEAR_PX;
    let blocks = container.children;
    if (isChunked(container)) {
      const chunk = blocks[firstEndingBelow(blocks, low)];
      blocks = chunk ? blocksIn(chunk) : [];
    }
    const out = [];
    for (let block = blocks[firstEndingBelow(blocks, low)]; block; block = nextBlock(block)) {
      if (block.getBoundingClientRect().top > high) break;
      out.push(block);
    }
    return out;
  }

  function runVisible() {
    const started = performance.now();
    for (const block of nearViewport()) {
      runBlock(block);
      if (performance.now() - started > VISIBLE_BUDGET_MS) {
        scheduleVisible();
        break;
      }
    }
  }

  function scheduleVisible() {
    if (frame || pending.size === 0) return;
    frame = requestAnimationFrame(() => {
      frame = 0;
      runVisible();
    });
  }

  window.addEventListener('scroll', scheduleVisible, { passive: true });
  window.addEventListener('resize', scheduleVisible);

  function scheduleIdle() {
    if (idle || held || pending.size === 0) return;
    const callback = (deadline) => {
      idle = 0;
      const started = performance.now();
      for (const block of pending.keys()) {
        if (performance.now() - started > IDLE_SLICE_MS || (!deadline.didTimeout && deadline.timeRemaining() < 2)) break;
        runBlock(block);
      }
      scheduleIdle();
    };
    idle = window.requestIdleCallback
      ? requestIdleCallback(callback, { timeout: 400 })
      : setTimeout(() => callback({ didTimeout: true, timeRemaining: () => 0 }), 16);
  }

  return {
    /**
     * Queue the enhanceable blocks inside freshly inserted top-level nodes; with
     * `soon` false they wait for the next pass near the viewport (a scroll).
     */
    add(nodes, soon = true) {
      for (const node of nodes) {
        if (node.nodeType !== 1) continue;
        const found = node.matches(TARGETS) ? [node] : [];
        // Cells of a wide table not shown yet are enhanced where they wait (wide.js).
        for (const root of [node, ...hiddenParts(node)]) for (const el of root.querySelectorAll(TARGETS)) if (!(el.tagName === 'PRE' && el.closest('.mermaid-diagram'))) found.push(el);
        if (found.length) pending.set(node, found);
      }
      if (!soon) return;
      scheduleVisible();
      scheduleIdle();
    },
    /** While held, only blocks near the viewport are enhanced. */
    hold(on) {
      held = !!on;
      if (!held) scheduleIdle();
    },
    /** Finish everything now (export, print). */
    async flush() {
      for (const block of Array.from(pending.keys())) runBlock(block);
      await Promise.all(Array.from(diagrams));
    },
    /** Redraw rendered diagrams in the current appearance. */
    async retheme(root) {
      const jobs = [];
      const theme = isDark() ? 'dark' : 'default';
      for (const el of root.querySelectorAll('.mermaid-diagram')) {
        let top = el;
        while (top.parentElement && top.parentElement !== container) top = top.parentElement;
        if (pending.has(top) || el.dataset.theme === theme) continue;
        jobs.push(renderDiagram(el, isDark()));
      }
      await Promise.all(jobs);
    },
    get pendingCount() {
      let n = 0;
      for (const list of pending.values()) n += list.length;
      return n;
    },
  };
}
