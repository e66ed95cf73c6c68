// The source lines of the page's elements as readers must see them. An edit
// that adds or removes lines leaves the data-line attributes of the blocks
// below it as they were written: the unit holding a block (patch.js) carries
// how many lines to add to them (`shift`; the footnote section's runs, the
// moves made to its lines), so that moving every later block costs a number
// per unit instead of rewriting its attributes.

import { lineNow } from './convert/lineattrs.js';

// On the top-level node of a unit (or a run of footnotes): {shift, moves}. A
// property, not a WeakMap: keeping a weak map of every block cost about
// 285 ms of a 10 MB render's main thread.
const UNIT = Symbol('lumo unit');

/** Records that `node` stands for `unit`: the lines of everything inside it move by its `shift` and `moves` (lineNow). */
export function holdUnit(node, unit) {
  node[UNIT] = unit;
}

/** The unit `node` stands for, or undefined. */
export function unitOf(node) {
  return node[UNIT];
}

/** The value of a line attribute of `el` (`data-line` or `data-line-end`), moved by its unit's shift; NaN when it has none. */
export function lineOf(el, name = 'data-line') {
  const value = el.getAttribute(name);
  if (value === null) return NaN;
  for (let node = el; node; node = node.parentNode) {
    const unit = node[UNIT];
    if (unit) return lineNow(unit, Number(value));
  }
  return Number(value);
}
