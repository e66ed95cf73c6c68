// The page object in a jsdom window: render patching, messages, task toggles,
// awaited calls and export. Layout-dependent parts (scroll mapping, Mermaid)
// are covered elsewhere or need a real engine.
import { test, before } from 'node:test';
import assert from 'node:assert/strict';
import { installWindow } from '../testing/window.mjs';

let mv;
let main;
let lineOf;
let window;
const messages = [];
const take = () => messages.splice(0).map((m) => JSON.parse(m));

before(async () => {
  window = installWindow('<main class="markdown"></main>');
  const { post } = await import('../src/bridge.js');
  const { createPage } = await import('../src/page.js');
  ({ lineOf } = await import('../src/lines.js'));
  window.document.addEventListener('lumo-post', (e) => messages.push(e.detail));
  main = window.document.querySelector('main');
  mv = createPage({ container: main, post });
});

const DOC = ['# Title', '', 'First paragraph.', '', '![pic](img/a.png)', '', '- [ ] task one', '- [x] task two', '', '## Second', '', 'Last paragraph.'].join('\n');

test('render posts rendered with its revision, then the outline', () => {
  mv.render(DOC, 'file:///home/u/doc/', { diff: false, rev: 4 });
  assert.deepEqual(take(), [
    { type: 'rendered', rev: 4 },
    { type: 'outline', items: [{ level: 1, text: 'Title', id: 'title', line: 0 }, { level: 2, text: 'Second', id: 'second', line: 9 }] },
  ]);
  assert.equal(main.querySelector('img').getAttribute('src'), 'mv-asset:///home/u/doc/img/a.png');
});

test('re-render keeps unchanged blocks and replaces changed ones', () => {
  mv.render(DOC, 'file:///home/u/doc/', { rev: 1 });
  const before = {
    heading: main.querySelector('h1'),
    image: main.querySelector('img'),
    list: main.querySelector('ul'),
    last: main.querySelector('h2 ~ p'),
    first: main.querySelector('h1 + p'),
  };
  take();
  const edited = DOC.replace('First paragraph.', 'First paragraph, edited.').replace('# Title', 'Intro line.\n\n# Title');
  mv.render(edited, 'file:///home/u/doc/', { diff: true, rev: 2 });
  assert.equal(take()[0].rev, 2);

  assert.equal(main.querySelector('h1'), before.heading, 'heading node kept');
  assert.equal(main.querySelector('img'), before.image, 'image not reloaded');
  assert.equal(main.querySelector('ul'), before.list);
  assert.equal(main.querySelector('h2 ~ p'), before.last);
  assert.notEqual(main.querySelector('h1 + p'), before.first, 'edited paragraph replaced');

  // Kept blocks follow the inserted lines.
  assert.equal(lineOf(before.heading), 2);
  assert.deepEqual(Array.from(before.list.querySelectorAll('li'), (li) => lineOf(li)), [8, 9]);

  const marked = Array.from(main.querySelectorAll('.lumo-changed'), (el) => el.textContent);
  assert.deepEqual(marked, ['Intro line.', 'First paragraph, edited.']);
});

test('same text rendered twice changes no node', () => {
  mv.render(DOC, null, { rev: 5 });
  const nodes = Array.from(main.childNodes);
  mv.render(DOC, null, { rev: 6 });
  assert.deepEqual(Array.from(main.childNodes), nodes);
  assert.equal(main.querySelectorAll('.lumo-changed').length, 0);
  take();
});

const boxes = () => main.querySelectorAll('.task-list-item-checkbox');
const states = () => Array.from(boxes(), (box) => box.getAttribute('aria-checked'));

test('clicking a task box reports its line, new state and revision', () => {
  mv.render(DOC, null, { rev: 9 });
  take();
  boxes()[1].click();
  assert.deepEqual(take(), [{ type: 'toggleTask', line: 7, checked: false, rev: 9 }]);
  assert.deepEqual(states(), ['false', 'false']);
  // The clicked list no longer matches its source: the next render replaces it even if the text is unchanged.
  const list = main.querySelector('ul');
  mv.render(DOC, null, { rev: 9 });
  assert.notEqual(main.querySelector('ul'), list);
  assert.deepEqual(states(), ['false', 'true']);
  take();
});

test('Space ticks the task box that has the keyboard, which keeps it once the toggled list is rendered again', () => {
  const hasFocus = window.document.hasFocus;
  const space = (target) => {
    const event = new window.KeyboardEvent('keydown', { key: ' ', bubbles: true, cancelable: true });
    target.dispatchEvent(event);
    return event.defaultPrevented;
  };
  try {
    mv.render(DOC, null, { rev: 3 });
    take();
    assert.equal(space(main.querySelector('p')), false, 'elsewhere Space scrolls as ever');
    assert.deepEqual(take(), []);
    const box = boxes()[0];
    box.focus();
    assert.equal(space(box), true);
    assert.deepEqual(take(), [{ type: 'toggleTask', line: 6, checked: true, rev: 3 }]);
    assert.deepEqual(states(), ['true', 'true']);
    window.document.hasFocus = () => true;
    mv.render(DOC.replace('- [ ] task one', '- [x] task one'), null, { rev: 4 });
    assert.notEqual(boxes()[0], box);
    assert.equal(window.document.activeElement, boxes()[0]);
    // A page without the keyboard (the reader is typing in the editor) does not take it.
    window.document.hasFocus = () => false;
    mv.render(DOC, null, { rev: 5 });
    assert.equal(window.document.activeElement, window.document.body);
  } finally {
    window.document.hasFocus = hasFocus;
    take();
  }
});

test('awaited calls reply by id with a value or an error', async () => {
  mv.render('![a](a.png) ![b](sub/b%20c.png) ![c](https://e.org/c.png) ![a again](a.png)', 'file:///home/u/doc/', { rev: 1 });
  take();
  await mv.call(17, 'localImages');
  await mv.call(18, 'noSuchCall');
  await mv.call(19, 'call', 1, 'render');
  assert.deepEqual(take(), [
    { type: 'reply', id: 17, value: ['file:///home/u/doc/a.png', 'file:///home/u/doc/sub/b%20c.png'] },
    { type: 'reply', id: 18, error: 'Unknown call: noSuchCall' },
    { type: 'reply', id: 19, error: 'Unknown call: call' },
  ]);
});

test('exportHTML swaps local images and strips page machinery', async () => {
  mv.render('# Doc\n\n![a](a.png) ![b](b.png)\n\n- [x] done\n\n$x$', 'file:///home/u/doc/', { rev: 1 });
  take();
  const result = await mv.exportHTML({ 'file:///home/u/doc/a.png': 'data:image/png;base64,AAAA' });
  assert.equal(result.hasMath, true);
  assert.match(result.htmlClass, /theme-lumo/);
  assert.equal(result.bodyClass, window.document.body.className);
  assert.match(result.html, /<img src="data:image\/png;base64,AAAA" alt="a">/);
  assert.match(result.html, /<img src="file:\/\/\/home\/u\/doc\/b.png" alt="b">/, 'unembedded image falls back to its file');
  assert.ok(!/data-line|lumo-ui|code-copy|mv-asset:/.test(result.html), result.html);
  assert.match(result.html, /<input type="checkbox" class="task-list-item-checkbox" checked="" disabled="">/);
  // A box ticked off on the page leaves it as shown.
  boxes()[0].click();
  take();
  assert.match((await mv.exportHTML({})).html, /<input type="checkbox" class="task-list-item-checkbox" disabled="">done/);
});

test('raw HTML that floats is marked to stay laid out, blocks get a height guess, and neither mark leaves the page', async () => {
  const raw = ['<p align="right"><img src="a.png"></p>', '<div style="float: left">side</div>', '<div>plain</div>', '<img align=LEFT src="b.png">'];
  mv.render(raw.join('\n\n') + '\n\nText.', null, { rev: 1 });
  take();
  assert.deepEqual(
    Array.from(main.children, (el) => el.hasAttribute('data-lumo-float')),
    [true, true, false, true, false],
  );
  assert.deepEqual(
    Array.from(main.children, (el) => el.hasAttribute('data-lumo-wrap')),
    [false, false, true, false, true],
  );
  assert.equal(main.lastElementChild.getAttribute('data-lumo-rows'), '1');
  // Blocks added later after a float wrap around it too.
  mv.render(raw.join('\n\n') + '\n\nText.\n\nMore.\n\nAnd more.\n\nNot any more.', null, { rev: 2 });
  take();
  assert.deepEqual(
    Array.from(main.children, (el) => el.hasAttribute('data-lumo-wrap')),
    [false, false, true, false, true, true, true, false],
  );
  assert.ok(!/data-lumo-(float|wrap|rows)/.test((await mv.exportHTML({})).html));
});

test('a table of very many columns shows more columns as it is scrolled sideways, and none of its marks leaves the page', async () => {
  const table = (columns) => `| ${'h | '.repeat(columns)}\n|${'---|'.repeat(columns)}\n| ${'c | '.repeat(columns - 1)}last $x$ |`;
  const raw = `<table><tr>${'<td>c</td>'.repeat(101)}</tr></table>`;
  mv.render([table(3), table(100), table(250), `- item\n\n  ${table(101).replace(/\n/g, '\n  ')}`, raw].join('\n\n'), null, { rev: 1 });
  take();
  const tables = Array.from(main.querySelectorAll('table'));
  assert.deepEqual(tables.map((el) => el.getAttribute('data-lumo-wide')), [null, null, '100', '100', '100']);
  const shown = (t) => Array.from(t.rows, (row) => row.cells.length);
  assert.deepEqual(shown(tables[2]), [100, 100], 'the other cells are out of the page');
  // Everything that leaves the page has every cell, the hidden ones' math typeset too.
  const exported = (await mv.exportHTML({})).html;
  assert.equal(exported.match(/<td[ >]/g).length, 3 + 100 + 250 + 101 + 101, 'every cell exported');
  assert.equal((exported.match(/class="katex"/g) ?? []).length, 4, 'the math of every table typeset, shown or not');
  // jsdom lays nothing out: every scroll is at the end of what is shown.
  tables[2].dispatchEvent(new window.Event('scroll'));
  assert.equal(tables[2].getAttribute('data-lumo-wide'), '200');
  assert.deepEqual(shown(tables[2]), [200, 200]);
  tables[2].dispatchEvent(new window.Event('scroll'));
  assert.equal(tables[2].getAttribute('data-lumo-wide'), null, 'all shown');
  assert.deepEqual(shown(tables[2]), [250, 250]);
  assert.equal(tables[2].rows[1].cells[249].textContent.includes('x'), true, 'the last cell, in its place');
  assert.ok(!/data-lumo-wide/.test(exported));
});

test('richHTML is inline-styled and light whatever the theme', async () => {
  mv.setPrefs({ theme: 'contrast', font: 'mono', width: 'wide', scale: 1.2 });
  await mv.setAppearance('dark');
  mv.render('# Head\n\n> [!WARNING]\n> Careful\n\n| a |\n|---|\n| 1 |\n\n- [ ] open\n\n$E=mc^2$', null, { rev: 1 });
  take();
  const html = await mv.richHTML({});
  await mv.setAppearance(null);
  assert.match(html, /^<div style="[^"]*color:#1f2328;background:#ffffff">/);
  assert.match(html, /<h1[^>]*style="[^"]*font-size:2em/);
  assert.match(html, /border-left:4px solid #9a6700/);
  assert.match(html, /<td style="border:1px solid #d1d9e0/);
  assert.match(html, /☐ open/);
  assert.match(html, /<code style="[^"]*">\$E=mc\^2\$<\/code>/);
  assert.ok(!/class=|<input|katex/.test(html), html);
});

test('unknown preferences fall back to defaults', () => {
  mv.setPrefs({ theme: 'solarized', font: 'comic', width: 'huge', scale: 'big' });
  const cls = window.document.documentElement.className;
  assert.match(cls, /theme-lumo/);
  assert.match(cls, /font-sans/);
  assert.match(cls, /width-comfortable/);
  assert.equal(window.document.documentElement.style.getPropertyValue('--scale'), '1');
  mv.setPrefs({ theme: 'paper', font: 'serif', width: 'narrow', scale: 1.3 });
  assert.match(window.document.documentElement.className, /theme-paper font-serif width-narrow/);
});

test('appearance: window mode, override for output, and back', async () => {
  const root = window.document.documentElement;
  mv.setWindowAppearance('dark');
  assert.ok(root.classList.contains('dark'));
  assert.equal(await mv.setAppearance('light'), 'light');
  assert.ok(!root.classList.contains('dark'));
  assert.equal(await mv.setAppearance(null), 'dark');
  mv.setWindowAppearance(null);
  assert.ok(!root.classList.contains('dark'));
});

test('scrolling reports the fractional top line once per frame, but not for its own scrolls', async () => {
  mv.render(Array.from({ length: 40 }, (_, i) => `Paragraph ${i}.`).join('\n\n'), null, { rev: 1 });
  take();
  const frame = () => new Promise((resolve) => window.requestAnimationFrame(() => setTimeout(resolve, 0)));
  const scrollEvent = () => window.dispatchEvent(new window.Event('scroll'));

  mv.scrollToLine(10.5);
  assert.equal(window.scrollY, 210);
  scrollEvent();
  await frame();
  assert.deepEqual(take(), [], 'own scroll is not echoed');

  // The reader scrolls (input first, as a wheel or key gives), which ends the follow.
  window.dispatchEvent(new window.Event('wheel'));
  window.scrollTo(0, 300);
  scrollEvent();
  scrollEvent();
  await frame();
  assert.deepEqual(take(), [{ type: 'topLine', line: 15, user: true }]);

  window.scrollTo(0, 410);
  scrollEvent();
  await frame();
  assert.deepEqual(take(), [{ type: 'topLine', line: 20.5, user: true }]);

  // Long after any input, the page moved by itself (layout, find, a render).
  await new Promise((resolve) => setTimeout(resolve, 900));
  window.scrollTo(0, 300);
  scrollEvent();
  await frame();
  assert.deepEqual(take(), [{ type: 'topLine', line: 15, user: false }]);
});

test('raw HTML around Markdown nests as in one document', () => {
  mv.render('<details>\n<summary>More</summary>\n\nInside *details*.\n\n</details>\n\nAfter.', null, { rev: 1 });
  take();
  assert.equal(main.querySelector('details > p em')?.textContent, 'details');
  assert.equal(main.querySelector('details + p')?.textContent, 'After.');
  // An edit inside keeps the run together.
  mv.render('<details>\n<summary>More</summary>\n\nInside *detail*.\n\n</details>\n\nAfter.', null, { rev: 2 });
  take();
  assert.equal(main.querySelector('details > p em')?.textContent, 'detail');
  assert.equal(main.querySelectorAll('details').length, 1);
});

test('an edit that changes a reference definition re-renders the blocks that use it', () => {
  const doc = (url) => `Use [the link][l].\n\n${'Filler.\n\n'.repeat(20)}[l]: ${url}\n`;
  mv.render(doc('https://a.example/'), null, { rev: 1 });
  mv.render(doc('https://b.example/'), null, { rev: 2 });
  take();
  assert.equal(main.querySelector('a').getAttribute('href'), 'https://b.example/');
});

/** A page of its own that shows a document of over 20 lines top first, then in slices. */
async function slicedPage() {
  const holder = window.document.createElement('main');
  holder.className = 'markdown';
  window.document.body.append(holder);
  const { createPage } = await import('../src/page.js');
  const { post } = await import('../src/bridge.js');
  return { holder, sliced: createPage({ container: holder, post, firstLines: 20 }) };
}

test('a long document is shown top first, then in slices, with one "rendered" at the end', async () => {
  const { holder, sliced } = await slicedPage();
  const text = Array.from({ length: 60 }, (_, i) => `## Part ${i}\n\nText of part ${i} with $x_${i}$ and a note.[^n${i}]\n\n[^n${i}]: Note ${i}.\n`).join('\n');
  take();
  sliced.render('# Old\n\nReplaced.', null, { rev: 1 });
  take();
  sliced.render(text, null, { rev: 2 });
  assert.ok(holder.querySelector('h2'), 'the top is there at once');
  assert.ok(holder.querySelectorAll('h2').length < 60, 'but not the whole document');
  assert.deepEqual(take(), [], 'nothing announced yet');
  // A newer text while slicing: the older one never finishes.
  sliced.render(text.replace('Part 0', 'Part zero'), null, { rev: 3 });
  const messages = [];
  for (let i = 0; i < 500 && !messages.some((m) => m.type === 'outline'); i++) {
    await new Promise((resolve) => setTimeout(resolve, 2));
    messages.push(...take());
  }
  assert.deepEqual(messages.map((m) => m.type), ['rendered', 'outline']);
  assert.equal(messages[0].rev, 3);
  assert.equal(messages[1].items.length, 60);
  assert.equal(messages[1].items[0].text, 'Part zero');
  // The same page as rendering the text in one go.
  main.replaceChildren();
  mv.render(text.replace('Part 0', 'Part zero'), null, { rev: 4 });
  take();
  assert.equal((await sliced.exportHTML({})).html, (await mv.exportHTML({})).html);
  assert.equal(holder.querySelectorAll('h1').length, 0, 'old blocks removed');
  holder.remove();
});

test('the images of a long document are listed once all of it is on the page', async () => {
  const { holder, sliced } = await slicedPage();
  const text = Array.from({ length: 60 }, (_, i) => `Part ${i}.\n`).join('\n') + '\n![end](end.png)\n';
  sliced.render(text, 'file:///home/u/doc/', { rev: 1 });
  assert.equal(holder.querySelector('img'), null, 'the end is not on the page yet');
  assert.deepEqual(await sliced.localImages(), ['file:///home/u/doc/end.png']);
  take();
  holder.remove();
});

test('an edit of the last text renders as the whole text would; a page without that text asks for all of it', () => {
  mv.render(DOC, null, { rev: 20 });
  take();
  const whole = DOC.replace('First paragraph.', 'First paragraph, longer.') + '\n\nAppended.';
  const at = DOC.indexOf('paragraph.') + 'paragraph'.length;
  // Two runs changed: sent as the one splice that covers both.
  const end = DOC.length;
  const inserted = whole.slice(at, whole.length);
  mv.renderEdit(20, at, end, inserted, null, { rev: 21, length: whole.length });
  const edited = main.innerHTML;
  // No heading changed: the outline is not sent again.
  assert.deepEqual(take(), [{ type: 'rendered', rev: 21 }]);
  mv.render(whole, null, { rev: 22 });
  take();
  assert.equal(main.innerHTML, edited);

  const cases = [
    ['an older revision', 21, 0, 0, 'x', whole.length + 1],
    ['a run past the end', 22, 0, whole.length + 1, 'x', 1],
    ['a length that does not add up', 22, 0, 1, 'xy', whole.length],
  ];
  for (const [name, from, start, stop, text, length] of cases) {
    mv.renderEdit(from, start, stop, text, null, { rev: 30, length });
    assert.deepEqual(take(), [{ type: 'resync', rev: 30 }], name);
    assert.equal(main.innerHTML, edited, name);
  }
});

test('a text sent in parts renders as the whole text; parts that do not add up, or that a render in one piece came between, ask for all of it', () => {
  mv.render(DOC, null, { rev: 40 });
  take();
  const whole = main.innerHTML;
  const cut = [0, 7, 30, 31, DOC.length];
  const parts = cut.slice(1).map((end, i) => DOC.slice(cut[i], end));
  const stage = () => parts.slice(0, -1).forEach((part, i) => mv.stageText(i, part));
  mv.render('# Other', null, { rev: 41 });
  take();
  stage();
  mv.render(parts.at(-1), null, { rev: 42, staged: true, length: DOC.length });
  assert.equal(take()[0].type, 'rendered');
  assert.equal(main.innerHTML, whole);

  const lost = [
    ['a part lost', () => parts.slice(1, -1).forEach((part, i) => mv.stageText(i + 1, part))],
    ['a render between', () => (stage(), mv.render('# Other', null, { rev: 43 }), take())],
  ];
  for (const [name, before] of lost) {
    before();
    const shown = main.innerHTML;
    mv.render(parts.at(-1), null, { rev: 44, staged: true, length: DOC.length });
    assert.deepEqual(take(), [{ type: 'resync', rev: 44 }], name);
    assert.equal(main.innerHTML, shown, name);
  }
});

test('printing boxes each heading with a short block after it, gives ordered lists room for their numbers, then gives the page back as it was', async () => {
  const items = (from, count) => Array.from({ length: count }, (_, i) => `${from + i}. item`).join('\n');
  const lists = [items(1, 9), items(1, 12), items(98, 3), items(0, 10), `- a\n\n${items(1, 10).replace(/^/gm, '  ')}`,
    '<ol start="99999999999999999999"><li>a</li><li>b</li></ol>', '<ol start="-12"><li>a</li></ol>'].join('\n\nText.\n\n');
  mv.render(`# One\n\nShort.\n\n## Two\n\n## Three\n\nText \u{1F389}.\n\n${lists}`, null, { rev: 40 });
  take();
  const before = main.innerHTML;
  await mv.prepareForPrint('light');
  assert.deepEqual(
    Array.from(main.querySelectorAll(':scope > .lumo-keep'), (box) => Array.from(box.children, (el) => el.tagName)),
    [['H1', 'P'], ['H2', 'P']],
  );
  // 1-9, 1-12, 98-100, 0-9, a list inside a bullet's item, a start the engine ignores (1-2), -12.
  assert.deepEqual(
    Array.from(main.querySelectorAll('ol'), (list) => list.style.getPropertyValue('--lumo-digits')),
    ['', '2', '3', '', '2', '', '3'],
  );
  await mv.endPrint();
  assert.equal(main.innerHTML, before);
  take();
});
