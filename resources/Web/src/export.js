// What leaves the page: the list of local images, the body for a standalone
// HTML file, and light, inline-styled HTML for the clipboard.
import { assetToFile } from './urls.js';
import { lightDiagramPNG } from './diagrams.js';
import { cloneHiddenColumns, hiddenParts } from './wide.js';
import { DIGITS } from './listnumbers.js';

const MEDIA = 'img[src], video[src], video[poster], audio[src], source[src], input[src]';

/** Local media of the page as absolute file: URLs, each once, in document order. */
export function localImages(container) {
  const seen = new Set();
  const media = [container, ...hiddenParts(container)].flatMap((root) => Array.from(root.querySelectorAll(MEDIA)));
  for (const el of media) {
    for (const attr of ['src', 'poster']) {
      const file = assetToFile(el.getAttribute(attr));
      if (file) seen.add(file);
    }
  }
  return Array.from(seen);
}

function lookup(images, src) {
  if (!images || typeof images !== 'object') return null;
  const file = assetToFile(src);
  const candidates = [src, file];
  if (file) {
    try {
      candidates.push(decodeURIComponent(new URL(file).pathname));
    } catch {
      // a malformed escape cannot be a key either
    }
  }
  for (const key of candidates) if (key && typeof images[key] === 'string') return images[key];
  return null;
}

const REMOTE = /^\s*(?:https?|ftp):|^\s*\/\//i;
const REMOTE_ATTRS = ['src', 'poster', 'href', 'xlink:href'];

// Whether the page showed what a media element fetched: with "Load remote images"
// off (or in a headless export) nothing was, and the copy must not fetch it later.
function shown(el) {
  const tag = el.localName;
  if (tag === 'img') return el.complete && el.naturalWidth > 0;
  if (tag === 'video' || tag === 'audio') return el.readyState > 0;
  if (tag === 'source' || tag === 'track') return el.parentElement?.readyState > 0;
  return false;
}

/** Remote references of media the live page did not show are left out of the copy. */
function dropUnshownRemoteMedia(container, clone) {
  const live = container.querySelectorAll('*');
  const copies = clone.querySelectorAll('*');
  for (let i = 0; i < copies.length; i++) {
    const copy = copies[i];
    if (copy.localName === 'a' || copy.localName === 'area') continue; // links fetch nothing
    for (const attr of REMOTE_ATTRS) {
      const value = copy.getAttribute(attr);
      if (value && REMOTE.test(value) && !shown(live[i])) copy.removeAttribute(attr);
    }
  }
}

/**
 * A copy of the rendered body without page machinery, local media swapped for the
 * given data URLs. The copy lives in a document of its own that loads nothing: a
 * media file left out of the map (a pipe, a device) is never fetched by the copy.
 */
export function cleanClone(container, images) {
  const inert = container.ownerDocument.implementation.createHTMLDocument('');
  const clone = inert.importNode(container, true);
  cloneHiddenColumns(container, clone);
  dropUnshownRemoteMedia(container, clone);
  clone.querySelectorAll('lumo-chunk').forEach((n) => n.replaceWith(...n.childNodes));
  // Runs of footnotes: the number on a run's first item is the page's, for the run alone.
  clone.querySelectorAll('lumo-notes').forEach((n) => {
    n.firstElementChild?.removeAttribute('value');
    n.replaceWith(...n.childNodes);
  });
  clone.querySelectorAll('ol.footnotes-list[style]').forEach((n) => {
    n.style.removeProperty(DIGITS);
    if (!n.style.length) n.removeAttribute('style');
  });
  clone.querySelectorAll('.lumo-ui').forEach((n) => n.remove());
  clone.querySelectorAll('[data-line], [data-line-end]').forEach((n) => {
    n.removeAttribute('data-line');
    n.removeAttribute('data-line-end');
  });
  clone.querySelectorAll('.lumo-changed').forEach((n) => n.classList.remove('lumo-changed'));
  clone.querySelectorAll('[data-lumo-float], [data-lumo-wrap], [data-lumo-rows], [data-lumo-task], [data-lumo-wide]').forEach((n) => {
    n.removeAttribute('data-lumo-float');
    n.removeAttribute('data-lumo-wrap');
    n.removeAttribute('data-lumo-rows');
    n.removeAttribute('data-lumo-task');
    n.removeAttribute('data-lumo-wide');
  });
  clone.querySelectorAll('[class=""]').forEach((n) => n.removeAttribute('class'));
  // The page draws its task boxes; elsewhere (a browser, mail, a word processor) a box is a form control.
  clone.querySelectorAll('span.task-list-item-checkbox').forEach((box) => {
    const input = inert.createElement('input');
    input.setAttribute('type', 'checkbox');
    input.setAttribute('class', 'task-list-item-checkbox');
    input.toggleAttribute('checked', box.getAttribute('aria-checked') === 'true');
    input.setAttribute('disabled', '');
    box.replaceWith(input);
  });
  for (const el of clone.querySelectorAll(MEDIA)) {
    for (const attr of ['src', 'poster']) {
      const value = el.getAttribute(attr);
      const file = assetToFile(value);
      if (file) el.setAttribute(attr, lookup(images, value) ?? file);
    }
  }
  clone.querySelectorAll('[srcset]').forEach((n) => n.removeAttribute('srcset'));
  return clone;
}

export function exportHTML(container, images) {
  const clone = cleanClone(container, images);
  return {
    htmlClass: document.documentElement.className,
    bodyClass: document.body.className,
    html: clone.innerHTML.trim(),
    hasMath: !!container.querySelector('.math'),
  };
}

// ---- rich text -------------------------------------------------------------

const FG = '#1f2328';
const MUTED = '#59636e';
const BORDER = '#d1d9e0';
const SUBTLE = '#f6f8fa';
const MONO = 'ui-monospace, "SF Mono", Menlo, Consolas, "DejaVu Sans Mono", "Liberation Mono", monospace';
const ALERT = { note: '#0969da', tip: '#1a7f37', important: '#8250df', warning: '#9a6700', caution: '#d1242f' };

const RULES = [
  ['h1, h2', `font-weight:600;margin:1.2em 0 0.6em;padding-bottom:0.3em;border-bottom:1px solid ${BORDER};line-height:1.25`],
  ['h1', 'font-size:2em'],
  ['h2', 'font-size:1.5em'],
  ['h3, h4, h5, h6', 'font-weight:600;margin:1.2em 0 0.5em;line-height:1.25'],
  ['h3', 'font-size:1.25em'],
  ['h5', 'font-size:0.875em'],
  ['h6', `font-size:0.85em;color:${MUTED}`],
  ['p, ul, ol, dl, table, pre, blockquote, details, .math-display', 'margin:0 0 1em'],
  ['a', 'color:#0969da;text-decoration:underline'],
  ['code', `font-family:${MONO};font-size:0.9em;background:#eff1f3;padding:0.1em 0.3em;border-radius:4px`],
  ['pre', `font-family:${MONO};font-size:0.85em;line-height:1.45;background:${SUBTLE};padding:12px 16px;border-radius:6px;white-space:pre-wrap;color:${FG}`],
  ['pre code', 'background:transparent;padding:0;font-size:1em;border-radius:0'],
  ['blockquote', `margin-left:0;padding:0 1em;color:${MUTED};border-left:4px solid ${BORDER}`],
  ['table', 'border-collapse:collapse'],
  ['th, td', `border:1px solid ${BORDER};padding:6px 13px;vertical-align:top`],
  ['th', `font-weight:600;background:${SUBTLE}`],
  ['hr', `border:0;border-top:2px solid ${BORDER};margin:1.5em 0`],
  ['mark', `background:#fff8c5;color:${FG}`],
  ['img', 'max-width:100%'],
  ['li.task-list-item', 'list-style:none'],
  ['.footnotes', `font-size:0.85em;color:${MUTED}`],
  ['.front-matter', `font-size:0.85em;color:${MUTED}`],
];

// highlight.js classes in GitHub's light palette.
const CODE_COLOURS = [
  [/hljs-(?:keyword|doctag|template-tag|template-variable|type|variable\.language)\b/, '#cf222e'],
  [/hljs-title\b/, '#8250df'],
  [/hljs-(?:attr|attribute|literal|meta|number|operator|variable|selector-attr|selector-class|selector-id|section)\b/, '#0550ae'],
  [/hljs-(?:regexp|string)\b/, '#0a3069'],
  [/hljs-(?:built_in|symbol)\b/, '#953800'],
  [/hljs-(?:comment|code|formula)\b/, '#6e7781'],
  [/hljs-(?:name|quote|selector-tag|selector-pseudo|addition)\b/, '#116329'],
  [/hljs-deletion\b/, '#82071e'],
];

function style(el, css) {
  el.setAttribute('style', (el.getAttribute('style') ? el.getAttribute('style') + ';' : '') + css);
}

export async function richHTML(container, images) {
  const clone = cleanClone(container, images);
  const doc = clone.ownerDocument;

  // Diagrams become pictures: office suites and mail rarely take inline SVG.
  const live = container.querySelectorAll('.mermaid-diagram');
  const copies = clone.querySelectorAll('.mermaid-diagram');
  for (let i = 0; i < copies.length; i++) {
    const img = doc.createElement('img');
    img.alt = 'Diagram';
    try {
      img.src = await lightDiagramPNG(live[i]);
      copies[i].replaceWith(img);
    } catch {
      // leave the source visible when the diagram cannot be drawn
    }
  }

  // Math travels as its TeX source: KaTeX's markup needs its fonts and sheet.
  for (const el of clone.querySelectorAll('.math')) {
    const tex = el.getAttribute('data-tex') ?? el.textContent;
    const display = el.classList.contains('math-display');
    const code = doc.createElement('code');
    code.textContent = display ? `$$${tex}$$` : `$${tex}$`;
    if (display) {
      const p = doc.createElement('p');
      p.append(code);
      el.replaceWith(p);
    } else {
      el.replaceWith(code);
    }
  }

  for (const box of clone.querySelectorAll('input[type="checkbox"]')) {
    box.replaceWith(doc.createTextNode(box.hasAttribute('checked') ? '☑ ' : '☐ '));
  }

  for (const d of clone.querySelectorAll('details')) {
    const div = doc.createElement('div');
    div.className = d.className;
    d.querySelector(':scope > summary')?.remove();
    div.append(...d.childNodes);
    d.replaceWith(div);
  }

  for (const [selector, css] of RULES) clone.querySelectorAll(selector).forEach((el) => style(el, css));

  for (const el of clone.querySelectorAll('.markdown-alert')) {
    const kind = /markdown-alert-(\w+)/.exec(el.className)?.[1];
    const colour = ALERT[kind] || BORDER;
    style(el, `border-left:4px solid ${colour};padding:0.5em 1em;margin:0 0 1em;color:${FG}`);
    el.querySelectorAll('.markdown-alert-title').forEach((t) => style(t, `color:${colour};font-weight:600;margin:0 0 0.3em`));
  }

  for (const span of clone.querySelectorAll('pre [class*="hljs-"]')) {
    const hit = CODE_COLOURS.find(([re]) => re.test(span.className));
    if (hit) style(span, `color:${hit[1]}`);
  }

  clone.querySelectorAll('[class]').forEach((n) => n.removeAttribute('class'));
  const font = '-apple-system, "Segoe UI", "Noto Sans", "Helvetica Neue", Arial, sans-serif';
  return `<div style="font-family:${font.replace(/"/g, "'")};font-size:14px;line-height:1.5;color:${FG};background:#ffffff">${clone.innerHTML.trim()}</div>`;
}
