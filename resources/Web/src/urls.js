// URL resolution shared by the converter (Markdown links and images) and the
// sanitiser (raw HTML). Every function here is idempotent: resolving an
// already resolved URL returns it unchanged, so both passes can run.

const SCHEME = /^([a-z][a-z0-9+.-]*):/i;
export const ASSET_SCHEME = 'mv-asset:';

function baseUrl(base) {
  if (typeof base !== 'string' || base === '') return null;
  try {
    const url = new URL(base.endsWith('/') ? base : base + '/');
    return url;
  } catch {
    return null;
  }
}

// Resolve `raw` to an absolute URL object, or null when it stays as written
// (fragments, unresolvable relative references without a base).
function absolute(raw, base) {
  if (raw.startsWith('#')) return null;
  if (raw.startsWith('//')) {
    try { return new URL('https:' + raw); } catch { return null; }
  }
  if (SCHEME.test(raw)) {
    if (raw.toLowerCase().startsWith(ASSET_SCHEME)) {
      try { return new URL('file:' + raw.slice(ASSET_SCHEME.length)); } catch { return null; }
    }
    try { return new URL(raw); } catch { return null; }
  }
  if (raw.startsWith('/')) {
    try { return new URL('file://' + raw); } catch { return null; }
  }
  const b = baseUrl(base);
  if (!b) return null;
  try { return new URL(raw, b); } catch { return null; }
}

function isLocalFile(url) {
  return url.protocol === 'file:' && (url.hostname === '' || url.hostname === 'localhost');
}

/** Where a link (a, area) should point: file links become absolute file: URLs. */
export function resolveLink(raw, base) {
  if (typeof raw !== 'string') return raw;
  const trimmed = raw.trim();
  if (trimmed === '') return raw;
  const url = absolute(trimmed, base);
  if (!url) return raw;
  if (url.protocol === 'file:') return url.href;
  return SCHEME.test(trimmed) ? raw : url.href;
}

/**
 * Where an embedded resource (img, video, audio, source) loads from: local
 * files go through the mv-asset scheme with an absolute, percent-encoded path;
 * web and data URLs are left alone.
 */
export function resolveAsset(raw, base) {
  if (typeof raw !== 'string') return raw;
  const trimmed = raw.trim();
  if (trimmed === '' || trimmed.startsWith('data:')) return raw;
  const url = absolute(trimmed, base);
  if (!url) return raw;
  if (url.protocol === 'file:') {
    if (!isLocalFile(url)) return url.href;
    return ASSET_SCHEME + '//' + url.pathname + url.search;
  }
  if (SCHEME.test(trimmed)) return raw;
  return url.protocol === 'http:' || url.protocol === 'https:' ? url.href : raw;
}

/** The file: URL behind an mv-asset URL, or null for anything else. */
export function assetToFile(src) {
  if (typeof src !== 'string' || !src.toLowerCase().startsWith(ASSET_SCHEME)) return null;
  try {
    const url = new URL('file:' + src.slice(ASSET_SCHEME.length));
    return 'file://' + url.pathname;
  } catch {
    return null;
  }
}

/** Resolve every candidate of a srcset attribute. */
export function resolveSrcset(value, base) {
  return value
    .split(',')
    .map((part) => {
      const m = /^\s*(\S+)(\s+.*)?$/.exec(part);
      return m ? resolveAsset(m[1], base) + (m[2] || '') : part;
    })
    .join(', ');
}
