// Colour emoji come out blank in printed PDFs: the engine's PDF writer cannot
// embed the colour bitmap font the page draws them with. For the time of a
// print they are drawn into pictures, which print like any image, and then
// put back as the text they were.

const EMOJI =
  /(?:\p{Emoji_Presentation}|\p{Extended_Pictographic}\uFE0F)(?:[\u{1F3FB}-\u{1F3FF}]|\uFE0F|\u200D(?:\p{Emoji_Presentation}|\p{Extended_Pictographic})\uFE0F?)*|[\u{1F1E6}-\u{1F1FF}]{2}/gu;
// Drawn by other means, or not text a reader sees.
const SKIP = 'svg, .katex, script, style, textarea';
// Pixels per CSS pixel of the picture: sharp at print resolution.
const SHARPNESS = 4;

function draw(text, size) {
  const canvas = document.createElement('canvas');
  const context = canvas.getContext('2d');
  if (!context) return null;
  const font = `${size * SHARPNESS}px "Noto Color Emoji", sans-serif`;
  context.font = font;
  canvas.width = Math.max(1, Math.ceil(context.measureText(text).width));
  canvas.height = Math.ceil(size * SHARPNESS * 1.25);
  context.font = font; // resizing the canvas reset it
  context.textBaseline = 'middle';
  context.fillText(text, 0, canvas.height / 2);
  return canvas.toDataURL('image/png');
}

/** Replaces the emoji in the container's text with pictures of them. */
export function emojiAsPictures(container) {
  const walker = document.createTreeWalker(container, NodeFilter.SHOW_TEXT);
  const found = [];
  for (let node = walker.nextNode(); node; node = walker.nextNode()) {
    EMOJI.lastIndex = 0;
    if (EMOJI.test(node.data) && !node.parentElement?.closest(SKIP)) found.push(node);
  }
  const drawn = new Map();
  for (const node of found) {
    const size = parseFloat(getComputedStyle(node.parentElement).fontSize) || 16;
    const parts = document.createDocumentFragment();
    let at = 0;
    for (const match of node.data.matchAll(EMOJI)) {
      const key = `${size} ${match[0]}`;
      if (!drawn.has(key)) drawn.set(key, draw(match[0], size));
      if (!drawn.get(key)) continue; // nothing to draw with: the text stays
      if (match.index > at) parts.append(node.data.slice(at, match.index));
      const picture = document.createElement('img');
      picture.className = 'lumo-emoji';
      picture.alt = match[0];
      picture.src = drawn.get(key);
      parts.append(picture);
      at = match.index + match[0].length;
    }
    if (at < node.data.length) parts.append(node.data.slice(at));
    node.replaceWith(parts);
  }
  return found.length;
}

/** Puts the text back where emojiAsPictures drew pictures. */
export function emojiAsText(container) {
  const parents = new Set();
  for (const picture of container.querySelectorAll('img.lumo-emoji')) {
    parents.add(picture.parentNode);
    picture.replaceWith(picture.alt);
  }
  for (const parent of parents) parent.normalize();
}
