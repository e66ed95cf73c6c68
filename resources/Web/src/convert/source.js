// The source text as the block converter sees it: normalised line breaks,
// where each line starts, and what two versions of it have in common.

export function normalize(text) {
  const s = String(text ?? '');
  // Most texts have no CR: a search for one costs a tenth of a replace that finds none.
  return (s.includes('\r') ? s.replace(/\r\n?/g, '\n') : s).replace(/\0/g, '\uFFFD');
}

/** Offsets where each line starts, the first being 0. */
export function lineStarts(text) {
  const starts = [0];
  for (let i = text.indexOf('\n'); i !== -1; i = text.indexOf('\n', i + 1)) starts.push(i + 1);
  return starts;
}

/** Lines in the text: a final line break does not start another. */
export function lineCount(text, starts) {
  return text.endsWith('\n') || text === '' ? starts.length - 1 : starts.length;
}

/** A normalised text with its line starts and line count, as pieces are parsed from it. */
export function sourceOf(text) {
  const starts = lineStarts(text);
  return { text, starts, total: lineCount(text, starts) };
}

/** The line holding `offset`. */
export function lineOf(starts, offset) {
  let lo = 0;
  let hi = starts.length - 1;
  while (lo < hi) {
    const mid = (lo + hi + 1) >> 1;
    if (starts[mid] <= offset) lo = mid;
    else hi = mid - 1;
  }
  return lo;
}

// Texts are compared a span at a time (the engine compares flat strings
// natively), then character by character inside the span that differs.
const SPAN = 4096;

/** Length of the common start of a and b, at most max. */
export function commonPrefix(a, b, max) {
  let length = 0;
  while (length + SPAN <= max && a.slice(length, length + SPAN) === b.slice(length, length + SPAN)) length += SPAN;
  while (length < max && a.charCodeAt(length) === b.charCodeAt(length)) length++;
  return length;
}

/** Length of the common end of a and b, at most max. */
export function commonSuffix(a, b, max) {
  let length = 0;
  while (length + SPAN <= max && a.slice(a.length - length - SPAN, a.length - length) === b.slice(b.length - length - SPAN, b.length - length)) length += SPAN;
  while (length < max && a.charCodeAt(a.length - 1 - length) === b.charCodeAt(b.length - 1 - length)) length++;
  return length;
}
