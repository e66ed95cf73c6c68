// A whole text converted a piece at a time: step(lines) converts about that
// many more lines, so the page can show the top long before the rest is
// parsed. Early pieces go by a guess of the definitions further down; when
// the guess turns out wrong, the text is converted again in one piece.
import { createPieceEnv } from './env.js';
import { prescan, byLine, firstWins, sameDefs, sameRefs, sameLabels } from './definitions.js';
import { normalize, sourceOf } from './source.js';

/**
 * @typedef {object} ConvertedText  What an edit needs of the last complete conversion.
 * @property {string} text
 * @property {number[]} starts
 * @property {number} total      lines
 * @property {string|null} base
 * @property {import('./blocklist.js').Block[]} blocks
 * @property {import('./blocklist.js').Block|null} tail  the footnote section
 * @property {import('./env.js').RefDef[]} refDefs
 * @property {import('./env.js').FootnoteDef[]} fnDefs
 * @property {object} refs       label -> {href, title}, as the whole text defines them
 * @property {Set<string>} labels  footnote labels defined
 * @property {boolean} tangled   footnotes inside footnotes: edits are converted whole
 * @property {import('./edit.js').Splice} [edit]  how it was made from the conversion before it, after an edit
 */

/**
 * @param md      our markdown-it (for the definition guess)
 * @param parser  piece parser (pieces.js)
 */
export function createConversion(md, parser) {
  /** The record of a finished job, or null when its guess about definitions was wrong. */
  function complete(job, source) {
    const { env, assumed } = job;
    const labels = new Set(env.fnDefs.map((d) => d.label));
    let refs;
    if (!assumed) refs = firstWins(env.refDefs);
    else if (sameDefs(env.refDefs, assumed.defs)) refs = assumed.refs;
    else if (!sameRefs((refs = firstWins(env.refDefs)), firstWins(assumed.defs))) return null;
    if (assumed && !sameLabels(labels, assumed.labels)) return null;
    const tail = parser.footnoteSection(env);
    return { ...source, base: job.base, blocks: job.blocks, tail, refDefs: env.refDefs, fnDefs: env.fnDefs, refs, labels, tangled: env.tangled };
  }

  /**
   * Starts converting `input`; `finished(record)` is called once the last
   * piece is converted. The job's `blocks` grow with each step; `done` and
   * `tail` are set after the last.
   */
  function start(input, base, finished) {
    const source = sourceOf(normalize(input));
    const job = { total: source.total, base, env: createPieceEnv(base), blocks: [], line: 0, done: false, tail: null, assumed: null };
    job.step = (lines = Infinity) => {
      if (job.done) return job;
      if (job.line === 0 && lines < source.total && !job.assumed) {
        job.assumed = prescan(md, source);
        // The guess's references are the pieces' own: parsing only adds to
        // them what the guess missed, so they stay the guess's when it was right.
        job.env.references = job.assumed.refs;
        job.env.prescanned = byLine(job.assumed.defs);
        for (const label of job.assumed.labels) job.env.footnotes.refs[`:${label}`] = -1;
      }
      for (let span = Math.max(1, lines); ; span *= 2) {
        const to = Math.min(job.line + span, source.total);
        const piece = parser.parsePiece(source, job.line, to, job.env);
        if (!piece) continue;
        for (const block of piece.blocks) job.blocks.push(block);
        job.line = piece.next;
        break;
      }
      if (job.line >= source.total) {
        let record = complete(job, source);
        if (!record) {
          // Convert again in one piece: every definition is then known before any block renders.
          const whole = start(input, base, (wholeRecord) => (record = wholeRecord)).step(Infinity);
          Object.assign(job, { blocks: whole.blocks, env: whole.env });
        }
        job.tail = record.tail;
        job.done = true;
        finished(record);
      }
      return job;
    };
    return job;
  }

  return { start };
}
