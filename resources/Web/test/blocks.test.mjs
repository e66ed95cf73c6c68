// The block converter against convert(): converted in pieces or updated
// after an edit, the joined blocks must be exactly what a whole conversion
// gives, including when the edit changes something other blocks depend on.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { convert } from '../src/markdown.js';
import { createBlockConverter, outlineOf } from '../src/blocks.js';
import { applyEditAnswer, editAnswer, keepsOutline } from '../src/editanswer.js';
import { serveConversions } from '../src/conversions.js';
import { TASK_BOX_MARK } from '../src/plugins/tasks.js';
import { documentOf } from '../bench/document.mjs';
import { htmlOf } from '../src/convert/lineattrs.js';

const BASE = 'file:///home/u/docs/';

const joined = (r) => r.blocks.map(htmlOf).join('') + (r.tail ? htmlOf(r.tail) : '');

function assertSame(result, text, message) {
  const whole = convert(text, BASE);
  assert.equal(joined(result), whole.html, message);
  assert.deepEqual(outlineOf(result.blocks, result.tail), whole.outline, message);
}

// Everything whose output depends on other blocks: references and footnotes
// defined far from their use, repeated headings, raw HTML around Markdown.
const RICH = [
  '---',
  'title: Rich',
  '---',
  '',
  '# Intro',
  '',
  'See [the guide][guide] and a note.[^later] Also [missing][nope].',
  '',
  '<details>',
  '<summary>More</summary>',
  '',
  'Inside *details*.',
  '',
  '</details>',
  '',
  '# Intro',
  '',
  '- [ ] task',
  '- [x] done',
  '',
  '```js',
  'const x = 1;',
  '```',
  '',
  '$$',
  'a^2',
  '$$',
  '',
  documentOf(6000),
  '## Intro',
  '',
  'Again.[^later] And^[an inline note].',
  '',
  '[guide]: https://example.org/guide "Guide"',
  '[^later]: Defined at the end, with a [link][guide].',
  '',
].join('\n');

// A small deterministic generator, so a failure can be replayed.
function random(seed) {
  let s = seed >>> 0;
  return () => {
    s = (s * 1664525 + 1013904223) >>> 0;
    return s / 2 ** 32;
  };
}

test('a document converted in small pieces equals one conversion', () => {
  for (const lines of [3, 17, 120]) {
    const converter = createBlockConverter();
    const job = converter.start(RICH, BASE);
    let steps = 0;
    while (!job.done) {
      job.step(lines);
      steps++;
    }
    assert.ok(steps > 1, 'converted in more than one piece');
    assertSame(job, RICH, `pieces of ${lines} lines`);
  }
});

test('a definition the early pieces could not see still reaches them', () => {
  // Inside a code fence the line is no definition; the guess made for the
  // first pieces is wrong and the document is converted again.
  const text = '[a] and [^f]\n\n```\n[a]: /nowhere\n[^f]: not a note\n```\n\n' + 'para\n\n'.repeat(50);
  const converter = createBlockConverter();
  const job = converter.start(text, BASE);
  while (!job.done) job.step(4);
  assertSame(job, text);
  assert.ok(!joined(job).includes('href="/nowhere"'));
});

test('definitions found ahead are taken only where the text reads them alike', async (t) => {
  const filler = 'para\n\n'.repeat(30);
  const cases = [
    // In a list item the indented <div> line starts an HTML block that ends the definition.
    ['inside a list item', '[x] [y]\n\n- item\n\n  [x]:\n    <div>\n\n  [y]: /y\n    "in the list"\n\n'],
    ['after a paragraph line', '[x]\n\ntext\n[x]: /not-a-definition\n\n'],
    ['with its title on the next lines', '[x] [y]\n\n[x]: /x\n"a\ntitle"\n[y]:\n/y\n\n'],
    ['defined twice', '[x]\n\n[x]: /first\n[X]: /second\n\n'],
  ];
  for (const [name, head] of cases) {
    await t.test(name, () => {
      const text = head + filler + head;
      for (const lines of [1, 2, 3, 5]) {
        const job = createBlockConverter().start(text, BASE);
        while (!job.done) job.step(lines);
        assertSame(job, text, `pieces of ${lines} lines`);
      }
    });
  }
});

test('an edit re-converts only nearby blocks and keeps the others', () => {
  const converter = createBlockConverter();
  const before = converter.convert(RICH, BASE);
  const at = RICH.indexOf('Section 3:');
  const edited = RICH.slice(0, at) + 'x' + RICH.slice(at);
  const after = converter.update(edited, BASE);
  assert.ok(after, 'handled as an edit');
  assertSame(after, edited);
  const kept = after.blocks.filter((b) => before.blocks.includes(b)).length;
  assert.ok(kept >= after.blocks.length - 4, `kept ${kept} of ${after.blocks.length}`);
});

test('edits that change what other blocks show are not served stale', async (t) => {
  const cases = [
    ['a reference definition changes', (s) => s.replace('https://example.org/guide', 'https://example.org/other')],
    ['a reference definition is removed', (s) => s.replace('[guide]: https://example.org/guide "Guide"\n', '')],
    ['a reference is defined late', (s) => s + '\n[nope]: /found\n'],
    ['a block citing a definition further down changes', (s) => s.replace('See [the guide]', 'Now see [the guide]')],
    ['a footnote definition changes', (s) => s.replace('Defined at the end', 'Changed at the end')],
    ['a footnote reference is added first', (s) => s.replace('# Intro\n\nSee', '# Intro\n\nFirst[^n1]. See')],
    ['a heading repeats an earlier one', (s) => s.replace('# Intro\n\nSee', '# Intro\n\n# Intro\n\nSee')],
    ['raw HTML is left open', (s) => s.replace('</details>', '')],
    ['a code fence swallows the rest', (s) => s.replace('$$\na^2', '```\n$$\na^2')],
    ['front matter is broken', (s) => s.replace('---\ntitle', '--\ntitle')],
  ];
  for (const [name, edit] of cases) {
    // Converted at once, or in pieces that go by the definitions found ahead.
    for (const lines of [Infinity, 40]) {
      await t.test(`${name}, pieces of ${lines} lines`, () => {
        const converter = createBlockConverter();
        const job = converter.start(RICH, BASE);
        while (!job.done) job.step(lines);
        const edited = edit(RICH);
        assert.notEqual(edited, RICH);
        assertSame(converter.convert(edited, BASE), edited);
      });
    }
  }
});

/** The conversion Worker's side over a message port, asked as the page asks it: answers the blocks of each request in full. */
function conversionService() {
  const { port1, port2 } = new MessageChannel();
  serveConversions(port1);
  let held = null;
  let answered = () => {};
  port2.onmessage = ({ data }) => {
    if (data.edit) held = { ...applyEditAnswer(held.blocks, held.tail, data.edit), total: data.total };
    else held = { blocks: data.restart || !held?.streaming ? data.blocks : held.blocks.concat(data.blocks), tail: data.tail, total: data.total, streaming: !data.done };
    if (data.done) answered(held);
  };
  let ticket = 0;
  function ask(request) {
    return new Promise((resolve) => {
      answered = resolve;
      port2.postMessage({ ticket: ++ticket, holds: ticket - 1, base: BASE, firstLines: 40, mark: TASK_BOX_MARK, ...request });
    });
  }
  return { ask, close: () => port1.close() };
}

test('random edits always match a whole conversion', async () => {
  const next = random(7);
  const pieces = ['x', '\n', '\n\n', '\r\n', '# ', '- ', '> ', '```\n', '$', '[^n3]', '[^n9]: note\n', '[guide]', '[guide]: /g\n', '<div>\n\n', '</div>', '|', '==', '    ', '---\n'];
  const converter = createBlockConverter();
  // The same edits sent to the Worker as the edit alone.
  const service = conversionService();
  let incremental = 0;
  let kept = 0;
  try {
    let text = RICH;
    let held = converter.convert(text, BASE);
    assertSame(await service.ask({ text }), text, 'the first request');
    for (let i = 0; i < 250; i++) {
      const at = Math.floor(next() * text.length);
      const cut = next() < 0.3 ? Math.floor(next() * 6) : 0;
      const inserted = pieces[Math.floor(next() * pieces.length)];
      text = text.slice(0, at) + inserted + text.slice(at + cut);
      const fast = converter.update(text, BASE);
      if (fast) incremental++;
      assertSame(fast ?? converter.convert(text, BASE), text, `edit ${i}`);
      // What the page makes of the Worker's answer, from the blocks it held.
      const answer = fast && editAnswer(held.blocks, fast);
      if (answer) {
        // The page moves its own copies of the blocks.
        const made = applyEditAnswer(structuredClone(held.blocks), held.tail, answer);
        assertSame({ ...made, total: fast.total }, text, `answer to edit ${i}`);
        // An outline the page does not post again is the one it has.
        if (keepsOutline(held.blocks, held.tail, answer)) {
          kept++;
          assert.deepEqual(outlineOf(made.blocks, made.tail), outlineOf(held.blocks, held.tail), `outline after edit ${i}`);
        }
      }
      held = fast ?? converter.convert(text, BASE);
      assertSame(await service.ask({ edit: { start: at, end: at + cut, inserted } }), text, `edit ${i} sent alone`);
    }
  } finally {
    service.close();
  }
  assert.ok(incremental > 150, `${incremental} of 250 edits handled without a whole conversion`);
  assert.ok(kept > 50, `${kept} edits kept the outline`);
});

test('CRLF text and a changed base are converted whole', () => {
  const converter = createBlockConverter();
  const text = 'a\r\n\r\n![i](i.png)\r\n';
  assertSame(converter.convert(text, BASE), text);
  assert.equal(converter.update(text, 'file:///elsewhere/'), null);
});

test('blocks carry a guess of the rows they take on the page', () => {
  const text = ['# Title', 'word '.repeat(60), '```\na\nb\nc\n```', '| a |\n|---|\n| 1 |\n| 2 |', `- x\n- y\n- ${'z'.repeat(150)}`].join('\n\n');
  const { blocks } = createBlockConverter().convert(text);
  // A heading; 300 characters of text; three lines of code; a header and two rows; three items, one wrapping.
  assert.deepEqual(blocks.map((b) => b.rows), [3, 3, 3, 3, 4]);
});

test('a footnote section moved by many edits shows the lines a whole conversion gives', () => {
  const converter = createBlockConverter();
  let text = 'Intro.[^a]\n\ntext\n\n[^a]: A note.\n';
  converter.convert(text, BASE);
  // More edits than the section keeps as moves before its HTML is rewritten.
  for (let i = 0; i < 300; i++) {
    const at = text.indexOf('text');
    text = i % 3 === 2 ? text.slice(0, at - 1) + text.slice(at) : text.slice(0, at) + '\n' + text.slice(at);
    const fast = converter.update(text, BASE);
    assert.ok(fast, `edit ${i} handled as an edit`);
    assertSame(fast, text, `edit ${i}`);
  }
});
