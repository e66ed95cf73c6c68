// The data-line / data-line-end attributes in rendered HTML: removed for a
// key that survives moves, shifted when an edit above moves a block.

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
