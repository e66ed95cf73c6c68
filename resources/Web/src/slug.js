// GitHub-style heading anchors: lower case, punctuation and symbols dropped,
// each space becomes '-', repeats get -1, -2, ... in document order.

const DROP = /[^\p{L}\p{M}\p{N}\p{Pc} -]/gu;

// Every edit of a long document checks the ids of all its headings again.
const known = new Map();
const KNOWN_MAX = 20000;

export function slugify(text) {
  const key = String(text);
  let slug = known.get(key);
  if (slug === undefined) {
    slug = key.toLowerCase().replace(DROP, '').replace(/ /g, '-');
    if (known.size >= KNOWN_MAX) known.clear();
    known.set(key, slug);
  }
  return slug;
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
