// markdown-it's core rules cut into the phases the block converter runs
// apart: block parsing (once per piece, so a piece can be cut before the rest
// runs), everything after it, and the footnote section at the very end.
// Found with marker rules through the public ruler API.

const blocksParsed = () => {};
const footnotesBegin = () => {};

/** @returns {{block: Function[], rest: Function[], tail: Function[]}} */
export function corePhases(md) {
  md.core.ruler.after('block', 'lumo_blocks_parsed', blocksParsed);
  md.core.ruler.before('footnote_tail', 'lumo_footnotes_begin', footnotesBegin);
  const rules = md.core.ruler.getRules('');
  const split = rules.indexOf(blocksParsed);
  const tail = rules.indexOf(footnotesBegin);
  const real = (list) => list.filter((fn) => fn !== blocksParsed && fn !== footnotesBegin);
  return { block: real(rules.slice(0, split)), rest: real(rules.slice(split)), tail: real(rules.slice(tail)) };
}

/** Runs one phase over a core state. */
export function runPhase(phase, state) {
  for (const rule of phase) rule(state);
}
