// Builds the page into an output folder:
//   node build.mjs /path/to/build/share/lumo/Web
// Bundles src/main.js into one classic script (mv.js: pages loaded from
// file:// cannot use ES modules), copies the page files and fills vendor/.
// Copies are skipped when the target is already up to date, so a second run
// only pays for the bundle check.
import { build } from 'esbuild';
import { copyFile, mkdir, readdir, readFile, stat, writeFile } from 'node:fs/promises';
import { dirname, join, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';
import { createRequire } from 'node:module';

const here = dirname(fileURLToPath(import.meta.url));
const require = createRequire(import.meta.url);
const out = process.argv[2];
if (!out) {
  console.error('usage: node build.mjs OUTPUT_FOLDER');
  process.exit(2);
}
const target = resolve(out);
// Qt WebEngine 6.4 runs Chromium 102.
const BROWSER = 'chrome102';

const pkg = (name) => dirname(require.resolve(`${name}/package.json`));

async function mtime(path) {
  try {
    return (await stat(path)).mtimeMs;
  } catch {
    return -1;
  }
}

async function copyIfNewer(from, to) {
  if ((await mtime(to)) >= (await mtime(from))) return false;
  await mkdir(dirname(to), { recursive: true });
  await copyFile(from, to);
  return true;
}

async function newestIn(dir) {
  let newest = 0;
  for (const entry of await readdir(dir, { withFileTypes: true, recursive: true })) {
    if (entry.isFile()) newest = Math.max(newest, await mtime(join(entry.parentPath ?? entry.path, entry.name)));
  }
  return newest;
}

async function bundle() {
  const output = join(target, 'mv.js');
  const inputs = Math.max(await newestIn(join(here, 'src')), await mtime(join(here, 'package-lock.json')), await mtime(fileURLToPath(import.meta.url)));
  if ((await mtime(output)) >= inputs) return false;
  // The conversion Worker's code, bundled on its own and carried by mv.js as a string.
  const worker = await build({ entryPoints: [join(here, 'src/worker.js')], write: false, bundle: true, format: 'iife', platform: 'browser', target: BROWSER, minify: true, legalComments: 'none', logLevel: 'warning' });
  await build({
    define: { LUMO_WORKER_SOURCE: JSON.stringify(worker.outputFiles[0].text) },
    entryPoints: [join(here, 'src/main.js')],
    outfile: output,
    bundle: true,
    format: 'iife',
    platform: 'browser',
    target: BROWSER,
    minify: true,
    sourcemap: 'linked',
    legalComments: 'linked',
    logLevel: 'warning',
  });
  return true;
}

// Mermaid's browser build targets newer engines; lower its syntax once.
async function mermaid() {
  const from = join(pkg('mermaid'), 'dist/mermaid.min.js');
  const to = join(target, 'vendor/mermaid.min.js');
  if ((await mtime(to)) >= (await mtime(from))) return false;
  await mkdir(dirname(to), { recursive: true });
  await build({ entryPoints: [from], outfile: to, bundle: false, target: BROWSER, minify: true, logLevel: 'error', legalComments: 'none' });
  return true;
}

async function vendor() {
  const katex = join(pkg('katex'), 'dist');
  const hljs = join(pkg('highlight.js'), 'styles');
  const jobs = [
    copyIfNewer(join(katex, 'katex.min.css'), join(target, 'vendor/katex.min.css')),
    copyIfNewer(join(hljs, 'github.min.css'), join(target, 'vendor/hljs-light.css')),
    copyIfNewer(join(hljs, 'github-dark.min.css'), join(target, 'vendor/hljs-dark.css')),
  ];
  for (const name of await readdir(join(katex, 'fonts'))) {
    if (name.endsWith('.woff2')) jobs.push(copyIfNewer(join(katex, 'fonts', name), join(target, 'vendor/fonts', name)));
  }
  return (await Promise.all(jobs)).filter(Boolean).length;
}

// The licences of the libraries the page ships, which redistribution must carry;
// shown by Help → About Lumo.
async function licenses() {
  const to = join(target, 'licenses.txt');
  const manifest = join(here, 'package.json');
  if ((await mtime(to)) >= Math.max(await mtime(manifest), await mtime(join(here, 'package-lock.json')))) return false;
  const names = Object.keys(JSON.parse(await readFile(manifest, 'utf8')).dependencies).sort();
  const parts = [];
  for (const name of names) {
    const dir = join(here, 'node_modules', name); // not every package exports its package.json
    const info = JSON.parse(await readFile(join(dir, 'package.json'), 'utf8'));
    const file = (await readdir(dir)).find((entry) => /^(licen[cs]e|copying)(\.(md|txt))?$/i.test(entry));
    const text = file ? (await readFile(join(dir, file), 'utf8')).trim() : `Licensed under ${info.license}.`;
    parts.push(`${name} ${info.version} (${info.license})\n\n${text}\n`);
  }
  await writeFile(to, parts.join('\n' + '-'.repeat(72) + '\n\n'));
  return true;
}

async function pageFiles() {
  const jobs = ['index.html', 'themes.css', 'style.css'].map((name) => copyIfNewer(join(here, name), join(target, name)));
  return (await Promise.all(jobs)).filter(Boolean).length;
}

const started = performance.now();
await mkdir(target, { recursive: true });
const [bundled, lowered, vendored, copied] = await Promise.all([bundle(), mermaid(), vendor(), pageFiles(), licenses()]);
const ms = Math.round(performance.now() - started);
console.log(
  `lumo web: ${target} (mv.js ${bundled ? 'built' : 'up to date'}, mermaid ${lowered ? 'built' : 'up to date'}, ` +
    `${vendored} vendor and ${copied} page files copied, ${ms} ms)`,
);
