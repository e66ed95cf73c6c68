// A long document's far blocks wait unparsed in dormant chunks: every reader
// that steps into one wakes it, export and copy wake what they take, and
// edits made while chunks sleep leave the page a fresh render would show.
import { test, before } from 'node:test';
import assert from 'node:assert/strict';
import { installWindow } from '../testing/window.mjs';

let window;
let createPage;
let post;
let lineOf;
const messages = [];

before(async () => {
  window = installWindow();
  ({ post } = await import('../src/bridge.js'));
  ({ createPage } = await import('../src/page.js'));
  ({ lineOf } = await import('../src/lines.js'));
  window.document.addEventListener('lumo-post', (e) => messages.push(JSON.parse(e.detail)));
});

// No code or math: the fake layout gives a dormant chunk no height, so the
// enhancer's walk near the viewport would wake chunks at random.
const SECTIONS = 150;
const section = (i) =>
  [
    `## Part ${i}`,
    `Text of part ${i} with a note.[^n${i}]`,
    `- item ${i}\n- more`,
    `| a | b |\n|---|---|\n| ${i} | cell |`,
    `<details><summary>More ${i}</summary>\n\nHidden **${i}**.\n\n</details>`,
    // Now and then raw HTML that floats, and what flows around it.
    ...(i % 40 === 7 ? [`<div align="right">Float ${i}</div>`, `Around ${i}.`] : []),
    `[^n${i}]: Note ${i}.`,
  ].join('\n\n') + '\n';
const DOC = Array.from({ length: SECTIONS }, (_, i) => section(i)).join('\n');

/** The converter served over a real message port, as in the Worker. */
async function portWorker() {
  const { serveConversions } = await import('../src/conversions.js');
  const { port1, port2 } = new MessageChannel();
  serveConversions(port1, (task) => setTimeout(task, 1));
  return port2;
}

async function rendered(rev) {
  for (let i = 0; i < 20000; i++) {
    if (messages.some((m) => m.type === 'rendered' && m.rev === rev)) return;
    await new Promise((resolve) => setTimeout(resolve, 1));
  }
  assert.fail(`render ${rev} timed out`);
}

async function pageWith(text, { dormant, worker = null }) {
  const container = window.document.createElement('main');
  container.className = 'markdown';
  window.document.body.replaceChildren(container);
  const mv = createPage({ container, post, firstLines: 40, dormant, startWorker: worker ? () => worker : null });
  messages.length = 0;
  mv.render(text, null, { rev: 1 });
  await rendered(1);
  return { container, mv };
}

const dormantChunks = (container) => container.querySelectorAll('lumo-chunk[data-lumo-dormant]');

/** What every reader of lines sees: each annotated element's tag, lines and text. */
const linesOf = (container) =>
  Array.from(container.querySelectorAll('[data-line]'), (el) => `${el.tagName} ${lineOf(el)}-${lineOf(el, 'data-line-end')} ${el.textContent.slice(0, 20)}`);

/** The whole page as export and the line readers see it, every chunk woken. */
async function wholePage({ container, mv }) {
  const { html } = await mv.exportHTML({});
  assert.equal(dormantChunks(container).length, 0);
  return { html, lines: linesOf(container) };
}

test('far blocks wait unparsed; the readers that reach them wake them, and woken they are the page shown without dormant chunks', async () => {
  const plainPage = await pageWith(DOC, { dormant: false });
  // Find opens the <details> its hit stands in: the same on both pages.
  await plainPage.mv.find(`Hidden ${SECTIONS - 40}.`);
  const plain = await wholePage(plainPage);
  for (const worker of [null, await portWorker()]) {
    const page = await pageWith(DOC, { dormant: true, worker });
    const { container, mv } = page;
    const sleeping = dormantChunks(container).length;
    assert.ok(sleeping > 3, `${sleeping} dormant chunks`);
    assert.equal(container.querySelector(`[id="part-${SECTIONS - 20}"]`), null);
    for (const chunk of dormantChunks(container)) {
      assert.equal(chunk.childNodes.length, 0);
      assert.ok(Number(chunk.style.containIntrinsicSize.match(/^auto ([\d.]+)em$/)?.[1]) > 50, chunk.style.containIntrinsicSize);
    }
    // No chunk opens with a heading, dormant or not: margins do not collapse across a border.
    mv.scrollToLine(1e9);
    for (const chunk of Array.from(container.children).slice(1)) assert.doesNotMatch(chunk.firstElementChild?.tagName ?? 'none', /^H\d$/);

    // A link to a heading in a dormant chunk; find, which reads every block and wakes only the chunk of its hit.
    assert.equal(mv.scrollToId(`part-${SECTIONS - 30}`), true);
    assert.ok(container.querySelector(`[id="part-${SECTIONS - 30}"]`));
    const woken = sleeping - dormantChunks(container).length;
    assert.ok(woken >= 1 && woken < 6, `${woken} chunks woken for one link`);
    const beforeFind = dormantChunks(container).length;
    assert.deepEqual(await mv.find(`Hidden ${SECTIONS - 40}.`), { active: 1, matches: 1 });
    assert.equal(dormantChunks(container).length, beforeFind - 1);
    assert.match(window.getSelection().toString(), new RegExp(`Hidden ${SECTIONS - 40}\\.`));
    assert.deepEqual(await mv.find('hidden'), { active: SECTIONS - 40 + 1, matches: SECTIONS });
    assert.equal(dormantChunks(container).length, beforeFind - 1);
    assert.deepEqual(await wholePage(page), plain);
    worker?.close();
  }
});

test('units streamed after a dormant chunk was read start a chunk of their own, and none is lost', async () => {
  const { createPatcher } = await import('../src/patch.js');
  const { Dormant, blocksIn } = await import('../src/chunks.js');
  const container = window.document.createElement('main');
  window.document.body.replaceChildren(container);
  const sanitize = (units) =>
    units.map((u) => {
      const template = window.document.createElement('template');
      template.innerHTML = u.html;
      return Array.from(template.content.childNodes);
    });
  const patcher = createPatcher(container, { sanitize, mayDoze: () => true });
  patcher.setChunked(true);
  const paragraphs = (from, to) => Array.from({ length: to - from }, (_, i) => ({ key: `p${from + i}`, html: `<p>${from + i}</p>` }));
  const stream = patcher.begin({ awake: 4 });
  stream.add(paragraphs(0, 30));
  stream.flush();
  // Find reads the chunk being filled; then more units come.
  const bed = container.lastElementChild;
  assert.equal(Array.from(blocksIn(bed, Dormant.READ), (p) => p.textContent).join(), '4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20,21,22,23,24,25,26,27,28,29');
  stream.add(paragraphs(30, 40));
  stream.flush();
  stream.end();
  assert.notEqual(container.lastElementChild, bed);
  for (const chunk of Array.from(container.children)) blocksIn(chunk);
  assert.equal(Array.from(container.querySelectorAll('p'), (p) => p.textContent).join(), paragraphs(0, 40).map((_, i) => i).join());
});

test('a selection copied across dormant chunks wakes them; a short document replacing a dormant one leaves no chunk', async () => {
  const { container, mv } = await pageWith(DOC, { dormant: true });
  const selection = window.document.getSelection();
  const range = window.document.createRange();
  range.setStartBefore(container.querySelector('h2'));
  range.setEndAfter(container.lastElementChild);
  selection.removeAllRanges();
  selection.addRange(range);
  window.document.dispatchEvent(new window.Event('copy'));
  assert.equal(dormantChunks(container).length, 0);
  assert.equal(container.querySelectorAll('h2').length, SECTIONS);
  selection.removeAllRanges();

  mv.render(DOC.replace(/\d+/g, (n) => String(Number(n) + 1000)), null, { rev: 2 });
  await rendered(2);
  assert.ok(dormantChunks(container).length > 3);
  mv.render(section(0), null, { rev: 3 });
  await rendered(3);
  assert.equal(container.querySelector('lumo-chunk'), null);
  assert.deepEqual(Array.from(container.children, (el) => el.tagName), ['H2', 'P', 'UL', 'TABLE', 'DETAILS', 'HR', 'SECTION']);
});

for (const read of [false, true])
test(`edits made while chunks sleep${read ? ', read by find,' : ''} near and far, lines added and removed, leave the page a fresh render shows`, async () => {
  const worker = await portWorker();
  const page = await pageWith(DOC, { dormant: true, worker });
  // Find has the sleeping chunks' blocks parsed off the page: the edits then move and change those.
  if (read) assert.equal((await page.mv.find('text of part')).matches, SECTIONS);
  let text = DOC;
  let random = 11;
  const next = (n) => (random = (random * 48271) % 2147483647) % n;
  const edits = [
    ['Text of part 3 ', 'Text of part 3 now\n\nsplit '], // near the top: every block below moves
    [`Hidden **${SECTIONS - 10}**.`, 'Hidden.'], // inside raw HTML far down
    [`- item ${SECTIONS - 60}\n- more`, `- item ${SECTIONS - 60}\n- more\n- and more`],
    [`[^n${SECTIONS - 5}]: Note`, `[^n${SECTIONS - 5}]: Changed note`],
    [`## Part ${SECTIONS - 90}\n\n`, ''], // a heading gone: the outline moves
  ];
  for (let i = 0; i < 6; i++) {
    const at = text.indexOf('\n\n', next(text.length)) + 1;
    if (at > 0) edits.push([text.slice(at, at + 1), i % 2 ? '\n\n' : '']);
  }
  let rev = 1;
  for (const [from, to] of edits) {
    const start = text.indexOf(from);
    assert.ok(start >= 0, from);
    text = text.slice(0, start) + to + text.slice(start + from.length);
    rev += 1;
    page.mv.renderEdit(rev - 1, start, start + from.length, to, null, { rev, length: text.length });
    await rendered(rev);
  }
  assert.ok(dormantChunks(page.container).length > 0, 'edits woke every chunk');
  const edited = await wholePage(page);
  worker.close();
  assert.deepEqual(edited, await wholePage(await pageWith(text, { dormant: false })));
});
