// Inputs written to break parsers, each of about `bytes` characters. Shared
// by the pathological benchmark and the tests that check they render as
// plain markdown-it renders them.

/** Repeats `unit(i)` for i = 0, 1, ... until the text reaches `bytes`. */
function fill(bytes, unit, head = '', foot = '') {
  const parts = [head];
  let size = head.length + foot.length;
  for (let i = 0; size < bytes; i++) {
    const part = unit(i);
    parts.push(part);
    size += part.length;
  }
  parts.push(foot);
  return parts.join('');
}

export const PATHOLOGICAL = [
  ['nested brackets', (bytes) => '['.repeat(bytes >> 1) + 'a' + ']'.repeat(bytes >> 1)],
  ['emphasis runs', (bytes) => fill(bytes, (i) => `${'*'.repeat((i % 1500) + 1)}a `)],
  ['nested quotes', (bytes) => '> '.repeat(bytes >> 1) + 'a\n'],
  ['nested lists', (bytes) => fill(bytes, (i) => `${'  '.repeat(i % 1000)}- a\n`)],
  ['wide table', (bytes) => {
    const columns = 5000;
    return fill(bytes, (i) => '| a '.repeat(columns) + '|\n', `${'| h '.repeat(columns)}|\n${'|---'.repeat(columns)}|\n`);
  }],
  ['backtick runs', (bytes) => fill(bytes, (i) => `${'`'.repeat((i % 1500) + 1)}a`)],
  ['unclosed link openers', (bytes) => fill(bytes, () => '[a](<b')],
  ['colliding references', (bytes) => fill(bytes, (i) => (i % 10 === 9 ? `Use [foo bar] and [FOO  BAR][].\n\n` : `[Foo${' '.repeat(1 + (i % 40))}Bar]: https://example.org/${i}\n`))],
  ['100,000 nested divs', () => '<div>'.repeat(100000) + 'a' + '</div>'.repeat(100000) + '\n'],
  ['50,000 reference definitions', () => {
    const parts = [];
    for (let i = 0; i < 50000; i++) parts.push(i % 10 === 9 ? `[r${i}]: http://x/${i}\n\nSee [r${i - 5}].\n\n` : `[r${i}]: http://x/${i}\n`);
    return parts.join('');
  }],
  // Not pathological: benign text of one block, for comparison. Several
  // inputs above are one block too, which the page lays out as one paragraph
  // (or one tree): the engine's layout alone then costs several times what
  // markdown-it takes, whatever the text.
  ['control: one paragraph of words', (bytes) => fill(bytes, (i) => `word${i % 10} `)],
  ['control: one unbroken word', (bytes) => 'abcdefghij'.repeat(Math.ceil(bytes / 10))],
];
