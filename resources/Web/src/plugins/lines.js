// Tags every rendered block with the source lines it came from
// (data-line = first line, data-line-end = line after the last, 0-based).
// Scroll sync, task toggles and DOM patching all read these. A piece of a
// document parsed on its own (env.lineOffset) is numbered as in the whole.

const SKIP = new Set(['inline', 'html_block']);

export default function lines(md) {
  md.core.ruler.push('lumo_lines', (state) => {
    const offset = state.env.lineOffset || 0;
    for (const token of state.tokens) {
      if (!token.map || token.nesting < 0 || SKIP.has(token.type)) continue;
      token.attrSet('data-line', String(token.map[0] + offset));
      token.attrSet('data-line-end', String(token.map[1] + offset));
    }
  });
}
