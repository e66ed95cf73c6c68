// A table of very many columns shows its first columns, and the next ones as
// the reader scrolls it sideways near its end. The engine styles and lays out
// every cell in the page, hidden or not: seconds for a table of thousands of
// columns. So the cells not shown yet are kept out of the page: each long row
// gives way to a copy holding its first cells, and the original row keeps the
// rest, detached (table[data-lumo-wide] counts the columns shown). Moving the
// few shown cells costs far less than moving the many hidden ones.
// Whatever must see the whole table reaches them here: find reads their text
// (textNodesOf, parentOf) and shows every column when a hit lands in one
// (showColumnsAt); export and rich copy take copies (cloneHiddenColumns);
// printing shows them all (showAllColumns). See "Wide tables" in the README.
export const SHOWN_COLUMNS = 100;

const rowParts = new WeakMap(); // table -> [{index, part}] for its rows with cells not shown
const partOfRow = new WeakMap(); // row on the page -> the detached row holding its cells not shown
const rowOfPart = new WeakMap(); // detached row -> the row on the page
let tablesHiding = 0; // most documents have none: their text is walked as it stands

function columnsOf(table) {
  let most = 0;
  for (const row of table.rows) most = Math.max(most, row.cells.length);
  return most;
}

function tablesIn(node) {
  return node.localName === 'table' ? [node] : Array.from(node.getElementsByTagName('table'));
}

function hideColumns(table) {
  const parts = [];
  Array.from(table.rows).forEach((part, index) => {
    if (part.cells.length <= SHOWN_COLUMNS) return;
    const row = part.cloneNode(false);
    showCells(row, part, SHOWN_COLUMNS);
    part.replaceWith(row);
    rowOfPart.set(part, row);
    partOfRow.set(row, part);
    parts.push({ index, part });
  });
  rowParts.set(table, parts);
  tablesHiding++;
  table.setAttribute('data-lumo-wide', String(SHOWN_COLUMNS));
}

const CELL = /<t[dh][\s/>]/gi;

/**
 * Whether the HTML may hold a table of more columns than are shown: it has
 * that many cell tags in all (the parser makes no cell without one). Walking
 * the rows of every small table took about 120 ms of a 10 MB render.
 */
export function mayBeWide(html) {
  CELL.lastIndex = 0;
  let cells = 0;
  while (CELL.test(html)) if (++cells > SHOWN_COLUMNS) return true;
  return false;
}

/** Hides the columns past the first ones of the wide tables among the top-level nodes just made. */
export function markWide(nodes) {
  for (const node of nodes) {
    if (node.nodeType !== 1) continue;
    for (const table of tablesIn(node)) if (!rowParts.has(table) && columnsOf(table) > SHOWN_COLUMNS) hideColumns(table);
  }
}

/** Moves the first `count` cells of a detached row (with the text between them) into the row on the page. */
function showCells(row, part, count) {
  const moved = [];
  let cells = 0;
  for (let node = part.firstChild; node && !(node.nodeType === 1 && cells === count); node = node.nextSibling) {
    if (node.nodeType === 1) cells++;
    moved.push(node);
  }
  row.append(...moved);
}

/** Moves every child of `from` to the end of `to` (one at a time: a row may hold too many to spread into one call). */
function moveAll(from, to) {
  while (from.firstChild) to.appendChild(from.firstChild);
}

function showAll(table) {
  for (const { part } of rowParts.get(table) ?? []) moveAll(part, rowOfPart.get(part));
  rowParts.delete(table);
  tablesHiding--;
  table.removeAttribute('data-lumo-wide');
}

/** Shows the next columns of a wide table scrolled within a view's width of its end. */
export function revealNear(table) {
  const parts = rowParts.get(table);
  if (!parts || table.scrollLeft + 2 * table.clientWidth < table.scrollWidth) return;
  for (const { part } of parts) showCells(rowOfPart.get(part), part, SHOWN_COLUMNS);
  if (parts.every(({ part }) => !part.firstChild)) showAll(table);
  else table.setAttribute('data-lumo-wide', String(Number(table.getAttribute('data-lumo-wide')) + SHOWN_COLUMNS));
}

/** Shows every column of the table a node is in, when the node is in a column not shown (a find's hit, find.js). */
export function showColumnsAt(node) {
  let top = node;
  while (top.parentNode) top = top.parentNode;
  const row = rowOfPart.get(top);
  if (row) showAll(row.closest('table'));
}

/** Shows every column of the wide tables in `root` (printing). */
export function showAllColumns(root) {
  for (const table of tablesIn(root)) if (rowParts.has(table)) showAll(table);
}

/** The detached rows holding the cells not shown of the tables in `root`. */
export function hiddenParts(root) {
  if (tablesHiding === 0) return [];
  return tablesIn(root).flatMap((table) => (rowParts.get(table) ?? []).map(({ part }) => part));
}

/** A node's parent; for a cell not shown, the row on the page. */
export function parentOf(node) {
  const parent = node.parentNode;
  return parent?.localName === 'tr' ? (rowOfPart.get(parent) ?? parent) : parent;
}

function* walk(node) {
  for (let child = node.firstChild; child; child = child.nextSibling) {
    if (child.nodeType === 3) yield child;
    else if (child.firstChild) yield* walk(child);
    const part = child.localName === 'tr' ? partOfRow.get(child) : null;
    if (part) yield* walk(part);
  }
}

/** The text nodes of `root` in reading order, those of the cells not shown at the end of their row. */
export function* textNodesOf(root) {
  if (hiddenParts(root).length === 0) {
    const walker = root.ownerDocument.createTreeWalker(root, 4 /* NodeFilter.SHOW_TEXT */);
    for (let node = walker.nextNode(); node; node = walker.nextNode()) yield node;
    return;
  }
  yield* walk(root);
}

/** Puts copies of the cells not shown of `original`'s tables into the same rows of `clone`, a deep copy of it. */
export function cloneHiddenColumns(original, clone) {
  const copies = tablesIn(clone);
  tablesIn(original).forEach((table, i) => {
    const parts = rowParts.get(table);
    if (!parts) return;
    const rows = copies[i].rows;
    for (const { index, part } of parts) if (rows[index]) moveAll(clone.ownerDocument.importNode(part, true), rows[index]);
  });
}

/** Scrolls the table a node is in sideways so that the node's cell is in view (a find's hit, find.js). */
export function scrollToCell(node) {
  const cell = node.closest?.('td, th');
  const table = cell?.closest('table');
  if (!table || table.scrollWidth <= table.clientWidth) return;
  const left = cell.offsetLeft;
  if (left < table.scrollLeft || left + cell.offsetWidth > table.scrollLeft + table.clientWidth) table.scrollLeft = Math.max(0, left - (table.clientWidth - cell.offsetWidth) / 2);
}
