// The engine's PDF writer leaves a heading alone at the foot of a page: it
// ignores break-after on it. For the time of a print each heading is put in
// one unbreakable box with the block after it, when that block is short
// enough not to leave much of a page empty; then the boxes are taken apart.

import { blockParents } from './chunks.js';

const HEADING = /^H[1-6]$/;
// A following block up to this tall (CSS pixels on the screen) goes along.
const LONGEST = 320;

/** Keeps each heading of the container on the page of the block after it. */
export function keepHeadingsWithNext(container) {
  for (const heading of blockParents(container).flatMap((parent) => Array.from(parent.children))) {
    const next = heading.nextElementSibling;
    if (!HEADING.test(heading.tagName) || !next || HEADING.test(next.tagName)) continue;
    if (next.getBoundingClientRect().height > LONGEST) continue;
    const box = document.createElement('div');
    box.className = 'lumo-keep';
    heading.before(box);
    // The white space between the two goes along, so that taking the box apart restores it.
    const inside = [];
    for (let node = heading; node !== next; node = node.nextSibling) inside.push(node);
    box.append(...inside, next);
  }
}

/** Takes the boxes of keepHeadingsWithNext apart again. */
export function releaseHeadings(container) {
  for (const box of Array.from(container.querySelectorAll('div.lumo-keep'))) if (box.parentNode === container || box.parentNode.parentNode === container) box.replaceWith(...box.childNodes);
}
