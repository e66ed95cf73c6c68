// The page object: every call the native side makes, and the messages the
// page sends back. Created once per page load by main.js; kept apart from it
// so tests can build one in a DOM of their own.
import { escapeHtml } from 'markdown-it/lib/common/utils.mjs';
import { createBlockConverter, groupBlocks, outlineOf } from './blocks.js';
import { PieceKind, createSanitizer } from './sanitize.js';
import { createPatcher } from './patch.js';
import { createScrollSync } from './scroll.js';
import { createChangeFollower } from './follow.js';
import { Dormant, blockOf, isChunk, markedRows, nextBlock, previousBlock, wake } from './chunks.js';
import { createEnhancer } from './enhance.js';
import { createFinder } from './find.js';
import { createAppearance } from './appearance.js';
import { installDiagramMenu } from './diagrams.js';
import { exportHTML, localImages, richHTML } from './export.js';
import { emojiAsPictures, emojiAsText } from './emoji.js';
import { keepHeadingsWithNext, releaseHeadings } from './keep.js';
import { TASK_BOX_MARK } from './plugins/tasks.js';
import { installTaskBoxes } from './taskboxes.js';
import { markWide, mayBeWide, revealNear, showAllColumns } from './wide.js';
import { applyEditAnswer, keepsOutline } from './editanswer.js';
import { fitNumbers, footnoteUnits } from './footnotes.js';
import { fitListNumbers, releaseListNumbers } from './listnumbers.js';
import { lineOf } from './lines.js';

const CHANGE_MARK_MS = 2400;
// A long document is shown top first: this many lines at once, then the rest
// in slices of a few milliseconds so that scrolling stays smooth. Its blocks
// are put in chunks, laid out only near the viewport (chunks.js, .lumo-long
// in style.css), so each slice's blocks can join the page at once.
const FIRST_LINES = 600;
const SLICE_MS = 10;
// Blocks are sanitised in batches of about this many: each pass has a cost
// of its own, and a larger one would outlast its slice.
const BATCH_UNITS = 150;
// The blocks the Worker sent are sanitised in batches of about this long, so
// that a slice ends close to SLICE_MS whatever the blocks hold.
const BATCH_MS = 3;

// Raw HTML that floats: a long document leaves its layout open so that what
// follows flows around it (.lumo-long in style.css).
const FLOATING = '[align="left" i], [align="right" i], [style*="float" i]';
// The same, judged from the HTML before it is parsed (never less than FLOATING finds).
const MAY_FLOAT = /align\s*=\s*["']?\s*(left|right)|float/i;
// A long document shown in pieces has its units past about this many left
// unparsed in dormant chunks until they come near the viewport (patch.js).
const AWAKE_UNITS = 96;

function markFloats(nodes) {
  for (const node of nodes) if (node.nodeType === 1 && (node.matches(FLOATING) || node.querySelector(FLOATING))) node.setAttribute('data-lumo-float', '');
}

// This many blocks after a float flow around it (.lumo-long in style.css).
const WRAPPING = 3;

/** Marks the blocks that wrap around a float, for the top-level nodes just placed (dormant chunks are not woken: no float sleeps). */
function markWraps(nodes) {
  const mark = (node) => {
    if (node.hasAttribute('data-lumo-float')) return;
    node.setAttribute('data-lumo-wrap', '');
    if (isChunk(node.parentNode)) node.parentNode.setAttribute('data-lumo-float', ''); // its chunk stays unskipped
  };
  for (const node of nodes) {
    if (node.nodeType !== 1) continue;
    let near = node;
    if (node.hasAttribute('data-lumo-float')) {
      for (let i = 0; i < WRAPPING && (near = nextBlock(near, Dormant.STOP)); i++) mark(near);
      continue;
    }
    for (let i = 0; i < WRAPPING && (near = previousBlock(near, Dormant.STOP)); i++) {
      if (near.hasAttribute('data-lumo-float')) {
        mark(node);
        break;
      }
    }
  }
}

/** The rows of text the converter expects of a unit: a long document's chunks estimate their height from them (chunks.js). */
function markRows(nodes, rows) {
  const element = nodes.find((node) => node.nodeType === 1);
  if (element) element.setAttribute('data-lumo-rows', String(markedRows(rows)));
}

/** Whether a unit may be left unparsed in a dormant chunk: not the footnotes, nor raw HTML that may float. */
function mayDoze(unit) {
  return !unit.run && !unit.notes && !((unit.blocks || unit.raw) && MAY_FLOAT.test(unit.html));
}

function errorMessage(err) {
  return String(err?.message ?? err);
}

/**
 * @param {{container: Element, post: (message: object) => void, startWorker?: () => Worker, dormant?: boolean}} options
 *   startWorker: the converter off the main thread (conversions.js); without it,
 *   or when it fails, the page converts on its own thread in slices.
 *   dormant: a long document's far blocks wait unparsed until needed (patch.js).
 */
export function createPage({ container, post, firstLines = FIRST_LINES, startWorker = null, dormant = false }) {
  const sanitizer = createSanitizer(window);
  const scroll = createScrollSync({ container, post });
  const follower = createChangeFollower({ container, scroll });
  const finder = createFinder({ container, scroll });
  const converter = createBlockConverter();
  let base = null;
  // A unit that is one block takes a quick check instead of DOMPurify.
  const kindOf = (u) => (u.blocks ? null : u.raw ? PieceKind.PLAIN : PieceKind.GENERATED);
  const sanitize = (units) => {
    const lists = sanitizer.fragments(units.map((u) => u.html), base, units.map(kindOf));
    lists.forEach((nodes, i) => {
      if (units[i].blocks || units[i].raw) markFloats(nodes);
      if (mayBeWide(units[i].html)) markWide(nodes);
      if (units[i].rows) markRows(nodes, units[i].rows);
    });
    return lists;
  };
  const patcher = createPatcher(container, {
    sanitize,
    mayDoze: dormant ? mayDoze : null,
    // A chunk woken near the viewport is so because the reader scrolls, whose
    // events bring the enhancer; one woken by find far away must not make
    // every frame lay the page out for it.
    onWake: (nodes) => {
      markWraps(nodes);
      enhancer.add(nodes, false);
    },
  });
  let rev = 0;
  let lastText = null; // what the last render was given: edits are made against it
  let job = null; // a long document still being put on the page
  let scheduled = null;
  let remote = null; // the conversion Worker
  let ticket = 0; // of the newest request to it
  let waiting = null; // that request until its blocks are all on the page
  let held = { ticket: 0, blocks: [], tail: null }; // the blocks of the last render answered in full: edits are answered against them
  let waiters = []; // resolved once no render is under way
  let staged = []; // the first parts of a long text (stageText)

  const enhancer = createEnhancer({
    container,
    post,
    isDark: () => appearance.isDark(),
    onError: (err) => post({ type: 'error', message: errorMessage(err) }),
  });
  const appearance = createAppearance({ onDarkChange: () => enhancer.retheme(container) });

  installDiagramMenu(container, post);

  // Scrolling does not bubble: caught on its way down.
  container.addEventListener('scroll', (event) => event.target.tagName === 'TABLE' && revealNear(event.target), { capture: true, passive: true });

  const taskBoxes = installTaskBoxes(container, (item, checked) => {
    const block = blockOf(container, item);
    if (block) patcher.invalidate(block); // its DOM now differs from its source until the next render
    post({ type: 'toggleTask', line: lineOf(item), checked, rev });
  });

  container.addEventListener('click', (event) => {
    const link = event.target.closest?.('a[href^="#"]');
    if (link) {
      event.preventDefault();
      let id = link.getAttribute('href').slice(1);
      try {
        id = decodeURIComponent(id);
      } catch {
        // keep the raw fragment
      }
      api.scrollToId(id);
    }
  });

  // A selection across dormant chunks copies their blocks too.
  container.ownerDocument.addEventListener('copy', () => {
    const selection = container.ownerDocument.getSelection();
    if (!selection || selection.isCollapsed) return;
    for (const chunk of patcher.dormantChunks()) {
      for (let i = 0; i < selection.rangeCount; i++) {
        if (!selection.getRangeAt(i).intersectsNode(chunk)) continue;
        wake(chunk);
        break;
      }
    }
  });

  function markChanged(nodes) {
    for (const node of nodes) {
      if (node.nodeType !== 1) continue;
      node.classList.add('lumo-changed');
      setTimeout(() => node.classList.remove('lumo-changed'), CHANGE_MARK_MS);
    }
  }

  /** The footnote section's units: cut into runs of items in a long document (footnotes.js). */
  const tailUnits = (tail) => footnoteUnits(tail, container.classList.contains('lumo-long'));

  function unitsOf(blocks, tail) {
    return groupBlocks(blocks).concat(tailUnits(tail));
  }

  let outline = null; // as last posted: a file that grows below its headings repeats none
  let fittedLists = []; // ordered lists given room for their numbers while printing
  let pendingOutline = null; // {timer, send}: a long document's outline, posted in a task of its own
  function announce(renderRev, blocks, tail, outlineKept = false) {
    taskBoxes.rendered();
    // The last render's outline goes first: an outline kept is the one it had.
    if (pendingOutline) {
      clearTimeout(pendingOutline.timer);
      pendingOutline.send();
    }
    post({ type: 'rendered', rev: renderRev });
    if (outlineKept) return;
    const send = () => {
      pendingOutline = null;
      const items = outlineOf(blocks, tail);
      const text = JSON.stringify(items);
      if (text === outline) return;
      outline = text;
      post({ type: 'outline', items });
    };
    if (!container.classList.contains('lumo-long')) return send();
    // Gathering and posting 14,000 headings (the 10 MB bench document) took as
    // long as placing an edit that moved them: not in the same task.
    pendingOutline = { timer: setTimeout(send), send };
  }

  function done(result, added, diff, view) {
    markWraps(added);
    fitNumbers(container);
    if (diff && !follower.isTailed(view, added)) markChanged(added);
    enhancer.add(added);
    announce(rev, result.blocks, result.tail, result.outlineKept);
    if (view) follower.after(view, lastText, result.total, added);
    return { rev, changed: added.length };
  }

  /** Prepares the blocks converted so far off the page (a run tied by raw HTML once it is closed). */
  function prepare(state, all = false) {
    const current = state.job;
    if (!all && current.blocks.length - state.grouped < BATCH_UNITS) return;
    const units = groupBlocks(current.blocks.slice(state.grouped), current.done);
    for (const u of units) state.grouped += u.blocks ? u.blocks.length : 1;
    // Once: the last step and the flush after it both come here.
    if (current.done && !state.tailed) {
      state.tailed = true;
      units.push(...tailUnits(current.tail));
    }
    if (units.length) state.stream.add(units);
  }

  function flush(state) {
    prepare(state, true);
    place(state);
  }

  /** Puts what was prepared on the page. */
  function place(state) {
    const added = state.stream.flush();
    markWraps(added);
    if (added.length) fitNumbers(container);
    if (state.diff && !follower.isTailed(state.view, added)) markChanged(added);
    if (state.view) state.changed.push(...added);
    enhancer.add(added);
  }

  /**
   * Prepares a batch of the blocks the Worker sent: false when the rest waits
   * for blocks not converted yet (a run tied by raw HTML still open).
   */
  function prepareReceived(state) {
    const { blocks, done: complete } = state.job;
    const started = performance.now();
    const from = state.grouped;
    const end = Math.min(blocks.length, from + state.batch);
    let units = groupBlocks(blocks.slice(from, end), complete && end === blocks.length);
    // A run longer than a batch.
    if (!units.length) units = groupBlocks(blocks.slice(from), complete);
    if (!units.length) return false;
    for (const u of units) state.grouped += u.blocks ? u.blocks.length : 1;
    state.stream.add(units);
    const perBlock = (performance.now() - started) / (state.grouped - from);
    state.batch = Math.max(8, Math.min(2 * state.batch, BATCH_UNITS, Math.round(BATCH_MS / Math.max(perBlock, 0.01))));
    return true;
  }

  /** Places the blocks the Worker sent, a slice at a time. */
  function pumpReceived(state) {
    if (job !== state) return;
    const started = performance.now();
    const current = state.job;
    let waits = false;
    while (state.grouped < current.blocks.length && performance.now() - started < SLICE_MS) {
      waits = !prepareReceived(state);
      if (waits) break;
    }
    const complete = current.done && state.grouped === current.blocks.length && prepareTail(state, started);
    place(state);
    if (complete) finish(state);
    else if (!waits && (state.grouped < current.blocks.length || current.done)) schedule(() => pumpReceived(state));
  }

  /** Prepares the footnote section after the last block, in slices like the blocks: true once all of it is. */
  function prepareTail(state, started) {
    state.notes ??= tailUnits(state.job.tail);
    while (state.notes.length) {
      state.stream.add(state.notes.splice(0, 1));
      if (performance.now() - started >= SLICE_MS) break;
    }
    return !state.notes.length;
  }

  function finish(state) {
    const current = state.job;
    if (state.ticket) held = { ticket: state.ticket, blocks: current.blocks, tail: current.tail };
    state.stream.end();
    fitNumbers(container);
    enhancer.hold(false);
    job = null;
    announce(state.rev, current.blocks, current.tail);
    if (state.view) follower.after(state.view, lastText, current.total, state.changed);
    settle();
  }

  function pump(state) {
    if (job !== state) return;
    const started = performance.now();
    const current = state.job;
    while (!current.done && performance.now() - started < SLICE_MS) {
      const before = performance.now();
      const line = current.line;
      current.step(state.lines);
      prepare(state);
      // Aim each step at a few milliseconds whatever the document holds.
      const spent = performance.now() - before;
      // At most twice as many lines as the last step: the next lines may be denser.
      if (current.line > line) state.lines = Math.max(50, Math.min(2 * state.lines, 20000, Math.round(state.lines * (SLICE_MS / 2 / Math.max(spent, 0.5)))));
    }
    if (current.blocks !== state.list) {
      // Converted again in one piece (a definition the early pieces missed): the blocks shown so far are not the final ones.
      job = null;
      enhancer.hold(false);
      done(current, patcher.update(unitsOf(current.blocks, current.tail)), state.diff, state.view);
      return;
    }
    flush(state);
    if (current.done) finish(state);
    else schedule(() => pump(state));
  }

  /** The render under way is complete or was replaced by one done here. */
  function settle() {
    waiting = null;
    const resolved = waiters;
    waiters = [];
    for (const resolve of resolved) resolve();
  }

  /** A render answered at once: the whole block list goes on the page in one update. */
  function show(request, result) {
    job = null;
    enhancer.hold(false);
    settle();
    setLong(result.total > firstLines);
    held = { ticket, blocks: result.blocks, tail: result.tail };
    done(result, patcher.update(unitsOf(result.blocks, result.tail)), request.diff, request.view);
  }

  function received({ ticket: answered, blocks, tail, total, done: finished, edit, restart }) {
    const request = waiting;
    if (!request || answered !== ticket) return; // a render since replaced
    if (edit) {
      // Asked first: applying the answer changes the held blocks in place.
      const outlineKept = keepsOutline(held.blocks, held.tail, edit);
      return show(request, { ...applyEditAnswer(held.blocks, held.tail, edit), total, outlineKept });
    }
    // The conversion was done again in one piece (a definition the early pieces missed).
    if (restart) return show(request, { blocks, tail, total });
    const { state } = request;
    if (state) {
      const current = state.job;
      for (const block of blocks) current.blocks.push(block);
      Object.assign(current, { tail, done: finished });
      schedule(() => pumpReceived(state));
      return;
    }
    if (finished) return show(request, { blocks, tail, total });
    setLong(total > firstLines);
    job = request.state = { job: { blocks, tail, total, done: false }, stream: patcher.begin({ awake: AWAKE_UNITS }), grouped: 0, batch: 32, diff: request.diff, view: request.view, changed: [], rev: request.rev, ticket };
    enhancer.hold(true);
    pumpReceived(job);
  }

  try {
    remote = startWorker?.() ?? null;
  } catch {
    remote = null;
  }
  if (remote) {
    remote.onmessage = (event) => received(event.data);
    // A Worker that cannot run: the render under way is done here.
    remote.onerror = (event) => {
      event?.preventDefault?.();
      remote = null;
      const request = waiting;
      if (request) convertHere(lastText, request.diff, request.view);
    };
  }

  // Yields to input and painting between slices; setTimeout(0) is clamped to 4 ms.
  const channel = new MessageChannel();
  channel.port1.onmessage = () => {
    const task = scheduled;
    scheduled = null;
    task?.();
  };
  channel.port1.unref?.(); // node (tests): an idle page must not keep the process alive
  function schedule(task) {
    scheduled = task;
    channel.port2.postMessage(null);
  }

  function setLong(long) {
    container.classList.toggle('lumo-long', long);
    patcher.setChunked(long);
  }

  /**
   * Export and print need the whole document: a promise while the Worker still
   * converts it, null once it is on the page (callers go on at once then).
   */
  function finishRendering() {
    if (waiting) return new Promise((resolve) => waiters.push(resolve)).then(finishRendering);
    while (job?.job.step && !job.job.done) pump(job);
    return null;
  }

  /**
   * The whole document on the page: the render under way done and every
   * dormant chunk woken, a slice at a time. Like finishRendering, null when it
   * already is (callers go on at once).
   */
  function wholeDocument() {
    const rendering = finishRendering();
    if (!rendering && !patcher.dormantChunks().length) return null;
    return (async () => {
      for (;;) {
        await finishRendering();
        const chunks = patcher.dormantChunks();
        if (!chunks.length) return;
        let started = performance.now();
        for (const chunk of chunks) {
          wake(chunk);
          if (performance.now() - started < SLICE_MS) continue;
          await new Promise((resolve) => setTimeout(resolve));
          started = performance.now();
        }
      }
    })();
  }

  function convertHere(text, diff, view) {
    settle();
    const fast = converter.update(text, base);
    if (fast) {
      setLong(fast.total > firstLines);
      return done(fast, patcher.update(unitsOf(fast.blocks, fast.tail)), diff, view);
    }
    const current = converter.start(text, base);
    setLong(current.total > firstLines);
    current.step(firstLines);
    if (current.done) return done(current, patcher.update(unitsOf(current.blocks, current.tail)), diff, view);
    // Long: the top now, the rest in slices.
    const state = { job: current, list: current.blocks, stream: patcher.begin({ awake: AWAKE_UNITS }), grouped: 0, diff, view, changed: [], rev, lines: firstLines };
    job = state;
    enhancer.hold(true);
    flush(state);
    schedule(() => pump(state));
    return { rev, changed: -1 };
  }

  /** A render of `text`, which is the last text with `edit` made to it when that is given. */
  function begin(text, edit, docBase, options) {
    base = typeof docBase === 'string' ? docBase : null;
    if (Number.isFinite(Number(options?.rev))) rev = Number(options.rev);
    const diff = !!options?.diff;
    // A change from disk may move the reader's view once it is on the page.
    const view = diff && lastText !== null ? follower.before(lastText) : null;
    lastText = text;
    job = null;
    scheduled = null;
    enhancer.hold(false);
    if (!remote) return convertHere(text, diff, view);
    ticket += 1;
    waiting = { rev, diff, view, state: null };
    // The Worker holds the text of the last request: an edit goes as the edit alone.
    const request = { ticket, holds: held.ticket, base, firstLines, mark: TASK_BOX_MARK };
    remote.postMessage(edit ? { ...request, edit } : { ...request, text });
    return { rev, changed: -1 };
  }

  /** The resync answer: the native side sends the whole text again. */
  function resync(options) {
    post({ type: 'resync', rev: Number(options?.rev) });
    return { rev, changed: -1 };
  }

  const api = {
    /**
     * Part `index` of a long text, each part in a call of its own: compiling
     * one call that carried 10 MB of text held the page's thread for about
     * 90 ms. The render with `{staged: true}` takes them, its own text last.
     */
    stageText(index, part) {
      if (index === 0) staged = [];
      staged.push(String(part));
    },
    /**
     * Render Markdown; answers "rendered" then "outline" once the whole
     * document is on the page. With `{staged: true, length}` the text is the
     * staged parts followed by `text`; "resync" when they do not add up.
     */
    render(text, docBase = null, options = {}) {
      const parts = staged;
      staged = [];
      if (options?.staged) {
        text = parts.join('') + text;
        if (text.length !== Number(options.length)) return resync(options);
      }
      return begin(text, null, docBase, options);
    },
    /**
     * Renders the text of revision `from` with [start, end) replaced by `inserted`;
     * answers "resync" instead when this page does not hold that text.
     */
    renderEdit(from, start, end, inserted, docBase = null, options = {}) {
      const fits = lastText !== null && from === rev && start >= 0 && start <= end && end <= lastText.length;
      const text = fits ? lastText.slice(0, start) + String(inserted) + lastText.slice(end) : null;
      if (text === null || text.length !== Number(options?.length)) return resync(options);
      return begin(text, { start, end, inserted: String(inserted) }, docBase, options);
    },
    setFollowChanges(on) {
      follower.setFollowChanges(on);
    },
    /** New size, font, width or theme; the source line at the top stays there. */
    setPrefs(prefs) {
      const line = scroll.topLine();
      appearance.setPrefs(prefs);
      if (line > 0) scroll.scrollToLine(line);
    },
    setCustomCSS(css) {
      appearance.setCustomCSS(css);
    },
    /** Light or dark for export and print; null returns to the window's own appearance. */
    async setAppearance(mode) {
      const whole = wholeDocument();
      if (whole) await whole;
      await appearance.setAppearance(mode);
      await enhancer.flush();
      getComputedStyle(document.documentElement).getPropertyValue('--bg'); // settle styles before printing
      return appearance.isDark() ? 'dark' : 'light';
    },
    /** Light or dark for printing, with colour emoji drawn as pictures and headings kept with what follows until endPrint. */
    async prepareForPrint(mode) {
      const answer = await api.setAppearance(mode);
      showAllColumns(container);
      emojiAsPictures(container);
      keepHeadingsWithNext(container);
      fittedLists = fitListNumbers(container);
      return answer;
    },
    endPrint() {
      releaseListNumbers(fittedLists);
      fittedLists = [];
      releaseHeadings(container);
      emojiAsText(container);
      markWide([container]);
      return api.setAppearance(null);
    },
    /** The window's own appearance, from the native side ("light", "dark", or null to follow the system). */
    setWindowAppearance(mode) {
      return appearance.setWindowAppearance(mode);
    },
    scrollToLine(line) {
      scroll.scrollToLine(line);
    },
    scrollToId(id) {
      id = String(id);
      const found = () => {
        const el = document.getElementById(id);
        return el && container.contains(el) ? el : null;
      };
      let el = found();
      // It may stand in a dormant chunk.
      const written = escapeHtml(id);
      for (const chunk of el ? [] : patcher.dormantChunks((html) => html.includes(written))) {
        wake(chunk);
        if ((el = found())) break;
      }
      if (!el) return false;
      for (let p = el.parentElement; p && p !== container; p = p.parentElement) if (p.tagName === 'DETAILS') p.open = true;
      scroll.scrollToElement(el);
      return true;
    },
    topLine() {
      return scroll.topLine();
    },
    /** Find in page (find.js): answers {active, matches}. */
    find(text, options) {
      return finder.find(text, options);
    },
    /** The local images export will embed: those of the whole document, once the render under way is on the page. */
    async localImages() {
      const whole = wholeDocument();
      if (whole) await whole;
      return localImages(container);
    },
    async exportHTML(images) {
      const whole = wholeDocument();
      if (whole) await whole;
      await enhancer.flush();
      return exportHTML(container, images);
    },
    async richHTML(images) {
      const whole = wholeDocument();
      if (whole) await whole;
      await enhancer.flush();
      return richHTML(container, images);
    },
    /** Awaited calls: the native side cannot await promises, so replies come back as messages. */
    async call(id, name, ...args) {
      try {
        if (name === 'call' || typeof api[name] !== 'function') throw new Error(`Unknown call: ${name}`);
        const value = await api[name](...args);
        post({ type: 'reply', id, value: value === undefined ? null : value });
      } catch (err) {
        post({ type: 'reply', id, error: errorMessage(err) });
      }
    },
  };
  return api;
}
