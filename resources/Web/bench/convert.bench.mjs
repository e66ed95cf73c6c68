// Converter throughput: our pipeline vs plain markdown-it with the same
// options, on generated documents of about 1 MB and 10 MB. Prints figures;
// never fails.
import MarkdownIt from 'markdown-it';
import { convert, MARKDOWN_OPTIONS } from '../src/markdown.js';

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

function documentOf(bytes) {
  const parts = ['---\ntitle: Benchmark\ntags: [a, b]\n---\n\n# Benchmark document\n\n'];
  let size = parts[0].length;
  for (let i = 1; size < bytes; i++) {
    const s = SECTION(i);
    parts.push(s);
    size += s.length;
  }
  return parts.join('');
}

function time(fn, runs) {
  fn(); // warm up
  const samples = [];
  for (let i = 0; i < runs; i++) {
    const start = performance.now();
    fn();
    samples.push(performance.now() - start);
  }
  samples.sort((a, b) => a - b);
  return samples[Math.floor(samples.length / 2)];
}

const plain = new MarkdownIt(MARKDOWN_OPTIONS);
console.log('converter benchmark (median ms)');
for (const [label, bytes, runs] of [['1 MB', 1 << 20, 7], ['10 MB', 10 << 20, 3]]) {
  const text = documentOf(bytes);
  const ours = time(() => convert(text, 'file:///home/u/docs/'), runs);
  const base = time(() => plain.render(text), runs);
  console.log(
    `${label.padEnd(6)} ${(text.length / 1048576).toFixed(2)} MiB  lumo ${ours.toFixed(1)} ms  markdown-it ${base.toFixed(1)} ms  ratio ${(ours / base).toFixed(2)}`,
  );
}
