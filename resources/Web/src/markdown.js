// Markdown text + base folder -> HTML string and outline. Pure: no DOM, no
// globals, so node runs it as-is. The HTML is not yet sanitised.
import MarkdownIt from 'markdown-it';
import footnote from 'markdown-it-footnote';
import markPlugin from 'markdown-it-mark';
import { full as emoji } from 'markdown-it-emoji';
import alerts from './plugins/alerts.js';
import fences from './plugins/fences.js';
import frontmatter from './plugins/frontmatter.js';
import headings from './plugins/headings.js';
import lines from './plugins/lines.js';
import links from './plugins/links.js';
import math from './plugins/math.js';
import tasks from './plugins/tasks.js';

/** Options shared with the plain markdown-it used as a yardstick in tests and benchmarks. */
export const MARKDOWN_OPTIONS = Object.freeze({ html: true, linkify: true, typographer: false });

// markdown-it refuses file: links by default; a local reader needs them.
const BAD_PROTOCOL = /^(?:vbscript|javascript|data):/;
const GOOD_DATA = /^data:image\/(?:gif|png|jpeg|webp|svg\+xml|avif);/;

function validateLink(url) {
  const s = url.trim().toLowerCase();
  return BAD_PROTOCOL.test(s) ? GOOD_DATA.test(s) : true;
}

// A web address of ASCII host labels and a plain path comes out of
// markdown-it's normalisation (parse, punycode, format, percent-encode) as it
// went in; only such a short one is spared the work, which otherwise costs
// as much as the rest of a reference definition.
const PLAIN_WEB_ADDRESS = /^https?:\/\/[A-Za-z0-9-]{1,63}(?:\.[A-Za-z0-9-]{1,63})*(?:\/[A-Za-z0-9\-._~/]*)?$/;

function fastNormalizeLink(normalizeLink) {
  return (url) => (url.length <= 200 && PLAIN_WEB_ADDRESS.test(url) ? url : normalizeLink(url));
}

// markdown-it-footnote appends each footnote with Array#concat, which copies
// the whole token stream every time: quadratic in long documents with many
// footnotes. Its tail rule gets an array whose concat appends in place.
class AppendingTokens extends Array {
  concat(...items) {
    for (const item of items) {
      if (Array.isArray(item)) for (const t of item) this.push(t);
      else this.push(item);
    }
    return this;
  }
}

// A rule's own function, taken through the public ruler API from a
// throw-away instance with the same plugins, so that ours can wrap it.
function originalRule(parser, name) {
  const probe = new MarkdownIt(MARKDOWN_OPTIONS).use(footnote);
  probe[parser].ruler.enableOnly([name]);
  return probe[parser].ruler.getRules('')[0];
}

function linearFootnoteTail(md) {
  const tail = originalRule('core', 'footnote_tail');
  md.core.ruler.at('footnote_tail', (state) => {
    if (state.env.pieces) {
      // Part of a document converted in pieces (convert/env.js): definitions wait
      // for the end of the document, where the footnote section is built from all of them.
      stashDefinitions(state);
      return;
    }
    if (!state.env.footnotes) return;
    state.tokens = AppendingTokens.from(state.tokens);
    try {
      tail(state);
    } finally {
      state.tokens = Array.from(state.tokens);
    }
  });
}

function stashDefinitions(state) {
  const offset = state.env.lineOffset || 0;
  const out = [];
  let inside = false;
  for (const token of state.tokens) {
    if (token.type === 'footnote_reference_open') inside = true;
    if (inside) {
      if (token.map && offset) token.map = [token.map[0] + offset, token.map[1] + offset];
      if (token.children?.some((c) => c.type === 'footnote_ref')) state.env.tangled = true;
      state.env.footnoteTokens.push(token);
    } else {
      out.push(token);
    }
    if (token.type === 'footnote_reference_close') inside = false;
  }
  state.tokens = out;
}

// Definitions are recorded with their absolute lines so that a document
// converted in pieces can tell whether an edit changed any of them (their
// effect reaches blocks anywhere in the document). Fields: convert/env.js.
function rememberReference(env, line, end, label, href, title) {
  const known = env.references ?? (env.references = {});
  const added = known[label] === undefined;
  env.refDefs.push({ line, end, label, href, title, added });
  if (added) known[label] = { href, title };
}

function recordDefinitions(md) {
  const reference = originalRule('block', 'reference');
  md.block.ruler.at('reference', (state, startLine, endLine, silent) => {
    const { env } = state;
    if (!env.refDefs || silent) return reference(state, startLine, endLine, silent);
    // Most lines are no definition: spare them the probe below.
    if (state.src.charCodeAt(state.bMarks[startLine] + state.tShift[startLine]) !== 0x5b /* [ */) return false;
    const offset = env.lineOffset || 0;
    // Outside every container a line is read as the prescan read it, so its
    // definition is taken as found there, when all its lines are in the piece.
    const seen = state.level === 0 && state.blkIndent === 0 ? env.prescanned?.get(startLine + offset) : undefined;
    if (seen && seen.end <= state.lineMax + offset) {
      // Its label is known already: the pieces start from the prescan's references.
      env.refDefs.push({ line: seen.line, end: seen.end, label: seen.label, href: seen.href, title: seen.title, added: false });
      state.line = seen.end - offset;
      return true;
    }
    const known = env.references;
    const probe = {};
    env.references = probe;
    let ok = false;
    try {
      ok = reference(state, startLine, endLine, silent);
    } finally {
      env.references = known;
    }
    for (const label in probe) rememberReference(env, startLine + offset, state.line + offset, label, probe[label].href, probe[label].title);
    return ok;
  });
  const footnoteDef = originalRule('block', 'footnote_def');
  md.block.ruler.at('footnote_def', (state, startLine, endLine, silent) => {
    const at = state.tokens.length;
    const ok = footnoteDef(state, startLine, endLine, silent);
    if (!ok || silent) return ok;
    const open = state.tokens[at];
    if (open?.type === 'footnote_reference_open') {
      open.map = [startLine, state.line];
      const offset = state.env.lineOffset || 0;
      state.env.fnDefs?.push({
        line: startLine + offset,
        end: state.line + offset,
        label: open.meta.label,
        text: state.src.slice(state.bMarks[startLine], state.eMarks[state.line - 1]),
      });
    }
    return ok;
  }, { alt: ['paragraph', 'reference'] });
}

export function createMarkdown() {
  const md = new MarkdownIt(MARKDOWN_OPTIONS);
  md.validateLink = validateLink;
  md.normalizeLink = fastNormalizeLink(md.normalizeLink);
  // Bare words such as README.md are not links (.md is a country domain);
  // scheme and www. links still are.
  md.linkify.set({ fuzzyLink: false });
  md.linkify.add('www.', {
    validate(text, pos, self) {
      const tail = text.slice(pos);
      if (!self.re.www) self.re.www = /^[a-z0-9][a-z0-9-]*(?:\.[a-z0-9-]+)+(?::\d+)?(?:[/?#][^\s<>"']*[^\s<>"'.,;:!?)\]}*_~])?/i;
      const m = self.re.www.exec(tail);
      return m ? m[0].length : 0;
    },
    normalize(match) {
      match.url = 'https://' + match.url;
    },
  });
  md.use(frontmatter)
    .use(math)
    .use(fences)
    .use(alerts)
    .use(footnote)
    .use(linearFootnoteTail)
    .use(recordDefinitions)
    .use(markPlugin)
    .use(emoji)
    .use(tasks)
    .use(headings)
    .use(links)
    .use(lines);
  return md;
}

let shared = null;

/**
 * Convert Markdown to HTML.
 * @param {string} text Markdown source
 * @param {string|null} base folder URL ("file:///dir/") that relative links resolve against
 * @returns {{html: string, outline: {level:number,text:string,id:string}[], hasMath: boolean, hasDiagrams: boolean}}
 */
export function convert(text, base = null) {
  shared ??= createMarkdown();
  const env = { base };
  const html = shared.render(String(text ?? ''), env);
  return { html, outline: env.outline || [], hasMath: !!env.hasMath, hasDiagrams: !!env.hasDiagrams };
}
