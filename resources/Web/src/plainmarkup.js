// HTML judged as text, without a DOM: the converter's own markup, and raw HTML
// plain enough (formatting tags, harmless attributes) that DOMPurify would give
// it back unchanged. Such HTML is parsed inertly instead of passing through
// DOMPurify, which costs several times more; anything else goes to DOMPurify
// (sanitize.js). Pure, so that the conversion Worker can judge its blocks
// before they reach the page.

// Any scheme is allowed except those that run code or read browser state;
// links to other schemes go to the native link policy.
export const ALLOWED_URI = /^(?!(?:javascript|vbscript|data|blob|filesystem|about|chrome|chrome-extension|devtools|view-source|jar|qrc|qt)\s*:)/i;
export const SAFE_ID = /^[\p{L}\p{M}\p{N}_:.-]+$/u;

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

// What the converter itself writes for Markdown without raw HTML.
const GENERATED_TAGS = new Set([
  'a', 'blockquote', 'br', 'code', 'dd', 'del', 'details', 'div', 'dl', 'dt', 'em', 'h1', 'h2', 'h3', 'h4', 'h5', 'h6',
  'hr', 'img', 'li', 'mark', 'ol', 'p', 'pre', 's', 'section', 'span', 'strong', 'sub', 'summary', 'sup',
  'table', 'tbody', 'td', 'tfoot', 'th', 'thead', 'tr', 'ul',
]);
const GENERATED_ATTRS = new Set(['class', 'id', 'title', 'alt', 'href', 'src', 'start', 'scope', 'style', 'lang', 'dir', 'open', 'role', 'tabindex']);

// Raw HTML taken as it stands: no links or media (their URLs are resolved on
// the way), no code (nothing inside it may be styled away), no table parts
// (parsed out of a table they land elsewhere), no classes or ids (the page's
// own, and names that shadow the document's).
const PLAIN_TAGS = new Set([
  'abbr', 'b', 'blockquote', 'br', 'dd', 'del', 'details', 'div', 'dl', 'dt', 'em', 'h1', 'h2', 'h3', 'h4', 'h5', 'h6',
  'hr', 'i', 'ins', 'kbd', 'li', 'mark', 'ol', 'p', 's', 'section', 'small', 'span', 'strong', 'sub', 'summary', 'sup', 'u', 'ul',
]);
const PLAIN_ATTRS = new Set(['title', 'lang', 'dir', 'open', 'align', 'style']);
// DOMPurify reads the values of attributes outside its short list as URLs.
const URI_SAFE = new Set(['title', 'style']);
const VOID_TAGS = new Set(['br', 'hr', 'img']);
// Deeper raw HTML is capped on its way through DOMPurify (sanitize.js).
const PLAIN_DEPTH = 64;

const URL_ATTRS = new Set(['href', 'src']);
// Custom data and accessibility attributes, named as DOMPurify keeps them.
const DATA_OR_ARIA = /^(?:data|aria)-[a-z0-9-]/;
const ATTR_WHITESPACE = /[\u0000-\u0020\u00A0\u1680\u180E\u2000-\u2029\u205F\u3000]/g;

// Markup read as text: lower-case tags, double-quoted attribute values without
// < or >, no comments. Anything else fails the check. Whitespace is the
// parser's own: ASCII only.
const TAG = /<(\/?)([a-z][a-z0-9]*)((?:[\t\n\f\r ]+[a-z][a-z0-9-]*(?:="[^"<>]*")?)*)[\t\n\f\r ]*>/y;
const ATTR = /[\t\n\f\r ]+([a-z][a-z0-9-]*)(?:="([^"]*)")?/g;
// The only character references the converter writes into attributes.
const OTHER_REFERENCE = /&(?!(?:amp|lt|gt|quot);)/;
const REFERENCE = /&(amp|lt|gt|quot);/g;
const REFERENCED = { amp: '&', lt: '<', gt: '>', quot: '"' };

function attributeValue(raw) {
  const value = raw ?? '';
  if (!value.includes('&')) return value;
  return OTHER_REFERENCE.test(value) ? null : value.replace(REFERENCE, (_, ref) => REFERENCED[ref]);
}

function generatedAttributesAreClean(tag, attributes) {
  ATTR.lastIndex = 0;
  for (let m; (m = ATTR.exec(attributes)); ) {
    const name = m[1];
    if (DATA_OR_ARIA.test(name)) continue;
    if (!GENERATED_ATTRS.has(name)) return false;
    const value = attributeValue(m[2]);
    if (value === null) return false;
    if (URL_ATTRS.has(name) && !ALLOWED_URI.test(value.replace(ATTR_WHITESPACE, ''))) return false;
    if (name === 'id' && !SAFE_ID.test(value)) return false;
    if (name === 'style' && cleanStyle(value) !== value) return false;
  }
  return true;
}

function plainAttributesAreClean(tag, attributes) {
  ATTR.lastIndex = 0;
  for (let m; (m = ATTR.exec(attributes)); ) {
    const name = m[1];
    if (DATA_OR_ARIA.test(name) && !name.startsWith('data-lumo-')) continue;
    if (!PLAIN_ATTRS.has(name)) return false;
    const value = attributeValue(m[2]);
    if (value === null || (name === 'style' && cleanStyle(value) !== value)) return false;
    if (!URI_SAFE.has(name) && !ALLOWED_URI.test(value.replace(ATTR_WHITESPACE, ''))) return false;
  }
  return true;
}

/** Whether every `<` of `html` opens a tag of `tags` whose attributes pass, nested at most `depth` deep. */
function readsClean(html, tags, attributesAreClean, depth = Infinity) {
  let open = 0;
  for (let at = html.indexOf('<'); at !== -1; at = html.indexOf('<', TAG.lastIndex)) {
    TAG.lastIndex = at;
    const m = TAG.exec(html);
    if (!m || !tags.has(m[2])) return false;
    if (m[1]) {
      if (m[3] !== '') return false;
      open = Math.max(0, open - 1);
    } else {
      if (!attributesAreClean(m[2], m[3])) return false;
      if (!VOID_TAGS.has(m[2]) && ++open > depth) return false;
    }
  }
  return true;
}

/** Whether HTML holds only what the converter writes for Markdown without raw HTML. */
export function generatedHtmlIsClean(html) {
  return readsClean(html, GENERATED_TAGS, generatedAttributesAreClean);
}

/** Whether HTML (raw HTML of the document among the converter's markup) comes out of DOMPurify as it stands. */
export function plainHtmlIsClean(html) {
  return readsClean(html, PLAIN_TAGS, plainAttributesAreClean, PLAIN_DEPTH);
}

