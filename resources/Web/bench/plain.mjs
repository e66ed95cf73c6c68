// Plain markdown-it (our options, no plugins) on a file, for comparison with the
// page: node plain.mjs FILE.md RUNS. Prints the median in milliseconds.
import { readFileSync } from 'node:fs';
import MarkdownIt from 'markdown-it';
import { MARKDOWN_OPTIONS } from '../src/markdown.js';

const [file, runs = '5'] = process.argv.slice(2);
const text = readFileSync(file, 'utf8');
const md = new MarkdownIt(MARKDOWN_OPTIONS);
md.render(text);
const samples = [];
for (let i = 0; i < Number(runs); i++) {
  const start = performance.now();
  md.render(text);
  samples.push(performance.now() - start);
}
samples.sort((a, b) => a - b);
console.log(samples[Math.floor(samples.length / 2)].toFixed(1));
