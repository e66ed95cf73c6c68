// Processed tokens -> top-level block records, rendered one by one.
import { stripLines } from './lineattrs.js';
import { tagBalance } from './rawhtml.js';
import { rowsOf } from './rows.js';

/**
 * @typedef {object} Block
 * @property {string} html      rendered, with line attributes
 * @property {number} [shift]   lines to add to those attributes: how far edits above moved it since (htmlOf)
 * @property {number[][]} [moves]  the footnote section's: [from, delta] in order, each adding delta to the lines at or after from (htmlOf)
 * @property {string} key       html without line attributes: equal keys render the same
 * @property {number} start     first source line (absolute)
 * @property {number} end       line after the last
 * @property {number} rows      guessed rows on the page (rows.js)
 * @property {object[]} headings  outline entries of its headings
 * @property {string[]} fnRefs  its footnote references in order ("L" + label or "I" + inline text)
 * @property {string} raw       the document's raw HTML in it
 * @property {object|null} open tags its raw HTML leaves open (rawhtml.js)
 * @property {boolean} [tail]   the footnote section
 */

export function createBlockRenderer(md) {
  const renderer = md.renderer;

  function renderRange(tokens, from, to, env) {
    const rules = renderer.rules;
    let out = '';
    for (let i = from; i < to; i++) {
      const token = tokens[i];
      if (token.type === 'inline') out += renderer.renderInline(token.children, md.options, env);
      else if (rules[token.type] !== undefined) out += rules[token.type](tokens, i, md.options, env, renderer);
      else out += renderer.renderToken(tokens, i, md.options, env);
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

  /** Headings, raw HTML and (in the body, not the footnote section) footnote references of tokens [from, to). */
  function collect(block, tokens, from, to, env) {
    for (let i = from; i < to; i++) {
      const token = tokens[i];
      if (token.type === 'heading_open' && token.meta?.heading) block.headings.push(token.meta.heading);
      else if (token.type === 'html_block') block.raw += token.content;
      else if (token.type === 'inline' && token.children) {
        for (const child of token.children) {
          if (child.type === 'footnote_ref') {
            if (!block.tail) block.fnRefs.push(footnoteKey(env, child));
          } else if (child.type === 'html_inline' && !child.meta?.generated) block.raw += child.content;
        }
      }
    }
    if (block.raw && !block.tail) block.open = tagBalance(block.raw);
    return block;
  }

  /** @returns {Block[]} the top-level blocks of a processed token list */
  function toBlocks(tokens, env) {
    const blocks = [];
    for (let i = 0; i < tokens.length; ) {
      let end = i + 1;
      if (tokens[i].nesting === 1) for (let depth = 1; end < tokens.length && depth > 0; end++) depth += tokens[end].nesting;
      const html = renderRange(tokens, i, end, env);
      const map = tokens[i].map;
      const start = map ? map[0] + env.lineOffset : (blocks.at(-1)?.end ?? env.lineOffset);
      const last = map ? map[1] + env.lineOffset : start;
      const block = { html, key: stripLines(html), start, end: last, rows: rowsOf(tokens[i].type, env.source, start, last), headings: [], fnRefs: [], raw: '', open: null };
      blocks.push(collect(block, tokens, i, end, env));
      i = end;
    }
    return blocks;
  }

  /** @returns {Block} the footnote section, from fully processed tail tokens */
  function tailBlock(tokens, env) {
    const html = renderRange(tokens, 0, tokens.length, env);
    return collect({ html, key: stripLines(html), start: Infinity, end: Infinity, headings: [], fnRefs: [], raw: '', open: null, tail: true }, tokens, 0, tokens.length, env);
  }

  return { toBlocks, tailBlock };
}
