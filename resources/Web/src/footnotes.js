// The footnote section of a long document, in runs. The converter renders all
// definitions as one block at the end; a document with thousands of them would
// then be parsed, inserted and laid out in one piece. A long document's section
// is cut into a head (the rule, the section, its empty list) and runs of a few
// dozen items, each a unit of its own: sanitised and placed in slices like the
// other blocks, kept across edits while unchanged, and laid out only near the
// viewport (`lumo-notes` in style.css):
//
//   hr.footnotes-sep, section.footnotes > ol.footnotes-list > lumo-notes > li.footnote-item
//
// The run is an element name no document can write (the sanitiser drops
// unknown elements). Only sections without the document's raw HTML are cut:
// then every `<li id="fn…" class="footnote-item">` in the text is an item the
// converter wrote.
import { stripLines } from './convert/lineattrs.js';
import { Dormant, edgeBlock } from './chunks.js';
import { DIGITS, digitsBetween } from './listnumbers.js';
import { lineOf } from './lines.js';

const RUN = 'lumo-notes';
export const RUN_ITEMS = 48;
const LIST_OPEN = '<ol class="footnotes-list">\n';
const LIST_CLOSE = '</ol>\n</section>\n';
const ITEM = /<li id="fn\d+" class="footnote-item">/g;
// Keys no block of the document has (its text never holds NUL).
const HEAD_KEY = '\u0000notes';
const RUN_KEY = '\u0000run';
// Estimated height of an item not yet laid out, in em of the footnotes' text.
const CHARS_PER_ROW = 90;
const EM_PER_ROW = 1.6;
const EM_PER_ITEM = 0.3;

/**
 * The units the footnote section `tail` is shown as: itself, or for a long
 * document (`cut`) the head ({notes: true}) and runs of items ({run: true, first}).
 */
export function footnoteUnits(tail, cut) {
  if (!tail) return [];
  if (!cut || tail.raw) return [tail];
  // An edit that only moves lines keeps the section's HTML (moves, edit.js): cut once.
  if (lastCut?.html !== tail.html) lastCut = { html: tail.html, units: cutSection(tail) };
  const { moves } = tail;
  return lastCut.units ? lastCut.units.map((u) => ({ ...u, moves })) : [tail];
}

let lastCut = null; // {html, units}: the units of the last section cut, null when it could not be

function cutSection(tail) {
  const { html } = tail;
  const open = html.indexOf(LIST_OPEN);
  const close = html.lastIndexOf(LIST_CLOSE);
  if (open < 0 || close < open) return null;
  const starts = [];
  ITEM.lastIndex = open;
  for (let m = ITEM.exec(html); m && m.index < close; m = ITEM.exec(html)) starts.push(m.index);
  if (starts[0] !== open + LIST_OPEN.length) return null;
  starts.push(close);
  const head = html.slice(0, starts[0]) + html.slice(close);
  // Cut only between whole tags: what the Worker found clean in the section stays clean in each piece.
  const units = [{ html: head, key: HEAD_KEY + head, notes: true }];
  for (let i = 0; i + 1 < starts.length; i += RUN_ITEMS) {
    const part = html.slice(starts[i], starts[Math.min(i + RUN_ITEMS, starts.length - 1)]);
    units.push({ html: part, key: RUN_KEY + stripLines(part), run: true, first: i + 1 });
  }
  return units;
}

export function isRun(node) {
  return node?.localName === RUN;
}

/**
 * A run of sanitised items, numbered from `first`: the number is set on its
 * first item, since a run is laid out on its own (style containment) and would
 * otherwise count from one.
 */
export function createRun(doc, nodes, first) {
  const run = doc.createElement(RUN);
  run.append(...nodes);
  let em = 0;
  for (const item of run.children) em += EM_PER_ITEM + EM_PER_ROW * Math.max(1, Math.ceil(item.textContent.length / CHARS_PER_ROW));
  run.style.containIntrinsicSize = `auto ${em.toFixed(1)}em`;
  if (run.firstElementChild) run.firstElementChild.setAttribute('value', String(first));
  return run;
}

/** The list the runs of a head's nodes go into. */
export function notesList(nodes) {
  for (const node of nodes) if (node.nodeType === 1 && node.localName === 'section') return node.querySelector(':scope > ol.footnotes-list');
  return null;
}

/** The footnote section ending the container, or null. */
export function footnoteSection(container) {
  const last = edgeBlock(container, true, Dormant.STOP); // never dormant
  return last?.localName === 'section' && last.classList.contains('footnotes') ? last : null;
}

/** Sizes the padding of the footnote list ending the container to its largest number. */
export function fitNumbers(container) {
  const list = footnoteSection(container)?.querySelector(':scope > ol.footnotes-list');
  if (!list) return;
  const last = list.lastElementChild;
  const largest = isRun(last) ? Number(last.firstElementChild?.getAttribute('value')) + last.children.length - 1 : list.children.length;
  const digits = digitsBetween(1, largest);
  if (list.style.getPropertyValue(DIGITS) !== String(digits)) list.style.setProperty(DIGITS, String(digits));
}

/** The items of a section's list, as lists: one per run, or the list's own. */
export function itemGroups(section) {
  const list = section.querySelector(':scope > ol.footnotes-list');
  if (!list) return [];
  return isRun(list.firstElementChild) ? Array.from(list.children, (run) => run.children) : [list.children];
}

/** The item after `item`, across runs. */
export function nextItem(item) {
  if (item.nextElementSibling || !isRun(item.parentNode)) return item.nextElementSibling;
  return item.parentNode.nextElementSibling?.firstElementChild ?? null;
}

/** The source line a definition starts at. */
export function itemLine(item) {
  const first = item.firstElementChild;
  const el = first?.hasAttribute('data-line') ? first : item.querySelector('[data-line]');
  return el ? lineOf(el) : NaN;
}
