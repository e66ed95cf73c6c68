// Find in the page: matching as the engine's find does, stepping and wrapping
// in both directions, matches across inline elements and chunk borders, the
// hit brought into view, and renders under a current match.
import { test, before } from 'node:test';
import assert from 'node:assert/strict';
import { installWindow } from '../testing/window.mjs';

let window;
let createPage;
const HEIGHT = 400;

before(async () => {
  window = installWindow('', { height: HEIGHT });
  ({ createPage } = await import('../src/page.js'));
});

/** A rendered page; a document longer than `long` lines stands in chunks. */
async function pageWith(text, long = 1e9) {
  const container = window.document.createElement('main');
  container.className = 'markdown';
  window.document.body.replaceChildren(container);
  let rendered = false;
  const page = createPage({ container, post: (message) => (rendered ||= message.type === 'rendered'), firstLines: long });
  page.render(text, null, { rev: 1 });
  for (let i = 0; i < 2000 && !rendered; i++) await new Promise((resolve) => setTimeout(resolve, 2));
  window.getSelection().removeAllRanges();
  window.scrollTo(0, 0);
  return { page, container };
}

const selected = () => window.getSelection().toString();
/** The source line of the block holding the current match. */
const selectedLine = () => Number(window.getSelection().getRangeAt(0).startContainer.parentElement.closest('[data-line]').getAttribute('data-line'));

async function steps(page, text, count, options) {
  const answers = [];
  for (let i = 0; i < count; i++) answers.push(await page.find(text, options));
  return answers;
}

test('matches ignore case and diacritics, runs of white space, and cross inline elements but not blocks or page furniture', async () => {
  const { page } = await pageWith(
    ['Résumé, RESUME and re*sum*é.', '', 'foo', '', 'bar', '', 'foo\nbar and foo  bar', '', '- item', '- one', '', 'x<sup>2</sup>', '', 'aaaa'].join('\n'),
  );
  // Page furniture and the MathML twin of typeset math are not read; a class that only contains such a name is.
  window.document
    .querySelector('main sup')
    .parentElement.insertAdjacentHTML(
      'beforeend',
      ' <button>resume</button><span class="x lumo-menu">resume</span><span class="katex"><span class="katex-mathml">resume</span></span><span class="lumo-uix">résumé</span><b class="xlumo-ui">Resume</b>',
    );
  const cases = [
    ['resume', 5],
    ['RÉSUMÉ', 5],
    ['foo bar', 2],
    ['foobar', 0],
    ['itemone', 0],
    ['x2', 1],
    ['aa', 2],
    ['a.', 0],
    ['absent', 0],
  ];
  for (const [text, matches] of cases) {
    window.getSelection().removeAllRanges();
    const answer = await page.find(text);
    assert.deepEqual(answer, { active: matches ? 1 : 0, matches }, text);
  }
  window.getSelection().removeAllRanges();
  await steps(page, 'resume', 3);
  assert.equal(selected(), 'resumé', 'the third match, across <em>');
  assert.equal(window.document.querySelector('main em').textContent, 'sum');
});

test('steps forwards and backwards from the current match, wrapping around both ends', async () => {
  const { page } = await pageWith(['# Needle', '', 'hay needle hay NEEDLE'].join('\n'));
  assert.deepEqual(
    (await steps(page, 'needle', 4)).map((a) => a.active),
    [1, 2, 3, 1],
  );
  assert.deepEqual(
    (await steps(page, 'needle', 2, { backwards: true })).map((a) => a.active),
    [3, 2],
  );
  assert.equal(selected(), 'needle');
  // A new text starts at the current match, rather than past it.
  assert.deepEqual(await page.find('need'), { active: 2, matches: 3 });
  const marked = () => window.document.querySelectorAll('[data-lumo-find]');
  assert.deepEqual(Array.from(marked()), [window.document.querySelector('main')]);
  // An empty text ends finding: the match stays selected, in the selection's own colour.
  assert.equal(await page.find(''), null);
  assert.equal(marked().length, 0);
  assert.equal(selected(), 'need');
});

test('a hit in a column a wide table hides shows every column of that table', async () => {
  const cells = (last, other) => `| ${Array.from({ length: 150 }, (_, i) => (i === 149 ? last : other)).join(' | ')} |`;
  const table = (last) => [cells('h', 'h'), `|${'---|'.repeat(150)}`, cells(last, 'c'), cells('c', 'c')].join('\n');
  const { page, container } = await pageWith(`${table('hay')}\n\n${table('needle')}`);
  const [first, second] = container.querySelectorAll('table');
  assert.equal(second.getAttribute('data-lumo-wide'), '100');
  // Columns 50px wide in a table 600px wide.
  const cell = window.HTMLTableCellElement.prototype;
  Object.defineProperty(cell, 'offsetLeft', {
    get() {
      return this.cellIndex * 50;
    },
    configurable: true,
  });
  Object.defineProperty(cell, 'offsetWidth', { get: () => 50, configurable: true });
  for (const t of [first, second]) Object.defineProperties(t, { scrollWidth: { value: 7500 }, clientWidth: { value: 600 }, scrollLeft: { value: 0, writable: true } });
  assert.deepEqual(await page.find('needle'), { active: 1, matches: 1 });
  assert.equal(second.getAttribute('data-lumo-wide'), null);
  assert.equal(second.scrollLeft, 149 * 50 - 275, 'scrolled sideways to the hit, in the middle');
  assert.equal(first.getAttribute('data-lumo-wide'), '100', 'the other table keeps its columns hidden');
  delete cell.offsetLeft;
  delete cell.offsetWidth;
});

const SECTIONS = 60;
const LONG = Array.from({ length: SECTIONS }, (_, i) => `## Part ${i}\n\nText of part ${i}${i % 20 === 7 ? ' with a needle' : ''}.\n\n- item ${i}\n`).join('\n');

test('a long document: the hits in order across chunk borders, each brought into view on its line', async () => {
  const { page, container } = await pageWith(LONG, 20);
  assert.ok(container.children.length > 2 && container.firstElementChild.localName === 'lumo-chunk');
  const parts = [];
  for (let i = 0; i < 4; i++) {
    const answer = await page.find('needle');
    const line = selectedLine();
    parts.push(Number(window.getSelection().getRangeAt(0).startContainer.parentElement.closest('lumo-chunk') && line));
    assert.equal(answer.matches, 3);
    const top = line * 20 - window.scrollY;
    assert.ok(top >= 0 && top < HEIGHT, `line ${line} in view (${top})`);
  }
  const needles = LONG.split('\n').flatMap((text, line) => (text.includes('needle') ? [line] : []));
  assert.deepEqual(parts, [...needles, needles[0]]);
  const chunkOf = (line) => container.querySelector(`[data-line="${line}"]`).closest('lumo-chunk');
  assert.notEqual(chunkOf(needles[0]), chunkOf(needles[1]));
  // The find colours only on the match's chunk, never in what export takes.
  assert.deepEqual(Array.from(window.document.querySelectorAll('[data-lumo-find]')), [chunkOf(needles[0])]);
  assert.ok(!(await page.exportHTML({})).html.includes('lumo-find'));
  // Backwards from the first wraps to the last chunk.
  await page.find('needle', { backwards: true });
  assert.equal(selectedLine(), needles[2]);
  // Without a current match the search starts at the top of the window.
  window.getSelection().removeAllRanges();
  window.scrollTo(0, needles[1] * 20 - 10);
  assert.deepEqual(await page.find('needle'), { active: 2, matches: 3 });
  // Text that changes in the page after a search (math typeset as it comes into view) is counted anew.
  container.querySelector('[id="part-50"]').nextElementSibling.append(' and a NEEDLE');
  assert.deepEqual(await page.find('needle'), { active: 3, matches: 4 });
});

test('a render under the current match: found again, or gone, never in removed nodes', async () => {
  const { page, container } = await pageWith(LONG, 20);
  await steps(page, 'needle', 2);
  const line = selectedLine();
  // The paragraph of the match is replaced.
  const edited = LONG.replace('Text of part 27 with a needle.', 'Text of part 27, edited, with a needle.');
  page.render(edited, null, { rev: 2 });
  const range = window.getSelection().getRangeAt(0);
  assert.ok(container.contains(range.startContainer), 'the selection stays in the page');
  assert.deepEqual(await page.find('needle', { again: true }), { active: 2, matches: 3 });
  assert.equal(selectedLine(), line);
  assert.equal(window.getSelection().getRangeAt(0).startContainer.parentElement.textContent, 'Text of part 27, edited, with a needle.');
  // The match's text is gone: the search goes on to the next one.
  page.render(edited.replace('edited, with a needle', 'edited'), null, { rev: 3 });
  assert.deepEqual(await page.find('needle', { again: true }), { active: 2, matches: 2 });
  assert.ok(selectedLine() > line);
  // A render while a step is still on its way: the step goes on and brings its hit into view.
  window.scrollTo(0, 0);
  const stepping = page.find('needle');
  const refresh = page.find('needle', { again: true });
  assert.equal(await stepping, null);
  assert.deepEqual(await refresh, { active: 1, matches: 2 });
  assert.ok(window.scrollY > 0, 'scrolled to the hit');
  page.render('Nothing here.', null, { rev: 4 });
  assert.deepEqual(await page.find('needle', { again: true }), { active: 0, matches: 0 });
});

test('a newer search replaces one still running', async () => {
  const { page } = await pageWith(LONG.repeat(5), 20);
  const first = page.find('needle');
  const second = page.find('part 1');
  assert.equal(await first, null);
  assert.equal((await second).matches, 5 * 22); // Part 1, 10 to 19: a heading and a paragraph each
});
