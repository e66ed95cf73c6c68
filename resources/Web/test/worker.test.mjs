// The page with its converter behind a message port, as in the Worker: renders
// that overlap show only the newest, edits and the fallback when the Worker fails.
import { test, before } from 'node:test';
import assert from 'node:assert/strict';
import { installWindow } from '../testing/window.mjs';
import { createBlockConverter } from '../src/blocks.js';
import { htmlOf } from '../src/convert/lineattrs.js';

let window;
let createPage;
let post;
const messages = [];
const take = () => messages.splice(0).map((m) => JSON.parse(m));

before(async () => {
  window = installWindow();
  ({ post } = await import('../src/bridge.js'));
  ({ createPage } = await import('../src/page.js'));
  window.document.addEventListener('lumo-post', (e) => messages.push(e.detail));
});

async function pageWith(startWorker) {
  const container = window.document.createElement('main');
  container.className = 'markdown';
  window.document.body.replaceChildren(container);
  return { container, mv: createPage({ container, post, firstLines: 40, startWorker }) };
}

/** The converter served over a real message port (structured clone and all). */
async function portWorker() {
  const { serveConversions } = await import('../src/conversions.js');
  const { port1, port2 } = new MessageChannel();
  // Each step in a task of its own, so the page hears of one render before the next is asked.
  serveConversions(port1, (task) => setTimeout(task, 1));
  return port2;
}

async function until(check, what) {
  let met = false;
  for (let i = 0; i < 20000 && !(met = !!check()); i++) await new Promise((resolve) => setImmediate(resolve));
  assert.ok(met, `timed out waiting for ${what}`);
}

const paragraphs = (word, count) => Array.from({ length: count }, (_, i) => `${word} ${i}.`).join('\n\n');
const texts = (container) => Array.from(container.querySelectorAll('p'), (p) => p.textContent);

test('a render requested while the last one is still converting shows only the newest', async () => {
  const worker = await portWorker();
  const { container, mv } = await pageWith(() => worker);
  take();
  mv.render(paragraphs('old', 20000), null, { rev: 1 });
  await until(() => container.querySelector('p'), 'the top of the first render');
  mv.render(paragraphs('new', 500), null, { rev: 2 });
  await until(() => take().some((m) => m.type === 'rendered' && (assert.equal(m.rev, 2), true)), 'the second render');
  // Answers to the first render that were under way change nothing.
  await new Promise((resolve) => setTimeout(resolve, 200));
  assert.deepEqual(texts(container), Array.from({ length: 500 }, (_, i) => `new ${i}.`));
  assert.ok(!take().some((m) => m.type === 'rendered'));

  // An edit of the newest text, converted around the change only.
  const text = paragraphs('new', 500);
  const at = text.indexOf('new 250.');
  mv.renderEdit(2, at, at + 3, 'edited', null, { rev: 3, length: text.length + 3 });
  await until(() => take().some((m) => m.type === 'rendered' && m.rev === 3), 'the edit');
  assert.equal(texts(container)[250], 'edited 250.');
  assert.equal(texts(container).length, 500);
  // Export waits for the render under way.
  mv.render(paragraphs('last', 800), null, { rev: 4 });
  const { html } = await mv.exportHTML({});
  assert.equal((html.match(/<p>last \d+\.<\/p>/g) ?? []).length, 800);
  worker.close();
});

test('without a Worker, or when it fails, the page converts on its own', async () => {
  const { container, mv } = await pageWith(() => {
    throw new Error('no workers here');
  });
  take();
  mv.render('# Here', null, { rev: 1 });
  assert.equal(container.querySelector('h1')?.textContent, 'Here');

  const silent = { postMessage() {}, onmessage: null, onerror: null };
  const failing = await pageWith(() => silent);
  failing.mv.render('# Later', null, { rev: 2 });
  assert.equal(failing.container.querySelector('h1'), null);
  silent.onerror(new window.Event('error'));
  assert.equal(failing.container.querySelector('h1')?.textContent, 'Later');
  assert.ok(take().some((m) => m.type === 'rendered' && m.rev === 2));
});

test('an edit is answered with the blocks that changed only', async () => {
  const { serveConversions } = await import('../src/conversions.js');
  const { applyEditAnswer } = await import('../src/editanswer.js');
  const { port1, port2 } = new MessageChannel();
  serveConversions(port1);
  const answers = [];
  port2.onmessage = (event) => answers.push(event.data);
  const ask = async (ticket, holds, text) => {
    port2.postMessage({ ticket, holds, text, base: null, firstLines: 40, mark: 'm' });
    await until(() => answers.at(-1)?.ticket === ticket && answers.at(-1).done, `answer ${ticket}`);
    return answers.splice(0);
  };
  const text = paragraphs('p', 300) + '\n\n# End\n\nlast\n';
  const at = text.indexOf('p 150.');
  const cases = [
    ['a character', text.slice(0, at) + 'x' + text.slice(at), 1],
    ['a line', text.slice(0, at) + 'new\n\n' + text.slice(at), 1],
    ['nothing', text, 0],
  ];
  let ticket = 0;
  for (const [what, edited, changed] of cases) {
    // Answered in full: the page holds nothing of this ticket's before.
    const held = (await ask(++ticket, 0, text)).flatMap((a) => a.blocks);
    const [answer] = await ask(++ticket, ticket - 1, edited);
    assert.ok(answer.edit, what);
    assert.equal(answer.edit.blocks.length, changed, `${what}: blocks sent`);
    const whole = createBlockConverter().convert(edited);
    const made = applyEditAnswer(held, null, answer.edit).blocks;
    assert.deepEqual(made.map((b) => [htmlOf(b), b.start, b.end]), whole.blocks.map((b) => [b.html, b.start, b.end]), what);
  }
  port1.close();
});

test('blocks shown before the text had to be converted again in one piece are replaced', async () => {
  for (const worker of [await portWorker(), null]) {
    const { container, mv } = await pageWith(() => worker);
    take();
    // Inside a code fence the lines are no definitions: the guess the first pieces went by is wrong.
    mv.render('[a] and [^f]\n\n```\n[a]: /nowhere\n[^f]: not a note\n```\n\n' + paragraphs('p', 100), null, { rev: 1 });
    await until(() => take().some((m) => m.type === 'rendered'), 'the render');
    assert.equal(container.querySelector('p').textContent, '[a] and [^f]', worker ? 'in the Worker' : 'on the page');
    assert.equal(container.querySelectorAll('p').length, 101);
    worker?.close();
  }
});

test('the Worker vouches only for blocks that pass the quick check: raw HTML through it stays inert', async () => {
  const worker = await portWorker();
  const { container, mv } = await pageWith(() => worker);
  take();
  const hostile = ['<img src=x onerror="alert(1)">', '<p onclick="alert(1)">click</p>', '<details open ontoggle=alert(1)><summary>s</summary></details>', '<a href="javascript:alert(1)">x</a>'];
  mv.render([...hostile, 'Press <kbd>Ctrl</kbd> and **go**.', '<p style="position:fixed;inset:0">cover</p>'].join('\n\n'), null, { rev: 1 });
  await until(() => take().some((m) => m.type === 'rendered'), 'the render');
  assert.equal(container.querySelector('kbd')?.textContent, 'Ctrl', 'plain raw HTML kept');
  for (const el of container.querySelectorAll('*')) {
    for (const attr of el.attributes) assert.ok(!/^on/i.test(attr.name) && !/javascript:|position/i.test(attr.value), `${el.localName} ${attr.name}="${attr.value}"`);
  }
  worker.close();
});

test('after edits that add and remove lines, every element has the lines a fresh render gives it, and the outline its', async () => {
  const { documentOf } = await import('../bench/document.mjs');
  const { lineOf } = await import('../src/lines.js');
  // What every reader of lines (scroll mapping, task boxes, footnotes) reads.
  const lines = (container) => Array.from(container.querySelectorAll('[data-line]'), (el) => `${el.localName} ${lineOf(el)}-${lineOf(el, 'data-line-end')}`);
  /** The lines of a fresh render's elements, and its outline. */
  async function fresh(text) {
    const container = window.document.createElement('main');
    let outline = null;
    createPage({ container, post: (m) => m.type === 'outline' && (outline = m.items), firstLines: 40 }).render(text, null, { rev: 1 });
    await until(() => outline, 'a fresh render');
    return [lines(container), outline];
  }
  let seed = 11;
  const next = () => (seed = (seed * 1664525 + 1013904223) >>> 0) / 2 ** 32;
  for (const worker of [await portWorker(), null]) {
    let text = documentOf(30000);
    const { container, mv } = await pageWith(() => worker);
    let rev = 1;
    const seen = []; // messages since the first render
    mv.render(text, null, { rev });
    await until(() => take().some((m) => m.type === 'rendered' && m.rev === rev), 'the first render');
    assert.ok(container.classList.contains('lumo-long'), 'in chunks, its footnotes in runs');
    for (let i = 1; i <= 24; i++) {
      // A line or two added, or one removed, mostly near the top so that most blocks move.
      const at = Math.floor(next() ** 2 * text.length);
      const newline = text.indexOf('\n', at);
      const [start, end, inserted] = next() < 0.6 ? [at, at, '\n'.repeat(1 + Math.floor(next() * 2))] : [newline, newline + 1, ''];
      const edited = text.slice(0, start) + inserted + text.slice(end);
      if (i % 2) mv.renderEdit(rev, start, end, inserted, null, { rev: rev + 1, length: edited.length });
      else mv.render(edited, null, { rev: rev + 1 });
      rev += 1;
      text = edited;
      await until(() => seen.push(...take()) && seen.some((m) => m.type === 'rendered' && m.rev === rev), `edit ${i}`);
      if (i % 8) continue;
      // A long document's outline follows in a task of its own.
      await new Promise((resolve) => setTimeout(resolve, 10));
      seen.push(...take());
      const outline = seen.findLast((m) => m.type === 'outline')?.items;
      const where = `${worker ? 'in the Worker' : 'on the page'}, edit ${i}`;
      assert.deepEqual([lines(container), outline], await fresh(text), where);
    }
    worker?.close();
  }
});
