// Parsing a range of lines of the text on its own, as part of the whole:
// line numbers, definitions, footnote numbers and heading ids carry over in
// the piece environment (env.js).
import { enterPiece } from './env.js';
import { runPhase } from './phases.js';

/**
 * @param md       our markdown-it
 * @param phases   its core phases (phases.js)
 * @param renderer block renderer (blocklist.js)
 */
export function createPieceParser(md, phases, renderer) {
  /** The block phase over lines [from, to) of source {text, starts, total}. */
  function parseBlocks(source, from, to, env) {
    const { text, starts, total } = source;
    enterPiece(env, source, from, to, total);
    const carried = env.footnotes;
    // Definitions in this piece are collected apart: they must not reset
    // numbers that earlier pieces already gave.
    env.footnotes = {};
    const state = new md.core.State(text.slice(starts[from], to < starts.length ? starts[to] : text.length), md, env);
    try {
      runPhase(phases.block, state);
    } finally {
      env.footnotes = carried;
    }
    return state;
  }

  /** Index of the last top-level block's first token, and how many top-level blocks there are. */
  function lastBlock(tokens) {
    let index = -1;
    let count = 0;
    for (let i = 0; i < tokens.length; i++) {
      const token = tokens[i];
      if (token.level === 0 && token.nesting >= 0 && token.map) {
        count++;
        index = i;
      }
    }
    return { index, count };
  }

  /**
   * Converts the blocks of lines [from, to). Unless `to` is the end of the
   * text, the last block may be cut short by the piece's end, so the piece
   * stops before it. Returns the blocks and the line the next piece starts
   * at, or null when the piece holds fewer than two blocks or an unclosed one.
   */
  function parsePiece(source, from, to, env) {
    const refMark = env.refDefs.length;
    const fnMark = env.fnDefs.length;
    const cutting = to < source.total;
    const carried = env.footnotes;
    const state = parseBlocks(source, from, to, env);
    // Forgets what lines from `line` on defined: the next piece parses them
    // again. Definitions are recorded in line order, so those are the last
    // ones; only this piece's are visited, however many are known.
    const forget = (line) => {
      const since = (defs, mark) => {
        let at = defs.length;
        while (at > mark && defs[at - 1].line >= line) at--;
        return defs.splice(at);
      };
      const dropped = since(env.refDefs, refMark).filter((d) => d.added);
      since(env.fnDefs, fnMark);
      if (!dropped.length) return;
      const kept = new Set(env.refDefs.slice(refMark).map((d) => d.label));
      for (const d of dropped) if (!kept.has(d.label)) delete env.references[d.label];
    };
    let next = source.total;
    if (cutting) {
      const last = lastBlock(state.tokens);
      if (last.count < 2 || env.openEnded) {
        forget(-1);
        return null;
      }
      next = state.tokens[last.index].map[0] + from;
      state.tokens.length = last.index;
      forget(next);
    }
    for (const d of env.fnDefs.slice(fnMark)) if (carried.refs[`:${d.label}`] === undefined) carried.refs[`:${d.label}`] = -1;
    runPhase(phases.rest, state);
    return { blocks: renderer.toBlocks(state.tokens, env), next };
  }

  /** Lines [from, to) converted whole, without cutting at the end. */
  function parseRange(source, from, to, env) {
    const state = parseBlocks(source, from, to, env);
    runPhase(phases.rest, state);
    return renderer.toBlocks(state.tokens, env);
  }

  /** The footnote section, built once every piece has been parsed; null without footnotes. */
  function footnoteSection(env) {
    if (!env.footnotes.list?.length) return null;
    const state = new md.core.State('', md, env);
    state.tokens = env.footnoteTokens.slice();
    env.pieces = false;
    env.lineOffset = 0;
    try {
      runPhase(phases.tail, state);
    } finally {
      env.pieces = true;
    }
    return renderer.tailBlock(state.tokens, env);
  }

  return { parsePiece, parseRange, footnoteSection };
}
