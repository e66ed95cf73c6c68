// An edit's answer from the conversion Worker: only the blocks that changed,
// and where they go in the block list the page already holds. Cloning every
// block of a long document across threads for each keystroke cost more than
// converting the edit on the page itself.
import { moveBlock, shiftBlock } from './convert/edit.js';
import { htmlOf } from './convert/lineattrs.js';

/**
 * @typedef {object} EditAnswer
 * @property {number} first      index of the first held block replaced
 * @property {number} removed    how many held blocks are replaced
 * @property {object[]} blocks   what replaces them
 * @property {number} delta      lines the held blocks after them move by
 * @property {number} endLine    the footnote section's lines move from this line on
 */

function sameBlock(a, b) {
  return a.key === b.key && htmlOf(a) === htmlOf(b) && a.start === b.start && a.end === b.end && a.rows === b.rows && a.raw === b.raw && JSON.stringify([a.headings, a.fnRefs]) === JSON.stringify([b.headings, b.fnRefs]);
}

/**
 * The answer that turns `held` (the blocks the page holds) into `blocks`, or
 * null when the page needs them all.
 * @param {object[]} held
 * @param {{blocks: object[], edit?: import('./convert/edit.js').Splice}} result  of the converter's update()
 * @returns {EditAnswer|null}
 */
export function editAnswer(held, { blocks, edit }) {
  if (blocks === held) return { first: held.length, removed: 0, blocks: [], endLine: 0, delta: 0 };
  if (!edit || edit.from !== held) return null;
  const { endLine, delta } = edit;
  let { first, removed } = edit;
  let end = first + blocks.length - held.length + removed; // after the new blocks
  // The region parsed again reaches past the change: what it gave back unchanged stays.
  while (removed > 0 && first < end && sameBlock(blocks[first], held[first])) {
    first++;
    removed--;
  }
  while (removed > 0 && first < end && sameBlock(blocks[end - 1], shiftBlock(held[first + removed - 1], delta))) {
    end--;
    removed--;
  }
  return { first, removed, blocks: blocks.slice(first, end), endLine, delta };
}

/**
 * The page's new block list and footnote section from the ones it holds and
 * an edit's answer. The held list and its blocks after the edit change in
 * place: they are the page's own copies, and a new record for each of the
 * 112,000 blocks below an edit near the top of the 10 MB bench document took
 * most of the page's task.
 */
export function applyEditAnswer(held, tail, answer) {
  const { first, removed, blocks, endLine, delta } = answer;
  if (delta !== 0) {
    for (let i = first + removed; i < held.length; i++) {
      const block = held[i];
      block.shift = (block.shift ?? 0) + delta;
      block.start += delta;
      block.end += delta;
      for (const heading of block.headings) heading.line += delta;
    }
  }
  held.splice(first, removed, ...blocks);
  return { blocks: held, tail: tail && moveBlock(tail, endLine, delta) };
}

/**
 * Whether the page's outline stays as it was after the answer: no heading
 * replaced, added, removed or moved. A file that grows below its last heading
 * need not have its whole outline gathered and compared again on each write.
 */
export function keepsOutline(held, tail, { first, removed, blocks, endLine, delta }) {
  const headings = (list) => JSON.stringify(list.flatMap((b) => b.headings));
  if (headings(held.slice(first, first + removed)) !== headings(blocks)) return false;
  if (delta === 0) return true;
  for (let i = first + removed; i < held.length; i++) if (held[i].headings.length) return false;
  return !tail || tail.headings.every((h) => h.line < endLine);
}
