// Heading anchors and the outline. Ids are unique per document; the outline
// lists every heading in order with the same ids, and the source line each
// starts on, so the editor can jump to it. A document converted in pieces
// passes one slugger through env.slugger so ids stay unique across pieces.
import { createSlugger } from '../slug.js';

export function inlineText(children) {
  let out = '';
  for (const t of children || []) {
    switch (t.type) {
      case 'text':
      case 'code_inline':
      case 'emoji':
      case 'math_inline':
        out += t.content;
        break;
      case 'softbreak':
      case 'hardbreak':
        out += ' ';
        break;
      case 'image':
        out += inlineText(t.children);
        break;
      default:
        break;
    }
  }
  return out;
}

export default function headings(md) {
  md.core.ruler.push('lumo_headings', (state) => {
    const unique = state.env.slugger ?? createSlugger();
    const offset = state.env.lineOffset || 0;
    const outline = [];
    const tokens = state.tokens;
    for (let i = 0; i < tokens.length; i++) {
      const open = tokens[i];
      if (open.type !== 'heading_open') continue;
      const text = inlineText(tokens[i + 1]?.children).replace(/\s+/g, ' ').trim();
      const id = unique(text);
      open.attrSet('id', id);
      const entry = { level: Number(open.tag.slice(1)), text, id, line: open.map ? open.map[0] + offset : -1 };
      open.meta = { ...open.meta, heading: entry };
      outline.push(entry);
    }
    state.env.outline = outline;
  });
}
