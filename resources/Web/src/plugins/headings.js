// Heading anchors and the outline. Ids are unique per document; the outline
// lists every heading in order with the same ids, and the source line each
// starts on, so the editor can jump to it.
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
    const unique = createSlugger();
    const outline = [];
    const tokens = state.tokens;
    for (let i = 0; i < tokens.length; i++) {
      const open = tokens[i];
      if (open.type !== 'heading_open') continue;
      const text = inlineText(tokens[i + 1]?.children).replace(/\s+/g, ' ').trim();
      const id = unique(text);
      open.attrSet('id', id);
      outline.push({ level: Number(open.tag.slice(1)), text, id, line: open.map ? open.map[0] : -1 });
    }
    state.env.outline = outline;
  });
}
