// Gathers the licence of every npm package the page ships (the lockfile's runtime
// packages and everything they pull in, less type declarations, which are never
// bundled) into an output folder:
//   node licenses.mjs /path/to/build/share/doc/lumo/licenses
// One file per package, named after it, holding its own licence text (or, for the
// few packages that ship none, what their package.json declares), and an index.
import { mkdir, readFile, readdir, rm, writeFile } from 'node:fs/promises';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const here = dirname(fileURLToPath(import.meta.url));
const out = process.argv[2];
if (!out) {
  console.error('usage: node licenses.mjs OUTPUT_FOLDER');
  process.exit(2);
}
const target = resolve(out);
const LICENCE_FILE = /^(licen[cs]e|copying)(\.(md|txt|markdown))?$/i;

const lock = JSON.parse(await readFile(join(here, 'package-lock.json'), 'utf8'));
const shipped = new Map();
for (const [path, entry] of Object.entries(lock.packages)) {
  if (!path || entry.dev || path.includes('node_modules/@types/')) continue;
  const meta = JSON.parse(await readFile(join(here, path, 'package.json'), 'utf8'));
  const key = `${meta.name}@${meta.version}`;
  if (!shipped.has(key)) shipped.set(key, { path, meta });
}

await rm(target, { recursive: true, force: true });
await mkdir(target, { recursive: true });
const index = [];
for (const [key, { path, meta }] of [...shipped].sort(([a], [b]) => a.localeCompare(b))) {
  const declared = meta.license ?? 'unstated';
  const files = (await readdir(join(here, path))).filter((name) => LICENCE_FILE.test(name)).sort();
  let text;
  if (files.length) {
    text = (await Promise.all(files.map((name) => readFile(join(here, path, name), 'utf8')))).join('\n');
  } else {
    const author = typeof meta.author === 'string' ? meta.author : meta.author?.name;
    text = `${key} ships no licence text; its package.json declares the licence "${declared}"` +
      `${author ? `, by ${author}` : ''}.\n`;
  }
  const file = `${key.replace(/^@/, '').replace(/\//g, '-')}.txt`;
  await writeFile(join(target, file), text);
  index.push(`${key.padEnd(44)} ${declared.padEnd(24)} ${file}`);
}
await writeFile(join(target, 'INDEX'), `Libraries bundled into Lumo's reading page: name@version, licence, file.\n\n${index.join('\n')}\n`);
console.log(`lumo licences: ${shipped.size} packages into ${target}`);
