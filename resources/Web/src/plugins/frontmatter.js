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

function scalar(value, esc) {
  if (value === null || value === undefined || value === '') return '<span class="front-matter-empty">—</span>';
  return esc(String(value));
}

function valueHtml(value, esc, depth) {
  if (Array.isArray(value)) {
    if (value.every((v) => v === null || typeof v !== 'object')) {
      return value.map((v) => `<span class="front-matter-item">${scalar(v, esc)}</span>`).join(' ');
    }
  } else if (value === null || typeof value !== 'object') {
    return scalar(value, esc);
  }
  if (depth >= 3) return `<code>${esc(JSON.stringify(value))}</code>`;
  return tableHtml(value, esc, depth + 1);
}

function tableHtml(obj, esc, depth) {
  const rows = Object.entries(obj)
    .map(([k, v]) => `<tr><th scope="row">${esc(k)}</th><td>${valueHtml(v, esc, depth)}</td></tr>`)
    .join('');
  return `<table class="front-matter-table"><tbody>${rows}</tbody></table>`;
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
    const body = error
      ? `<p class="front-matter-error">${esc(error)}</p><pre><code class="language-yaml">${esc(tokens[idx].content)}</code></pre>`
      : tableHtml(data, esc, 0);
    return `<details class="front-matter"${slf.renderAttrs(tokens[idx])}>${summary}${body}</details>\n`;
  };
}
