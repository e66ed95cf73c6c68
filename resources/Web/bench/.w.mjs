import fs from 'node:fs';
import MarkdownIt from 'markdown-it';
import { MARKDOWN_OPTIONS } from '../src/markdown.js';
import { createBlockConverter } from '../src/blocks.js';
import { blockIsClean } from '../src/plainmarkup.js';
const text = fs.readFileSync(process.argv[2], 'utf8');
const plain = new MarkdownIt(MARKDOWN_OPTIONS);
const t = (f) => { const s = performance.now(); const r = f(); return [Math.round(performance.now() - s), r]; };
for (let i = 0; i < 4; i++) {
  const [md] = t(() => plain.render(text));
  const [conv, job] = t(() => { const job = createBlockConverter().start(text, null); let lines = 600; while (!job.done) { const l = job.line; const s = performance.now(); job.step(lines); const sp = performance.now() - s; if (job.line > l) lines = Math.max(50, Math.min(2 * lines, 20000, Math.round(lines * (4 / Math.max(sp, 0.5))))); } return job; });
  const [clean] = t(() => { for (const b of job.blocks) b.checked = blockIsClean(b); });
  const [clone] = t(() => structuredClone(job.blocks));
  console.log({ md, conv, clean, clone, blocks: job.blocks.length });
}
console.log(Object.keys(createBlockConverter().convert(text.slice(0, 3000)).blocks[3]));
