// Find in the page. The engine's own find lays out every chunk a long
// document keeps skipped (several seconds and gigabytes at 10 MB), so the page
// searches its text itself: text nodes are read block by block, which needs no
// layout, in slices that let input and painting through; a dormant chunk's
// blocks are read off the page (chunks.js). Only the hit is selected, which
// wakes its chunk and brings it into layout, and scrolled into view.
//
// Matching follows the engine's find: case and diacritics are ignored, a run of
// white space matches any run, a match may cross inline elements but not the
// border of a block (a paragraph, a list item, a table cell). The window's
// selection is the current match: the next search starts from it, a click in
// the page moves it, and a render that removes it leaves it collapsed where the
// match was, so nothing points into removed nodes.
import { Dormant, blockOf, blocksIn, dormantChunkOf, edgeBlock, isChunk, isChunked, isPresent, nextBlock, previousBlock, wake } from './chunks.js';
import { parentOf, scrollToCell, showColumnsAt, textNodesOf } from './wide.js';

const SLICE_MS = 8;
// On the chunk of the match (on the container when there are none): the
// selection inside shows in the find colours (style.css). Not on the root,
// whose change would restyle the whole document, and gone from what export
// and copy take, which drop the chunks and keep only what the container holds.
const FINDING = 'data-lumo-find';

// Elements whose text the reader does not read as part of the document: page
// furniture, and the MathML twin of typeset math.
const SKIPPED_TAGS = new Set(['button', 'script', 'style', 'template', 'noscript', 'textarea', 'select']);
const SKIPPED_CLASS = /(?:^|\s)(?:katex-mathml|lumo-ui|lumo-menu)(?:\s|$)/;
// Elements that flow within a line: a match runs across them.
const INLINE = new Set([
  'a', 'abbr', 'b', 'bdi', 'bdo', 'cite', 'code', 'data', 'del', 'dfn', 'em', 'font', 'i', 'ins', 'kbd', 'label',
  'mark', 'q', 'rp', 'rt', 'ruby', 's', 'samp', 'small', 'span', 'strike', 'strong', 'sub', 'sup', 'time', 'tt', 'u', 'var',
  'tspan',
]);
// Between the text of two blocks: white space never folds to it, so no match spans it.
const BORDER = '\n';

const foldedChars = new Map();

/** One UTF-16 unit as matched: lower case, without diacritics, white space as a space; never longer. */
function foldChar(ch) {
  let folded = foldedChars.get(ch);
  if (folded !== undefined) return folded;
  if (/\s/.test(ch)) folded = ' ';
  else {
    const base = ch.normalize('NFD').replace(/\p{M}/gu, '').toLowerCase();
    const lower = ch.toLowerCase();
    folded = base.length === 1 ? base : lower.length === 1 ? lower : ch;
  }
  foldedChars.set(ch, folded);
  return folded;
}

/** Text folded unit by unit, so that an offset in it is an offset in the text. */
function fold(text) {
  if (!/[^\x00-\x7f]/.test(text)) return text.toLowerCase().replace(/\s/g, ' ');
  return text.replace(/[^\x00-\x7f]|[A-Z\s]/g, (ch) => (ch >= '\ud800' && ch <= '\udfff' ? ch : foldChar(ch)));
}

/** The expression finding `query` in folded text; null when nothing is to be found. */
function matcher(query) {
  const folded = fold(String(query));
  if (!folded) return null;
  const source = folded
    .split(/ +/)
    .map((word) => word.replace(/[\\^$.*+?()[\]{}|/]/g, '\\$&'))
    .join(' +');
  return new RegExp(source, 'g');
}

/** How a text node's parent stands in `block`: the box its text flows in, or null when the reader does not see it. */
function boxOf(parent, block) {
  let box = null;
  for (let el = parent; el; el = parentOf(el)) {
    if (SKIPPED_TAGS.has(el.localName)) return null;
    // The attribute, not classList: most elements have none, and it is read for every text node's parents.
    const classes = el.getAttribute('class');
    if (classes && SKIPPED_CLASS.test(classes)) return null;
    if (!box && (el === block || !INLINE.has(el.localName))) box = el;
    if (el === block) return box;
  }
  return null;
}

// A walk through a long block gives way this often (text nodes) to see whether its slice is over.
const NODES_PER_STEP = 512;

/**
 * The text of one top-level block, folded, with a border between the text of
 * different boxes; with `nodes`, the text nodes and where each starts in it.
 * A generator that pauses every NODES_PER_STEP nodes, so that a block of many
 * thousand nodes (all the footnotes, a long table) can span slices.
 */
function* blockTextSteps(block, nodes = null) {
  let text = '';
  let parent = null;
  let box = null;
  let lastBox = null;
  let count = 0;
  // Inline text goes back and forth between a few parents (a paragraph, its emphasis, its code).
  const boxes = new Map();
  for (const node of textNodesOf(block)) {
    if (++count % NODES_PER_STEP === 0) yield;
    const up = parentOf(node);
    if (up !== parent) {
      parent = up;
      box = boxes.get(parent);
      if (box === undefined) boxes.set(parent, (box = boxOf(parent, block)));
    }
    if (!box || !node.data) continue;
    if (lastBox && box !== lastBox) text += BORDER;
    lastBox = box;
    if (nodes) nodes.push({ node, start: text.length });
    text += fold(node.data);
  }
  return text;
}

/** blockTextSteps at once. */
function blockText(block, nodes = null) {
  const steps = blockTextSteps(block, nodes);
  for (;;) {
    const step = steps.next();
    if (step.done) return step.value;
  }
}

/** Start offsets and lengths of the matches in folded text. */
function matchesIn(text, expression) {
  const found = [];
  expression.lastIndex = 0;
  for (let m = expression.exec(text); m; m = expression.exec(text)) found.push([m.index, m[0].length]);
  return found;
}

/** The DOM point at `offset` of a block's text; at the end of a node rather than the start of the next. */
function pointAt(nodes, offset, end) {
  let lo = 0;
  let hi = nodes.length - 1;
  while (lo < hi) {
    const mid = (lo + hi + 1) >> 1;
    const start = nodes[mid].start;
    if (start < offset || (!end && start === offset)) lo = mid;
    else hi = mid - 1;
  }
  const { node, start } = nodes[lo];
  return [node, Math.min(node.data.length, Math.max(0, offset - start))];
}

/** Offset in a block's text of a DOM point inside it. */
function offsetOf(nodes, container, offset) {
  if (container.nodeType === 3) {
    const at = nodes.find((entry) => entry.node === container);
    if (at) return at.start + offset;
  }
  const point = container.ownerDocument.createRange();
  point.setStart(container, offset);
  const after = nodes.find((entry) => point.comparePoint(entry.node, 0) >= 0);
  return after ? after.start : nodes.length ? nodes[nodes.length - 1].start + nodes[nodes.length - 1].node.data.length : 0;
}

/** The first of `list` for which `after` holds, by binary search (`list.length` when none). */
function firstWhere(list, after) {
  let lo = 0;
  let hi = list.length;
  while (lo < hi) {
    const mid = (lo + hi) >> 1;
    if (after(list[mid])) hi = mid;
    else lo = mid + 1;
  }
  return lo;
}

/**
 * The first top-level block for which `after` holds, where it holds for every
 * block past the first that does: chunks first, so only one chunk is searched inside.
 */
function firstBlockWhere(container, after) {
  if (!isChunked(container)) return container.children[firstWhere(container.children, after)] ?? null;
  const chunks = container.children;
  const c = firstWhere(chunks, after);
  // The block sought may stand in the chunk before the first one that holds it all.
  if (c > 0) {
    const inside = blocksIn(chunks[c - 1]);
    const i = firstWhere(inside, after);
    if (i < inside.length) return inside[i];
  }
  wake(chunks[c]);
  return chunks[c]?.firstElementChild ?? null;
}

/**
 * @param {{container: Element, scroll: {follow: (targetY: () => number) => void}}} options
 */
export function createFinder({ container, scroll }) {
  const document = container.ownerDocument;
  const window = document.defaultView;
  let job = null;
  let shown = null; // the match last selected: the find colour stays while it is the selection
  let lastStart = 0; // its offset in its block's text

  const yieldToPage = (() => {
    const channel = new MessageChannel();
    const waiting = [];
    channel.port1.onmessage = () => {
      waiting.shift()?.();
      if (!waiting.length) channel.port1.unref?.(); // node (tests): an idle page must not keep the process alive
    };
    channel.port1.unref?.();
    return () =>
      new Promise((resolve) => {
        waiting.push(resolve);
        channel.port1.ref?.();
        channel.port2.postMessage(null);
      });
  })();

  document.addEventListener('selectionchange', () => {
    if (shown && !isShown()) setFinding(false);
  });

  // Matches per block of the text last searched for, kept while the bar is open,
  // so that stepping through a long document reads only the blocks that changed
  // since (a render, math typeset as it comes into view) and the hit's own.
  let tallied = null;
  let tally = new WeakMap();
  const changes = new window.MutationObserver((records) => {
    for (const record of records) {
      const block = blockOf(container, record.target);
      if (block) tally.delete(block);
    }
  });
  function forget() {
    changes.disconnect();
    tally = new WeakMap();
    tallied = null;
  }

  let marked = null;
  function setFinding(on, block = null) {
    marked?.removeAttribute(FINDING);
    marked = on ? (isChunk(block.parentNode) ? block.parentNode : container) : null;
    marked?.setAttribute(FINDING, '');
    if (!on) shown = null;
  }

  function isShown() {
    const selection = window.getSelection();
    if (!shown || selection.rangeCount !== 1) return false;
    const range = selection.getRangeAt(0);
    return (
      range.startContainer === shown.startContainer &&
      range.startOffset === shown.startOffset &&
      range.endContainer === shown.endContainer &&
      range.endOffset === shown.endOffset
    );
  }

  /**
   * Where the search starts: the block and offsets of the selection in the
   * page, or the top of the window. A selection between blocks was a match that
   * a render took away: its offset in the block that came instead.
   */
  function anchor(again) {
    const selection = window.getSelection();
    const range = selection.rangeCount ? selection.getRangeAt(0) : null;
    if (!range || !container.contains(range.startContainer)) {
      const block = firstBlockWhere(container, (el) => el.getBoundingClientRect().bottom > 0);
      return { block: block ?? edgeBlock(container, true), start: 0, end: 0 };
    }
    const block = blockOf(container, range.startContainer);
    if (!block) {
      const start = again ? lastStart : 0;
      const after = firstBlockWhere(container, (el) => range.comparePoint(el, 0) >= 0);
      return { block: after ?? edgeBlock(container, false), start, end: start };
    }
    const nodes = [];
    blockText(block, nodes);
    const start = offsetOf(nodes, range.startContainer, range.startOffset);
    const end = range.collapsed ? start : offsetOf(nodes, range.endContainer, range.endOffset);
    return { block, start, end };
  }

  /** `nodes`: the block's text nodes as read by the search, unless a render has replaced them since. */
  function select(block, [offset, length], nodes = null) {
    lastStart = offset;
    wake(dormantChunkOf(block));
    if (!nodes?.length || !block.contains(nodes[0].node) || !block.contains(nodes.at(-1).node)) {
      nodes = [];
      blockText(block, nodes);
    }
    const start = pointAt(nodes, offset, false);
    const end = pointAt(nodes, offset + length, true);
    // A hit in a column of a wide table not shown yet: the table shows them all.
    showColumnsAt(start[0]);
    showColumnsAt(end[0]);
    const range = document.createRange();
    range.setStart(...start);
    range.setEnd(...end);
    for (let el = range.startContainer.parentNode; el && el !== container; el = el.parentNode) if (el.localName === 'details') el.open = true;
    const selection = window.getSelection();
    selection.removeAllRanges();
    selection.addRange(range);
    shown = range.cloneRange();
    setFinding(true, block);
    return range;
  }

  /** Brings the match into view, where it stays while the chunks above it take their real height. */
  function reveal(range) {
    scrollToCell(range.startContainer.parentNode);
    const rect = range.getBoundingClientRect();
    if (!rect.width && !rect.height) return; // not shown: hidden by the reader's stylesheet
    const visible = rect.top >= 0 && rect.bottom <= window.innerHeight;
    const at = visible ? rect.top : Math.max(0, (window.innerHeight - rect.height) / 2);
    scroll.follow(() => range.getBoundingClientRect().top + window.scrollY - at);
  }

  /**
   * One search: every block once, from the anchor round the document; the hit
   * is selected as soon as it is found, the count follows.
   */
  async function run(current, expression, backwards, again, reveals) {
    const from = anchor(again);
    if (!from.block) return { active: 0, matches: 0 };
    // In the anchor's own block: past the current match, or from the anchor on
    // when it is not a match of this text (a new text, a click, a render).
    const isCurrent = (m) => !again && m[0] === from.start && m[0] + m[1] === from.end;
    const beyond = backwards ? (m) => m[0] < from.start : (m) => m[0] > from.start || (m[0] === from.start && !isCurrent(m));
    const step = backwards ? (block) => previousBlock(block, Dormant.READ) : (block) => nextBlock(block, Dormant.READ);
    // Matches per block in the order visited, and how many blocks came before the wrap.
    const counts = [];
    let beforeWrap = 0;
    let hit = null;
    let anchorMatches = [];
    let started = performance.now();
    // Awaited even when the slice goes on: a newer search may have begun in between.
    const pause = async () => {
      if (performance.now() - started <= SLICE_MS) return job === current;
      await yieldToPage();
      started = performance.now();
      return job === current;
    };
    for (let block = from.block; ; ) {
      // A block counted before is read again only for the hit in it.
      const known = block === from.block ? undefined : tally.get(block);
      let found = null;
      let nodes = null;
      if (known === undefined || (known && !hit)) {
        // Its text nodes are kept for the hit: reading a block of thousands (all the footnotes) again would take one long task.
        nodes = [];
        const steps = blockTextSteps(block, nodes);
        let walked = steps.next();
        for (; !walked.done; walked = steps.next()) if (!(await pause())) return null;
        // A render under the search: what it took away is not counted, the next search sees what came instead.
        const present = isPresent(block);
        found = present ? matchesIn(walked.value, expression) : [];
        if (present) tally.set(block, found.length);
      }
      if (!(await pause())) return null;
      if (block === from.block) anchorMatches = found;
      counts.push(found ? found.length : known);
      if (!hit && found?.length) {
        const within = block !== from.block ? (backwards ? found.length - 1 : 0) : backwards ? found.findLastIndex(beyond) : found.findIndex(beyond);
        if (within >= 0) {
          hit = { visit: counts.length - 1, match: found[within], within };
          current.selected = true;
          const range = select(block, hit.match, nodes);
          if (reveals) reveal(range);
        }
      }
      let next = isPresent(block) ? step(block) : null;
      if (!next) {
        if (beforeWrap) break; // the block left was taken away by a render
        beforeWrap = counts.length;
        next = edgeBlock(container, backwards, Dormant.READ);
      }
      if (!next || next === from.block) break;
      block = next;
    }
    if (!beforeWrap) beforeWrap = counts.length;
    if (!hit && anchorMatches.length && isPresent(from.block)) {
      // Round the whole document back to the anchor's own block.
      const within = backwards ? anchorMatches.length - 1 : 0;
      hit = { visit: 0, match: anchorMatches[within], within };
      current.selected = true;
      const range = select(from.block, hit.match);
      if (reveals) reveal(range);
    }
    if (!hit) return { active: 0, matches: 0 };
    // Visits in document order: forwards, the blocks after the wrap come first; backwards, all are reversed.
    const n = counts.length;
    const order = backwards ? (i) => (i < beforeWrap ? beforeWrap - 1 - i : n - 1 - (i - beforeWrap)) : (i) => (i < beforeWrap ? n - beforeWrap + i : i - beforeWrap);
    let before = 0;
    let matches = 0;
    const at = order(hit.visit);
    counts.forEach((count, i) => {
      if (order(i) < at) before += count;
      matches += count;
    });
    return { active: before + hit.within + 1, matches };
  }

  return {
    /**
     * Selects the next match of `text` after the current one (before it when
     * `backwards`; at or after it when `again`, to find it anew after a render)
     * and scrolls it into view unless `again`; answers {active, matches} (active
     * from 1, 0 when nothing matched), or null when a newer search replaced
     * this one. An empty text ends finding: the match stays selected, in the
     * selection's own colour.
     */
    async find(text, { backwards = false, again = false } = {}) {
      // A render in the middle of a step the reader asked for: the step goes on, from where it began.
      const step = again && job?.step && !job.selected && job.text === text ? job.step : { backwards: !!backwards, again: !!again };
      const current = { text, step, selected: false };
      job = current;
      const expression = matcher(text ?? '');
      if (!expression) {
        job = null;
        setFinding(false);
        forget();
        return null;
      }
      if (expression.source !== tallied) {
        forget();
        tallied = expression.source;
        changes.observe(container, { childList: true, subtree: true, characterData: true });
      }
      try {
        return await run(current, expression, step.backwards, step.again, !step.again);
      } finally {
        if (job === current) job = null;
      }
    },
  };
}
