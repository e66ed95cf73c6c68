import { test } from 'node:test';
import assert from 'node:assert/strict';
import { buildPoints, lineToY, yToLine } from '../src/scroll.js';

// Stand-ins for laid-out blocks: [data-line, data-line-end, top, height].
const block = ([start, end, top, height]) => ({
  getAttribute: (name) => String(name === 'data-line' ? start : end),
  getBoundingClientRect: () => ({ top, height, width: height ? 600 : 0 }),
});

// h1 line 0 (40-80), paragraph lines 2-4 (100-160), list 5-9 (180-300) with
// items 5-7 (180-240) and 7-9 (240-300), a hidden block, a closing paragraph.
const LAYOUT = [
  [0, 1, 40, 40],
  [2, 5, 100, 60],
  [5, 9, 180, 120],
  [5, 7, 180, 60],
  [7, 9, 240, 60],
  [9, 12, 0, 0],
  [10, 11, 320, 20],
].map(block);
const points = buildPoints(LAYOUT, 0);

test('line to y: block starts, proportional inside a block, gaps between blocks', () => {
  const cases = [
    [0, 0], // the very top shows the page from its start
    [2, 100],
    [3.5, 130],
    [5, 180],
    [6, 210],
    [7, 240],
    [1.5, 90], // blank line between heading and paragraph
    [10, 320],
    [99, 340],
  ];
  for (const [line, y] of cases) assert.equal(lineToY(points, line), y, `line ${line}`);
});

test('y to line is the inverse at block boundaries and inside blocks', () => {
  for (const line of [2, 3.5, 5, 6, 7.25, 10, 10.5]) assert.ok(Math.abs(yToLine(points, lineToY(points, line)) - line) < 1e-9, `line ${line}`);
  assert.equal(yToLine(points, -5), 0);
  assert.equal(yToLine(points, 10_000), 11);
});

test('scroll offset is added and hidden blocks are ignored', () => {
  const shifted = buildPoints([block([3, 4, 10, 20]), block([5, 9, 0, 0])], 500);
  assert.deepEqual(shifted, [[0, 0], [3, 510], [4, 530]]);
});
