// An edit re-parses only the blocks around the changed lines and keeps every
// other block (the same record object) when nothing they depend on elsewhere
// changed: reference and footnote definitions, footnote numbering and
// heading ids. Otherwise the caller converts the whole text.
import { createSlugger } from '../slug.js';
import { createPieceEnv } from './env.js';
import { htmlOf } from './lineattrs.js';
import { commonPrefix, commonSuffix, lineOf, sourceOf } from './source.js';

// An edit touching more lines than this is better served by a conversion in
// pieces, which shows the top at once.
const MAX_EDIT_LINES = 4000;

/**
 * Where the old and new texts differ, in lines of the old text.
 * @typedef {object} Change
 * @property {number} firstLine  first changed line
 * @property {number} endLine    line after the last changed line
 * @property {number} delta      lines added (negative: removed)
 *
 * The old blocks an edit replaces.
 * @typedef {object} Region
 * @property {number} first      index of the first replaced block
 * @property {number} last       index after the last
 * @property {number} fromLine   where the first starts
 * @property {number} stopLine   where the block after the last starts (Infinity at the end)
 *
 * What an edit changed in the block list.
 * @typedef {object} Splice
 * @property {import('./blocklist.js').Block[]} from  the block list before it
 * @property {number} first      index of the first block replaced
 * @property {number} removed    how many were replaced
 * @property {number} endLine    the blocks after them moved by `delta` lines (shiftBlock); the footnote section's lines from this line on (moveBlock)
 * @property {number} delta
 *
 * @typedef {object} Reparsed  The region parsed again in the new text.
 * @property {{text: string, starts: number[], total: number}} source
 * @property {import('./env.js').PieceEnv} env
 * @property {import('./blocklist.js').Block[]} blocks
 */

function changeBetween(old, text, total) {
  const max = Math.min(text.length, old.text.length);
  const prefix = commonPrefix(text, old.text, max);
  const suffix = commonSuffix(text, old.text, max - prefix);
  return {
    firstLine: lineOf(old.starts, prefix),
    endLine: lineOf(old.starts, Math.max(prefix, old.text.length - suffix)) + 1,
    delta: total - old.total,
  };
}

/** Index of the last block that ends before `line`, or -1. */
function lastBlockBefore(blocks, line) {
  let found = -1;
  for (let lo = 0, hi = blocks.length - 1; lo <= hi; ) {
    const mid = (lo + hi) >> 1;
    if (blocks[mid].end < line) {
      found = mid;
      lo = mid + 1;
    } else hi = mid - 1;
  }
  return found;
}

/** The conversion state at the start of block `first`: definitions, footnote numbers, heading ids. */
function envAt(old, first, base) {
  const env = createPieceEnv(base);
  env.references = { ...old.refs };
  const numbers = env.footnotes.refs;
  for (const label of old.labels) numbers[`:${label}`] = -1;
  const list = [];
  for (let i = 0; i < first; i++) {
    const block = old.blocks[i];
    for (const heading of block.headings) env.slugger(heading.text);
    for (const key of block.fnRefs) {
      if (key[0] !== 'L') {
        list.push({ content: key.slice(1), count: 1 });
        continue;
      }
      const label = key.slice(1);
      let id = numbers[`:${label}`];
      if (id === undefined) return null;
      if (id < 0) {
        id = list.length;
        numbers[`:${label}`] = id;
        list.push({ label, count: 0 });
      }
      list[id].count++;
    }
  }
  if (list.length) env.footnotes.list = list;
  return env;
}

/**
 * The new record when the reparsed region leaves everything outside it as it
 * was (moved by the change's lines), else null.
 * @param {import('./conversion.js').ConvertedText} old
 * @param {Region} region
 * @param {Change} change
 * @param {Reparsed} reparsed
 */
function splice(old, region, change, reparsed) {
  const { env, blocks: fresh } = reparsed;
  const { delta, endLine } = change;
  const newStop = region.stopLine === Infinity ? Infinity : region.stopLine + delta;
  const inRegion = (d) => d.line >= region.fromLine && d.line < region.stopLine;
  const moved = (line) => (line >= endLine ? line + delta : line);

  // Reference definitions in the re-parsed lines: same labels and targets.
  const oldRefs = old.refDefs.filter(inRegion);
  const newRefs = env.refDefs.filter((d) => d.line < newStop);
  if (oldRefs.length !== newRefs.length || oldRefs.some((d, i) => d.label !== newRefs[i].label || d.href !== newRefs[i].href || d.title !== newRefs[i].title)) return null;
  // Footnote definitions: same text at the same (moved) lines, since the footnote section shows them.
  const oldNotes = old.fnDefs.filter(inRegion);
  const newNotes = env.fnDefs.filter((d) => d.line < newStop);
  if (oldNotes.length !== newNotes.length || oldNotes.some((d, i) => d.label !== newNotes[i].label || d.text !== newNotes[i].text || moved(d.line) !== newNotes[i].line)) return null;
  // Footnote references: the same sequence keeps every number.
  const gone = old.blocks.slice(region.first, region.last);
  if (gone.flatMap((b) => b.fnRefs).join('\u0000') !== fresh.flatMap((b) => b.fnRefs).join('\u0000')) return null;
  // Heading ids after the edit must not move.
  const after = old.blocks.slice(region.last);
  const unique = createSlugger();
  for (let i = 0; i < region.first; i++) for (const h of old.blocks[i].headings) unique(h.text);
  for (const b of fresh) for (const h of b.headings) unique(h.text);
  const laterHeadings = after.flatMap((b) => b.headings).concat(old.tail ? old.tail.headings : []);
  for (const h of laterHeadings) if (unique(h.text) !== h.id) return null;

  // Every line of a block after the region is at or after endLine (the guard starts there).
  const blocks = old.blocks.slice(0, region.first).concat(fresh, after.map((b) => shiftBlock(b, delta)));
  const tail = old.tail && moveBlock(old.tail, endLine, delta);
  const shiftDef = (d) => (d.line >= endLine ? { ...d, line: d.line + delta, ...(d.end !== undefined ? { end: d.end + delta } : {}) } : d);
  const before = (d) => d.line < region.fromLine;
  const behind = (d) => d.line >= region.stopLine;
  const refDefs = old.refDefs.filter(before).concat(newRefs, old.refDefs.filter(behind).map(shiftDef));
  const fnDefs = old.fnDefs.filter(before).concat(newNotes, old.fnDefs.filter(behind).map(shiftDef));
  const edit = { from: old.blocks, first: region.first, removed: region.last - region.first, endLine, delta };
  return { ...old, ...reparsed.source, blocks, tail, refDefs, fnDefs, edit };
}

/**
 * A block after `delta` lines were added above it: the same object when
 * nothing moves; its HTML is kept, its `shift` counts the lines. The page
 * moves the blocks an edit kept with it, as the converter did (editanswer.js).
 */
export function shiftBlock(block, delta) {
  if (delta === 0) return block;
  const headings = block.headings.length ? block.headings.map((h) => ({ ...h, line: h.line + delta })) : block.headings;
  // Field by field: spreading a hundred thousand blocks took several times as long.
  const { html, key, rows, fnRefs, raw, open } = block;
  return { html, key, shift: (block.shift ?? 0) + delta, start: block.start + delta, end: block.end + delta, rows, headings, fnRefs, raw, open };
}

// Moves the footnote section keeps before its HTML is rewritten: a reader
// applies each of them to every line it reads there.
const MAX_MOVES = 256;

/**
 * The footnote section after `delta` lines were added above line `endLine`:
 * its definitions come from anywhere in the text, so only the line attributes
 * at or after that line move. Its HTML is kept and the move added to its
 * `moves` (htmlOf): rewriting the section of a long document cost tens of
 * milliseconds, and the page then wrote every run of it into the DOM again.
 */
export function moveBlock(block, endLine, delta) {
  if (delta === 0) return block;
  const moved = (line) => (line >= endLine ? line + delta : line);
  const headings = block.headings.map((h) => ({ ...h, line: moved(h.line) }));
  const moves = (block.moves ?? []).concat([[endLine, delta]]);
  if (moves.length > MAX_MOVES) return { ...block, html: htmlOf({ ...block, moves }), moves: [], headings };
  return { ...block, moves, headings };
}

/**
 * The record of normalised `text` made from `old` by re-parsing only what the edit
 * touched, or null when the whole text must be converted.
 * @param parser piece parser (pieces.js)
 * @param {import('./conversion.js').ConvertedText} old
 */
export function applyEdit(parser, old, text, base) {
  const source = sourceOf(text);
  const change = changeBetween(old, source.text, source.total);
  const blocks = old.blocks;
  // The block before the change may grow into it; the one before that cannot.
  const first = Math.max(lastBlockBefore(blocks, change.firstLine), 0);
  const fromLine = first > 0 ? blocks[first - 1].end : 0;
  let guardIndex = first;
  while (guardIndex < blocks.length && blocks[guardIndex].start < change.endLine) guardIndex++;
  for (let attempt = 0; attempt < 3; attempt++, guardIndex += 2) {
    // Parse through the guard (the first block after the change): when the
    // new parse starts a block exactly where it starts, everything after it
    // is the old blocks moved by delta lines.
    const guard = guardIndex < blocks.length ? blocks[guardIndex] : null;
    const to = guard ? Math.min(source.total, guard.end + change.delta) : source.total;
    if (to - fromLine > MAX_EDIT_LINES) return null;
    const env = envAt(old, first, base);
    if (!env) return null;
    const parsed = parser.parseRange(source, fromLine, to, env);
    if (env.openEnded) continue;
    let cut = parsed.length;
    if (guard) {
      cut = parsed.findIndex((b) => b.start === guard.start + change.delta && !b.tail);
      if (cut < 0) continue;
    }
    if (env.tangled) return null;
    const region = { first, last: guard ? guardIndex : blocks.length, fromLine, stopLine: guard ? guard.start : Infinity };
    return splice(old, region, change, { source, env, blocks: parsed.slice(0, cut) });
  }
  return null;
}
