// Theme, typography and light/dark state, all expressed as classes and
// custom properties on <html> so that themes.css, style.css and the user's
// stylesheet can key off them (html.dark, html.theme-paper, ...).

export const THEMES = ['lumo', 'github', 'paper', 'contrast'];
export const FONTS = ['sans', 'serif', 'mono'];
export const WIDTHS = ['narrow', 'comfortable', 'wide'];
export const DEFAULTS = Object.freeze({ theme: 'lumo', font: 'sans', width: 'comfortable', scale: 1 });

function pick(value, allowed, fallback) {
  return allowed.includes(value) ? value : fallback;
}

/** Normalises whatever the native side sent; unknown values fall back to the defaults. */
export function normalizePrefs(prefs = {}) {
  const scale = Number(prefs?.scale);
  return {
    theme: pick(prefs?.theme, THEMES, DEFAULTS.theme),
    font: pick(prefs?.font, FONTS, DEFAULTS.font),
    width: pick(prefs?.width, WIDTHS, DEFAULTS.width),
    scale: Number.isFinite(scale) ? Math.min(2, Math.max(0.7, Math.round(scale * 100) / 100)) : DEFAULTS.scale,
  };
}

export function normalizeMode(mode) {
  return mode === 'dark' || mode === 'light' ? mode : null;
}

export function createAppearance({ root = document.documentElement, onDarkChange = () => {} } = {}) {
  let prefs = { ...DEFAULTS };
  let windowMode = null; // set by the native side; null follows the system
  let override = null; // export and print
  const media = window.matchMedia?.('(prefers-color-scheme: dark)');
  let dark = null;

  const isDark = () => (override ?? windowMode ?? (media?.matches ? 'dark' : 'light')) === 'dark';

  function apply() {
    const keep = Array.from(root.classList).filter((c) => !/^(?:theme|font|width)-/.test(c) && c !== 'dark' && c !== 'light');
    const nowDark = isDark();
    root.className = [...keep, `theme-${prefs.theme}`, `font-${prefs.font}`, `width-${prefs.width}`, nowDark ? 'dark' : 'light'].join(' ');
    root.style.setProperty('--scale', String(prefs.scale));
    root.style.colorScheme = nowDark ? 'dark' : 'light';
    for (const link of document.querySelectorAll('link[data-hljs]')) link.disabled = (link.dataset.hljs === 'dark') !== nowDark;
    if (dark !== null && dark !== nowDark) {
      dark = nowDark;
      return onDarkChange(nowDark);
    }
    dark = nowDark;
    return undefined;
  }

  media?.addEventListener?.('change', () => apply());
  apply();

  return {
    isDark,
    get prefs() {
      return { ...prefs };
    },
    setPrefs(next) {
      prefs = normalizePrefs(next);
      return apply();
    },
    setWindowAppearance(mode) {
      windowMode = normalizeMode(mode);
      return apply();
    },
    setAppearance(mode) {
      override = normalizeMode(mode);
      return apply();
    },
    setCustomCSS(css) {
      let style = document.getElementById('lumo-custom-css');
      if (!style) {
        style = document.createElement('style');
        style.id = 'lumo-custom-css';
        document.head.append(style); // last, so it wins over the page's own sheets
      }
      style.textContent = typeof css === 'string' ? css : '';
    },
  };
}
