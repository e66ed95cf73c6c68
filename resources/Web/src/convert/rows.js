// A guess at how many rows of text a block takes on the page, for the height
// a long document gives it before laying it out.

const ROW_CHARS = 100;
const FIXED_ROWS = { heading_open: 3, math_block: 2, hr: 2, front_matter: 2 };

/** Rows of a block of token type `type` over lines [start, end) of source {text, starts}. */
export function rowsOf(type, source, start, end) {
  if (FIXED_ROWS[type]) return FIXED_ROWS[type];
  const lines = end - start;
  if (type === 'fence') return Math.max(1, lines - 2); // code does not wrap; its fences do not show
  if (type === 'code_block') return Math.max(1, lines);
  if (type === 'table_open') return Math.max(1, lines - 1); // the delimiter row does not show
  const { text, starts } = source;
  // Where a line starts, counting a line break after the last one.
  const at = (line) => (line < starts.length ? starts[line] : text.length + 1);
  let rows = 0;
  if (type === 'bullet_list_open' || type === 'ordered_list_open') {
    // An item a row at least.
    for (let line = start; line < end && line < starts.length; line++) rows += Math.ceil((at(line + 1) - 1 - at(line)) / ROW_CHARS);
  } else {
    // Paragraphs wrap their source lines as they like: only their characters count.
    rows = Math.ceil((at(end) - at(start) - lines) / ROW_CHARS);
  }
  return Math.max(1, rows);
}
