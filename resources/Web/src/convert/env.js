// The `env` object markdown-it hands to every rule and renderer. convert()
// passes a bare {base}; the block converter passes a piece environment, which
// lets a long text be parsed a few thousand lines at a time and an edit
// re-parse only the blocks around it. Every field any of our rules or
// plugins reads or writes is listed here, and nowhere else.
import { createSlugger } from '../slug.js';

/**
 * @typedef {object} RefDef  A link reference definition where it was written.
 * @property {number} line   absolute 0-based line of the definition
 * @property {number} end    absolute line after its last
 * @property {string} label  normalised label
 * @property {string} href
 * @property {string} title
 * @property {boolean} added  it brought its label into `references` (no earlier definition or guess had it)
 *
 * @typedef {object} FootnoteDef  A footnote definition where it was written.
 * @property {number} line   absolute first line
 * @property {number} end    absolute line after its last
 * @property {string} label
 * @property {string} text   its source, so a changed note is noticed
 *
 * @typedef {object} PieceEnv
 * Read by the rules:
 * @property {string|null} base      document folder URL that links resolve against (plugins/links.js)
 * @property {boolean} pieces        the text is parsed piece by piece: footnote definitions are stashed
 *                                   in `footnoteTokens` for one section at the end (markdown.js), and a
 *                                   construct left open at a piece's end sets `openEnded`
 * @property {number} lineOffset     absolute line of the piece's first line; every line a rule records or
 *                                   writes (data-line, outline, definitions) adds it; front matter only
 *                                   exists at offset 0
 * @property {boolean} lastPiece     the piece runs to the end of the text: nothing open can close later
 * @property {{text: string, starts: number[]}} source  the whole text and its line starts (row estimates)
 * @property {Function} slugger      one heading-id generator for the whole text (plugins/headings.js)
 * @property {Map<number, RefDef>|null} prescanned  reference definitions the guess of definitions further
 *                                   down parsed (convert/definitions.js), by line: one outside every
 *                                   container is taken from here instead of being parsed again (markdown.js)
 * Shared with markdown-it and its footnote plugin:
 * @property {object} references     label -> {href, title}; seeded with definitions found further down
 * @property {{refs: object, list?: object[]}} footnotes  `refs[':label']` = note number, or -1 for
 *                                   defined but not yet referenced
 * Written by the rules:
 * @property {boolean} openEnded     a block ran into the piece's end unclosed: parse a longer piece
 * @property {boolean} tangled       a footnote refers to a footnote: numbering edits cannot follow
 * @property {RefDef[]} refDefs      every reference definition parsed, in order
 * @property {FootnoteDef[]} fnDefs  every footnote definition parsed, in order
 * @property {object[]} footnoteTokens  stashed tokens of footnote definitions
 * Outputs of a render (also set by convert()): outline, hasMath, hasDiagrams, frontMatter.
 */

/** @returns {PieceEnv} */
export function createPieceEnv(base) {
  return {
    base,
    pieces: true,
    lineOffset: 0,
    lastPiece: false,
    source: null,
    slugger: createSlugger(),
    references: {},
    prescanned: null,
    footnotes: { refs: {} },
    openEnded: false,
    tangled: false,
    refDefs: [],
    fnDefs: [],
    footnoteTokens: [],
  };
}

/** Points the environment at lines [from, to) of the text before a piece is parsed. */
export function enterPiece(env, source, from, to, total) {
  env.source = source;
  env.lineOffset = from;
  env.lastPiece = to >= total;
  env.openEnded = false;
}

/**
 * Called by a block rule that found no end before `endLine`: in a piece that
 * is not the last, the end may be further down, so the piece must grow.
 */
export function markOpenEnded(state, endLine) {
  if (state.env.pieces && !state.env.lastPiece && endLine >= state.lineMax) state.env.openEnded = true;
}
