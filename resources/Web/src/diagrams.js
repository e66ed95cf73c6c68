// Mermaid diagrams. The library is large, so its script is added to the page
// only when a document first contains a diagram. Diagrams render one at a
// time (Mermaid keeps global state) and again when the appearance changes.

const sources = new WeakMap();
let loader = null;
let chain = Promise.resolve();
let configured = null;
let counter = 0;

function loadMermaid() {
  loader ??= new Promise((resolve, reject) => {
    const script = document.createElement('script');
    script.src = 'vendor/mermaid.min.js';
    script.onload = () => (globalThis.mermaid ? resolve(globalThis.mermaid) : reject(new Error('Mermaid did not initialise')));
    script.onerror = () => {
      loader = null;
      script.remove();
      reject(new Error('Could not load vendor/mermaid.min.js'));
    };
    document.head.append(script);
  });
  return loader;
}

export function diagramSource(el) {
  if (!sources.has(el)) sources.set(el, el.textContent);
  return sources.get(el);
}

/** Diagram kind from its source ("flowchart", "sequenceDiagram", ...), for file names. */
export function diagramKind(source) {
  const body = source.replace(/^\s*---[\s\S]*?---\s*/, '').replace(/^\s*%%.*$/gm, '');
  const m = /^\s*([A-Za-z][\w-]*)/.exec(body);
  return m ? m[1] : 'diagram';
}

function showError(el, source, err) {
  el.classList.add('failed');
  el.classList.remove('rendered');
  const note = document.createElement('p');
  note.className = 'mermaid-error';
  note.textContent = `Diagram error: ${String(err?.message || err).split('\n')[0]}`;
  const pre = document.createElement('pre');
  const code = document.createElement('code');
  code.textContent = source;
  pre.append(code);
  el.replaceChildren(note, pre);
}

/** Renders (or re-renders) one diagram container; resolves when done, never rejects. */
export function renderDiagram(el, dark) {
  const source = diagramSource(el);
  const job = chain.then(async () => {
    if (!el.isConnected) return;
    const id = `lumo-diagram-${++counter}`;
    try {
      const mermaid = await loadMermaid();
      const theme = dark ? 'dark' : 'default';
      if (configured !== theme) {
        mermaid.initialize({
          startOnLoad: false,
          securityLevel: 'strict',
          // Keys a diagram's own directives and front matter may not set, at any depth:
          // Mermaid's defaults, then what would let labels carry HTML or restyle the page.
          secure: ['secure', 'securityLevel', 'startOnLoad', 'maxTextSize', 'suppressErrorRendering', 'maxEdges', 'htmlLabels', 'dompurifyConfig', 'themeCSS', 'fontFamily'],
          theme,
          // SVG text instead of HTML labels: copying as PNG needs an untainted canvas.
          htmlLabels: false,
          flowchart: { htmlLabels: false },
          fontFamily: getComputedStyle(document.body).fontFamily,
        });
        configured = theme;
      }
      const { svg } = await mermaid.render(id, source);
      el.innerHTML = svg;
      el.classList.add('rendered');
      el.classList.remove('failed');
      el.dataset.theme = theme;
    } catch (err) {
      showError(el, source, err);
    } finally {
      // Mermaid leaves its scratch element behind when a diagram fails.
      document.getElementById(`d${id}`)?.remove();
      const stray = document.getElementById(id);
      if (stray && !el.contains(stray)) stray.remove();
    }
  });
  chain = job.catch(() => {});
  return job;
}

function serialize(svg, width, height) {
  const clone = svg.cloneNode(true);
  clone.setAttribute('xmlns', 'http://www.w3.org/2000/svg');
  if (width && height) {
    clone.setAttribute('width', String(width));
    clone.setAttribute('height', String(height));
    clone.style.removeProperty('max-width');
  }
  return new XMLSerializer().serializeToString(clone);
}

/** PNG data URL of a rendered diagram at twice its size, on the page background. */
export async function diagramPNG(svg, background, scale = 2) {
  const rect = svg.getBoundingClientRect();
  const width = Math.max(1, Math.ceil(rect.width));
  const height = Math.max(1, Math.ceil(rect.height));
  const img = new Image();
  img.src = 'data:image/svg+xml;charset=utf-8,' + encodeURIComponent(serialize(svg, width, height));
  await img.decode();
  const canvas = document.createElement('canvas');
  canvas.width = width * scale;
  canvas.height = height * scale;
  const ctx = canvas.getContext('2d');
  if (background) {
    ctx.fillStyle = background;
    ctx.fillRect(0, 0, canvas.width, canvas.height);
  }
  ctx.drawImage(img, 0, 0, canvas.width, canvas.height);
  return canvas.toDataURL('image/png');
}

/** The right-click menu of rendered diagrams: Copy Image and Save SVG…. */
export function installDiagramMenu(container, post) {
  let menu = null;
  const close = () => {
    menu?.remove();
    menu = null;
  };

  function item(label, action) {
    const button = document.createElement('button');
    button.type = 'button';
    button.setAttribute('role', 'menuitem');
    button.textContent = label;
    button.addEventListener('click', () => {
      close();
      action().catch((err) => post({ type: 'error', message: String(err?.message || err) }));
    });
    return button;
  }

  container.addEventListener('contextmenu', (event) => {
    const diagram = event.target.closest?.('.mermaid-diagram.rendered');
    const svg = diagram?.querySelector('svg');
    if (!svg) return;
    event.preventDefault();
    close();
    menu = document.createElement('div');
    menu.className = 'lumo-ui lumo-menu';
    menu.setAttribute('role', 'menu');
    menu.append(
      item('Copy Image', async () => {
        const bg = getComputedStyle(document.documentElement).getPropertyValue('--bg').trim();
        post({ type: 'copyImage', dataURL: await diagramPNG(svg, bg) });
      }),
      item('Save SVG…', async () => {
        post({ type: 'saveSVG', svg: serialize(svg), name: diagramKind(diagramSource(diagram)) });
      }),
    );
    document.body.append(menu);
    const { innerWidth, innerHeight } = window;
    const box = menu.getBoundingClientRect();
    menu.style.left = `${Math.min(event.clientX, innerWidth - box.width - 4)}px`;
    menu.style.top = `${Math.min(event.clientY, innerHeight - box.height - 4)}px`;
    menu.querySelector('button').focus();
  });

  document.addEventListener('pointerdown', (e) => menu && !menu.contains(e.target) && close(), true);
  document.addEventListener('keydown', (e) => e.key === 'Escape' && close());
  window.addEventListener('scroll', close, { passive: true });
  window.addEventListener('blur', close);
}

/**
 * PNG of a diagram drawn in Mermaid's light theme whatever the page shows
 * (rich copy always pastes light). Rendered off-screen, then discarded.
 */
export async function lightDiagramPNG(el) {
  if (el.dataset.theme === 'default' && el.querySelector('svg')) return diagramPNG(el.querySelector('svg'), '#ffffff');
  const source = diagramSource(el);
  const holder = document.createElement('div');
  holder.className = 'mermaid-diagram lumo-offscreen';
  holder.setAttribute('aria-hidden', 'true');
  document.body.append(holder);
  try {
    const mermaid = await loadMermaid();
    const job = chain.then(() => mermaid.render(`lumo-diagram-${++counter}`, `%%{init: {"theme": "default"}}%%\n${source}`));
    chain = job.catch(() => {});
    holder.innerHTML = (await job).svg;
    return await diagramPNG(holder.querySelector('svg'), '#ffffff');
  } finally {
    holder.remove();
  }
}
