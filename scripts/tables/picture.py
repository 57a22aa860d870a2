# SPDX-License-Identifier: MIT
"""A recording of a terminal as a moving picture: SVG that needs no script."""
import html
import json

LINE, COLUMN = 17, 8.1  # pixels
MARGIN = 12
LONGEST_PAUSE = 0.7  # seconds; the recorded ones may be minutes
SHORTEST_STEP = 0.12
HOLD = 6.0  # seconds that the end is shown


def read(path):
    """The head of an asciicast 2, and its lines with their times."""
    head, *events = [json.loads(row) for row in path.read_text().splitlines()]
    return head, [(time, text.replace("\r\n", "").expandtabs(8)) for time, _, text in events]


def colour(line):
    if line.startswith("== "):
        return "title"
    if line.startswith("$ "):
        return "typed"
    return "ok" if line.strip().startswith("ok:") else "plain"


def svg(path):
    head, lines = read(path)
    shown, width, height = head["height"], head["width"] * COLUMN, head["height"] * LINE
    now, last, steps = 0.0, 0.0, []
    for number, (time, _) in enumerate(lines):
        now += min(max(time - last, SHORTEST_STEP), LONGEST_PAUSE)
        last = time
        steps.append((now, -max(0, number + 1 - shown) * LINE, (number + 1) * LINE))
    whole = now + HOLD
    frames = "\n".join(f"{100 * at / whole:.3f}% {{ transform: translateY({up}px) }}" for at, up, _ in steps)
    reveal = "\n".join(f"{100 * at / whole:.3f}% {{ transform: translateY({low}px) }}" for at, _, low in steps)
    rows = "\n".join(
        f'<text class="{colour(text)}" y="{(number + 1) * LINE - 4}">{html.escape(text[: head["width"]])}</text>'
        for number, (_, text) in enumerate(lines)
    )
    end = steps[-1]
    return f"""<svg xmlns="http://www.w3.org/2000/svg" role="img" aria-labelledby="t"
 viewBox="0 0 {width + 2 * MARGIN:.0f} {height + 2 * MARGIN}" width="{width + 2 * MARGIN:.0f}">
<title id="t">{html.escape(head["title"])}</title>
<style>
text {{ font: 13px monospace; fill: #d8dee9; white-space: pre }}
.title {{ fill: #88c0d0; font-weight: bold }} .typed {{ fill: #ebcb8b }} .ok {{ fill: #a3be8c }}
#lines, #below {{ animation: {whole:.1f}s step-end infinite }}
#lines {{ animation-name: up; transform: translateY({end[1]}px) }}
#below {{ animation-name: low; transform: translateY({end[2]}px) }}
@keyframes up {{ 0% {{ transform: translateY(0) }}
{frames} }}
@keyframes low {{ 0% {{ transform: translateY(0) }}
{reveal} }}
@media (prefers-reduced-motion: reduce) {{ #lines, #below {{ animation: none }} }}
</style>
<rect width="100%" height="100%" rx="8" fill="#242933"/>
<svg x="{MARGIN}" y="{MARGIN}" width="{width:.0f}" height="{height}">
<g id="lines" xml:space="preserve">
{rows}
<rect id="below" width="100%" height="{len(lines) * LINE}" fill="#242933"/>
</g>
</svg>
</svg>
"""


def transcript(path):
    """The same as text, for those who read."""
    _, lines = read(path)
    return "\n".join(text for _, text in lines)
