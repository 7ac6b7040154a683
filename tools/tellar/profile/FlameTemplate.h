#ifndef TELLAR_TOOL_FLAMETEMPLATE_H
#define TELLAR_TOOL_FLAMETEMPLATE_H

namespace TellarTool {

// The page of a flame graph, in front of its title, of its data and behind them. The data is JSON:
// "scene" and "summary" are texts, "ops" are [name, type, place], and "calls" are [parent, op,
// cooks, own ms, total ms, waits, wait ms, errors, bytes made], in which the outermost calls have
// the parent -1.

constexpr const char* kFlameHead = R"page(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>)page";

constexpr const char* kFlameStyle = R"page(</title>
<style>
  body { margin: 0; font: 13px/1.5 system-ui, sans-serif; color: #222; background: #fff; }
  header { padding: 12px 16px; border-bottom: 1px solid #ddd; background: #f7f7f7; }
  h1 { margin: 0; font-size: 17px; }
  p { margin: 2px 0 8px; color: #555; }
  input { width: 22em; padding: 4px 8px; font: inherit; border: 1px solid #bbb; border-radius: 4px; }
  button { padding: 4px 10px; font: inherit; border: 1px solid #bbb; border-radius: 4px;
           background: #fff; cursor: pointer; }
  #found { margin-left: 8px; color: #555; }
  #bars { position: relative; margin: 12px 16px 88px; }
  .bar { position: absolute; box-sizing: border-box; height: 20px; padding: 0 4px; overflow: hidden;
         font-size: 12px; line-height: 19px; white-space: nowrap; text-overflow: ellipsis;
         border: solid #fff; border-width: 0 1px 1px 0; border-radius: 2px; cursor: pointer; }
  .bar:hover { filter: brightness(0.9); }
  .narrow { padding: 0; }
  .above { opacity: 0.55; }
  .wait { background: repeating-linear-gradient(45deg, #ccc 0 4px, #e4e4e4 4px 8px); }
  .match { background: #c77dff !important; }
  #details { position: fixed; bottom: 0; left: 0; right: 0; min-height: 42px; padding: 8px 16px;
             border-top: 1px solid #ddd; background: #f7f7f7; white-space: pre-line; }
</style>
</head>
<body>
<header>
  <h1></h1>
  <p id="summary"></p>
  <input id="search" type="search" placeholder="Search ops, op types and places">
  <button id="all">Show everything</button>
  <span id="found"></span>
</header>
<noscript>This page draws its bars with a script, which has to be allowed to run.</noscript>
<div id="bars"></div>
<div id="details"></div>
<script type="application/json" id="profile">)page";

constexpr const char* kFlameScript = R"page(</script>
<script>
'use strict';
const kRow = 20;          // height of a bar in pixels
const kLeast = 0.0004;    // part of the width below which a bar is not drawn
const kNarrow = 0.02;     // part of the width below which a bar has no text
const kHelp = 'A bar is as wide as its cooks took together, with those that they needed below. ' +
              'Click on a bar to enlarge it.';
const profile = JSON.parse(document.getElementById('profile').textContent);
const byId = (id) => document.getElementById(id);

// A bar for each call, below that of the call that needed it.
function makeTree() {
  const root = {title: 'all cooks', text: 'all cooks', children: [], value: 0};
  const bars = profile.calls.map(([parent, op, cooks, own, total, waits, wait, errors, bytes]) => {
    const [name, type, place] = profile.ops[op];
    return {title: `${name} (${type})`, type, place, cooks, own, total, waits, wait, errors, bytes,
            text: `${name} ${type} ${place}`.toLowerCase(), children: [], value: total + wait};
  });
  bars.forEach((bar, i) => {
    bar.parent = profile.calls[i][0] < 0 ? root : bars[profile.calls[i][0]];
    bar.parent.children.push(bar);
    if (bar.wait > 0)
      bar.children.push({title: `wait for ${bar.title}`, text: 'wait', isWait: true, children: [],
                         parent: bar, value: bar.wait, waits: bar.waits});
  });
  root.value = root.children.reduce((sum, bar) => sum + bar.value, 0);
  for (const bar of [root, ...bars]) bar.children.sort((a, b) => b.value - a.value);
  return root;
}

const root = makeTree();
let shown = root; // the bar that is as wide as the page
let wanted = '';  // the text that is searched

function colour(type) {
  let hash = 7;
  for (const letter of type) hash = (hash * 31 + letter.codePointAt(0)) % 3600;
  return `hsl(${hash / 10} 70% 76%)`;
}

function time(ms) {
  return ms >= 1000 ? `${(ms / 1000).toFixed(3)} s` : `${ms.toFixed(3)} ms`;
}

function share(value) {
  return root.value > 0 ? `${(100 * value / root.value).toFixed(1)} %` : '';
}

function describe(bar) {
  const first = `${bar.title}   ${time(bar.value)}   ${share(bar.value)}`;
  if (bar === root) return first;
  if (bar.isWait) return `${first}\n${bar.waits} waits for another thread`;
  const errors = bar.errors > 0 ? `, ${bar.errors} errors` : '';
  return `${first}${bar.place ? '   ' + bar.place : ''}\n` +
         `${bar.cooks} cooks, own time ${time(bar.own)}, ${bar.bytes} bytes made${errors}`;
}

function isMatch(bar) {
  return wanted !== '' && bar.text.includes(wanted);
}

function drawBar(bar, left, width, row) {
  const element = document.createElement('div');
  element.className = 'bar' + (bar.isWait ? ' wait' : '') + (isMatch(bar) ? ' match' : '') +
                      (width < kNarrow ? ' narrow' : '') + (row < depthOf(shown) ? ' above' : '');
  element.style.left = `${100 * left}%`;
  element.style.width = `${100 * width}%`;
  element.style.top = `${row * kRow}px`;
  if (!bar.isWait) element.style.background = bar === root ? '#e8e8e8' : colour(bar.type);
  if (width >= kNarrow) element.textContent = bar.title;
  element.title = describe(bar);
  element.onmouseenter = () => { byId('details').textContent = describe(bar); };
  element.onclick = () => { shown = bar; draw(); };
  byId('bars').append(element);
}

function depthOf(bar) {
  return bar.parent ? depthOf(bar.parent) + 1 : 0;
}

function draw() {
  byId('bars').replaceChildren();
  let rows = depthOf(shown);
  for (let above = shown.parent, row = rows - 1; above; above = above.parent, --row)
    drawBar(above, 0, 1, row);
  const left = [[shown, 0, 1, rows]];
  while (left.length > 0) {
    const [bar, start, width, row] = left.pop();
    drawBar(bar, start, width, row);
    rows = Math.max(rows, row);
    const sum = bar.children.reduce((total, child) => total + child.value, 0);
    const scale = width / Math.max(bar.value, sum, Number.MIN_VALUE);
    let place = start;
    for (const child of bar.children) {
      const part = child.value * scale;
      if (part >= kLeast) left.push([child, place, part, row + 1]);
      place += part;
    }
  }
  byId('bars').style.height = `${(rows + 1) * kRow}px`;
  byId('details').textContent = shown === root ? kHelp : describe(shown);
}

// Adds up the outermost matches, because a match within another one is part of its time.
function search() {
  wanted = byId('search').value.trim().toLowerCase();
  let sum = 0;
  const left = [root];
  while (left.length > 0) {
    const bar = left.pop();
    if (isMatch(bar)) sum += bar.value;
    else left.push(...bar.children);
  }
  byId('found').textContent = wanted === '' ? '' : `${time(sum)}, ${share(sum)} of all cooks`;
  draw();
}

document.querySelector('h1').textContent = profile.scene;
byId('summary').textContent = profile.summary;
byId('search').oninput = search;
byId('all').onclick = () => { shown = root; draw(); };
window.onkeydown = (event) => { if (event.key === 'Escape') byId('all').click(); };
byId('search').value = decodeURIComponent(location.hash.slice(1));
search();
</script>
</body>
</html>
)page";

} // namespace TellarTool

#endif
