// Reference and footnote definitions of a whole text: guessed before the
// first piece is parsed (so early pieces see what is defined further down)
// and compared with what parsing found. The reference definitions the guess
// parsed are handed to the pieces, which take them instead of parsing the
// same lines again (markdown.js).

// Lines that may define a link reference or a footnote (checked properly while parsing).
const REF_CANDIDATE = /^ {0,3}\[(?!\^)[^\n]*\]:/gm;
const FOOTNOTE_CANDIDATE = /^ {0,3}\[\^([^\]\n ]+)\]:/gm;

/**
 * @typedef {object} Guess  The definitions a text probably has.
 * @property {object} refs  label -> {href, title}, the first of a label winning
 * @property {import('./env.js').RefDef[]} defs  every reference definition found, in order
 * @property {Set<string>} labels  footnote labels
 */

/** @returns {Guess} */
export function prescan(md, source) {
  const { text, starts } = source;
  // The rules record definitions in this environment as in a piece's (env.js).
  const env = { references: {}, refDefs: [], lineOffset: 0 };
  let line = 0;
  REF_CANDIDATE.lastIndex = 0;
  // A run of definitions up to the next blank line is parsed once: a
  // definition cannot interrupt a paragraph, so the lines after one that is
  // not a definition are none either.
  for (let m; (m = REF_CANDIDATE.exec(text)); ) {
    while (starts[line + 1] <= m.index) line++;
    const found = text.indexOf('\n\n', m.index);
    const stop = found < 0 ? text.length : found;
    env.lineOffset = line;
    md.block.parse(text.slice(m.index, stop), md, env, []);
    REF_CANDIDATE.lastIndex = stop;
  }
  const labels = new Set();
  FOOTNOTE_CANDIDATE.lastIndex = 0;
  for (let m; (m = FOOTNOTE_CANDIDATE.exec(text)); ) labels.add(m[1]);
  return { refs: env.references, defs: env.refDefs, labels };
}

/** The definitions of a guess by line, for the pieces to take (env.js, `prescanned`). */
export function byLine(defs) {
  const lines = new Map();
  for (const d of defs) lines.set(d.line, d);
  return lines;
}

/** The references a list of definitions gives: the first of a label wins. */
export function firstWins(defs) {
  const refs = {};
  for (const d of defs) if (refs[d.label] === undefined) refs[d.label] = { href: d.href, title: d.title };
  return refs;
}

/** Whether parsing found the very definitions the guess found, where it found them. */
export function sameDefs(a, b) {
  if (a.length !== b.length) return false;
  for (let i = 0; i < a.length; i++) {
    const x = a[i];
    const y = b[i];
    if (x.line !== y.line || x.label !== y.label || x.href !== y.href || x.title !== y.title) return false;
  }
  return true;
}

export function sameRefs(a, b) {
  const labels = Object.keys(a);
  if (labels.length !== Object.keys(b).length) return false;
  return labels.every((label) => b[label] && b[label].href === a[label].href && b[label].title === a[label].title);
}

export function sameLabels(a, b) {
  return a.size === b.size && [...a].every((label) => b.has(label));
}
