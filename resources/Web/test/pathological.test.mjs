// Inputs written to break parsers come out as plain markdown-it renders them
// (none of our rules applies to them), whether converted whole or in the
// page's pieces. The time-out only catches a hang.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import MarkdownIt from 'markdown-it';
import { convert, MARKDOWN_OPTIONS } from '../src/markdown.js';
import { createBlockConverter } from '../src/blocks.js';
import { stripLines } from '../src/convert/lineattrs.js';
import { PATHOLOGICAL } from '../bench/pathological.mjs';

const plain = new MarkdownIt(MARKDOWN_OPTIONS);

test('pathological inputs render as plain markdown-it renders them', { timeout: 240000 }, async (t) => {
  for (const [name, make] of PATHOLOGICAL) {
    await t.test(name, () => {
      const text = make(256 * 1024);
      const expected = plain.render(text);
      assert.equal(stripLines(convert(text).html), expected, 'whole');
      const job = createBlockConverter().start(text, null);
      while (!job.done) job.step(200);
      assert.equal(stripLines(job.blocks.map((b) => b.html).join('')), expected, 'in pieces');
    });
  }
});
