// Writes each pathological input (pathological.mjs) to a file of its own, for
// the real page: node generate-pathological.mjs DIR [BYTES], then
// build/bench/bench_page RUNS DIR/*.md
import { mkdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { PATHOLOGICAL } from './pathological.mjs';

const [dir, bytes = String(1 << 20)] = process.argv.slice(2);
mkdirSync(dir, { recursive: true });
for (const [name, make] of PATHOLOGICAL) writeFileSync(join(dir, `${name.replace(/[^a-z0-9]+/gi, '-').toLowerCase()}.md`), make(Number(bytes)));
