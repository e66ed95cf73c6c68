// Everything that reaches the page goes through DOMPurify here: documents may
// carry any raw HTML, and none of it may run script, frame other pages, post
// forms or restyle the page around it. Local URLs are resolved on the way.
import createDOMPurify from 'dompurify';
import { resolveAsset, resolveLink, resolveSrcset } from './urls.js';

const FORBID_TAGS = [
  'script', 'style', 'link', 'meta', 'base', 'iframe', 'frame', 'frameset', 'object', 'embed',
  'applet', 'portal', 'fencedframe', 'form', 'noscript', 'template', 'slot', 'foreignobject',
];
const FORBID_ATTR = ['srcdoc', 'formaction', 'action', 'ping', 'autofocus', 'target', 'is'];

// Any scheme is allowed except those that run code or read browser state;
// links to other schemes go to the native link policy.
const ALLOWED_URI = /^(?!(?:javascript|vbscript|data|blob|filesystem|about|chrome|chrome-extension|devtools|view-source|jar|qrc|qt)\s*:)/i;

// Elements that cannot clobber document properties, so their ids are kept
// even when they shadow a document property name ("title", "images", ...).
const NAMED_ACCESS = new Set(['img', 'form', 'embed', 'object', 'iframe', 'input', 'button', 'select', 'textarea', 'output', 'fieldset', 'map']);
const SAFE_ID = /^[\p{L}\p{M}\p{N}_:.-]+$/u;

const ASSET_ATTRS = { img: ['src'], video: ['src', 'poster'], audio: ['src'], source: ['src'], track: ['src'], input: ['src'] };

const BAD_VALUE = /url\s*\(|expression\s*\(|image-set|@import|javascript:|-moz-binding|behavior\s*:/i;
const BAD_POSITION = /^\s*position\s*:\s*(?:fixed|sticky)/i;

/** Keeps harmless inline declarations; drops anything that fetches, escapes or overlays. */
export function cleanStyle(value) {
  if (/[\\]|\/\*|<|>|&/.test(value)) return ''; // escapes and comments hide everything below
  return value
    .split(';')
    .map((d) => d.trim())
    .filter((d) => /^[a-z-]+\s*:/i.test(d) && !BAD_VALUE.test(d) && !BAD_POSITION.test(d) && !/^\s*--/.test(d))
    .join('; ');
}

/**
 * @param {Window} win the window whose DOM parses and holds the result
 * @returns {{fragment(html: string, base: string|null): DocumentFragment, html(html: string, base: string|null): string}}
 */
export function createSanitizer(win) {
  const purify = createDOMPurify(win);
  let base = null;

  purify.addHook('uponSanitizeAttribute', (node, data) => {
    const name = data.attrName;
    if (name === 'style') {
      data.attrValue = cleanStyle(data.attrValue);
      if (data.attrValue === '') data.keepAttr = false;
    } else if (name === 'id' && !NAMED_ACCESS.has(node.nodeName.toLowerCase()) && SAFE_ID.test(data.attrValue)) {
      data.forceKeepAttr = true;
    }
  });

  purify.addHook('afterSanitizeAttributes', (node) => {
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
    if (tag === 'input' && node.getAttribute('type') !== 'checkbox') node.setAttribute('disabled', '');
  });

  const config = { FORBID_TAGS, FORBID_ATTR, ALLOWED_URI_REGEXP: ALLOWED_URI, ALLOW_UNKNOWN_PROTOCOLS: false };

  // Separates pieces sanitised in one pass; a random name that no document can forge.
  const cut = `lumo-cut-${Math.random().toString(36).slice(2, 10)}`;

  function sanitizeAll(htmlList) {
    const out = [];
    const fragment = purify.sanitize(htmlList.join(`<${cut}></${cut}>`), { ...config, ADD_TAGS: [cut], RETURN_DOM_FRAGMENT: true });
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

  return {
    /** Sanitises many pieces in one pass; answers each piece's top-level nodes (detached). */
    fragments(htmlList, docBase = null) {
      if (htmlList.length === 0) return [];
      base = docBase;
      try {
        return sanitizeAll(htmlList) ?? htmlList.map((html) => Array.from(purify.sanitize(html, { ...config, RETURN_DOM_FRAGMENT: true }).childNodes));
      } finally {
        base = null;
      }
    },
    fragment(html, docBase = null) {
      base = docBase;
      try {
        return purify.sanitize(html, { ...config, RETURN_DOM_FRAGMENT: true });
      } finally {
        base = null;
      }
    },
    html(html, docBase = null) {
      base = docBase;
      try {
        return purify.sanitize(html, config);
      } finally {
        base = null;
      }
    },
  };
}
