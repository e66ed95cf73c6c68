// Markdown -> a list of top-level blocks, each with its HTML, source lines,
// headings and footnote references, converted in pieces (convert/conversion.js)
// and after an edit only around it (convert/edit.js). Joined, the blocks are
// exactly convert(text).html. The modules of convert/ follow the pipeline:
// env (what the rules share), phases, pieces, blocklist, conversion, edit.
import { createMarkdown } from './markdown.js';
import { corePhases } from './convert/phases.js';
import { createBlockRenderer } from './convert/blocklist.js';
import { createPieceParser } from './convert/pieces.js';
import { createConversion } from './convert/conversion.js';
import { applyEdit } from './convert/edit.js';
import { normalize } from './convert/source.js';

export { groupBlocks } from './convert/rawhtml.js';

export function createBlockConverter() {
  const md = createMarkdown();
  const parser = createPieceParser(md, corePhases(md), createBlockRenderer(md));
  const conversion = createConversion(md, parser);
  /** @type {import('./convert/conversion.js').ConvertedText|null} the last complete conversion */
  let last = null;

  /**
   * A full conversion in pieces. step(lines) converts about that many more
   * lines; `blocks` grows; `done` is set after the last piece.
   */
  function start(input, base = null) {
    last = null;
    return conversion.start(input, base, (record) => (last = record));
  }

  /**
   * Re-converts only what an edit touched, when the last conversion of the
   * same base is complete and nothing outside the edit depends on it.
   * Returns {blocks, tail, total, edit} or null; `edit` (a Splice, edit.js)
   * tells how the blocks were made from the last ones, absent when they are the
   * last ones.
   */
  function update(input, base = null) {
    if (!last || last.base !== base || last.tangled) return null;
    const text = normalize(input);
    if (text === last.text) return { blocks: last.blocks, tail: last.tail, total: last.total };
    const record = applyEdit(parser, last, text, base);
    if (!record) return null;
    last = record;
    return { blocks: last.blocks, tail: last.tail, total: last.total, edit: last.edit };
  }

  return {
    start,
    update,
    /** Converts the whole text at once (tests, small documents). */
    convert(text, base = null) {
      const fast = update(text, base);
      if (fast) return fast;
      const job = start(text, base).step(Infinity);
      return { blocks: job.blocks, tail: job.tail, total: job.total };
    },
    reset() {
      last = null;
    },
  };
}

/** Outline of a block list, as convert() reports it. */
export function outlineOf(blocks, tail) {
  const out = [];
  for (const b of blocks) for (const h of b.headings) out.push(h);
  if (tail) for (const h of tail.headings) out.push(h);
  return out;
}
