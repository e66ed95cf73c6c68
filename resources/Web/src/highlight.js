// highlight.js with the common languages plus a few that Markdown documents
// about systems and science often carry.
import hljs from 'highlight.js/lib/common';
import cmake from 'highlight.js/lib/languages/cmake';
import dockerfile from 'highlight.js/lib/languages/dockerfile';
import dos from 'highlight.js/lib/languages/dos';
import elixir from 'highlight.js/lib/languages/elixir';
import erlang from 'highlight.js/lib/languages/erlang';
import fsharp from 'highlight.js/lib/languages/fsharp';
import haskell from 'highlight.js/lib/languages/haskell';
import julia from 'highlight.js/lib/languages/julia';
import latex from 'highlight.js/lib/languages/latex';
import matlab from 'highlight.js/lib/languages/matlab';
import nginx from 'highlight.js/lib/languages/nginx';
import nix from 'highlight.js/lib/languages/nix';
import ocaml from 'highlight.js/lib/languages/ocaml';
import powershell from 'highlight.js/lib/languages/powershell';
import protobuf from 'highlight.js/lib/languages/protobuf';
import scala from 'highlight.js/lib/languages/scala';
import dart from 'highlight.js/lib/languages/dart';
import clojure from 'highlight.js/lib/languages/clojure';
import vim from 'highlight.js/lib/languages/vim';
import x86asm from 'highlight.js/lib/languages/x86asm';

const extra = { cmake, dockerfile, dos, elixir, erlang, fsharp, haskell, julia, latex, matlab, nginx, nix, ocaml, powershell, protobuf, scala, dart, clojure, vim, x86asm };
for (const [name, lang] of Object.entries(extra)) hljs.registerLanguage(name, lang);
hljs.configure({ ignoreUnescapedHTML: true, throwUnescapedHTML: false });

// Colouring is linear but not cheap; a giant block is left plain.
const MAX_LENGTH = 200_000;

/** Colours one <code> element in place; returns whether it did. */
export function highlightCode(code) {
  const m = /(?:^|\s)language-(\S+)/.exec(code.className);
  if (!m) return false;
  const lang = m[1].toLowerCase();
  if (!hljs.getLanguage(lang) || code.textContent.length > MAX_LENGTH) return false;
  const result = hljs.highlight(code.textContent, { language: lang, ignoreIllegals: true });
  code.innerHTML = result.value;
  code.classList.add('hljs');
  return true;
}
