// Everything that reaches the page goes through DOMPurify here: documents may
// carry any raw HTML, and none of it may run script, frame other pages, post
// forms or restyle the page around it. Local URLs are resolved on the way.
import createDOMPurify from 'dompurify';
import { resolveAsset, resolveLink, resolveSrcset } from './urls.js';
import { capNesting } from './convert/rawhtml.js';
import { ALLOWED_URI, SAFE_ID, cleanStyle, generatedHtmlIsClean, plainHtmlIsClean } from './plainmarkup.js';
import { TASK_BOX_MARK } from './plugins/tasks.js';

const FORBID_TAGS = [
  'script', 'style', 'link', 'meta', 'base', 'iframe', 'frame', 'frameset', 'object', 'embed',
  'applet', 'portal', 'fencedframe', 'form', 'noscript', 'template', 'slot', 'foreignobject',
];
const FORBID_ATTR = ['srcdoc', 'formaction', 'action', 'ping', 'autofocus', 'target', 'is'];

// Elements that cannot clobber document properties, so their ids are kept
// even when they shadow a document property name ("title", "images", ...).
const NAMED_ACCESS = new Set(['img', 'form', 'embed', 'object', 'iframe', 'input', 'button', 'select', 'textarea', 'output', 'fieldset', 'map']);

const ASSET_ATTRS = { img: ['src'], video: ['src', 'poster'], audio: ['src'], source: ['src'], track: ['src'], input: ['src'] };

// The page's own classes and attributes: documents may not borrow its machinery
// (hidden from export, task boxes, copy buttons, change marks).
const PAGE_CLASS = /^(?:lumo-.*|code-copy|task-list-item-checkbox)$/;
const PAGE_ATTR = /^data-lumo-/;

const isTaskBox = (node) => node.nodeName.toLowerCase() === 'span' && node.getAttribute('data-lumo-task') === TASK_BOX_MARK;

function ownedByPage(node, name) {
  return PAGE_ATTR.test(name) && !(name === 'data-lumo-task' && isTaskBox(node));
}

function documentClasses(node, value) {
  const box = isTaskBox(node);
  return value.split(/\s+/).filter((c) => c && (!PAGE_CLASS.test(c) || (box && c === 'task-list-item-checkbox'))).join(' ');
}

// Code shows exactly its text: nothing inside it may be styled away or hidden.
const insideCode = (node) => !!node.closest?.('pre, code');

/**
 * A code block holds text only, so that what Copy takes is what the reader saw:
 * markup inside it (classes borrowed from the page or KaTeX, colours, sizes, nested
 * small print) could hide part of it. The code element keeps its language class.
 */
function flattenCodeBlock(pre) {
  const only = pre.children.length === 1 ? pre.firstElementChild : null;
  const target = only?.localName === 'code' ? only : pre;
  if (target.childElementCount > 0) target.textContent = target.textContent;
}

/** Local URLs resolved against the document's folder; the document's own inputs disabled. */
function finishElement(node, base) {
  const tag = node.nodeName.toLowerCase();
  if (tag === 'a' || tag === 'area') {
    const href = node.getAttribute('href');
    if (href) node.setAttribute('href', resolveLink(href, base));
    return;
  }
  for (const attr of ASSET_ATTRS[tag] || []) {
    const v = node.getAttribute(attr);
    if (v) node.setAttribute(attr, resolveAsset(v, base));
  }
  if (node.hasAttribute('srcset')) node.setAttribute('srcset', resolveSrcset(node.getAttribute('srcset'), base));
  if (tag === 'input') node.setAttribute('disabled', '');
}

/**
 * What a piece of HTML is known to be, for sanitiser.fragments():
 * GENERATED, the converter's markup for Markdown without raw HTML; PLAIN, a
 * block that may hold raw HTML and ties no other block to it.
 * @enum {string}
 */
export const PieceKind = { GENERATED: 'generated', PLAIN: 'plain' };

const CHECKS = {
  [PieceKind.GENERATED]: generatedHtmlIsClean,
  [PieceKind.PLAIN]: plainHtmlIsClean,
};

// Raw HTML nested deeper than the engine keeps (it flattens past 512 levels)
// loses the tags past this depth before parsing, which would otherwise take
// time quadratic in the depth.
const MAX_DEPTH = 500;
const shallow = (html) => capNesting(html, MAX_DEPTH);

/**
 * @param {Window} win the window whose DOM parses and holds the result
 * @returns {{fragment(html: string, base: string|null): DocumentFragment, html(html: string, base: string|null): string}}
 */
export function createSanitizer(win) {
  const purify = createDOMPurify(win);
  let base = null;

  purify.addHook('uponSanitizeElement', (node, data) => {
    if (data.tagName === 'pre') flattenCodeBlock(node);
  });

  purify.addHook('uponSanitizeAttribute', (node, data) => {
    const name = data.attrName;
    if (ownedByPage(node, name) || ((name === 'style' || name === 'hidden') && insideCode(node))) {
      data.keepAttr = false;
    } else if (name === 'class') {
      data.attrValue = documentClasses(node, data.attrValue);
      if (data.attrValue === '') data.keepAttr = false;
    } else if (name === 'style') {
      data.attrValue = cleanStyle(data.attrValue);
      if (data.attrValue === '') data.keepAttr = false;
    } else if (name === 'id' && !NAMED_ACCESS.has(node.nodeName.toLowerCase()) && SAFE_ID.test(data.attrValue)) {
      data.forceKeepAttr = true;
    }
  });

  purify.addHook('afterSanitizeAttributes', (node) => finishElement(node, base));

  const config = { FORBID_TAGS, FORBID_ATTR, ALLOWED_URI_REGEXP: ALLOWED_URI, ALLOW_UNKNOWN_PROTOCOLS: false };

  // Separates pieces sanitised in one pass; a random name that no document can forge.
  const cut = `lumo-cut-${Math.random().toString(36).slice(2, 10)}`;

  function sanitizeAll(htmlList) {
    const out = [];
    const fragment = purify.sanitize(htmlList.join(`<${cut}></${cut}>`), { ...config, ADD_TAGS: [cut], RETURN_DOM_FRAGMENT: true });
    if (!fragment) return null;
    let nodes = [];
    for (let node = fragment.firstChild; node; ) {
      const next = node.nextSibling;
      if (node.nodeType === 1 && node.localName === cut) {
        out.push(nodes);
        nodes = [];
      } else {
        nodes.push(node);
      }
      node = next;
    }
    out.push(nodes);
    // A piece that left an element open swallowed a separator: sanitise one at a time.
    if (out.length !== htmlList.length || fragment.querySelectorAll(cut).length !== out.length - 1) return null;
    return out;
  }

  /**
   * Pieces that pass the check of their kind, parsed inertly in one pass;
   * answers each piece's nodes, or null for a piece that goes to DOMPurify.
   */
  function parsedAll(htmlList, kinds) {
    const out = htmlList.map(() => null);
    const clean = [];
    htmlList.forEach((html, i) => CHECKS[kinds[i]](html) && clean.push(i));
    if (clean.length === 0) return out;
    const template = win.document.createElement('template');
    template.innerHTML = clean.map((i) => htmlList[i]).join('<!---->');
    const parsed = [];
    let nodes = [];
    for (let node = template.content.firstChild; node; node = node.nextSibling) {
      if (node.nodeType === 8) {
        parsed.push(nodes);
        nodes = [];
      } else nodes.push(node);
    }
    parsed.push(nodes);
    // A piece that left an element open swallowed a separator: all go the slow way.
    if (parsed.length === clean.length) clean.forEach((i, k) => (out[i] = parsed[k]));
    return out;
  }

  // DOMPurify answers null for HTML that has no body (a <frameset>).
  const purifiedFragment = (html) => purify.sanitize(shallow(html), { ...config, RETURN_DOM_FRAGMENT: true }) ?? win.document.createDocumentFragment();

  function purified(htmlList) {
    return sanitizeAll(htmlList.map(shallow)) ?? htmlList.map((html) => Array.from(purifiedFragment(html).childNodes));
  }

  return {
    /**
     * Sanitises many pieces in one pass; answers each piece's top-level nodes
     * (detached). A piece of a kind in `kinds` (see PieceKind) takes that
     * kind's quicker check, DOMPurify when it fails it; any other piece goes
     * to DOMPurify.
     */
    fragments(htmlList, docBase = null, kinds = []) {
      if (htmlList.length === 0) return [];
      const fast = [];
      const slow = [];
      htmlList.forEach((html, i) => (CHECKS[kinds[i]] ? fast : slow).push(i));
      const out = new Array(htmlList.length);
      if (fast.length) {
        parsedAll(fast.map((i) => htmlList[i]), fast.map((i) => kinds[i])).forEach((nodes, k) => {
          if (nodes) out[fast[k]] = nodes;
          else slow.push(fast[k]);
        });
        if (slow.length === 0) return out;
        slow.sort((a, b) => a - b);
      }
      base = docBase;
      try {
        purified(slow.map((i) => htmlList[i])).forEach((nodes, k) => (out[slow[k]] = nodes));
      } finally {
        base = null;
      }
      return out;
    },
    fragment(html, docBase = null) {
      base = docBase;
      try {
        return purifiedFragment(html);
      } finally {
        base = null;
      }
    },
    html(html, docBase = null) {
      base = docBase;
      try {
        return purify.sanitize(shallow(html), config);
      } finally {
        base = null;
      }
    },
  };
}
