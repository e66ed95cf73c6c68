// TeX math delimiters: $inline$, $$display$$ (inline or as a block) and
// fenced "math" (see fences.js). Only tokenises: the page typesets the
// placeholders with KaTeX after first paint.
//
// Inline rules follow Pandoc so prices stay text: the opening $ is not
// followed by a space, the closing $ is not preceded by a space nor followed
// by a digit, and \$ is a literal dollar.

import { markOpenEnded } from '../convert/env.js';

const DOLLAR = 0x24;
const BACKSLASH = 0x5c;

function isSpace(code) {
  return code === 0x20 || code === 0x09 || code === 0x0a || code === 0x0d;
}

function escaped(src, pos) {
  let n = 0;
  while (pos - 1 - n >= 0 && src.charCodeAt(pos - 1 - n) === BACKSLASH) n++;
  return n % 2 === 1;
}

function mathInline(state, silent) {
  const { src, pos: start, posMax: max } = state;
  if (src.charCodeAt(start) !== DOLLAR) return false;

  if (src.charCodeAt(start + 1) === DOLLAR) {
    const end = src.indexOf('$$', start + 2);
    if (end < 0 || end + 2 > max) return false;
    const content = src.slice(start + 2, end);
    if (content.trim() === '') return false;
    if (!silent) {
      const token = state.push('math_inline_display', 'span', 0);
      token.content = content.trim();
      token.markup = '$$';
    }
    state.pos = end + 2;
    return true;
  }

  if (start + 1 >= max || isSpace(src.charCodeAt(start + 1))) return false;
  let pos = start + 1;
  for (;;) {
    pos = src.indexOf('$', pos);
    if (pos < 0 || pos >= max) return false;
    const after = src.charCodeAt(pos + 1);
    if (!escaped(src, pos) && !isSpace(src.charCodeAt(pos - 1)) && !(after >= 0x30 && after <= 0x39)) break;
    pos++;
  }
  if (!silent) {
    const token = state.push('math_inline', 'span', 0);
    token.content = src.slice(start + 1, pos);
    token.markup = '$';
  }
  state.pos = pos + 1;
  return true;
}

function lineText(state, line) {
  return state.src.slice(state.bMarks[line] + state.tShift[line], state.eMarks[line]);
}

function mathBlock(state, startLine, endLine, silent) {
  if (state.sCount[startLine] - state.blkIndent >= 4) return false;
  const first = lineText(state, startLine);
  if (!first.startsWith('$$')) return false;
  const rest = first.slice(2);
  const inner = rest.indexOf('$$');
  if (inner >= 0 && rest.slice(inner + 2).trim() !== '') return false; // "$$a$$ text" is inline

  let last = startLine;
  const body = [];
  if (inner >= 0) {
    body.push(rest.slice(0, inner));
  } else {
    body.push(rest);
    let closed = false;
    for (let line = startLine + 1; line < endLine; line++) {
      if (state.sCount[line] < state.blkIndent && state.bMarks[line] + state.tShift[line] < state.eMarks[line]) break;
      const text = lineText(state, line).trimEnd();
      if (text.endsWith('$$')) {
        body.push(text.slice(0, -2));
        last = line;
        closed = true;
        break;
      }
      body.push(text);
    }
    if (!closed) {
      markOpenEnded(state, endLine);
      return false;
    }
  }
  const content = body.join('\n').trim();
  if (content === '') return false;
  if (silent) return true;

  state.line = last + 1;
  const token = state.push('math_block', 'div', 0);
  token.block = true;
  token.content = content;
  token.markup = '$$';
  token.map = [startLine, state.line];
  return true;
}

export default function math(md) {
  const { escapeHtml } = md.utils;
  md.inline.ruler.after('escape', 'math_inline', mathInline);
  md.block.ruler.before('fence', 'math_block', mathBlock, { alt: ['paragraph', 'reference', 'blockquote', 'list'] });

  md.renderer.rules.math_inline = (tokens, idx, options, env) => {
    env.hasMath = true;
    return `<span class="math math-inline">${escapeHtml(tokens[idx].content)}</span>`;
  };
  md.renderer.rules.math_inline_display = (tokens, idx, options, env) => {
    env.hasMath = true;
    return `<span class="math math-display">${escapeHtml(tokens[idx].content)}</span>`;
  };
  md.renderer.rules.math_block = (tokens, idx, options, env, slf) => {
    env.hasMath = true;
    return `<div class="math math-display"${slf.renderAttrs(tokens[idx])}>${escapeHtml(tokens[idx].content)}</div>\n`;
  };
}
