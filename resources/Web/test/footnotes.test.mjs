// The footnote section of a long document in runs of items: the same page as
// a short document's, numbered as one list, edits that touch only their run,
// and scroll mapping that finds each definition from the page and the text.
import { test, before } from 'node:test';
import assert from 'node:assert/strict';
import { installWindow } from '../testing/window.mjs';

let window;
let createPage;
let scroll;
let RUN_ITEMS;

before(async () => {
  window = installWindow();
  ({ createPage } = await import('../src/page.js'));
  scroll = await import('../src/scroll.js');
  ({ RUN_ITEMS } = await import('../src/footnotes.js'));
});

const NOTES = 130;
const body = Array.from({ length: NOTES }, (_, i) => `Paragraph ${i} cites a note.[^${i}]`).join('\n\n');
// Defined in the order cited, or by label (10 before 2): the page's order is that of the references.
const definitions = (order) => order.map((i) => `[^${i}]: Note ${i},\n    on two lines.`).join('\n\n');
const inOrder = Array.from({ length: NOTES }, (_, i) => i);
const byLabel = inOrder.slice().sort((a, b) => String(a).localeCompare(String(b)));
const doc = (order) => `${body}\n\n${definitions(order)}\n`;

/** A page in a container of its own, rendered to the end; `lines`: the length from which a document is long. */
async function pageWith(text, lines, startWorker = null) {
  const container = window.document.createElement('main');
  container.className = 'markdown';
  window.document.body.append(container);
  const page = createPage({ container, post: () => {}, firstLines: lines, startWorker });
  page.render(text, null, { rev: 1 });
  for (let i = 0; i < 2000 && !container.querySelector(`[id="fn${NOTES}"]`); i++) await new Promise((resolve) => setTimeout(resolve, 2));
  await new Promise((resolve) => setTimeout(resolve, 5));
  return { page, container };
}

/** The converter behind a message port, as in the Worker. */
async function portWorker() {
  const { serveConversions } = await import('../src/conversions.js');
  const { port1, port2 } = new MessageChannel();
  serveConversions(port1, (task) => setTimeout(task, 1));
  return port2;
}

test('a long document shows its footnotes in runs numbered as one list, the same page as a short one, an edit replacing one run', async () => {
  const short = await pageWith(doc(inOrder), 1e9);
  const port = await portWorker();
  for (const long of [await pageWith(doc(inOrder), 40), await pageWith(doc(inOrder), 40, () => port)]) {
    const runs = Array.from(long.container.querySelectorAll('section.footnotes > ol.footnotes-list > lumo-notes'));
    assert.equal(runs.length, Math.ceil(NOTES / RUN_ITEMS));
    const items = runs.flatMap((run) => Array.from(run.children));
    assert.deepEqual(items.map((li) => li.id), inOrder.map((i) => `fn${i + 1}`));
    // Each run lays out on its own, so its first item carries its number.
    assert.deepEqual(runs.map((run) => run.firstElementChild.getAttribute('value')), runs.map((_, r) => String(r * RUN_ITEMS + 1)));
    assert.ok(long.container.querySelector('section.footnotes').parentNode.hasAttribute('data-lumo-notes'), 'its chunk is never skipped');
    assert.equal((await long.page.exportHTML({})).html, (await short.page.exportHTML({})).html);

    long.page.render(doc(inOrder).replace('Note 100,', 'Note one hundred,'), null, { rev: 2 });
    for (let i = 0; i < 2000 && !long.container.querySelector('[id="fn101"]')?.textContent.includes('hundred'); i++) await new Promise((resolve) => setTimeout(resolve, 2));
    const after = Array.from(long.container.querySelectorAll('lumo-notes'));
    assert.deepEqual(after.map((run, r) => run === runs[r]), runs.map((_, r) => r !== Math.floor(100 / RUN_ITEMS)));
    long.container.remove();
  }
  port.close();
  short.container.remove();
});

test('inside the footnotes the top line is that of the definition shown, and a line of a definition shows it', async () => {
  // The test layout stands every element at its source lines (20px each): as the page does for definitions
  // after the text in the order cited; for those in another order only the way from the text holds there.
  for (const order of [inOrder, byLabel]) {
    for (const lines of [40, 1e9]) {
      const { container } = await pageWith(doc(order), lines);
      for (const n of [0, 2, 10, 64, 99, NOTES - 1]) {
        const p = container.querySelector(`[id="fn${n + 1}"] > p`);
        const start = Number(p.getAttribute('data-line'));
        for (const line of [start, start + 1.5]) {
          assert.equal(scroll.lineToPageY(container, line, 0), line * 20, `line ${line} of note ${n}`);
          if (order === inOrder) assert.equal(scroll.pageYToLine(container, line * 20, 0), line, `y of line ${line} of note ${n}`);
        }
      }
      // The rule above the section belongs to the end of the text.
      const hr = container.querySelector('hr.footnotes-sep');
      const last = hr.previousElementSibling ?? hr.parentNode.previousElementSibling.lastElementChild;
      assert.equal(scroll.pageYToLine(container, Number(last.getAttribute('data-line-end')) * 20, 0), Number(last.getAttribute('data-line-end')));
      container.remove();
    }
  }
});

test('a definition amid the text: the page answers its line, the text keeps its own place, and a page showing it stays', async () => {
  // Each section defines its note right after citing it, as the bench document does.
  const text = Array.from({ length: NOTES }, (_, i) => `Paragraph ${i} cites a note.[^${i}]\n\n[^${i}]: Note ${i}.`).join('\n\n');
  const { page, container } = await pageWith(text, 40);
  const items = Array.from(container.querySelectorAll('.footnote-item'));
  const lineOf = (el) => Number(el.querySelector('[data-line]').getAttribute('data-line'));
  // The page's layout: the text at its lines, then the section with one item every 60px.
  const sectionTop = 20 * (4 * NOTES + 5);
  const standard = window.Element.prototype.getBoundingClientRect;
  window.Element.prototype.getBoundingClientRect = function placed() {
    const item = this.closest('.footnote-item');
    if (!this.closest('section.footnotes') || (!item && !this.matches('.footnote-item *, lumo-notes, section.footnotes, ol'))) return standard.call(this);
    const inside = item ? [item] : this.localName === 'lumo-notes' ? Array.from(this.children) : items;
    const [first, last] = [items.indexOf(inside[0]), items.indexOf(inside.at(-1))];
    const top = sectionTop + 60 * first - window.scrollY;
    // A paragraph in an item takes its first 20px; the items stand 4px apart.
    const height = item && this !== item ? 20 : 60 * (last - first + 1) - (this === item ? 4 : 0);
    return { top, bottom: top + height, height, width: 600 };
  };
  try {
    for (const n of [0, 7, 99]) {
      window.scrollTo(0, sectionTop + 60 * n);
      assert.equal(page.topLine(), lineOf(items[n]), `top line at note ${n}`);
      // Below its paragraph, down to its item's last pixel: still that definition's line (the editor shows
      // the line holding the top line), not the text after it nor the text before the next one.
      for (const below of [40, 55]) {
        window.scrollTo(0, sectionTop + 60 * n + below);
        const top = page.topLine();
        assert.equal(Math.floor(top), lineOf(items[n]), `${below}px below note ${n}`);
        assert.ok(top > lineOf(items[n]) + 0.99, `${below}px below note ${n}: its end, ${top}`);
      }
      // Between the items the next one shows.
      window.scrollTo(0, sectionTop + 60 * n + 57);
      assert.equal(page.topLine(), lineOf(items[n + 1]), `between notes ${n} and ${n + 1}`);
      window.scrollTo(0, sectionTop + 60 * n);
      // The text's line of it shows the text there; asked from the page showing it, the page stays.
      assert.equal(scroll.lineToPageY(container, lineOf(items[n]), window.scrollY), 20 * lineOf(items[n]));
      page.scrollToLine(lineOf(items[n]));
      assert.equal(window.scrollY, sectionTop + 60 * n);
      page.scrollToLine(lineOf(items[n + 3]) + 0.5);
      assert.equal(window.scrollY, sectionTop + 60 * n, 'nor for one further down in the window');
    }
    page.scrollToLine(lineOf(items[7]) - 2);
    assert.equal(window.scrollY, 20 * (lineOf(items[7]) - 2), 'any other line moves it');
  } finally {
    window.Element.prototype.getBoundingClientRect = standard;
    window.scrollTo(0, 0);
    container.remove();
  }
});

test('the padding of the list follows the digits of its largest number, short or long, and an edit', async () => {
  const notes = (n) => `${Array.from({ length: n }, (_, i) => `Cites.[^${i}]`).join('\n\n')}\n\n${Array.from({ length: n }, (_, i) => `[^${i}]: Note ${i}.`).join('\n\n')}\n`;
  const settled = async (container, n) => {
    for (let i = 0; i < 4000 && !container.querySelector(`[id="fn${n}"]`); i++) await new Promise((resolve) => setTimeout(resolve, 2));
    await new Promise((resolve) => setTimeout(resolve, 5));
  };
  const digits = (container) => container.querySelector('ol.footnotes-list').style.getPropertyValue('--lumo-digits');
  const cases = [
    [9, '1'],
    [99, '2'],
    [100, '3'],
    [RUN_ITEMS * 2 + 4, '3'],
    [1200, '4'],
  ];
  for (const lines of [40, 1e9]) {
    for (const [count, expected] of cases) {
      const container = window.document.createElement('main');
      container.className = 'markdown';
      window.document.body.append(container);
      const page = createPage({ container, post: () => {}, firstLines: lines });
      page.render(notes(count), null, { rev: 1 });
      await settled(container, count);
      assert.equal(digits(container), expected, `${count} notes, long from ${lines} lines`);
      assert.doesNotMatch((await page.exportHTML({})).html, /lumo-digits|<ol class="footnotes-list" style/);
      if (count > 99) {
        page.render(notes(99), null, { rev: 2 });
        for (let i = 0; i < 4000 && container.querySelector('[id="fn100"]'); i++) await new Promise((resolve) => setTimeout(resolve, 2));
        await settled(container, 99);
        assert.equal(digits(container), '2', `${count} notes cut to 99, long from ${lines} lines`);
      }
      container.remove();
    }
  }
});
