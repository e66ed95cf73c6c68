// A table of very many columns shows its first columns, and the next ones as
// the reader scrolls it sideways near its end (table[data-lumo-wide] in
// style.css, on screen only: printing shows every column, and export and rich
// copy drop the mark). The engine lays out every cell of a table on the page,
// however its columns are sized: seconds for a table of thousands of columns.
// Find (find.js) reads the hidden cells' text like any other and shows every
// column of a table whose hidden cell holds the hit (showColumnsAt); see "Wide
// tables" in the README for the trade-off.
export const SHOWN_COLUMNS = 100;

/** Marks the wide tables among the top-level nodes just made. */
export function markWide(nodes) {
  for (const node of nodes) {
    if (node.nodeType !== 1) continue;
    const tables = node.tagName === 'TABLE' ? [node] : node.getElementsByTagName('table');
    for (const table of tables) if (columnsOf(table) > SHOWN_COLUMNS) table.setAttribute('data-lumo-wide', String(SHOWN_COLUMNS));
  }
}

function columnsOf(table) {
  let most = 0;
  for (const row of table.rows) most = Math.max(most, row.cells.length);
  return most;
}

/** Shows the next columns of a wide table scrolled within a view's width of its end. */
export function revealNear(table) {
  if (!table.hasAttribute('data-lumo-wide') || table.scrollLeft + 2 * table.clientWidth < table.scrollWidth) return;
  const shown = Number(table.getAttribute('data-lumo-wide'));
  const next = shown + SHOWN_COLUMNS;
  for (const row of table.rows) for (let i = shown; i < Math.min(next, row.cells.length); i++) row.cells[i].setAttribute('data-lumo-shown', '');
  if (next >= columnsOf(table)) table.removeAttribute('data-lumo-wide');
  else table.setAttribute('data-lumo-wide', String(next));
}

/** Shows every column of the wide table a node is in, when the node is in a hidden column (a find's hit, find.js). */
export function showColumnsAt(node) {
  const cell = node.closest?.('td, th');
  const table = cell?.closest('table[data-lumo-wide]');
  if (!table || cell.cellIndex < SHOWN_COLUMNS || cell.hasAttribute('data-lumo-shown')) return;
  table.removeAttribute('data-lumo-wide');
}

/** Scrolls the table a node is in sideways so that the node's cell is in view (a find's hit, find.js). */
export function scrollToCell(node) {
  const cell = node.closest?.('td, th');
  const table = cell?.closest('table');
  if (!table || table.scrollWidth <= table.clientWidth) return;
  const left = cell.offsetLeft;
  if (left < table.scrollLeft || left + cell.offsetWidth > table.scrollLeft + table.clientWidth) table.scrollLeft = Math.max(0, left - (table.clientWidth - cell.offsetWidth) / 2);
}
