import { test } from 'node:test';
import assert from 'node:assert/strict';
import MarkdownIt from 'markdown-it';
import { convert, createMarkdown, MARKDOWN_OPTIONS } from '../src/markdown.js';
import { slugify } from '../src/slug.js';

// [tag, data-line, data-line-end] of every annotated element, in order.
function ranges(html) {
  return Array.from(html.matchAll(/<(\w+)[^>]*?data-line="(\d+)" data-line-end="(\d+)"/g), (m) => [m[1], +m[2], +m[3]]);
}

test('blocks carry their 0-based source line ranges', async (t) => {
  const cases = [
    ['paragraphs split by blank lines', 'a\nb\n\nc', [['p', 0, 2], ['p', 3, 4]]],
    ['ATX and setext headings', '# A\n\nB\n===\n', [['h1', 0, 1], ['h1', 2, 4]]],
    ['fenced code includes both fences', '```js\nx\ny\n```\npara', [['pre', 0, 4], ['p', 4, 5]]],
    ['indented code', '    code\n    more\n\ntext', [['pre', 0, 2], ['p', 3, 4]]],
    ['lists and their items', '- a\n- b\n  c\n', [['ul', 0, 3], ['li', 0, 1], ['li', 1, 3]]],
    ['table rows', '| a |\n|---|\n| 1 |\n| 2 |', [['table', 0, 4], ['thead', 0, 1], ['tr', 0, 1], ['tbody', 2, 4], ['tr', 2, 3], ['tr', 3, 4]]],
    ['display math block', 'x\n\n$$\na+b\n$$\n', [['p', 0, 1], ['div', 2, 5]]],
    ['mermaid block', '```mermaid\ngraph LR\n```', [['div', 0, 3]]],
    ['front matter is one block', '---\ntitle: T\n---\n# H', [['details', 0, 3], ['h1', 3, 4]]],
    ['blockquote and its paragraph', '> q\n> r', [['blockquote', 0, 2], ['p', 0, 2]]],
    ['thematic break', 'a\n\n---\n\nb', [['p', 0, 1], ['hr', 2, 3], ['p', 4, 5]]],
  ];
  for (const [name, md, expected] of cases) {
    await t.test(name, () => assert.deepEqual(ranges(convert(md).html), expected));
  }
});

test('outline ids are GitHub slugs, unique per document', async (t) => {
  const cases = [
    ['punctuation dropped, spaces to dashes', '# Hello, World! (v2.0)', ['hello-world-v20']],
    ['duplicates numbered in order', '# Intro\n## Intro\n### Intro', ['intro', 'intro-1', 'intro-2']],
    ['a later heading named like a generated id', '# A\n# A\n# A-1', ['a', 'a-1', 'a-1-1']],
    ['unicode letters kept, lower-cased', '# Ünïcödé Straße\n# 日本語 見出し', ['ünïcödé-straße', '日本語-見出し']],
    ['inline markup contributes its text', '# The `mv` *object* [link](x)', ['the-mv-object-link']],
    ['emoji and symbols dropped, each space kept', '# Ship it :rocket: & done', ['ship-it---done']],
    ['empty heading still gets an id', '#\n#', ['section', 'section-1']],
  ];
  for (const [name, md, ids] of cases) {
    await t.test(name, () => {
      const { html, outline } = convert(md);
      assert.deepEqual(outline.map((o) => o.id), ids);
      for (const id of ids) assert.ok(html.includes(`id="${id}"`), `${id} missing from HTML`);
    });
  }
  assert.equal(slugify('  Two  spaces '), '--two--spaces-');
});

test('outline reports level, visible text and source line', () => {
  const { outline } = convert('Title\n=====\n\n### A *b* `c`\n');
  assert.deepEqual(outline, [
    { level: 1, text: 'Title', id: 'title', line: 0 },
    { level: 3, text: 'A b c', id: 'a-b-c', line: 3 },
  ]);
});

test('task items carry the line of their item', async (t) => {
  const items = (html) => Array.from(html.matchAll(/<li class="task-list-item( checked)?" data-line="(\d+)"/g), (m) => [+m[2], !!m[1]]);
  const cases = [
    ['simple list', '- [ ] a\n- [x] b\n- [X] c', [[0, false], [1, true], [2, true]]],
    ['nested and ordered', 'intro\n\n1. [ ] one\n   - [x] sub\n2. [ ] two', [[2, false], [3, true], [4, false]]],
    ['not a task without a space', '- [x]done\n- [ ]', [[1, false]]],
    ['not a task in a paragraph', '[ ] plain', []],
  ];
  for (const [name, md, expected] of cases) {
    await t.test(name, () => assert.deepEqual(items(convert(md).html), expected));
  }
  const { html } = convert('- [x] done');
  assert.match(html, /<span class="task-list-item-checkbox" role="checkbox" aria-checked="true" tabindex="0" data-lumo-task="\w+"><\/span>done/);
  assert.match(html, /<ul class="contains-task-list"/);
});

test('front matter becomes a collapsed metadata block', async (t) => {
  await t.test('mapping shown as a table', () => {
    const { html } = convert('---\ntitle: Guide <1>\ntags: [a, b]\nmeta:\n  draft: true\n---\nBody');
    assert.match(html, /^<details class="front-matter" data-line="0" data-line-end="6">/);
    assert.match(html, /<span class="front-matter-title">Guide &lt;1&gt;<\/span>/);
    assert.match(html, /<span class="front-matter-item">a<\/span> <span class="front-matter-item">b<\/span>/);
    assert.match(html, /<th scope="row">draft<\/th><td>true<\/td>/);
    assert.ok(!html.includes('<hr'));
  });
  await t.test('broken YAML that meant to be metadata shows its text', () => {
    const { html } = convert('---\ntitle: [unclosed\n---\n');
    assert.match(html, /front-matter-error/);
    assert.match(html, /title: \[unclosed/);
  });
  await t.test('not at the top, or not a mapping: plain Markdown', () => {
    assert.match(convert('---\nFoo\n---\n').html, /<hr[^>]*>\n<h2/);
    assert.ok(!convert('x\n\n---\na: b\n---').html.includes('front-matter'));
    assert.ok(!convert('---\n- a\n- b\n---').html.includes('front-matter'));
  });
  await t.test('aliases are shown, an alias bomb only up to a bound that the page states', () => {
    const small = convert('---\nbase: &b {x: 1}\ncopy: *b\nlist: &l [p, q]\nagain: *l\n---\n').html;
    assert.equal(small.match(/<th scope="row">x<\/th><td>1<\/td>/g).length, 2);
    assert.equal(small.match(/<span class="front-matter-item">q<\/span>/g).length, 2);
    assert.ok(!small.includes('front-matter-note'));
    // Nine levels of nine aliases: 9^9 leaves from a few hundred bytes.
    let yaml = 'l0: &l0 [lol, lol, lol, lol, lol, lol, lol, lol, lol]\n';
    for (let i = 1; i < 9; i++) yaml += `l${i}: &l${i} [${Array(9).fill(`*l${i - 1}`).join(', ')}]\n`;
    const { html, outline } = convert(`---\ntitle: Bomb\n${yaml}---\n\n# After\n`);
    assert.ok(html.length < 200000, `${html.length} characters`);
    assert.match(html, /<th scope="row">l8<\/th>/);
    assert.match(html, /<p class="front-matter-note">Shortened: /);
    assert.deepEqual(outline.map((h) => h.text), ['After']);
  });
});

test('GitHub alerts', async (t) => {
  for (const kind of ['note', 'tip', 'important', 'warning', 'caution']) {
    await t.test(kind, () => {
      const { html } = convert(`> [!${kind.toUpperCase()}]\n> Body *text*`);
      assert.match(html, new RegExp(`^<div class="markdown-alert markdown-alert-${kind}" data-line="0" data-line-end="2">`));
      assert.match(html, new RegExp(`<p class="markdown-alert-title" data-alert="${kind}">${kind[0].toUpperCase()}`));
      assert.match(html, /<p data-line="1" data-line-end="2">Body <em>text<\/em><\/p>/);
      assert.ok(!html.includes('[!'));
    });
  }
  await t.test('marker must stand alone on the first line', () => {
    assert.match(convert('> [!NOTE] inline').html, /^<blockquote/);
    assert.match(convert('> [!UNKNOWN]\n> x').html, /^<blockquote/);
    assert.match(convert('> text\n> [!NOTE]').html, /^<blockquote/);
  });
  await t.test('marker-only alert keeps its title', () => {
    assert.match(convert('> [!tip]').html, /markdown-alert-tip[^]*Tip<\/p>\n<\/div>/);
  });
});

test('math delimiters leave prices and code alone', async (t) => {
  const spans = (md) => Array.from(convert(md).html.matchAll(/<(?:span|div) class="math (math-\w+)"[^>]*>([^<]*)</g), (m) => [m[1], m[2]]);
  const cases = [
    ['inline', 'a $x^2$ b', [['math-inline', 'x^2']]],
    ['prices', 'costs $5 and $10 today', []],
    ['dollar amounts on both sides', 'from $1 to $2 per item', []],
    ['escaped dollar', 'not \\$x$ math', []],
    ['inline display', 'see $$a+b$$ here', [['math-display', 'a+b']]],
    ['block', '$$\n\\frac{1}{2}\n$$', [['math-display', '\\frac{1}{2}']]],
    ['fenced', '```math\na &lt; b\n```', [['math-display', 'a &amp;lt; b\n']]],
    ['inside code', '`$x$`', []],
    ['unclosed block is text', '$$\nx', []],
  ];
  for (const [name, md, expected] of cases) await t.test(name, () => assert.deepEqual(spans(md), expected));
  assert.equal(convert('$x$').hasMath, true);
  assert.equal(convert('plain').hasMath, false);
});

test('GFM extras', () => {
  const { html } = convert('~~gone~~ ==marked== :smile: https://example.org www.example.com README.md\n\nnote[^1]\n\n[^1]: foot');
  assert.match(html, /<s>gone<\/s>/);
  assert.match(html, /<mark>marked<\/mark>/);
  assert.match(html, /😄/);
  assert.match(html, /<a href="https:\/\/example.org">/);
  assert.match(html, /<a href="https:\/\/www.example.com">www.example.com<\/a>/);
  assert.ok(!html.includes('href="http://README.md"'));
  assert.match(html, /<section class="footnotes">/);
});

test('footnotes keep their order and back-references', () => {
  const { html } = convert('a[^x] b[^y] c[^x]\n\n[^y]: Why.\n[^x]: Ex.');
  const items = Array.from(html.matchAll(/<li id="(fn\d+)"[^>]*><p[^>]*>(\w+)\.(.*?)<\/p>/g), (m) => [m[1], m[2], m[3].match(/fnref[\d:]+/g)]);
  assert.deepEqual(items, [
    ['fn1', 'Ex', ['fnref1', 'fnref1:1']],
    ['fn2', 'Why', ['fnref2']],
  ]);
});

test('link targets are normalised as markdown-it normalises them', () => {
  const ours = createMarkdown();
  const plain = new MarkdownIt(MARKDOWN_OPTIONS);
  const longLabel = 'a'.repeat(64);
  const targets = [
    'http://x/1', 'https://example.org/a/b-c_d.e~f/', 'https://Example.ORG', 'HTTPS://example.org/',
    'https://bücher.de/', 'https://example.org/ä', 'https://example.org/%7e', 'https://example.org/a b',
    'https://user@example.org/', 'https://example.org:8080/', 'https://[::1]/', 'https://example.org/x?q=1#h',
    `https://${longLabel}.org/`, `https://a.${'b.'.repeat(130)}org/`, 'https://a..b/', 'https://a.b./', 'https://example.org/a|b',
    'https:/example.org/', 'ftp://example.org/', '//example.org/', 'mailto:me@example.org', 'javascript:alert(1)',
  ];
  for (const url of targets) assert.equal(ours.normalizeLink(url), plain.normalizeLink(url), url);
});

test('links and images resolve against the base folder', async (t) => {
  const base = 'file:///home/u/My%20Docs/';
  const cases = [
    ['relative image', '![a](img/p.png)', 'src="mv-asset:///home/u/My%20Docs/img/p.png"'],
    ['parent folder and spaces', '![a](<../shared pics/ü.png>)', 'src="mv-asset:///home/u/shared%20pics/%C3%BC.png"'],
    ['absolute path image', '![a](/tmp/x.png)', 'src="mv-asset:///tmp/x.png"'],
    ['file URL image', '![a](file:///tmp/y%20z.png)', 'src="mv-asset:///tmp/y%20z.png"'],
    ['web image untouched', '![a](https://e.org/a.png)', 'src="https://e.org/a.png"'],
    ['data image untouched', '![a](data:image/png;base64,AAAA)', 'src="data:image/png;base64,AAAA"'],
    ['relative link to a file', '[d](other.md#part)', 'href="file:///home/u/My%20Docs/other.md#part"'],
    ['fragment link stays in page', '[d](#part)', 'href="#part"'],
    ['mail link untouched', '[m](mailto:a@b.c)', 'href="mailto:a@b.c"'],
    ['javascript link refused', '[x](javascript:alert(1))', '[x](javascript:alert(1))'],
  ];
  for (const [name, md, expected] of cases) {
    await t.test(name, () => assert.ok(convert(md, base).html.includes(expected), convert(md, base).html));
  }
  await t.test('no base: relative references stay as written', () => {
    assert.match(convert('![a](p.png) [l](o.md)', null).html, /src="p.png"[^]*href="o.md"/);
  });
});
