// YAML front matter at the very top ("---" ... "---" or "..."), shown as a
// collapsed metadata table. A block that is not a YAML mapping stays
// ordinary Markdown (a rule and a heading, as CommonMark says), unless it
// clearly tried to be one ("key: value" lines), then its raw text is shown.
import { load as loadYaml, CORE_SCHEMA } from 'js-yaml';
import { markOpenEnded } from '../convert/env.js';

const FENCE = /^-{3}[ \t]*$/;
const CLOSE = /^(?:-{3}|\.{3})[ \t]*$/;
const LOOKS_LIKE_KEY = /^[A-Za-z_][\w .-]*:(?:\s|$)/;

function line(state, n) {
  return state.src.slice(state.bMarks[n], state.eMarks[n]);
}

function parse(raw) {
  try {
    const data = loadYaml(raw, { schema: CORE_SCHEMA });
    if (data && typeof data === 'object' && !Array.isArray(data) && Object.keys(data).length > 0) return { data };
  } catch (err) {
    if (LOOKS_LIKE_KEY.test(raw.trimStart())) return { error: String(err.reason || err.message || err) };
  }
  return null;
}

function frontMatter(state, startLine, endLine, silent) {
  if (startLine !== 0 || state.env.lineOffset || state.blkIndent !== 0 || !FENCE.test(line(state, 0))) return false;
  let close = -1;
  for (let n = 1; n < endLine; n++) {
    if (CLOSE.test(line(state, n))) {
      close = n;
      break;
    }
  }
  if (close < 0) markOpenEnded(state, endLine);
  if (close < 2) return false;
  const raw = state.getLines(1, close, 0, true);
  const parsed = parse(raw);
  if (!parsed) return false;
  if (silent) return true;
  const token = state.push('front_matter', 'details', 0);
  token.block = true;
  token.map = [0, close + 1];
  token.content = raw;
  token.meta = parsed;
  state.line = close + 1;
  return true;
}

// YAML aliases let a few hundred bytes stand for a value of billions of
// nodes (shared, not copied, once loaded). What is shown is cut after about
// this many characters, each value counting its markup too, and says so.
const MAX_SHOWN = 50000;
const VALUE_MARKUP = 40;

/** Writes values as HTML until the budget of shown characters runs out. */
function createWriter(esc) {
  let left = MAX_SHOWN;
  const writer = { cut: false };

  function text(value) {
    const s = String(value);
    if (s.length + VALUE_MARKUP < left) {
      left -= s.length + VALUE_MARKUP;
      return esc(s);
    }
    const shown = left > 0 ? s.slice(0, left) : '';
    left = 0;
    writer.cut = true;
    return `${esc(shown)}…`;
  }

  function scalar(value) {
    if (value === null || value === undefined || value === '') return '<span class="front-matter-empty">—</span>';
    return text(value);
  }

  /** JSON-like text of a value nested too deep for tables. */
  function compact(value) {
    if (left <= 0) return text('');
    if (value === null || typeof value !== 'object') return text(JSON.stringify(value) ?? String(value));
    const parts = [];
    if (Array.isArray(value)) {
      for (const item of value) if (left > 0) parts.push(compact(item));
      return `[${parts.join(', ')}]`;
    }
    for (const [key, item] of Object.entries(value)) if (left > 0) parts.push(`${text(JSON.stringify(key))}: ${compact(item)}`);
    return `{${parts.join(', ')}}`;
  }

  function value(v, depth) {
    if (Array.isArray(v)) {
      if (v.every((item) => item === null || typeof item !== 'object')) {
        const items = [];
        for (const item of v) if (left > 0) items.push(`<span class="front-matter-item">${scalar(item)}</span>`);
        if (items.length < v.length) writer.cut = true;
        return items.join(' ');
      }
    } else if (v === null || typeof v !== 'object') {
      return scalar(v);
    }
    if (depth >= 3) return `<code>${compact(v)}</code>`;
    return table(v, depth + 1);
  }

  function table(obj, depth) {
    const rows = [];
    for (const [k, v] of Object.entries(obj)) {
      // The top level lists every key (the source bounds them); deeper ones stop when the budget does.
      if (left <= 0) {
        writer.cut = true;
        if (depth > 0) break;
        rows.push(`<tr><th scope="row">${esc(k)}</th><td>…</td></tr>`);
        continue;
      }
      rows.push(`<tr><th scope="row">${text(k)}</th><td>${value(v, depth)}</td></tr>`);
    }
    return `<table class="front-matter-table"><tbody>${rows.join('')}</tbody></table>`;
  }

  writer.table = table;
  return writer;
}

export default function frontmatter(md) {
  const esc = md.utils.escapeHtml;
  md.block.ruler.before('table', 'front_matter', frontMatter, { alt: [] });

  md.renderer.rules.front_matter = (tokens, idx, options, env, slf) => {
    const { data, error } = tokens[idx].meta;
    env.frontMatter = data || null;
    const title = data && typeof data.title !== 'object' && data.title != null ? String(data.title) : '';
    const keys = data ? Object.keys(data) : [];
    const summary =
      `<summary><span class="front-matter-label">Metadata</span>` +
      (title ? `<span class="front-matter-title">${esc(title)}</span>` : '') +
      `<span class="front-matter-keys">${esc(error ? 'invalid YAML' : keys.join(' · '))}</span></summary>`;
    let body = `<p class="front-matter-error">${esc(error)}</p><pre><code class="language-yaml">${esc(tokens[idx].content)}</code></pre>`;
    if (!error) {
      const writer = createWriter(esc);
      body = writer.table(data, 0);
      if (writer.cut) body += `<p class="front-matter-note">Shortened: too long to show in full (a value repeated through a YAML alias counts each time).</p>`;
    }
    return `<details class="front-matter"${slf.renderAttrs(tokens[idx])}>${summary}${body}</details>\n`;
  };
}
