// Replaces the children of a container with freshly rendered nodes while
// keeping every node whose rendered HTML did not change, so that scroll
// position, loaded images and already coloured code survive an edit.
// Blocks are compared by their HTML without line attributes: an edit above a
// block shifts its lines but leaves the node in place (its lines are updated).

const LINE_ATTRS = / data-line(?:-end)?="\d*"/g;
const keys = new WeakMap();

export function blockKey(node) {
  if (node.nodeType === 1) return node.outerHTML.replace(LINE_ATTRS, '');
  return `#${node.nodeType}:${node.nodeValue}`;
}

function keyOf(node) {
  let key = keys.get(node);
  if (key === undefined) {
    key = blockKey(node);
    keys.set(node, key);
  }
  return key;
}

/** Forget a node's key so that the next patch replaces it (its DOM no longer matches its source). */
export function invalidate(node) {
  keys.set(node, '\u0000stale');
}

function annotated(node) {
  const list = node.hasAttribute('data-line') ? [node] : [];
  return list.concat(Array.from(node.querySelectorAll('[data-line]')));
}

function copyLines(from, to) {
  if (from.nodeType !== 1) return;
  if (from.getAttribute('data-line') === to.getAttribute('data-line') && from.getAttribute('data-line-end') === to.getAttribute('data-line-end')) return;
  const src = annotated(from);
  const dst = annotated(to);
  if (src.length !== dst.length) return;
  for (let i = 0; i < src.length; i++) {
    dst[i].setAttribute('data-line', src[i].getAttribute('data-line'));
    dst[i].setAttribute('data-line-end', src[i].getAttribute('data-line-end'));
  }
}

/**
 * @param {Element} container
 * @param {DocumentFragment} fragment the new content (consumed)
 * @returns {{added: Node[], kept: number, removed: number}}
 */
export function patch(container, fragment) {
  const oldNodes = Array.from(container.childNodes);
  const newNodes = Array.from(fragment.childNodes);
  const newKeys = newNodes.map((n) => {
    const key = blockKey(n);
    keys.set(n, key);
    return key;
  });

  let head = 0;
  const max = Math.min(oldNodes.length, newNodes.length);
  while (head < max && keyOf(oldNodes[head]) === newKeys[head]) {
    copyLines(newNodes[head], oldNodes[head]);
    head++;
  }
  let tail = 0;
  while (tail < max - head && keyOf(oldNodes[oldNodes.length - 1 - tail]) === newKeys[newNodes.length - 1 - tail]) {
    copyLines(newNodes[newNodes.length - 1 - tail], oldNodes[oldNodes.length - 1 - tail]);
    tail++;
  }

  const pool = new Map();
  for (let i = head; i < oldNodes.length - tail; i++) {
    const k = keyOf(oldNodes[i]);
    if (!pool.has(k)) pool.set(k, []);
    pool.get(k).push(oldNodes[i]);
  }

  const middle = [];
  const added = [];
  for (let i = head; i < newNodes.length - tail; i++) {
    const reuse = pool.get(newKeys[i])?.shift();
    if (reuse) {
      copyLines(newNodes[i], reuse);
      middle.push(reuse);
    } else {
      middle.push(newNodes[i]);
      added.push(newNodes[i]);
    }
  }

  let removed = 0;
  for (const list of pool.values()) {
    for (const node of list) {
      node.remove();
      removed++;
    }
  }

  let ref = tail > 0 ? oldNodes[oldNodes.length - tail] : null;
  for (let i = middle.length - 1; i >= 0; i--) {
    const node = middle[i];
    if (node.parentNode !== container || node.nextSibling !== ref) container.insertBefore(node, ref);
    ref = node;
  }
  return { added, kept: newNodes.length - added.length, removed };
}
