// Converter throughput: our pipeline vs plain markdown-it with the same
// options, on generated documents of about 1 MB and 10 MB. Prints figures;
// never fails.
import MarkdownIt from 'markdown-it';
import { convert, MARKDOWN_OPTIONS } from '../src/markdown.js';
import { documentOf } from './document.mjs';

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
