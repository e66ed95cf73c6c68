// An ordered list's numbers stand in its padding, which fits one digit and
// lets two reach into the page's margin. On paper nothing may reach past the
// margin: a printed list of ten items lost the first digit of "10.". The
// digits of a list's widest number (`--lumo-digits`, style.css) size its
// padding: the footnote list keeps them all the time (footnotes.js), every
// other ordered list for the time of a print.

export const DIGITS = '--lumo-digits';
const INT_MAX = 2 ** 31 - 1;

/** Characters of the widest of the numbers from `first` to `last` ("-12" is three). */
export function digitsBetween(first, last) {
  return Math.max(String(Math.trunc(first)).length, String(Math.trunc(last)).length);
}

function digitsOf(list) {
  const items = list.querySelectorAll(':scope > li').length;
  const start = Number.parseInt(list.getAttribute('start') ?? '', 10);
  // The engine ignores a start it cannot hold in an int, as if none were given.
  const first = Math.abs(start) <= INT_MAX ? start : list.hasAttribute('reversed') ? items : 1;
  return digitsBetween(first, list.hasAttribute('reversed') ? first - items + 1 : first + items - 1);
}

/** Sets the digits of every ordered list in the container but the footnotes' until releaseListNumbers; answers what it changed. */
export function fitListNumbers(container) {
  const changed = [];
  for (const list of container.querySelectorAll('ol:not(.footnotes-list)')) {
    const digits = digitsOf(list);
    if (digits < 2) continue;
    changed.push({ list, style: list.getAttribute('style') });
    list.style.setProperty(DIGITS, String(digits));
  }
  return changed;
}

/** Puts back the style of the lists fitListNumbers changed. */
export function releaseListNumbers(changed) {
  for (const { list, style } of changed) {
    if (style === null) list.removeAttribute('style');
    else list.setAttribute('style', style);
  }
}
