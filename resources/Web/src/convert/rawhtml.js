// Raw HTML that spans blocks: an element a block opens and a later block
// closes (<details> ... </details> around Markdown).

const VOID = new Set(['area', 'base', 'br', 'col', 'embed', 'hr', 'img', 'input', 'link', 'meta', 'param', 'source', 'track', 'wbr']);
const TAG = /<(\/?)([a-zA-Z][a-zA-Z0-9-]*)(?:[^>"']|"[^"]*"|'[^']*')*?(\/?)>/g;

/** Open-minus-close counts of raw HTML tags added to `counts`, or null when they balance. */
export function tagBalance(html, counts = null) {
  TAG.lastIndex = 0;
  for (let m; (m = TAG.exec(html)); ) {
    const name = m[2].toLowerCase();
    if (VOID.has(name) || m[3]) continue;
    counts ??= Object.create(null);
    counts[name] = (counts[name] || 0) + (m[1] ? -1 : 1);
  }
  if (!counts) return null;
  for (const name in counts) if (counts[name] !== 0) return counts;
  return null;
}

/**
 * Groups blocks whose raw HTML opens an element that a later block closes:
 * such a run is parsed and sanitised as one piece, as the browser would nest
 * it. A block on its own is its own unit; a run becomes {key, html, start, blocks}.
 * Unless `complete`, a run that may close in a block not converted yet ends the list.
 */
export function groupBlocks(blocks, complete = true) {
  const units = [];
  for (let i = 0; i < blocks.length; i++) {
    const block = blocks[i];
    if (!block.open) {
      units.push(block);
      continue;
    }
    let counts = { ...block.open };
    let end = i + 1;
    while (end < blocks.length && counts) {
      const next = blocks[end++];
      counts = next.raw ? tagBalance(next.raw, counts) : counts;
    }
    if (counts && !complete) break;
    const run = blocks.slice(i, end);
    units.push({ key: run.map((b) => b.key).join(''), html: run.map((b) => b.html).join(''), start: block.start, blocks: run });
    i = end - 1;
  }
  return units;
}
