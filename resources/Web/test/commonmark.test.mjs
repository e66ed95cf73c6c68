// CommonMark conformance: our whole pipeline (plugins, line attributes,
// sanitiser) must pass exactly the examples that plain markdown-it with the
// same options passes. Sanitising legitimately removes <script>, <style> and
// the like, so our output is compared with the expected HTML after the same
// sanitiser; everything else must come out as CommonMark says.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { JSDOM, VirtualConsole } from 'jsdom';
import MarkdownIt from 'markdown-it';
import { convert, MARKDOWN_OPTIONS } from '../src/markdown.js';
import { createSanitizer } from '../src/sanitize.js';

const require = createRequire(import.meta.url);
const { tests: examples } = require('commonmark-spec');

const { window } = new JSDOM('', { virtualConsole: new VirtualConsole() });
const scratch = window.document.createElement('div');
const sanitizer = createSanitizer(window);
const BLOCK = new Set('address article aside blockquote details dialog dd div dl dt fieldset figcaption figure footer form h1 h2 h3 h4 h5 h6 header hr li main nav ol p pre section table tbody td tfoot th thead tr ul'.split(' '));

// Canonical form of an HTML fragment: attributes sorted, whitespace runs
// collapsed outside <pre>, whitespace next to block tags dropped.
function normalize(html, { ours = false } = {}) {
  scratch.innerHTML = html;
  const out = [];
  const walk = (node, pre) => {
    for (const child of node.childNodes) {
      if (child.nodeType === 3) {
        out.push(pre ? child.data : child.data.replace(/\s+/g, ' '));
      } else if (child.nodeType === 1) {
        const tag = child.localName;
        const attrs = Array.from(child.attributes)
          .filter((a) => !(ours && (a.name === 'data-line' || a.name === 'data-line-end' || (a.name === 'id' && /^h[1-6]$/.test(tag)))))
          .map((a) => `${a.name}="${a.value}"`)
          .sort();
        out.push(`<${[tag, ...attrs].join(' ')}>`);
        walk(child, pre || tag === 'pre');
        out.push(`</${tag}>`);
      } else if (child.nodeType === 8) {
        out.push(`<!--${child.data}-->`);
      }
    }
  };
  walk(scratch, false);
  let s = out.join('');
  for (const tag of BLOCK) s = s.replace(new RegExp(`\\s*(</?${tag}[ >])\\s*`, 'g'), '$1');
  return s.trim();
}

test('CommonMark examples: our pipeline passes what plain markdown-it passes', () => {
  const plain = new MarkdownIt(MARKDOWN_OPTIONS);
  const plainPass = new Set();
  const ourPass = new Set();
  for (const ex of examples) {
    const markdown = ex.markdown.replace(/→/g, '\t');
    const expected = ex.html.replace(/→/g, '\t');
    if (normalize(plain.render(markdown)) === normalize(expected)) plainPass.add(ex.number);
    const ours = sanitizer.html(convert(markdown, null).html, null);
    if (normalize(ours, { ours: true }) === normalize(sanitizer.html(expected, null))) ourPass.add(ex.number);
  }
  console.log(`CommonMark ${examples.length} examples: plain markdown-it passes ${plainPass.size}, Lumo passes ${ourPass.size}`);
  const lost = [...plainPass].filter((n) => !ourPass.has(n));
  const gained = [...ourPass].filter((n) => !plainPass.has(n));
  assert.deepEqual({ lost, gained }, { lost: [], gained: [] });
  assert.equal(ourPass.size, plainPass.size);
});
