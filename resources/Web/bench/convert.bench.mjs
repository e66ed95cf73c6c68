// Converter throughput: our pipeline vs plain markdown-it with the same
// options, on generated documents of about 1 MB and 10 MB. Prints figures;
// never fails.
import MarkdownIt from 'markdown-it';
import { convert, MARKDOWN_OPTIONS } from '../src/markdown.js';
import { documentOf } from './document.mjs';
import { createBlockConverter } from '../src/blocks.js';

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

// The page's converter on a one-character edit in the middle (only nearby blocks are parsed again).
const converter = createBlockConverter();
for (const [label, bytes] of [['1 MB', 1 << 20], ['10 MB', 10 << 20]]) {
  const text = documentOf(bytes);
  const edited = text.slice(0, text.length >> 1) + 'x' + text.slice(text.length >> 1);
  const samples = [];
  for (let i = 0; i < 3; i++) {
    converter.convert(text);
    const start = performance.now();
    const result = converter.update(edited);
    samples.push(performance.now() - start);
    if (!result) console.log('(edit fell back to a whole conversion)');
  }
  samples.sort((a, b) => a - b);
  console.log(`${label.padEnd(6)} one-character edit  ${samples[1].toFixed(1)} ms`);
}
