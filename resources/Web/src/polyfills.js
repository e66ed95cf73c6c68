// The oldest engine we run in (Qt WebEngine 6.4, Chromium 102) lacks a few
// built-ins that Mermaid's parsers call.
if (!Object.groupBy) {
  Object.groupBy = (items, key) => {
    const out = Object.create(null);
    let i = 0;
    for (const item of items) (out[key(item, i++)] ??= []).push(item);
    return out;
  };
}
if (!Map.groupBy) {
  Map.groupBy = (items, key) => {
    const out = new Map();
    let i = 0;
    for (const item of items) {
      const k = key(item, i++);
      if (!out.has(k)) out.set(k, []);
      out.get(k).push(item);
    }
    return out;
  };
}
if (!Promise.withResolvers) {
  Promise.withResolvers = () => {
    let resolve;
    let reject;
    const promise = new Promise((res, rej) => {
      resolve = res;
      reject = rej;
    });
    return { promise, resolve, reject };
  };
}
if (!Array.prototype.toSorted) {
  Object.defineProperty(Array.prototype, 'toSorted', {
    value(compare) {
      return this.slice().sort(compare);
    },
    writable: true,
    configurable: true,
  });
}
if (!Array.prototype.toReversed) {
  Object.defineProperty(Array.prototype, 'toReversed', {
    value() {
      return this.slice().reverse();
    },
    writable: true,
    configurable: true,
  });
}
