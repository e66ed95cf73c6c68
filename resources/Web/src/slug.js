// GitHub-style heading anchors: lower case, punctuation and symbols dropped,
// each space becomes '-', repeats get -1, -2, ... in document order.

const DROP = /[^\p{L}\p{M}\p{N}\p{Pc} -]/gu;

export function slugify(text) {
  return String(text).toLowerCase().replace(DROP, '').replace(/ /g, '-');
}

export function createSlugger() {
  const seen = new Map();
  return function unique(text) {
    const base = slugify(text) || 'section';
    let slug = base;
    if (seen.has(base)) {
      let n = seen.get(base);
      do {
        n += 1;
        slug = `${base}-${n}`;
      } while (seen.has(slug));
      seen.set(base, n);
    }
    seen.set(slug, 0);
    return slug;
  };
}
