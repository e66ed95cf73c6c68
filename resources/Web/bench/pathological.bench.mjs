// Inputs written to break parsers (pathological.mjs, about 1 MB each): the
// page's converter, driven in slices as the page drives it, beside plain
// markdown-it with the same options on the same text, and the longest single
// slice (the page cannot answer meanwhile). Sanitising, inserting and laying
// out are the engine's: bench_page times these files in the real page (see
// generate-pathological.mjs); jsdom's DOM is too slow for it to mean much.
// Prints figures; never fails. node bench/pathological.bench.mjs [BYTES [CASE...]]
import MarkdownIt from 'markdown-it';
import { MARKDOWN_OPTIONS } from '../src/markdown.js';
import { createBlockConverter } from '../src/blocks.js';
import { PATHOLOGICAL } from './pathological.mjs';

const bytes = Number(process.argv[2] ?? 1 << 20);
const only = process.argv.slice(3);
const plain = new MarkdownIt(MARKDOWN_OPTIONS);

// As the page: the first 600 lines, then slices aimed at 5 ms each.
function convertLikeThePage(text) {
  const job = createBlockConverter().start(text, null);
  let lines = 600;
  let longest = 0;
  while (!job.done) {
    const line = job.line;
    const started = performance.now();
    job.step(lines);
    const spent = performance.now() - started;
    longest = Math.max(longest, spent);
    if (job.line > line) lines = Math.max(50, Math.min(20000, Math.round(lines * (5 / Math.max(spent, 0.5)))));
  }
  return { job, longest };
}

function median(fn) {
  const first = performance.now();
  fn();
  const samples = [performance.now() - first];
  // Slow cases once; quick ones a few more times.
  for (let i = 0; i < 2 && samples[0] < 2000; i++) {
    const started = performance.now();
    fn();
    samples.push(performance.now() - started);
  }
  return samples.sort((a, b) => a - b)[samples.length >> 1];
}

console.log(`pathological inputs, ~${(bytes / 1048576).toFixed(1)} MB each (median ms)`);
console.log(`${'case'.padEnd(30)} ${'MB'.padStart(5)} ${'ours'.padStart(9)} ${'markdown-it'.padStart(11)} ${'ratio'.padStart(6)} ${'longest slice'.padStart(13)}`);
for (const [name, make] of PATHOLOGICAL) {
  if (only.length && !only.some((word) => name.includes(word))) continue;
  const text = make(bytes);
  const base = median(() => plain.render(text));
  let result = null;
  const ours = median(() => (result = convertLikeThePage(text)));
  console.log(
    `${name.padEnd(30)} ${(text.length / 1048576).toFixed(2).padStart(5)} ${ours.toFixed(1).padStart(9)} ${base.toFixed(1).padStart(11)} ${(ours / base).toFixed(2).padStart(6)} ${result.longest.toFixed(1).padStart(13)}`,
  );
}
