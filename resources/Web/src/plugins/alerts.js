// GitHub alerts: a blockquote whose first line is exactly [!NOTE], [!TIP],
// [!IMPORTANT], [!WARNING] or [!CAUTION] becomes a coloured call-out.
// Runs before inline parsing, so only the raw paragraph text is edited.

const KINDS = { note: 'Note', tip: 'Tip', important: 'Important', warning: 'Warning', caution: 'Caution' };
const MARKER = /^\[!(note|tip|important|warning|caution)\][ \t]*(?:\n|$)/i;

function closingIndex(tokens, open) {
  let depth = 0;
  for (let i = open; i < tokens.length; i++) {
    if (tokens[i].type === 'blockquote_open') depth++;
    else if (tokens[i].type === 'blockquote_close' && --depth === 0) return i;
  }
  return -1;
}

export default function alerts(md) {
  md.core.ruler.after('block', 'lumo_alerts', (state) => {
    const tokens = state.tokens;
    const out = [];
    for (let i = 0; i < tokens.length; i++) {
      const open = tokens[i];
      out.push(open);
      if (open.type !== 'blockquote_open') continue;
      const para = tokens[i + 1];
      const inline = tokens[i + 2];
      if (para?.type !== 'paragraph_open' || inline?.type !== 'inline') continue;
      const m = MARKER.exec(inline.content);
      if (!m) continue;
      const kind = m[1].toLowerCase();
      const close = closingIndex(tokens, i);
      if (close < 0) continue;

      open.type = 'alert_open';
      open.tag = 'div';
      open.attrJoin('class', `markdown-alert markdown-alert-${kind}`);
      open.meta = { kind };
      tokens[close].type = 'alert_close';
      tokens[close].tag = 'div';

      const title = new state.Token('alert_title', 'p', 0);
      title.block = true;
      title.meta = { kind, title: KINDS[kind] };
      out.push(title);

      inline.content = inline.content.slice(m[0].length);
      if (inline.content.trim() === '') {
        i += 3; // the marker was the whole paragraph
      } else {
        if (para.map) para.map = [para.map[0] + 1, para.map[1]];
        if (inline.map) inline.map = [inline.map[0] + 1, inline.map[1]];
      }
    }
    state.tokens = out;
  });

  md.renderer.rules.alert_title = (tokens, idx) => {
    const { kind, title } = tokens[idx].meta;
    return `<p class="markdown-alert-title" data-alert="${kind}">${title}</p>\n`;
  };
}
