// A long document's blocks in chunks: the same document as without them,
// chunk borders that open with a block without top margin, edits that touch
// only their chunk, floats across borders, and scroll mapping across borders.
import { test, before } from 'node:test';
import assert from 'node:assert/strict';
import { installWindow } from '../testing/window.mjs';

let window;
let createPage;
let scroll;
let CHUNK_BLOCKS;

before(async () => {
  window = installWindow();
  ({ createPage } = await import('../src/page.js'));
  scroll = await import('../src/scroll.js');
  ({ CHUNK_BLOCKS } = await import('../src/chunks.js'));
});

const SECTIONS = 120;
const section = (i) => `## Part ${i}\n\nText of part ${i}.\n\n- item ${i}\n- more\n\n---\n\nClosing ${i}.\n`;
const DOC = Array.from({ length: SECTIONS }, (_, i) => section(i)).join('\n');

/** A page in a container of its own; `lines` is the length from which a document is long. */
async function pageWith(text, lines) {
  const container = window.document.createElement('main');
  container.className = 'markdown';
  window.document.body.append(container);
  const page = createPage({ container, post: () => {}, firstLines: lines });
  page.render(text, null, { rev: 1 });
  for (let i = 0; i < 1000 && !container.querySelector(`[id="part-${SECTIONS - 1}"]`); i++) await new Promise((resolve) => setTimeout(resolve, 2));
  await new Promise((resolve) => setTimeout(resolve, 5));
  return { page, container };
}

const chunks = (container) => Array.from(container.children);

test('a long document stands in chunks that hold the same page as a short one, each opening without top margin', async () => {
  const short = await pageWith(DOC, 1e9);
  const long = await pageWith(DOC, 20);
  assert.equal(short.container.querySelector('lumo-chunk'), null);
  assert.ok(chunks(long.container).length > 2);
  for (const [i, chunk] of chunks(long.container).entries()) {
    assert.equal(chunk.localName, 'lumo-chunk');
    assert.ok(chunk.childElementCount > 0 && chunk.childElementCount < 2 * CHUNK_BLOCKS, `chunk ${i} holds ${chunk.childElementCount}`);
    if (i > 0) assert.match(chunk.firstElementChild.tagName, /^(P|UL)$/, `chunk ${i} opens with ${chunk.firstElementChild.tagName}`);
    assert.match(chunk.style.containIntrinsicSize, /^auto [\d.]+em$/);
  }
  assert.equal((await long.page.exportHTML({})).html, (await short.page.exportHTML({})).html);
  // Shorter again: the blocks go back straight into the container, the same nodes.
  const heading = long.container.querySelector('[id="part-3"]');
  const placed = new window.MutationObserver(() => {});
  placed.observe(long.container, { childList: true });
  long.page.render(DOC.slice(0, DOC.indexOf('## Part 1\n')), null, { rev: 2 });
  // The chunks of the blocks that go are removed whole: none of those blocks is moved out of its chunk first.
  const added = placed.takeRecords().flatMap((record) => Array.from(record.addedNodes));
  placed.disconnect();
  assert.ok(added.length > 0 && added.every((node) => node.parentNode === long.container));
  assert.equal(long.container.querySelector('lumo-chunk'), null);
  assert.equal(long.container.querySelector('[id="part-0"]').parentNode, long.container);
  long.page.render(DOC, null, { rev: 3 });
  await new Promise((resolve) => setTimeout(resolve, 50));
  assert.notEqual(heading, long.container.querySelector('[id="part-3"]'), 'dropped while the text was shorter');
  assert.equal((await long.page.exportHTML({})).html, (await short.page.exportHTML({})).html);
  short.container.remove();
  long.container.remove();
});

test('an edit inside a chunk replaces only its block there; one that adds many blocks splits the chunk', async () => {
  const { page, container } = await pageWith(DOC, 20);
  const before = chunks(container).map((chunk) => Array.from(chunk.children));
  const target = container.querySelector('[id="part-60"]').parentNode;
  const at = chunks(container).indexOf(target);
  page.render(DOC.replace('Text of part 60.', 'Text of part sixty.'), null, { rev: 2, diff: true });
  const after = chunks(container).map((chunk) => Array.from(chunk.children));
  assert.equal(after.length, before.length);
  after.forEach((list, c) => {
    const changed = list.filter((el, i) => el !== before[c][i]);
    assert.equal(changed.length, c === at ? 1 : 0, `chunk ${c}`);
  });
  assert.equal(target.querySelector('.lumo-changed').textContent, 'Text of part sixty.');

  const many = Array.from({ length: 3 * CHUNK_BLOCKS }, (_, i) => `Inserted ${i}.`).join('\n\n');
  page.render(DOC.replace('Text of part 60.', `Text of part 60.\n\n${many}`), null, { rev: 3 });
  for (const chunk of chunks(container)) assert.ok(chunk.childElementCount < 2 * CHUNK_BLOCKS);
  const inserted = Array.from(container.querySelectorAll('p'), (p) => p.textContent).filter((t) => t.startsWith('Inserted'));
  assert.deepEqual(inserted, Array.from({ length: 3 * CHUNK_BLOCKS }, (_, i) => `Inserted ${i}.`));

  // A cut across several chunks: those it empties go, those it enters keep the rest.
  page.render(DOC.slice(0, DOC.indexOf('## Part 30\n')) + DOC.slice(DOC.indexOf('## Part 90\n')), null, { rev: 4 });
  const parts = Array.from({ length: SECTIONS }, (_, i) => i).filter((i) => i < 30 || i >= 90);
  assert.deepEqual(Array.from(container.querySelectorAll('h2'), (h) => h.id), parts.map((i) => `part-${i}`));
  for (const chunk of chunks(container)) assert.ok(chunk.childElementCount > 0 && chunk.childElementCount < 2 * CHUNK_BLOCKS);
  container.remove();
});

test('raw HTML that floats at the end of a chunk keeps it and the next one unskipped', async () => {
  const plain = await pageWith(DOC, 20);
  // The last paragraph of the first chunk becomes a float, two blocks before its end.
  const paragraphs = chunks(plain.container)[0].querySelectorAll(':scope > p');
  const last = paragraphs[paragraphs.length - 1];
  assert.equal(last.nextElementSibling.nextElementSibling, last.parentNode.lastElementChild);
  const lines = DOC.split('\n');
  lines[Number(last.getAttribute('data-line'))] = '<img align="right" src="a.png">';
  plain.container.remove();
  const { container } = await pageWith(lines.join('\n'), 20);
  assert.ok(container.querySelector('lumo-chunk > img').hasAttribute('data-lumo-float'));
  assert.ok(chunks(container)[1].firstElementChild.hasAttribute('data-lumo-wrap'), 'what follows flows around it');
  assert.deepEqual(
    chunks(container).slice(0, 3).map((chunk) => chunk.hasAttribute('data-lumo-float')),
    [true, true, false],
  );
  container.remove();
});

test('source line and page height map onto each other across chunk borders', async () => {
  const { container } = await pageWith(DOC, 20);
  for (const chunk of chunks(container).slice(1)) {
    const first = chunk.firstElementChild;
    const last = chunk.previousElementSibling.lastElementChild;
    const start = Number(first.getAttribute('data-line'));
    const end = Number(last.getAttribute('data-line'));
    // Block starts, and a line between the last block of one chunk and the first of the next.
    for (const line of [start, end, (end + start) / 2]) {
      assert.equal(scroll.lineToPageY(container, line, 0), line * 20, `line ${line}`);
      assert.equal(scroll.pageYToLine(container, line * 20 + 0, 0), line, `y of line ${line}`);
    }
  }
  // Scrolled far down: the top line is read where the window stands.
  window.scrollTo(0, 20 * 900);
  assert.equal(scroll.pageYToLine(container, window.scrollY, window.scrollY), 900);
  window.scrollTo(0, 0);
  container.remove();
});
