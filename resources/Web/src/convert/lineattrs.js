// The data-line / data-line-end attributes in rendered HTML: removed for a
// key that survives moves, shifted when an edit above moves a block.
// A block moved whole keeps its HTML and counts the lines it moved (`shift`),
// the footnote section the moves made to its lines (`moves`): rewriting the
// HTML of every block below an edit cost most of the edit in a long document.

const LINE_ATTRS = / data-line(?:-end)?="\d*"/g;
const LINE_VALUE = /( data-line(?:-end)?=")(\d+)"/g;

export function stripLines(html) {
  return html.replace(LINE_ATTRS, '');
}

/** Adds delta to every line attribute at or after line `from`. */
export function shiftLines(html, from, delta) {
  if (delta === 0) return html;
  return html.replace(LINE_VALUE, (match, head, line) => (Number(line) >= from ? `${head}${Number(line) + delta}"` : match));
}

/** A block's HTML with its line attributes where the block now stands. */
export function htmlOf(block) {
  let html = block.html;
  for (const [from, delta] of block.moves ?? []) html = shiftLines(html, from, delta);
  return block.shift ? shiftLines(html, 0, block.shift) : html;
}

/** Where a line written in the HTML of `unit` (a block, or what the page made of one) now stands. */
export function lineNow(unit, line) {
  for (const [from, delta] of unit.moves ?? []) if (line >= from) line += delta;
  return line + (unit.shift ?? 0);
}
