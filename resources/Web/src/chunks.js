// A long document's top-level blocks live in chunk elements of a few dozen
// blocks each: the engine then styles, lays out and paints a handful of
// chunks near the viewport and keeps every other one as a box of remembered
// (at first estimated) height, so that adding a block or scrolling costs the
// same however long the document is. A short document has its blocks straight
// in the container. The chunk is an element name no document can write (the
// sanitiser drops unknown elements), so raw HTML cannot pass for one.
//
// Everything here takes the container and finds out from its children which
// of the two structures it holds.
//
// A chunk far from the viewport may be dormant: it holds its blocks as HTML
// not yet parsed (patch.js), stands at its estimated height, and wake(chunk)
// puts the blocks in. Parsing every block of a long document had cost more
// than converting it. The walks below wake the chunks they step into, unless
// told not to, so a reader never sees a dormant chunk as empty. A reader of
// text alone (find) may read a dormant chunk's blocks instead: they are parsed
// but left off the page, which costs no style or layout, and are the very
// nodes its wake puts in, so a range into them stays good.

const CHUNK = 'lumo-chunk';
// Blocks per chunk: small enough that laying out the chunks coming into view
// takes a few milliseconds, large enough that the container holds few.
export const CHUNK_BLOCKS = 48;
// Estimated height of a block of n rows of text, in em (a paragraph line, its
// margins): what a chunk not yet laid out is given.
const EM_PER_ROW = 1.65;
const EM_PER_BLOCK = 0.95;
const DEFAULT_ROWS = 2.5;

const WAKE = Symbol('lumo wake');
const READ = Symbol('lumo read');
// A dormant chunk read -> its blocks; a block read off one -> the chunk and where it stands there.
const readBlocks = new WeakMap();
const readAt = new WeakMap();

// What a walk does with a dormant chunk it comes to.
export const Dormant = Object.freeze({
  WAKE: 'wake', // puts its blocks in and goes on
  STOP: 'stop', // ends the walk there
  READ: 'read', // goes through its blocks parsed off the page
});

export function isChunk(node) {
  return node?.localName === CHUNK;
}

export function isDormant(chunk) {
  return !!chunk?.[WAKE];
}

/** Puts a dormant chunk's blocks in; nothing for any other node. */
export function wake(chunk) {
  chunk?.[WAKE]?.();
}

/** The blocks of a chunk: woken first, or (Dormant.READ) read off the page; null when it is dormant and `how` stops. */
export function blocksIn(chunk, how = Dormant.WAKE) {
  if (isDormant(chunk)) {
    if (how === Dormant.STOP) return null;
    if (how === Dormant.READ) return read(chunk);
    wake(chunk);
  }
  return chunk.children;
}

/** A dormant chunk's blocks, parsed off the page the first time they are asked for. */
function read(chunk) {
  let blocks = readBlocks.get(chunk);
  if (!blocks) {
    blocks = chunk[READ]().filter((node) => node.nodeType === 1);
    blocks.forEach((block, i) => readAt.set(block, [chunk, i]));
    readBlocks.set(chunk, blocks);
  }
  return blocks;
}

/** The dormant chunk a block was read off (Dormant.READ) while it is not on the page; null otherwise. */
export function dormantChunkOf(block) {
  const chunk = readAt.get(block)?.[0];
  return isDormant(chunk) ? chunk : null;
}

/** Whether a block is on the page, or read off a dormant chunk that is. */
export function isPresent(block) {
  return block.isConnected || !!dormantChunkOf(block)?.isConnected;
}

/**
 * A dormant chunk (its estimated height set with `setEstimate`): `fill(chunk)`
 * puts its blocks in when it is woken, once; `parse()` answers the top-level
 * nodes it will put in, parsed off the page, the same each time.
 */
export function dormantChunk(doc, fill, parse) {
  const chunk = doc.createElement(CHUNK);
  chunk.setAttribute('data-lumo-dormant', '');
  chunk[READ] = parse;
  chunk[WAKE] = () => {
    delete chunk[WAKE];
    delete chunk[READ];
    chunk.removeAttribute('data-lumo-dormant');
    fill(chunk);
    refresh(chunk);
  };
  return chunk;
}

export function isChunked(container) {
  return isChunk(container.firstElementChild);
}

/** The top-level block holding `node` (the node itself when it is one), or null outside the container. */
export function blockOf(container, node) {
  while (node && node.parentNode !== container && !isChunk(node.parentNode)) node = node.parentNode;
  if (!node || isChunk(node)) return null;
  return node.parentNode === container || node.parentNode.parentNode === container ? node : null;
}

/** The parents of the top-level blocks, in order: the chunks, or the container itself. */
export function blockParents(container) {
  return isChunked(container) ? Array.from(container.children) : [container];
}

/** The top-level element after (`forwards`) or before `block`, across chunk borders. */
function stepFrom(block, forwards, how) {
  let chunk = dormantChunkOf(block);
  if (chunk) {
    const near = read(chunk)[readAt.get(block)[1] + (forwards ? 1 : -1)];
    if (near) return near;
  } else {
    const near = forwards ? block.nextElementSibling : block.previousElementSibling;
    if (near || !isChunk(block.parentNode)) return near;
    chunk = block.parentNode;
  }
  const sibling = (el) => (forwards ? el.nextElementSibling : el.previousElementSibling);
  for (chunk = sibling(chunk); chunk; chunk = sibling(chunk)) {
    const blocks = blocksIn(chunk, how);
    if (!blocks) return null;
    if (blocks.length) return blocks[forwards ? 0 : blocks.length - 1];
  }
  return null;
}

/** The next top-level element after `block`, across chunk borders (`how`: what a dormant chunk does to the walk). */
export function nextBlock(block, how = Dormant.WAKE) {
  return stepFrom(block, true, how);
}

/** The top-level element before `block`, across chunk borders (`how`: what a dormant chunk does to the walk). */
export function previousBlock(block, how = Dormant.WAKE) {
  return stepFrom(block, false, how);
}

/** The first (last) top-level element; null when there is none (`how`: what a dormant chunk does). */
export function edgeBlock(container, last, how = Dormant.WAKE) {
  const edge = last ? container.lastElementChild : container.firstElementChild;
  if (!isChunk(edge)) return edge;
  const blocks = blocksIn(edge, how);
  return (blocks && blocks[last ? blocks.length - 1 : 0]) ?? null;
}

/** The node after `node` among the top-level nodes, across chunk borders. */
function nextNode(node) {
  if (node.nextSibling || !isChunk(node.parentNode)) return node.nextSibling;
  for (let chunk = node.parentNode.nextSibling; chunk; chunk = chunk.nextSibling) if (chunk.firstChild) return chunk.firstChild;
  return null;
}

// A chunk lays out on its own, so the margins of blocks on either side of its
// border add up instead of collapsing: a chunk opens only with a block that
// has no top margin (not a heading, a rule or the footnotes).
const NO_OPENING = 'h[1-6]|hr|section';
const NO_OPENING_TAG = new RegExp(`^(?:${NO_OPENING})$`, 'i');
const NO_OPENING_HTML = new RegExp(`^<(?:${NO_OPENING})[\\s/>]`, 'i');

function opens(node) {
  return node.nodeType === 1 && !NO_OPENING_TAG.test(node.tagName);
}

/** Whether a chunk of `count` blocks ends before `node`. */
function closes(count, node) {
  return ends(count, opens(node));
}

/** Whether a chunk of `count` blocks ends before a block that may (`opensNext`) or may not open one. */
export function ends(count, opensNext) {
  return count >= CHUNK_BLOCKS && (opensNext || count >= 2 * CHUNK_BLOCKS - 1);
}

/** The rows a block of a unit guessed to take `rows` is marked with (data-lumo-rows): 0 when not known. */
export function markedRows(rows) {
  return rows ? Math.max(1, Math.round(rows)) : 0;
}

/** Estimated height in em of a top-level block of `rows` rows of text (0: not known). */
export function estimateEm(rows) {
  return EM_PER_BLOCK + EM_PER_ROW * (rows > 0 ? rows : DEFAULT_ROWS);
}

export function setEstimate(chunk, em) {
  chunk.style.containIntrinsicSize = `auto ${em.toFixed(1)}em`;
}

/** Whether HTML starting with this block may open a chunk (see `opens`). */
export function htmlOpens(html) {
  return /^<[a-z]/i.test(html) && !NO_OPENING_HTML.test(html);
}

/**
 * Gives a chunk its estimated height, and leaves a chunk holding raw HTML
 * that floats (or blocks that flow around one, data-lumo-wrap) unskipped: a
 * skipped chunk would contain the float and cut the flow around it. The chunk
 * of the footnotes (data-lumo-notes) is never skipped either: its runs of
 * items are, each on its own (footnotes.js).
 */
function refresh(chunk) {
  let em = 0;
  let floating = false;
  let notes = false;
  for (const el of chunk.children) {
    em += estimateEm(Number(el.getAttribute('data-lumo-rows')));
    if (el.hasAttribute('data-lumo-float') || el.hasAttribute('data-lumo-wrap')) floating = true;
    if (el.localName === 'section' && el.classList.contains('footnotes')) notes = true;
  }
  setEstimate(chunk, em);
  chunk.toggleAttribute('data-lumo-float', floating);
  chunk.toggleAttribute('data-lumo-notes', notes);
}

/** Wraps runs of `nodes` (top-level nodes in order) in chunks, answered in a fragment. */
function chunkedNodes(doc, nodes) {
  const fragment = doc.createDocumentFragment();
  let chunk = null;
  let count = 0;
  for (const node of nodes) {
    if (!chunk || closes(count, node)) {
      if (chunk) refresh(chunk);
      chunk = doc.createElement(CHUNK);
      fragment.appendChild(chunk);
      count = 0;
    }
    chunk.appendChild(node);
    if (node.nodeType === 1) count += 1;
  }
  if (chunk) refresh(chunk);
  return fragment;
}

/**
 * Places top-level nodes; with chunks they join the chunk of their neighbour
 * and a chunk grown to twice its size is split.
 */
export function createPlacer(container) {
  const touched = new Set();
  let on = false;

  /** Leaves a chunk its first blocks and puts the rest in chunks after it. */
  function split(chunk) {
    let count = 0;
    let node = chunk.firstChild;
    for (; node && !closes(count, node); node = node.nextSibling) if (node.nodeType === 1) count += 1;
    const rest = [];
    for (; node; node = node.nextSibling) rest.push(node);
    chunk.after(chunkedNodes(container.ownerDocument, rest));
    refresh(chunk);
  }

  return {
    /**
     * Puts the top-level nodes into chunks (`chunked`) or straight into the
     * container from now on; the nodes on the page are kept.
     */
    setChunked(chunked) {
      if (on === !!chunked) return;
      on = !!chunked;
      if (!on) {
        for (const chunk of Array.from(container.children)) {
          if (!isChunk(chunk)) continue;
          wake(chunk);
          chunk.replaceWith(...chunk.childNodes);
        }
      } else if (container.firstChild) {
        container.appendChild(chunkedNodes(container.ownerDocument, Array.from(container.childNodes)));
      }
    },
    /** Whether `node` already stands right before `ref` (null: last). */
    isBefore(node, ref) {
      if (!on) return node.parentNode === container && node.nextSibling === ref;
      return isChunk(node.parentNode) && node.parentNode.parentNode === container && nextNode(node) === ref;
    },
    /** Inserts `node` before the top-level node `ref`, or at the end. */
    insertBefore(node, ref) {
      if (!on) {
        container.insertBefore(node, ref);
        return;
      }
      let chunk = ref ? ref.parentNode : container.lastElementChild;
      if (!ref) wake(chunk);
      if (!ref && (!chunk || chunk.childElementCount >= CHUNK_BLOCKS)) {
        chunk = container.ownerDocument.createElement(CHUNK);
        container.appendChild(chunk);
      }
      chunk.insertBefore(node, ref);
      touched.add(chunk);
    },
    remove(node) {
      const parent = node.parentNode;
      node.remove();
      if (isChunk(parent)) touched.add(parent);
    },
    /** Removes many top-level nodes: a chunk that loses all of them goes at once, which costs far less for a whole document. */
    removeAll(nodes) {
      const from = new Map(); // chunk -> how many of its nodes go
      // Counted by runs of nodes with the same parent: nodes come in document order, mostly.
      let run = null;
      let count = 0;
      const counted = () => run && from.set(run, (from.get(run) ?? 0) + count);
      for (const node of nodes) {
        const parent = node.parentNode;
        if (parent === run) {
          count++;
        } else if (isChunk(parent)) {
          counted();
          run = parent;
          count = 1;
        } else {
          node.remove();
        }
      }
      counted();
      const partly = new Set();
      for (const [chunk, count] of from) {
        if (count === chunk.childNodes.length) chunk.remove();
        else partly.add(chunk);
      }
      if (partly.size === 0) return;
      for (const node of nodes) {
        if (!partly.has(node.parentNode)) continue;
        touched.add(node.parentNode);
        node.remove();
      }
    },
    /** Puts a chunk of its own (a dormant one) after the chunk of the top-level node `anchor` (null: at the start). */
    insertChunkAfter(chunk, anchor) {
      if (!anchor) {
        container.insertBefore(chunk, container.firstChild);
        return;
      }
      // What follows the anchor in its chunk moves after the new one.
      if (anchor.nextSibling) this.insertAfter([], anchor);
      anchor.parentNode.after(chunk);
    },
    /** Inserts `nodes` after the top-level node `anchor` (null: at the start), in new chunks after its own. */
    insertAfter(nodes, anchor) {
      const doc = container.ownerDocument;
      if (!on) {
        const fragment = doc.createDocumentFragment();
        fragment.append(...nodes);
        container.insertBefore(fragment, anchor ? anchor.nextSibling : container.firstChild);
        return;
      }
      const chunk = anchor ? anchor.parentNode : null;
      if (!chunk) {
        container.insertBefore(chunkedNodes(doc, nodes), container.firstChild);
        return;
      }
      touched.add(chunk);
      if (anchor.nextSibling) {
        // The anchor stands inside its chunk: what follows it moves to a chunk after the new ones.
        const after = [];
        for (let node = anchor.nextSibling; node; node = node.nextSibling) after.push(node);
        chunk.after(chunkedNodes(doc, nodes.concat(after)));
        return;
      }
      // The anchor ends its chunk: that chunk is filled up first.
      let i = 0;
      const filling = [];
      for (let count = chunk.childElementCount; i < nodes.length && !closes(count, nodes[i]); i++) {
        if (nodes[i].nodeType === 1) count += 1;
        filling.push(nodes[i]);
      }
      chunk.append(...filling);
      if (i < nodes.length) chunk.after(chunkedNodes(doc, nodes.slice(i)));
    },
    /** Drops emptied chunks, splits overgrown ones, and estimates the height of those changed. */
    settle() {
      for (const chunk of touched) {
        if (chunk.parentNode !== container) continue;
        const previous = chunk.previousElementSibling;
        if (chunk.firstChild && !opens(chunk.firstElementChild ?? chunk.firstChild)) wake(previous);
        while (previous && chunk.firstChild && !opens(chunk.firstElementChild ?? chunk.firstChild)) previous.appendChild(chunk.firstChild);
        if (previous && !isDormant(previous)) refresh(previous);
        if (!chunk.firstElementChild) chunk.remove();
        else if (chunk.childElementCount >= 2 * CHUNK_BLOCKS) split(chunk);
        else refresh(chunk);
      }
      touched.clear();
    },
  };
}
