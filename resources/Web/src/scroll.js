// Source line <-> vertical position. Every element with data-line gives two
// points, (first line, top) and (end line, bottom); between points the
// mapping is linear, so fractional lines land inside a block in proportion.
// The points are rebuilt lazily after any layout change.

/** Builds a monotone list of [line, y] points from annotated elements. */
export function buildPoints(elements, scrollY = 0) {
  const points = [[0, 0]];
  for (const el of elements) {
    const start = Number(el.getAttribute('data-line'));
    const end = Number(el.getAttribute('data-line-end'));
    if (!Number.isFinite(start) || !Number.isFinite(end)) continue;
    const rect = el.getBoundingClientRect();
    if (rect.width === 0 && rect.height === 0) continue; // hidden (closed <details>, display:none)
    const top = rect.top + scrollY;
    points.push([start, top], [Math.max(start, end), top + rect.height]);
  }
  points.sort((a, b) => a[0] - b[0] || a[1] - b[1]);
  // Overlapping blocks (floats, odd raw HTML) can break monotony; flatten it.
  for (let i = 1; i < points.length; i++) if (points[i][1] < points[i - 1][1]) points[i][1] = points[i - 1][1];
  return points;
}

/** y of a fractional source line: the top of the content that starts there. */
export function lineToY(points, line) {
  if (!(line > 0) || points.length < 2) return 0;
  let lo = 0;
  let hi = points.length - 1;
  if (line >= points[hi][0]) return points[hi][1];
  while (lo < hi) {
    const mid = (lo + hi + 1) >> 1;
    if (points[mid][0] <= line) lo = mid;
    else hi = mid - 1;
  }
  const [l0, y0] = points[lo];
  const [l1, y1] = points[lo + 1];
  return l1 === l0 ? y0 : y0 + ((line - l0) / (l1 - l0)) * (y1 - y0);
}

/** Fractional source line shown at height y. */
export function yToLine(points, y) {
  if (points.length < 2 || !(y > 0)) return 0;
  let lo = 0;
  let hi = points.length - 1;
  if (y >= points[hi][1]) return points[hi][0];
  while (lo < hi) {
    const mid = (lo + hi + 1) >> 1;
    if (points[mid][1] <= y) lo = mid;
    else hi = mid - 1;
  }
  const [l0, y0] = points[lo];
  const [l1, y1] = points[lo + 1];
  return y1 === y0 ? l0 : l0 + ((y - y0) / (y1 - y0)) * (l1 - l0);
}

/**
 * Wires the window's scrolling to the native side: reports the top line once
 * per frame while the user scrolls, never for scrolls it made itself.
 */
export function createScrollSync({ container, post }) {
  let points = null;
  let ownScrollY = NaN;
  let ownScrollAt = 0;
  let frame = 0;

  const invalidate = () => {
    points = null;
  };
  const map = () => (points ??= buildPoints(container.querySelectorAll('[data-line]'), window.scrollY));

  new ResizeObserver(invalidate).observe(container);
  window.addEventListener('resize', invalidate);
  container.addEventListener('toggle', invalidate, true);

  window.addEventListener(
    'scroll',
    () => {
      if (Math.abs(window.scrollY - ownScrollY) < 1 && performance.now() - ownScrollAt < 1000) {
        ownScrollY = NaN;
        return;
      }
      ownScrollY = NaN;
      if (frame) return;
      frame = requestAnimationFrame(() => {
        frame = 0;
        post({ type: 'topLine', line: Math.round(yToLine(map(), window.scrollY) * 1000) / 1000 });
      });
    },
    { passive: true },
  );

  function scrollToY(y) {
    const before = window.scrollY;
    window.scrollTo({ top: Math.round(y), behavior: 'instant' });
    if (window.scrollY !== before) {
      ownScrollY = window.scrollY;
      ownScrollAt = performance.now();
    }
  }

  return {
    invalidate,
    scrollToLine(line) {
      const n = Number(line);
      if (!Number.isFinite(n)) return;
      scrollToY(lineToY(map(), n));
    },
    topLine() {
      return yToLine(map(), window.scrollY);
    },
    scrollToElement(el) {
      // A jump the user asked for: the native side hears the new top line.
      const margin = parseFloat(getComputedStyle(el).scrollMarginTop) || 0;
      window.scrollTo({ top: Math.round(el.getBoundingClientRect().top + window.scrollY - margin), behavior: 'instant' });
    },
  };
}
