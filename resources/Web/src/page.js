// The page object: every call the native side makes, and the messages the
// page sends back. Created once per page load by main.js; kept apart from it
// so tests can build one in a DOM of their own.
import { convert } from './markdown.js';
import { createSanitizer } from './sanitize.js';
import { patch, invalidate } from './patch.js';
import { createScrollSync } from './scroll.js';
import { createEnhancer } from './enhance.js';
import { createAppearance } from './appearance.js';
import { installDiagramMenu } from './diagrams.js';
import { exportHTML, localImages, richHTML } from './export.js';

const CHANGE_MARK_MS = 2400;

function errorMessage(err) {
  return String(err?.message ?? err);
}

/**
 * @param {{container: Element, post: (message: object) => void}} options
 */
export function createPage({ container, post }) {
  const sanitizer = createSanitizer(window);
  const scroll = createScrollSync({ container, post });
  let rev = 0;

  const enhancer = createEnhancer({
    post,
    isDark: () => appearance.isDark(),
    onError: (err) => post({ type: 'error', message: errorMessage(err) }),
  });
  const appearance = createAppearance({ onDarkChange: () => enhancer.retheme(container) });

  installDiagramMenu(container, post);

  container.addEventListener('click', (event) => {
    const target = event.target;
    if (target instanceof HTMLInputElement && target.classList.contains('task-list-item-checkbox')) {
      const item = target.closest('li[data-line]');
      if (!item) return;
      const block = topBlock(item);
      if (block) invalidate(block); // its DOM now differs from its source until the next render
      post({ type: 'toggleTask', line: Number(item.getAttribute('data-line')), checked: target.checked, rev });
      return;
    }
    const link = target.closest?.('a[href^="#"]');
    if (link) {
      event.preventDefault();
      let id = link.getAttribute('href').slice(1);
      try {
        id = decodeURIComponent(id);
      } catch {
        // keep the raw fragment
      }
      api.scrollToId(id);
    }
  });

  function topBlock(node) {
    while (node && node.parentNode !== container) node = node.parentNode;
    return node;
  }

  function markChanged(nodes) {
    for (const node of nodes) {
      if (node.nodeType !== 1) continue;
      node.classList.add('lumo-changed');
      setTimeout(() => node.classList.remove('lumo-changed'), CHANGE_MARK_MS);
    }
  }

  const api = {
    /** Render Markdown; answers "rendered" then "outline". */
    render(text, base = null, options = {}) {
      const result = convert(text, typeof base === 'string' ? base : null);
      const fragment = sanitizer.fragment(result.html, typeof base === 'string' ? base : null);
      const { added } = patch(container, fragment);
      if (options?.diff) markChanged(added);
      if (Number.isFinite(Number(options?.rev))) rev = Number(options.rev);
      enhancer.add(added);
      scroll.invalidate();
      post({ type: 'rendered', rev });
      post({ type: 'outline', items: result.outline });
      return { rev, changed: added.length };
    },
    setPrefs(prefs) {
      appearance.setPrefs(prefs);
      scroll.invalidate();
    },
    setCustomCSS(css) {
      appearance.setCustomCSS(css);
      scroll.invalidate();
    },
    /** Light or dark for export and print; null returns to the window's own appearance. */
    async setAppearance(mode) {
      await appearance.setAppearance(mode);
      await enhancer.flush();
      getComputedStyle(document.documentElement).getPropertyValue('--bg'); // settle styles before printing
      return appearance.isDark() ? 'dark' : 'light';
    },
    /** The window's own appearance, from the native side ("light", "dark", or null to follow the system). */
    setWindowAppearance(mode) {
      return appearance.setWindowAppearance(mode);
    },
    scrollToLine(line) {
      scroll.scrollToLine(line);
    },
    scrollToId(id) {
      const el = document.getElementById(String(id));
      if (!el || !container.contains(el)) return false;
      for (let p = el.parentElement; p && p !== container; p = p.parentElement) if (p.tagName === 'DETAILS') p.open = true;
      scroll.scrollToElement(el);
      return true;
    },
    topLine() {
      return scroll.topLine();
    },
    localImages() {
      return localImages(container);
    },
    async exportHTML(images) {
      await enhancer.flush();
      return exportHTML(container, images);
    },
    async richHTML(images) {
      await enhancer.flush();
      return richHTML(container, images);
    },
    /** Awaited calls: the native side cannot await promises, so replies come back as messages. */
    async call(id, name, ...args) {
      try {
        if (name === 'call' || typeof api[name] !== 'function') throw new Error(`Unknown call: ${name}`);
        const value = await api[name](...args);
        post({ type: 'reply', id, value: value === undefined ? null : value });
      } catch (err) {
        post({ type: 'reply', id, error: errorMessage(err) });
      }
    },
  };
  return api;
}
