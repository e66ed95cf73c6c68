// Raw HTML read as tags: elements a block opens and a later block closes
// (<details> ... </details> around Markdown), and how deep they nest.
import { htmlOf } from './lineattrs.js';

const VOID = new Set(['area', 'base', 'br', 'col', 'embed', 'hr', 'img', 'input', 'link', 'meta', 'param', 'source', 'track', 'wbr']);
const GREATER = 0x3e;
const SLASH = 0x2f;
const QUOTE = 0x22;
const APOSTROPHE = 0x27;

const isLetter = (c) => (c >= 0x61 && c <= 0x7a) || (c >= 0x41 && c <= 0x5a);
const isNameChar = (c) => isLetter(c) || (c >= 0x30 && c <= 0x39) || c === 0x2d;

/** Offset of the '>' that ends a tag whose attributes start at `from` (quoted values may hold '>'), or -1. */
function tagEnd(html, from) {
  for (let i = from; i < html.length; i++) {
    const c = html.charCodeAt(i);
    if (c === GREATER) return i;
    if (c === QUOTE || c === APOSTROPHE) {
      i = html.indexOf(c === QUOTE ? '"' : "'", i + 1);
      if (i < 0) return -1;
    }
  }
  return -1;
}

/**
 * Calls visit(name, closing, start, end) for every tag that opens or closes
 * an element (not void, not self-closing); [start, end) is the tag's text.
 * Scanned by hand: a document may hold hundreds of thousands.
 */
export function scanTags(html, visit) {
  // The last name read, reused while tags repeat it: a new string per tag costs more than the scan.
  let last = '';
  for (let at = html.indexOf('<'); at !== -1; at = html.indexOf('<', at + 1)) {
    const closing = html.charCodeAt(at + 1) === SLASH;
    const nameStart = at + (closing ? 2 : 1);
    if (!isLetter(html.charCodeAt(nameStart))) continue;
    let upper = html.charCodeAt(nameStart) < 0x61;
    let nameEnd = nameStart + 1;
    for (let c = html.charCodeAt(nameEnd); isNameChar(c); c = html.charCodeAt(++nameEnd)) upper ||= c >= 0x41 && c <= 0x5a;
    const end = tagEnd(html, nameEnd);
    if (end < 0) continue;
    const start = at;
    at = end;
    const selfClosing = end > nameEnd && html.charCodeAt(end - 1) === SLASH;
    let name = last;
    if (upper) name = html.slice(nameStart, nameEnd).toLowerCase();
    else if (nameEnd - nameStart !== last.length || !html.startsWith(last, nameStart)) name = last = html.slice(nameStart, nameEnd);
    if (!selfClosing && !VOID.has(name)) visit(name, closing, start, end + 1);
  }
}

/** Open-minus-close counts of raw HTML tags added to `counts`, or null when they balance. */
export function tagBalance(html, counts = null) {
  scanTags(html, (name, closing) => {
    counts ??= Object.create(null);
    counts[name] = (counts[name] || 0) + (closing ? -1 : 1);
  });
  if (!counts) return null;
  for (const name in counts) if (counts[name] !== 0) return counts;
  return null;
}

/** Whether `text` holds fewer than `n` of `ch`. */
function fewerThan(text, ch, n) {
  for (let at = text.indexOf(ch); at !== -1; at = text.indexOf(ch, at + 1)) if (--n === 0) return false;
  return true;
}

/**
 * The HTML without the tags of elements nested deeper than `max`, or the same
 * string when none are. The engine's parser checks the whole stack of open
 * elements at each tag (quadratic in depth) and keeps only 512 levels anyway.
 */
export function capNesting(html, max) {
  if (fewerThan(html, '<', max + 1)) return html;
  let depth = 0;
  const cuts = []; // [start, end) pairs; tags cut one after another make one pair
  scanTags(html, (name, closing, start, end) => {
    if (!closing) depth++;
    if (depth > max) {
      if (cuts.at(-1) === start) cuts[cuts.length - 1] = end;
      else cuts.push(start, end);
    }
    if (closing) depth = Math.max(0, depth - 1);
  });
  if (cuts.length === 0) return html;
  const parts = [html.slice(0, cuts[0])];
  for (let i = 1; i < cuts.length; i += 2) parts.push(html.slice(cuts[i], i + 1 < cuts.length ? cuts[i + 1] : html.length));
  return parts.join('');
}

/**
 * Groups blocks whose raw HTML opens an element that a later block closes:
 * such a run is parsed and sanitised as one piece, as the browser would nest
 * it. A block on its own is its own unit; a run becomes {key, html, start, blocks}.
 * Unless `complete`, a run that may close in a block not converted yet ends the list.
 */
export function groupBlocks(blocks, complete = true) {
  const units = [];
  for (let i = 0; i < blocks.length; i++) {
    const block = blocks[i];
    if (!block.open) {
      units.push(block);
      continue;
    }
    let counts = { ...block.open };
    let end = i + 1;
    while (end < blocks.length && counts) {
      const next = blocks[end++];
      counts = next.raw ? tagBalance(next.raw, counts) : counts;
    }
    if (counts && !complete) break;
    const run = blocks.slice(i, end);
    units.push({ key: run.map((b) => b.key).join(''), html: run.map(htmlOf).join(''), start: block.start, blocks: run });
    i = end - 1;
  }
  return units;
}
