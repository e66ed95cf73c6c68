// Reference and footnote definitions of a whole text: guessed before the
// first piece is parsed (so early pieces see what is defined further down)
// and compared with what parsing found.

// Lines that may define a link reference or a footnote (checked properly while parsing).
const REF_CANDIDATE = /^ {0,3}\[(?!\^)[^\n]*\]:/gm;
const FOOTNOTE_CANDIDATE = /^ {0,3}\[\^([^\]\n ]+)\]:/gm;

/** @returns {{refs: object, labels: Set<string>}} the definitions the text probably has */
export function prescan(md, text) {
  const refs = {};
  REF_CANDIDATE.lastIndex = 0;
  // A run of definitions up to the next blank line is parsed once: a
  // definition cannot interrupt a paragraph, so the lines after one that is
  // not a definition are none either.
  for (let m; (m = REF_CANDIDATE.exec(text)); ) {
    const found = text.indexOf('\n\n', m.index);
    const stop = found < 0 ? text.length : found;
    const env = {};
    md.block.parse(text.slice(m.index, stop), md, env, []);
    for (const [label, ref] of Object.entries(env.references || {})) if (refs[label] === undefined) refs[label] = ref;
    REF_CANDIDATE.lastIndex = stop;
  }
  const labels = new Set();
  FOOTNOTE_CANDIDATE.lastIndex = 0;
  for (let m; (m = FOOTNOTE_CANDIDATE.exec(text)); ) labels.add(m[1]);
  return { refs, labels };
}

/** The references a list of definitions gives: the first of a label wins. */
export function firstWins(defs) {
  const refs = {};
  for (const d of defs) if (refs[d.label] === undefined) refs[d.label] = { href: d.href, title: d.title };
  return refs;
}

export function sameRefs(a, b) {
  const labels = Object.keys(a);
  if (labels.length !== Object.keys(b).length) return false;
  return labels.every((label) => b[label] && b[label].href === a[label].href && b[label].title === a[label].title);
}

export function sameLabels(a, b) {
  return a.size === b.size && [...a].every((label) => b.has(label));
}
