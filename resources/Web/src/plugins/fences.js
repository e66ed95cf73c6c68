// Fenced blocks: "math" becomes display math, "mermaid" a diagram placeholder
// (drawn later in the page), everything else a code block whose language
// class the highlighter reads. Line attributes go on the outer element.

export default function fences(md) {
  const { escapeHtml, unescapeAll } = md.utils;

  md.renderer.rules.fence = (tokens, idx, options, env, slf) => {
    const token = tokens[idx];
    const info = token.info ? unescapeAll(token.info).trim() : '';
    const lang = info ? info.split(/(\s+)/g)[0] : '';
    const attrs = slf.renderAttrs(token);
    const body = escapeHtml(token.content);
    const key = lang.toLowerCase();
    if (key === 'math') {
      env.hasMath = true;
      return `<div class="math math-display"${attrs}>${body}</div>\n`;
    }
    if (key === 'mermaid') {
      env.hasDiagrams = true;
      return `<div class="mermaid-diagram"${attrs}><pre><code class="language-mermaid">${body}</code></pre></div>\n`;
    }
    const cls = lang ? ` class="${escapeHtml(options.langPrefix + lang)}"` : '';
    return `<pre${attrs}><code${cls}>${body}</code></pre>\n`;
  };
}
