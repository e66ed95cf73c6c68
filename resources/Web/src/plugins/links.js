// Resolves Markdown link and image destinations against the document's
// folder (env.base). Raw HTML is resolved later by the sanitiser with the
// same functions.
import { resolveAsset, resolveLink } from '../urls.js';

function walk(tokens, base) {
  for (const t of tokens) {
    if (t.type === 'link_open') {
      const href = t.attrGet('href');
      if (href) t.attrSet('href', resolveLink(href, base));
    } else if (t.type === 'image') {
      const src = t.attrGet('src');
      if (src) t.attrSet('src', resolveAsset(src, base));
    }
    if (t.children) walk(t.children, base);
  }
}

export default function links(md) {
  md.core.ruler.push('lumo_links', (state) => walk(state.tokens, state.env.base ?? null));
}
