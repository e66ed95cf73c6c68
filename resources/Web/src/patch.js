// Keeps the container's children in step with a list of rendered units
// (blocks, or runs of blocks that raw HTML ties together). Each unit's nodes
// are kept while its HTML without line attributes is unchanged, so that
// scroll position, loaded images and already coloured code survive an edit;
// only new units are sanitised. Matching is by key in a Map: linear however
// many blocks move. Where the nodes go (straight into the container, or into
// chunks) is the placer's business (chunks.js). A unit an edit only moved
// keeps its line attributes and takes the unit's `shift` (lines.js).
//
// A long document shown in pieces leaves the units far below its first
// screen unparsed, in dormant chunks (chunks.js) that wake as they come near
// the viewport or as a reader steps into them: such an entry keeps its `unit`
// (what to sanitise) and has no nodes until then.
import { createPlacer, dormantChunk, ends, estimateEm, htmlOpens, markedRows, setEstimate, wake } from './chunks.js';
import { createRun, notesList } from './footnotes.js';
import { holdUnit, unitOf } from './lines.js';

const LINE_PAIR = / data-line="(\d*)" data-line-end="(\d*)"/g;
const STALE = '\u0000stale';

/** Line attributes of a unit's HTML, in document order. */
function lineValues(html) {
  return Array.from(html.matchAll(LINE_PAIR), (m) => [m[1], m[2]]);
}

function annotated(nodes) {
  const list = [];
  for (const node of nodes) {
    if (node.nodeType !== 1) continue;
    if (node.hasAttribute('data-line')) list.push(node);
    for (const el of node.querySelectorAll('[data-line]')) list.push(el);
  }
  return list;
}

// Units after one that must stay awake stay awake too: they may flow around it (a float).
const AWAKE_AFTER = 3;
// How far from the viewport a dormant chunk wakes.
const WAKE_MARGIN = '100% 0px';

/**
 * @param {Element} container
 * @param {{sanitize: (units: {html: string}[]) => Node[][], mayDoze?: (unit: object) => boolean, onWake?: (nodes: Node[]) => void}} options
 *   mayDoze: whether a unit may be left unparsed in a dormant chunk (none when absent);
 *   onWake: the nodes of units just woken, on the page
 */
export function createPatcher(container, { sanitize, mayDoze = null, onWake = () => {} }) {
  /** @type {{key: string, html: string, shift: number, moves?: number[][], nodes: Node[], unit?: object, chunk?: Element}[]} in document order; the nodes carry the line attributes of `html`; a dormant entry has its `unit` and `chunk` instead */
  let entries = [];
  const view = container.ownerDocument.defaultView;
  const observer = mayDoze && view?.IntersectionObserver
    ? new view.IntersectionObserver((seen) => {
        for (const e of seen) if (e.isIntersecting) wake(e.target);
      }, { rootMargin: WAKE_MARGIN })
    : null;
  const dozers = new Map(); // dormant chunk -> its entries
  let stream = null; // a document being shown in pieces
  const placer = createPlacer(container);
  // Whether blocks go into chunks, from the next update on: a long document
  // replaced by a short one has its chunks removed whole first, instead of
  // every block of them moved out of its chunk only to be removed after.
  let chunked = false;

  /** The first top-level node of the entries from `from` on (runs of footnotes stand in their list). */
  function firstNode(list, from) {
    for (let i = from; i < list.length; i++) {
      wake(list[i].chunk);
      if (list[i].nodes.length && !list[i].run) return list[i].nodes[0];
    }
    return null;
  }

  /**
   * A dormant chunk, empty: entries join it with `doze`; woken by coming near
   * the viewport or by a reader. A reader of its text has its units parsed
   * off the page (`list.read`); the wake puts in those very nodes.
   */
  function dormant() {
    const list = [];
    list.em = 0;
    list.read = null;
    const chunk = dormantChunk(
      container.ownerDocument,
      () => {
        observer?.unobserve(chunk);
        dozers.delete(chunk);
        const nodes = list.read ?? materialise(list);
        for (const e of list) e.chunk = null;
        chunk.append(...nodes);
        onWake(nodes);
      },
      () => (list.read ??= materialise(list)),
    );
    dozers.set(chunk, list);
    observer?.observe(chunk);
    return chunk;
  }

  /** Parses the units of dormant entries, which take the nodes (and keep their chunk); answers all of them, in order. */
  function materialise(list) {
    const lists = sanitize(list.map((e) => e.unit));
    const nodes = [];
    list.forEach((e, i) => {
      e.nodes = lists[i];
      e.unit = null;
      for (const node of e.nodes) {
        holdUnit(node, e);
        nodes.push(node);
      }
    });
    return nodes;
  }

  /** Leaves the entry unparsed in the dormant chunk; its estimated height is set by `sizeDormant`. */
  function doze(chunk, entry) {
    const list = dozers.get(chunk);
    list.push(entry);
    entry.chunk = chunk;
    list.em += estimateEm(markedRows(entry.unit.rows)); // as the page marks its rows
  }

  function sizeDormant(chunks) {
    for (const chunk of chunks) if (dozers.has(chunk)) setEstimate(chunk, dozers.get(chunk).em);
  }

  /** Puts the runs of footnotes after the entry at `from` in order into the list of the section at `head`. */
  function placeRuns(list, head, from = head + 1) {
    const into = notesList(list[head].nodes);
    if (!into) return;
    let previous = null;
    for (let i = from - 1; i > head && !previous; i--) if (list[i].run) previous = list[i].nodes[0];
    for (let i = from; i < list.length; i++) {
      if (!list[i].run) continue;
      const run = list[i].nodes[0];
      const at = previous ? previous.nextSibling : into.firstElementChild;
      if (run !== at) into.insertBefore(run, at);
      previous = run;
    }
  }

  /** The unit's lines for the entry's nodes: its shift and moves, and its attributes when its HTML was written at other lines. */
  function setLines(entry, unit) {
    if (entry.unit) entry.unit = unit; // dormant: parsed as it now stands when woken
    entry.shift = unit.shift ?? 0;
    entry.moves = unit.moves;
    const { html } = unit;
    if (entry.html === html) return;
    const values = lineValues(html);
    const elements = annotated(entry.nodes);
    if (values.length === elements.length) {
      for (let i = 0; i < values.length; i++) {
        const el = elements[i];
        if (el.getAttribute('data-line') !== values[i][0]) el.setAttribute('data-line', values[i][0]);
        if (el.getAttribute('data-line-end') !== values[i][1]) el.setAttribute('data-line-end', values[i][1]);
      }
    }
    entry.html = html;
  }

  function create(units) {
    const lists = sanitize(units);
    return units.map((u, i) => {
      const nodes = u.run ? [createRun(container.ownerDocument, lists[i], u.first)] : lists[i];
      const entry = { key: u.key, html: u.html, shift: u.shift ?? 0, moves: u.moves, nodes, run: !!u.run, notes: !!u.notes };
      for (const node of entry.nodes) holdUnit(node, entry);
      return entry;
    });
  }

  function place(list, ref) {
    for (let i = list.length - 1; i >= 0; i--) {
      if (list[i].run) continue;
      const nodes = list[i].nodes;
      for (let k = nodes.length - 1; k >= 0; k--) {
        const node = nodes[k];
        if (!placer.isBefore(node, ref)) placer.insertBefore(node, ref);
        ref = node;
      }
    }
  }

  function removeEntries(list) {
    // A dormant chunk that loses all its units goes unparsed; one that keeps some wakes.
    const leaving = new Map(); // dormant chunk -> how many of its units go
    for (const entry of list) if (entry.chunk) leaving.set(entry.chunk, (leaving.get(entry.chunk) ?? 0) + 1);
    for (const [chunk, count] of leaving) {
      if (count < dozers.get(chunk).length) {
        wake(chunk);
        continue;
      }
      observer?.unobserve(chunk);
      dozers.delete(chunk);
      chunk.remove();
    }
    const nodes = [];
    for (const entry of list) for (const node of entry.nodes) nodes.push(node);
    placer.removeAll(nodes);
  }

  return {
    /** Makes the container show exactly these units; answers the nodes that are new. */
    update(units) {
      stream?.stop();
      const old = entries;
      const max = Math.min(old.length, units.length);
      let head = 0;
      while (head < max && old[head].key === units[head].key) {
        setLines(old[head], units[head]);
        head++;
      }
      let tail = 0;
      while (tail < max - head && old[old.length - 1 - tail].key === units[units.length - 1 - tail].key) {
        setLines(old[old.length - 1 - tail], units[units.length - 1 - tail]);
        tail++;
      }
      // Only the old units whose key comes back are pooled: a long document replaced by a short one pools none.
      const wanted = new Set();
      for (let i = head; i < units.length - tail; i++) wanted.add(units[i].key);
      const pool = new Map();
      const gone = [];
      for (let i = head; i < old.length - tail; i++) {
        if (!wanted.has(old[i].key)) {
          gone.push(old[i]);
          continue;
        }
        const list = pool.get(old[i].key);
        if (list) list.push(old[i]);
        else pool.set(old[i].key, [old[i]]);
      }
      const middle = [];
      const missing = [];
      for (let i = head; i < units.length - tail; i++) {
        const reuse = pool.get(units[i].key)?.shift();
        if (reuse) {
          wake(reuse.chunk); // it moves: its nodes are needed
          setLines(reuse, units[i]);
        } else missing.push(i - head);
        middle.push(reuse);
      }
      const made = create(missing.map((m) => units[head + m]));
      missing.forEach((m, i) => (middle[m] = made[i]));
      for (const list of pool.values()) for (const entry of list) gone.push(entry);
      removeEntries(gone);
      placer.setChunked(chunked);
      place(middle, firstNode(old, old.length - tail));
      placer.settle();
      entries = old.slice(0, head).concat(middle, old.slice(old.length - tail));
      const notes = entries.findLastIndex((e) => e.notes);
      if (notes >= 0) placeRuns(entries, notes);
      return made.flatMap((e) => e.nodes);
    },

    /**
     * A document shown in pieces: begin() keeps the current nodes for reuse;
     * add() prepares the next units off the page, flush() puts what was
     * prepared after the units placed so far, in one insertion, and answers
     * the new nodes; end() drops what was not reused.
     */
    begin({ awake = Infinity } = {}) {
      stream?.stop();
      placer.setChunked(chunked);
      const before = entries;
      const pool = new Map();
      for (const entry of before) {
        if (entry.chunk) continue; // dormant: made again, as cheaply
        const list = pool.get(entry.key);
        if (list) list.push(entry);
        else pool.set(entry.key, [entry]);
      }
      const used = new Set();
      const placed = [];
      let queued = [];
      let fresh = [];
      let last = null;
      let notes = -1; // where the footnote section stands in `placed`
      // Which units are left dormant: past the first `awake`, any that may doze
      // (the first of a dormant run must be able to open a chunk).
      let awakeLeft = chunked && mayDoze ? awake : Infinity;
      let keptAwake = 0;
      let dozed = false; // the unit before
      const dozes = (unit) => {
        if (awakeLeft > 0) {
          awakeLeft -= 1;
          return (dozed = false);
        }
        if (!mayDoze(unit)) keptAwake = AWAKE_AFTER + 1;
        if (keptAwake > 0) {
          keptAwake -= 1;
          return (dozed = false);
        }
        return (dozed = dozed || htmlOpens(unit.html));
      };
      let bed = null; // the dormant chunk being filled, with how many units it holds (a run tied by raw HTML is one element)
      stream = {
        add(units) {
          const list = [];
          const missing = [];
          for (let i = 0; i < units.length; i++) {
            const reuse = pool.get(units[i].key)?.shift();
            if (reuse) setLines(reuse, units[i]);
            else if (dozes(units[i])) {
              const u = units[i];
              list.push({ key: u.key, html: u.html, shift: u.shift ?? 0, moves: u.moves, nodes: [], run: false, notes: false, unit: u, chunk: null });
              continue;
            } else missing.push(i);
            if (reuse) dozed = false;
            list.push(reuse);
          }
          const made = create(missing.map((i) => units[i]));
          missing.forEach((m, i) => (list[m] = made[i]));
          for (const e of list) queued.push(e);
          for (const e of made) for (const node of e.nodes) fresh.push(node);
        },
        flush() {
          let anchor = last;
          let batch = [];
          const from = placed.length;
          let runs = false;
          const dozedIn = new Set();
          const put = () => {
            placer.insertAfter(batch, anchor);
            batch = [];
            anchor = last;
          };
          for (const e of queued) {
            if (e.notes) notes = placed.length;
            if (e.run) {
              runs = true;
              placed.push(e);
              used.add(e);
              continue;
            }
            if (e.unit) {
              const opens = htmlOpens(e.html);
              // Not into a chunk woken, nor one read (it has its nodes already): what comes after starts another.
              const beds = bed && dozers.get(bed.chunk);
              const joins = beds && !beds.read && !ends(bed.count, opens);
              if (joins || opens) {
                if (!joins) {
                  if (batch.length) put();
                  const chunk = dormant();
                  if (bed) bed.chunk.after(chunk);
                  else placer.insertChunkAfter(chunk, anchor);
                  bed = { chunk, count: 0 };
                }
                doze(bed.chunk, e);
                dozedIn.add(bed.chunk);
                bed.count += 1;
                placed.push(e);
                continue;
              }
              // Cannot open a chunk of its own, and the one before is awake: parsed now.
              for (const node of materialise([e])) fresh.push(node);
            }
            if (bed) {
              // What follows a dormant chunk goes after its blocks.
              wake(bed.chunk);
              anchor = last = bed.chunk.lastChild ?? last;
              bed = null;
            }
            for (const node of e.nodes) {
              if (node.parentNode) placer.remove(node);
              batch.push(node);
            }
            placed.push(e);
            used.add(e);
            if (e.nodes.length) last = e.nodes.at(-1);
          }
          if (batch.length) put();
          sizeDormant(dozedIn);
          placer.settle();
          if (runs && notes >= 0) placeRuns(placed, notes, Math.max(from, notes + 1));
          queued = [];
          const added = fresh;
          fresh = [];
          return added;
        },
        /** Drops the old nodes that were not reused. */
        end() {
          removeEntries(before.filter((entry) => !used.has(entry)));
          placer.settle();
          entries = placed;
          stream = null;
        },
        /** Interrupted: what is on the page stays, placed units first; what was only prepared is dropped. */
        stop() {
          entries = placed.concat(before.filter((e) => !used.has(e)));
          stream = null;
        },
      };
      return stream;
    },

    /** Whether the blocks go into chunks (chunks.js) from the next update or stream on. */
    setChunked(on) {
      chunked = !!on;
    },

    /** The dormant chunks, or those holding a unit whose HTML passes `test`. */
    dormantChunks(test = null) {
      const out = [];
      for (const [chunk, list] of dozers) if (!test || list.some((e) => test(e.html))) out.push(chunk);
      return out;
    },

    /** Marks the unit holding this top-level node as changed: the next update replaces it. */
    invalidate(node) {
      const entry = unitOf(node);
      if (entry) entry.key = STALE;
    },
  };
}
