// Markdown -> a list of top-level blocks, each with its HTML, source lines,
// headings and footnote references, converted in pieces:
//  - a long document is converted a few thousand lines at a time, so the page
//    can show its top long before the whole text is parsed;
//  - an edit re-parses only the blocks around the changed lines and keeps
//    every other block (the same record object) when nothing they depend on
//    elsewhere changed: reference and footnote definitions, footnote
//    numbering and heading ids. Otherwise the whole document is converted.
// Joined, the blocks are exactly convert(text).html.
import { createMarkdown } from './markdown.js';
import { createSlugger } from './slug.js';

const LINE_ATTRS = / data-line(?:-end)?="\d*"/g;
const LINE_VALUE = /( data-line(?:-end)?=")(\d+)"/g;
const VOID = new Set(['area', 'base', 'br', 'col', 'embed', 'hr', 'img', 'input', 'link', 'meta', 'param', 'source', 'track', 'wbr']);
const TAG = /<(\/?)([a-zA-Z][a-zA-Z0-9-]*)(?:[^>"']|"[^"]*"|'[^']*')*?(\/?)>/g;
// Lines that may define a link reference or a footnote (checked properly while parsing).
const REF_CANDIDATE = /^ {0,3}\[(?!\^)[^\n]*\]:/gm;
const FOOTNOTE_CANDIDATE = /^ {0,3}\[\^([^\]\n ]+)\]:/gm;
// An edit touching more lines than this is better served by a conversion in
// pieces, which shows the top at once.
const MAX_EDIT_LINES = 4000;

export function stripLines(html) {
  return html.replace(LINE_ATTRS, '');
}

/** Adds delta to every line attribute at or after line `from`. */
export function shiftLines(html, from, delta) {
  if (delta === 0) return html;
  return html.replace(LINE_VALUE, (m, head, n) => (Number(n) >= from ? `${head}${Number(n) + delta}"` : m));
}

/** Open-minus-close counts of raw HTML tags, or null when they balance. */
function tagBalance(html, counts = null) {
  TAG.lastIndex = 0;
  for (let m; (m = TAG.exec(html)); ) {
    const name = m[2].toLowerCase();
    if (VOID.has(name) || m[3]) continue;
    counts ??= Object.create(null);
    counts[name] = (counts[name] || 0) + (m[1] ? -1 : 1);
  }
  if (!counts) return null;
  for (const k in counts) if (counts[k] !== 0) return counts;
  return null;
}

/**
 * Groups blocks whose raw HTML opens an element that a later block closes
 * (<details> ... </details> around Markdown): such a run is parsed and
 * sanitised as one piece, as the browser would nest it.
 * A block on its own is its own unit; a run becomes {key, html, blocks}.
 */
export function groupBlocks(blocks, complete = true) {
  const units = [];
  for (let i = 0; i < blocks.length; i++) {
    const b = blocks[i];
    if (!b.open) {
      units.push(b);
      continue;
    }
    let counts = { ...b.open };
    let j = i + 1;
    while (j < blocks.length && counts) {
      const next = blocks[j++];
      counts = next.raw ? tagBalance(next.raw, counts) : counts;
    }
    if (counts && !complete) break; // may close in a block not converted yet
    const run = blocks.slice(i, j);
    units.push({ key: run.map((x) => x.key).join(''), html: run.map((x) => x.html).join(''), start: b.start, blocks: run });
    i = j - 1;
  }
  return units;
}

function normalize(text) {
  return String(text ?? '').replace(/\r\n?/g, '\n').replace(/\0/g, '\uFFFD');
}

function lineStarts(text) {
  const starts = [0];
  for (let i = text.indexOf('\n'); i !== -1; i = text.indexOf('\n', i + 1)) starts.push(i + 1);
  return starts;
}

function lineCount(text, starts) {
  return text.endsWith('\n') || text === '' ? starts.length - 1 : starts.length;
}

function lineOf(starts, offset) {
  let lo = 0;
  let hi = starts.length - 1;
  while (lo < hi) {
    const mid = (lo + hi + 1) >> 1;
    if (starts[mid] <= offset) lo = mid;
    else hi = mid - 1;
  }
  return lo;
}

// Texts are compared a span at a time (the engine compares flat strings
// natively), then character by character inside the span that differs.
const SPAN = 4096;

function commonPrefix(a, b, max) {
  let p = 0;
  while (p + SPAN <= max && a.slice(p, p + SPAN) === b.slice(p, p + SPAN)) p += SPAN;
  while (p < max && a.charCodeAt(p) === b.charCodeAt(p)) p++;
  return p;
}

function commonSuffix(a, b, max) {
  let q = 0;
  while (q + SPAN <= max && a.slice(a.length - q - SPAN, a.length - q) === b.slice(b.length - q - SPAN, b.length - q)) q += SPAN;
  while (q < max && a.charCodeAt(a.length - 1 - q) === b.charCodeAt(b.length - 1 - q)) q++;
  return q;
}

// A guess at how many rows of text a block takes on the page, for the height
// a long document gives it before laying it out.
const ROW_CHARS = 100;
const FIXED_ROWS = { heading_open: 3, math_block: 2, hr: 2, front_matter: 2 };

function rowsOf(type, source, start, end) {
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

function sameRefs(a, b) {
  const ka = Object.keys(a);
  if (ka.length !== Object.keys(b).length) return false;
  return ka.every((k) => b[k] && b[k].href === a[k].href && b[k].title === a[k].title);
}

function firstWins(defs) {
  const refs = {};
  for (const d of defs) if (refs[d.label] === undefined) refs[d.label] = { href: d.href, title: d.title };
  return refs;
}

export function createBlockConverter() {
  const md = createMarkdown();
  const core = md.core.ruler.__rules__.filter((r) => r.enabled);
  const split = core.findIndex((r) => r.name === 'block') + 1;
  const blockPhase = core.slice(0, split);
  const restPhase = core.slice(split);
  const tailPhase = core.slice(core.findIndex((r) => r.name === 'footnote_tail'));
  const renderer = md.renderer;

  function freshEnv(base) {
    return {
      base,
      pieces: true,
      lineOffset: 0,
      references: {},
      footnotes: { refs: {} },
      slugger: createSlugger(),
      refDefs: [],
      fnDefs: [],
      footnoteTokens: [],
    };
  }

  function renderRange(tokens, from, to, env) {
    const rules = renderer.rules;
    let out = '';
    for (let k = from; k < to; k++) {
      const t = tokens[k];
      if (t.type === 'inline') out += renderer.renderInline(t.children, md.options, env);
      else if (rules[t.type] !== undefined) out += rules[t.type](tokens, k, md.options, env, renderer);
      else out += renderer.renderToken(tokens, k, md.options, env);
    }
    return out;
  }

  function footnoteKey(env, token) {
    if (token.meta.label !== undefined) return `L${token.meta.label}`;
    const entry = env.footnotes.list?.[token.meta.id];
    // Notes inside notes are numbered in an order that edits cannot follow.
    if (entry?.tokens?.some((c) => c.type === 'footnote_ref')) env.tangled = true;
    return `I${entry?.content}`;
  }

  /** Top-level blocks of a processed token list. */
  function toBlocks(tokens, env) {
    const blocks = [];
    for (let i = 0; i < tokens.length; ) {
      let j = i + 1;
      if (tokens[i].nesting === 1) for (let depth = 1; j < tokens.length && depth > 0; j++) depth += tokens[j].nesting;
      const html = renderRange(tokens, i, j, env);
      const map = tokens[i].map;
      const start = map ? map[0] + env.lineOffset : (blocks.at(-1)?.end ?? env.lineOffset);
      const end = map ? map[1] + env.lineOffset : start;
      const block = { html, key: stripLines(html), start, end, rows: rowsOf(tokens[i].type, env.source, start, end), headings: [], fnRefs: [], raw: '', open: null };
      for (let k = i; k < j; k++) {
        const t = tokens[k];
        if (t.type === 'heading_open' && t.meta?.heading) block.headings.push(t.meta.heading);
        else if (t.type === 'html_block') block.raw += t.content;
        else if (t.type === 'inline' && t.children) {
          for (const c of t.children) {
            if (c.type === 'footnote_ref') block.fnRefs.push(footnoteKey(env, c));
            else if (c.type === 'html_inline' && !c.meta?.generated) block.raw += c.content;
          }
        }
      }
      if (block.raw) block.open = tagBalance(block.raw);
      blocks.push(block);
      i = j;
    }
    return blocks;
  }

  /**
   * Parses lines [from, to) of text with env. Unless `to` is the end, the last
   * block may be cut short by the piece's end, so the piece stops before it;
   * returns the blocks and the line the next piece starts at, or null when
   * the piece holds fewer than two blocks.
   */
  /** The block phase over lines [from, to) of text. */
  function parseBlocks(text, starts, total, from, to, env) {
    const src = text.slice(starts[from], to < starts.length ? starts[to] : text.length);
    env.source = { text, starts };
    env.lineOffset = from;
    env.lastPiece = to >= total;
    env.openEnded = false;
    const carried = env.footnotes;
    // Definitions in this piece are collected apart: they must not reset
    // numbers that earlier pieces already gave.
    env.footnotes = {};
    const state = new md.core.State(src, md, env);
    try {
      for (const r of blockPhase) r.fn(state);
    } finally {
      env.footnotes = carried;
    }
    return state;
  }

  function parsePiece(text, starts, total, from, to, env) {
    const refMark = env.refDefs.length;
    const fnMark = env.fnDefs.length;
    const refKeys = to < total ? new Set(Object.keys(env.references)) : null;
    const carried = env.footnotes;
    const state = parseBlocks(text, starts, total, from, to, env);
    // Forgets what lines from `line` on defined: the next piece parses them again.
    const forget = (line) => {
      for (const d of env.refDefs.splice(refMark)) if (d.line < line) env.refDefs.push(d);
      for (const d of env.fnDefs.splice(fnMark)) if (d.line < line) env.fnDefs.push(d);
      const kept = new Set(env.refDefs.slice(refMark).map((d) => d.label));
      for (const label of Object.keys(env.references)) if (!refKeys.has(label) && !kept.has(label)) delete env.references[label];
    };
    let next = total;
    if (to < total) {
      let cut = -1;
      let count = 0;
      for (let k = 0; k < state.tokens.length; k++) {
        const t = state.tokens[k];
        if (t.level === 0 && t.nesting >= 0 && t.map) {
          count++;
          cut = k;
        }
      }
      if (count < 2 || env.openEnded) {
        forget(-1);
        return null;
      }
      next = state.tokens[cut].map[0] + from;
      state.tokens.length = cut;
      forget(next);
    }
    for (const d of env.fnDefs.slice(fnMark)) if (carried.refs[`:${d.label}`] === undefined) carried.refs[`:${d.label}`] = -1;
    for (const r of restPhase) r.fn(state);
    return { blocks: toBlocks(state.tokens, env), next };
  }

  /** The footnote section, built once every piece has been parsed. */
  function tailBlock(env) {
    if (!env.footnotes.list?.length) return null;
    const state = new md.core.State('', md, env);
    state.tokens = env.footnoteTokens.slice();
    env.pieces = false;
    env.lineOffset = 0;
    try {
      for (const r of tailPhase) r.fn(state);
    } finally {
      env.pieces = true;
    }
    const html = renderRange(state.tokens, 0, state.tokens.length, env);
    const headings = [];
    let raw = '';
    for (const t of state.tokens) {
      if (t.type === 'heading_open' && t.meta?.heading) headings.push(t.meta.heading);
      else if (t.type === 'html_block') raw += t.content;
      else if (t.children) for (const c of t.children) if (c.type === 'html_inline' && !c.meta?.generated) raw += c.content;
    }
    return { html, key: stripLines(html), start: Infinity, end: Infinity, headings, fnRefs: [], raw, open: null, tail: true };
  }

  /** Definitions the whole text probably has, so early pieces see references defined further down. */
  function prescan(text) {
    const refs = {};
    REF_CANDIDATE.lastIndex = 0;
    for (let m; (m = REF_CANDIDATE.exec(text)); ) {
      const stop = text.indexOf('\n\n', m.index);
      const env = {};
      md.block.parse(text.slice(m.index, stop < 0 ? text.length : stop), md, env, []);
      for (const [k, v] of Object.entries(env.references || {})) if (refs[k] === undefined) refs[k] = v;
    }
    const labels = new Set();
    FOOTNOTE_CANDIDATE.lastIndex = 0;
    for (let m; (m = FOOTNOTE_CANDIDATE.exec(text)); ) labels.add(m[1]);
    return { refs, labels };
  }

  let doc = null;

  function finish(job) {
    const { env } = job;
    const refs = firstWins(env.refDefs);
    const labels = new Set(env.fnDefs.map((d) => d.label));
    if (job.assumed && (!sameRefs(refs, job.assumed.refs) || labels.size !== job.assumed.labels.size || [...labels].some((l) => !job.assumed.labels.has(l)))) {
      return false; // a guess about definitions further down was wrong
    }
    doc = { text: job.text, starts: job.starts, total: job.total, base: job.base, blocks: job.blocks, tail: tailBlock(env), refDefs: env.refDefs, fnDefs: env.fnDefs, refs, labels, tangled: !!env.tangled };
    return true;
  }

  /**
   * A full conversion in pieces. step(lines) converts about that many more
   * lines; `blocks` grows; `done` is set after the last piece.
   */
  function start(input, base = null) {
    doc = null;
    const text = normalize(input);
    const starts = lineStarts(text);
    const total = lineCount(text, starts);
    const job = { text, starts, total, base, env: freshEnv(base), blocks: [], line: 0, done: false, tail: null, assumed: null };
    job.step = (lines = Infinity) => {
      if (job.done) return job;
      if (job.line === 0 && lines < total && !job.assumed) {
        job.assumed = prescan(text);
        job.env.assumedRefs = job.assumed.refs;
        Object.assign(job.env.references, job.assumed.refs);
        for (const l of job.assumed.labels) job.env.footnotes.refs[`:${l}`] = -1;
      }
      let span = Math.max(1, lines);
      for (;;) {
        const to = job.line + span >= total ? total : job.line + span;
        const piece = parsePiece(text, starts, total, job.line, to, job.env);
        if (!piece) {
          span *= 2;
          continue;
        }
        for (const b of piece.blocks) job.blocks.push(b);
        job.line = piece.next;
        break;
      }
      if (job.line >= total) {
        if (!finish(job)) {
          // Convert again in one piece: every definition is then known before any block renders.
          const whole = start(input, base);
          whole.step(Infinity);
          Object.assign(job, { blocks: whole.blocks, env: whole.env });
        }
        job.tail = doc.tail;
        job.done = true;
      }
      return job;
    };
    return job;
  }

  /**
   * Re-converts only what an edit touched, when the last conversion of the
   * same base is complete and nothing outside the edit depends on it.
   * Returns {blocks, tail} or null.
   */
  function update(input, base = null) {
    if (!doc || doc.base !== base || doc.tangled) return null;
    const text = normalize(input);
    if (text === doc.text) return { blocks: doc.blocks, tail: doc.tail, total: doc.total };
    const old = doc;
    const oldText = old.text;
    const max = Math.min(text.length, oldText.length);
    const p = commonPrefix(text, oldText, max);
    const q = commonSuffix(text, oldText, max - p);
    const starts = lineStarts(text);
    const total = lineCount(text, starts);
    const cl0 = lineOf(old.starts, p);
    const cl1 = lineOf(old.starts, Math.max(p, oldText.length - q)) + 1;
    const delta = total - old.total;
    const blocks = old.blocks;
    // The block before the change may grow into it; the one before that cannot.
    let k = -1;
    for (let lo = 0, hi = blocks.length - 1; lo <= hi; ) {
      const mid = (lo + hi) >> 1;
      if (blocks[mid].end < cl0) {
        k = mid;
        lo = mid + 1;
      } else hi = mid - 1;
    }
    const first = Math.max(k, 0);
    const from = first > 0 ? blocks[first - 1].end : 0;
    let j = first;
    while (j < blocks.length && blocks[j].start < cl1) j++;
    for (let attempt = 0; attempt < 3; attempt++, j += 2) {
      // Parse through block j (the first one after the change): when the new
      // parse starts a block exactly where it starts, everything after it is
      // the old blocks moved by delta lines.
      const guard = j < blocks.length ? blocks[j] : null;
      const to = guard ? Math.min(total, guard.end + delta) : total;
      if (to - from > MAX_EDIT_LINES) return null;
      const env = envAt(old, first, base);
      if (!env) return null;
      const piece = parsePieceWhole(text, starts, from, to, total, env);
      if (env.openEnded) continue;
      let cut = piece.blocks.length;
      if (guard) {
        cut = piece.blocks.findIndex((b) => b.start === guard.start + delta && !b.tail);
        if (cut < 0) continue;
      }
      const fresh = piece.blocks.slice(0, cut);
      const gone = blocks.slice(first, guard ? j : blocks.length);
      const stop = guard ? guard.start : Infinity;
      if (env.tangled) return null;
      return checkAndSplice({ old, text, starts, total, env, fresh, gone, first, last: guard ? j : blocks.length, from, stop, cl1, delta });
    }
    return null;
  }

  /** Lines [from, to) converted whole, without cutting at the end. */
  function parsePieceWhole(text, starts, from, to, total, env) {
    const state = parseBlocks(text, starts, total, from, to, env);
    for (const r of restPhase) r.fn(state);
    return { blocks: toBlocks(state.tokens, env) };
  }

  /** The conversion state at the start of block `first`: definitions, footnote numbers, heading ids. */
  function envAt(old, first, base) {
    const env = freshEnv(base);
    env.references = { ...old.refs };
    const refs = env.footnotes.refs;
    for (const l of old.labels) refs[`:${l}`] = -1;
    const list = [];
    for (let i = 0; i < first; i++) {
      const b = old.blocks[i];
      for (const h of b.headings) env.slugger(h.text);
      for (const key of b.fnRefs) {
        if (key[0] === 'L') {
          const label = key.slice(1);
          let id = refs[`:${label}`];
          if (id === undefined) return null;
          if (id < 0) {
            id = list.length;
            refs[`:${label}`] = id;
            list.push({ label, count: 0 });
          }
          list[id].count++;
        } else {
          list.push({ content: key.slice(1), count: 1 });
        }
      }
    }
    if (list.length) env.footnotes.list = list;
    return env;
  }

  function checkAndSplice({ old, text, starts, total, env, fresh, gone, first, last, from, stop, cl1, delta }) {
    // Reference definitions in the re-parsed lines: same labels and targets.
    const inRange = (d, lo, hi) => d.line >= lo && d.line < hi;
    const oldRefs = old.refDefs.filter((d) => inRange(d, from, stop));
    const newRefs = env.refDefs.filter((d) => d.line < (stop === Infinity ? Infinity : stop + delta));
    if (oldRefs.length !== newRefs.length || oldRefs.some((d, i) => d.label !== newRefs[i].label || d.href !== newRefs[i].href || d.title !== newRefs[i].title)) return null;
    // Footnote definitions: same text at the same (moved) lines, since the footnote section shows them.
    const oldFn = old.fnDefs.filter((d) => inRange(d, from, stop));
    const newFn = env.fnDefs.filter((d) => d.line < (stop === Infinity ? Infinity : stop + delta));
    const moved = (line) => (line >= cl1 ? line + delta : line);
    if (oldFn.length !== newFn.length || oldFn.some((d, i) => d.label !== newFn[i].label || d.text !== newFn[i].text || moved(d.line) !== newFn[i].line)) return null;
    // Footnote references: the same sequence keeps every number.
    const oldKeys = gone.flatMap((b) => b.fnRefs).join('\u0000');
    const newKeys = fresh.flatMap((b) => b.fnRefs).join('\u0000');
    if (oldKeys !== newKeys) return null;
    // Heading ids after the edit must not move.
    const after = old.blocks.slice(last);
    const unique = createSlugger();
    for (let i = 0; i < first; i++) for (const h of old.blocks[i].headings) unique(h.text);
    for (const b of fresh) for (const h of b.headings) unique(h.text);
    const laterHeadings = after.flatMap((b) => b.headings).concat(old.tail ? old.tail.headings : []);
    for (const h of laterHeadings) if (unique(h.text) !== h.id) return null;

    const shift = (b) =>
      delta === 0
        ? b
        : { ...b, html: shiftLines(b.html, cl1, delta), start: b.start + delta, end: b.end + delta, headings: b.headings.map((h) => ({ ...h, line: h.line >= cl1 ? h.line + delta : h.line })) };
    const blocks = old.blocks.slice(0, first).concat(fresh, after.map(shift));
    let tail = old.tail;
    if (tail && delta !== 0) {
      tail = { ...tail, html: shiftLines(tail.html, cl1, delta), headings: tail.headings.map((h) => ({ ...h, line: h.line >= cl1 ? h.line + delta : h.line })) };
    }
    const shiftDef = (d) => (d.line >= cl1 ? { ...d, line: d.line + delta, ...(d.end !== undefined ? { end: d.end + delta } : {}) } : d);
    const refDefs = old.refDefs.filter((d) => d.line < from).concat(newRefs, old.refDefs.filter((d) => d.line >= stop).map(shiftDef));
    const fnDefs = old.fnDefs.filter((d) => d.line < from).concat(newFn, old.fnDefs.filter((d) => d.line >= stop).map(shiftDef));
    doc = { ...old, text, starts, total, blocks, tail, refDefs, fnDefs };
    return { blocks, tail, total };
  }

  return {
    start,
    update,
    /** Converts the whole text at once (tests, small documents). */
    convert(text, base = null) {
      const fast = update(text, base);
      if (fast) return fast;
      const job = start(text, base).step(Infinity);
      return { blocks: job.blocks, tail: job.tail, total: job.total };
    },
    reset() {
      doc = null;
    },
  };
}

/** Outline of a block list, as convert() reports it. */
export function outlineOf(blocks, tail) {
  const out = [];
  for (const b of blocks) for (const h of b.headings) out.push(h);
  if (tail) for (const h of tail.headings) out.push(h);
  return out;
}
