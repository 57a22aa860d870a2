// SPDX-License-Identifier: MIT
/// \file
/// How the page looks: light and dark, wide and narrow, on paper.
#pragma once

namespace zavinfo::templates {

inline constexpr char style[] = R"(
:root {
  --back: #ffffff; --panel: #f5f7f9; --text: #1b2026; --faint: #4d5661; --line: #c3cad2;
  --link: #0a4fb0; --good: #116329; --doubtful: #7a4b00; --bad: #a40e26; --idle: #4d5661; --unknown: #5b32a8;
  --good-fill: #3d9a57; --doubtful-fill: #c68a1e; --bad-fill: #cf3346; --track: #dfe4e9;
  color-scheme: light dark;
}
@media (prefers-color-scheme: dark) {
  :root {
    --back: #10151b; --panel: #19212a; --text: #e8edf2; --faint: #a9b4c0; --line: #445160;
    --link: #8ab8ff; --good: #6ddb8b; --doubtful: #f0bd5c; --bad: #ff9a94; --idle: #a9b4c0; --unknown: #d0b3ff;
    --good-fill: #3fa65c; --doubtful-fill: #d39a30; --bad-fill: #e5534b; --track: #36424e;
  }
}
* { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; }
body {
  margin: 0 auto; max-width: 72rem; padding: 1rem; background: var(--back); color: var(--text);
  font: 1rem/1.5 system-ui, "DejaVu Sans", sans-serif; overflow-wrap: anywhere;
}
h1 { font-size: 1.6rem; line-height: 1.2; margin: 0 0 .25rem; }
h2 { font-size: 1.25rem; margin: 2rem 0 .5rem; }
p { margin: .25rem 0; }
a { color: var(--link); }
code { font-family: ui-monospace, "DejaVu Sans Mono", monospace; font-size: .9em; white-space: nowrap; }
.skip { position: absolute; left: -99rem; }
.skip:focus { position: static; }
:focus-visible { outline: 3px solid var(--link); outline-offset: 2px; }
main:focus { outline: none; }
.faint { color: var(--faint); font-size: .9rem; }
.good { color: var(--good); } .doubtful { color: var(--doubtful); }
.bad { color: var(--bad); } .idle { color: var(--idle); } .unknown { color: var(--unknown); }
.verdict { font-size: 1.15rem; font-weight: bold; }
nav ul { list-style: none; margin: 1rem 0 0; padding: 0; display: flex; flex-wrap: wrap; gap: .25rem 1rem; }
nav a { display: inline-block; padding: .35rem 0; }
.cards { list-style: none; margin: 0; padding: 0; }
.card {
  color: var(--text); background: var(--panel); border: 1px solid var(--line);
  border-left: 5px solid var(--line); border-radius: 6px; margin: .5rem 0; padding: .5rem .75rem;
}
.card.good { border-left-color: var(--good-fill); }
.card.doubtful { border-left-color: var(--doubtful-fill); border-left-style: dashed; }
.card.unknown { border-left-color: var(--unknown); border-left-style: dotted; }
.card.bad { border-left-color: var(--bad-fill); border-left-style: double; border-left-width: 7px; }
.badge { font-weight: 600; white-space: nowrap; }
summary { cursor: pointer; padding: .35rem 0; }
details ul { margin: .25rem 0; padding-left: 1.25rem; }
dl { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(15rem, 100%), 1fr)); gap: .5rem 1rem; margin: 0; }
dt { color: var(--faint); font-size: .9rem; }
dd { margin: 0; }
table { border-collapse: collapse; width: 100%; margin: .5rem 0; }
caption { text-align: left; color: var(--faint); font-size: .9rem; padding: .25rem 0; }
th, td { text-align: left; vertical-align: top; padding: .4rem .75rem .4rem 0; border-bottom: 1px solid var(--line); }
th, td { min-width: 4.5rem; }
thead th { overflow-wrap: normal; color: var(--faint); font-size: .9rem; }
tbody th { font-weight: 600; }
.label { display: none; }
.bar { display: inline-block; vertical-align: middle; width: 8rem; max-width: 100%; height: .7rem; margin-right: .5rem; background: var(--track); border-radius: 3px; overflow: hidden; }
.bar > span { display: block; height: 100%; background: var(--good-fill); }
.bar.doubtful > span { background: var(--doubtful-fill); }
.bar.bad > span { background: var(--bad-fill); }
.scroll { overflow-x: auto; border: 1px solid var(--line); border-radius: 6px; background: var(--panel); }
svg { display: block; font-family: system-ui, "DejaVu Sans", sans-serif; }
svg text { fill: var(--text); font-size: 12px; unicode-bidi: isolate; }
svg .head { fill: var(--faint); font-size: 12px; font-weight: 600; }
svg .name { font-weight: 600; }
svg .detail { font-size: 11px; fill: var(--faint); }
svg rect { fill: var(--back); stroke: var(--line); stroke-width: 1.5; }
svg .line { fill: none; stroke: var(--line); stroke-width: 2; }
svg .line.bad { stroke: var(--bad); stroke-dasharray: 3 3; }
svg .shape { fill: var(--idle); }
svg .good .shape { fill: var(--good); }
svg .doubtful rect { stroke: var(--doubtful); stroke-dasharray: 6 3; }
svg .doubtful .shape, svg .doubtful .detail { fill: var(--doubtful); }
svg .unknown rect { stroke: var(--unknown); stroke-dasharray: 2 3; }
svg .unknown .shape, svg .unknown .detail { fill: var(--unknown); }
svg .bad rect { stroke: var(--bad); stroke-width: 3; }
svg .bad .shape, svg .bad .detail { fill: var(--bad); }
footer { margin-top: 2rem; border-top: 1px solid var(--line); color: var(--faint); font-size: .9rem; }
@media (max-width: 48rem) {
  table, tbody, tr, th, td { display: block; }
  thead { position: absolute; left: -999rem; }
  caption { display: block; }
  tbody tr { border: 1px solid var(--line); border-radius: 6px; background: var(--panel); margin: .5rem 0; padding: .35rem .75rem; }
  tbody th, tbody td { min-width: 0; display: grid; grid-template-columns: 7rem minmax(0, 1fr); gap: .5rem; border: 0; padding: .15rem 0; }
  .bar { display: block; width: 100%; margin: .45rem 0 .2rem; }
  .label { display: block; color: var(--faint); font-weight: normal; font-size: .9rem; }
}
@media print {
  nav, .skip { display: none; }
  .scroll { overflow: visible; border: 0; }
}
)";

} // namespace zavinfo::templates
