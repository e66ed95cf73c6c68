// A generated benchmark document that exercises every feature of the page:
// headings, emphasis, links, images, alerts, footnotes, tasks, tables, code,
// math and raw HTML, repeated up to the size asked for.
const SECTION = (i) => `## Section ${i}: notes on part ${i % 97}

Paragraph with **bold**, *emphasis*, \`code\`, a [link](docs/page-${i}.md), an image ![fig](img/fig-${i % 13}.png),
==marked== text, ~~struck~~ words, an emoji :sparkles: and inline math $a_${i} + b^2$. Visit https://example.org/${i}.

> [!NOTE]
> Alert number ${i} with a footnote.[^n${i}]

- [ ] open task ${i}
- [x] done task ${i}
  1. nested ordered
  2. second item

| Column | Value | Notes |
|:-------|------:|-------|
| alpha  | ${i}  | text  |
| beta   | ${i * 2} | more |

\`\`\`js
function f${i}(x) {
  return x * ${i}; // comment
}
\`\`\`

$$
\\sum_{k=0}^{${i}} k^2
$$

<details><summary>Raw HTML ${i}</summary><p style="color: gray">inside</p></details>

[^n${i}]: Footnote ${i}.

`;

export function documentOf(bytes) {
  const parts = ['---\ntitle: Benchmark\ntags: [a, b]\n---\n\n# Benchmark document\n\n'];
  let size = parts[0].length;
  for (let i = 1; size < bytes; i++) {
    const s = SECTION(i);
    parts.push(s);
    size += s.length;
  }
  return parts.join('');
}

