// Everything that reaches the page goes through DOMPurify here: documents may
// carry any raw HTML, and none of it may run script, frame other pages, post
// forms or restyle the page around it. Local URLs are resolved on the way.
import createDOMPurify from 'dompurify';
import { resolveAsset, resolveLink, resolveSrcset } from './urls.js';
import { capNesting } from './convert/rawhtml.js';
import { TASK_BOX_MARK } from './plugins/tasks.js';

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
// Anything that takes an element out of its own place in the flow, or moves it
// over its neighbours: raw HTML must not lay an invisible link over the page.
const BAD_PLACEMENT = /^(?:position\s*:\s*(?!static\s*$|relative\s*$)|z-index|inset|top|right|bottom|left|transform|translate|rotate|scale|zoom)\b/i;
const NEGATIVE_MARGIN = /^margin[a-z-]*\s*:.*(?:^|[\s:(,])-\s*\.?\d/i;

/** Keeps harmless inline declarations; drops anything that fetches, escapes or overlays. */
export function cleanStyle(value) {
  if (/[\\]|\/\*|<|>|&/.test(value)) return ''; // escapes and comments hide everything below
  return value
    .split(';')
    .map((d) => d.trim())
    .filter((d) => /^[a-z-]+\s*:/i.test(d) && !BAD_VALUE.test(d) && !BAD_PLACEMENT.test(d) && !NEGATIVE_MARGIN.test(d) && !/^\s*--/.test(d))
    .join('; ');
}

// The page's own classes and attributes: documents may not borrow its machinery
// (hidden from export, task boxes, copy buttons, change marks).
const PAGE_CLASS = /^(?:lumo-.*|code-copy|task-list-item-checkbox)$/;
const PAGE_ATTR = /^data-lumo-/;

const isTaskBox = (node) => node.nodeName.toLowerCase() === 'input' && node.getAttribute('data-lumo-task') === TASK_BOX_MARK;

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

/** Local URLs resolved against the document's folder; inputs other than the converter's task boxes disabled. */
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
  if (tag === 'input' && !isTaskBox(node)) node.setAttribute('disabled', '');
}

// What the converter itself writes for Markdown without raw HTML. Such HTML
// is checked against these lists instead of passing through DOMPurify, which
// costs several times more; anything else found in it goes to DOMPurify.
const GENERATED_TAGS = new Set([
  'a', 'blockquote', 'br', 'code', 'dd', 'del', 'details', 'div', 'dl', 'dt', 'em', 'h1', 'h2', 'h3', 'h4', 'h5', 'h6',
  'hr', 'img', 'input', 'li', 'mark', 'ol', 'p', 'pre', 's', 'section', 'span', 'strong', 'sub', 'summary', 'sup',
  'table', 'tbody', 'td', 'tfoot', 'th', 'thead', 'tr', 'ul',
]);
const GENERATED_ATTRS = new Set(['class', 'id', 'title', 'alt', 'href', 'src', 'start', 'type', 'checked', 'scope', 'style', 'lang', 'dir', 'open']);
const URL_ATTRS = new Set(['href', 'src']);
const ATTR_WHITESPACE = /[\u0000-\u0020\u00A0\u1680\u180E\u2000-\u2029\u205F\u3000]/g;

// The converter's markup, read as text: lower-case tags, double-quoted
// attribute values without < or >, no comments. Anything else fails the check.
// Whitespace is the parser's own: ASCII only.
const GENERATED_TAG = /<(\/?)([a-z][a-z0-9]*)((?:[\t\n\f\r ]+[a-z][a-z0-9-]*(?:="[^"<>]*")?)*)[\t\n\f\r ]*>/y;
const GENERATED_ATTR = /[\t\n\f\r ]+([a-z][a-z0-9-]*)(?:="([^"]*)")?/g;
// The only character references the converter writes into attributes.
const OTHER_REFERENCE = /&(?!(?:amp|lt|gt|quot);)/;
const REFERENCE = /&(amp|lt|gt|quot);/g;
const REFERENCED = { amp: '&', lt: '<', gt: '>', quot: '"' };

function generatedAttributesAreClean(tag, attributes) {
  let checkbox = false;
  GENERATED_ATTR.lastIndex = 0;
  for (let m; (m = GENERATED_ATTR.exec(attributes)); ) {
    const name = m[1];
    if (name.startsWith('data-') || name.startsWith('aria-')) continue;
    if (!GENERATED_ATTRS.has(name)) return false;
    let value = m[2] ?? '';
    if (value.includes('&')) {
      if (OTHER_REFERENCE.test(value)) return false;
      value = value.replace(REFERENCE, (_, ref) => REFERENCED[ref]);
    }
    if (URL_ATTRS.has(name) && !ALLOWED_URI.test(value.replace(ATTR_WHITESPACE, ''))) return false;
    if (name === 'id' && !SAFE_ID.test(value)) return false;
    if (name === 'style' && cleanStyle(value) !== value) return false;
    if (name === 'type') checkbox = value === 'checkbox';
  }
  return tag !== 'input' || checkbox;
}

/** Whether HTML holds only what the converter writes for Markdown without raw HTML. */
export function generatedHtmlIsClean(html) {
  for (let at = html.indexOf('<'); at !== -1; at = html.indexOf('<', GENERATED_TAG.lastIndex)) {
    GENERATED_TAG.lastIndex = at;
    const m = GENERATED_TAG.exec(html);
    if (!m || !GENERATED_TAGS.has(m[2])) return false;
    if (m[1] ? m[3] !== '' : !generatedAttributesAreClean(m[2], m[3])) return false;
  }
  return true;
}

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
   * Generated pieces that pass the check, parsed inertly in one pass; answers
   * each piece's nodes, or null for a piece that holds anything else.
   */
  function generatedAll(htmlList) {
    const out = htmlList.map(() => null);
    const clean = [];
    htmlList.forEach((html, i) => generatedHtmlIsClean(html) && clean.push(i));
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
     * (detached). Pieces flagged in `generated` hold no raw HTML of the
     * document and take the quicker check, DOMPurify when they fail it.
     */
    fragments(htmlList, docBase = null, generated = []) {
      if (htmlList.length === 0) return [];
      const fast = [];
      const slow = [];
      htmlList.forEach((html, i) => (generated[i] ? fast : slow).push(i));
      const out = new Array(htmlList.length);
      if (fast.length) {
        generatedAll(fast.map((i) => htmlList[i])).forEach((nodes, k) => {
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
