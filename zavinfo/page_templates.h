// SPDX-License-Identifier: MIT
/// \file
/// All HTML and SVG of the page. "{name}" stands for a value; see zavinfo/html.h.
#pragma once

namespace zavinfo::templates {

// Nothing may be loaded and no script may run, whatever stands in the page.
inline constexpr const char* page = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'; img-src data:; base-uri 'none'; form-action 'none'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<meta name="referrer" content="no-referrer">
<meta name="robots" content="noindex">
<link rel="icon" href="data:,">
<title>{title}: {verdict}</title>
<style>{style}</style>
</head>
<body>
<a class="skip" href="#content">Skip to the content</a>
<header>
<h1>{heading}</h1>
<p>{about}</p>
<p class="verdict {mark}">{sign}{verdict}</p>
<p class="faint">As of <time datetime="{machine_time}">{time}</time>. The page does not refresh itself.</p>
</header>
<nav aria-label="Sections">
<ul>{links}</ul>
</nav>
<main id="content" tabindex="-1">
{sections}</main>
<footer>
<p>Made by zavinfo {version}, which only reads.</p>
</footer>
</body>
</html>
)";

inline constexpr const char* link = R"(<li><a href="#{id}">{title}</a></li>)";

inline constexpr const char* section = R"(<section id="{id}" aria-labelledby="{id}-title">
<h2 id="{id}-title">{title}</h2>
{body}</section>
)";

inline constexpr const char* paragraph = "<p>{text}</p>\n";
inline constexpr const char* faint_paragraph = "<p class=\"faint\">{text}</p>\n";

/// Something to type, which is not broken into lines.
inline constexpr const char* command = "<code>{text}</code>";

/// The name of something, whose letters may run from right to left.
inline constexpr const char* name = "<bdi>{text}</bdi>";

/// A state: shape, word and colour.
inline constexpr const char* badge = R"(<span class="badge {mark}">{sign}{text}</span>)";
inline constexpr const char* sign = R"(<span aria-hidden="true">{shape}</span> )";

inline constexpr const char* findings = "<ul class=\"cards\">\n{items}</ul>\n";
inline constexpr const char* finding = R"(<li class="card {mark}">
<p>{badge} <strong>{text}</strong></p>
{advice}</li>
)";
inline constexpr const char* advice = "<p>What to do: {text}</p>\n";

inline constexpr const char* logged_error = R"(<li class="card">
<p><span class="faint">{time}{count}</span><br>{text}</p>
{advice}</li>
)";

inline constexpr const char* facts = "<dl>\n{rows}</dl>\n";
inline constexpr const char* fact = "<div><dt>{name}</dt><dd>{value}</dd></div>\n";

/// Its number stands beside it as text.
inline constexpr const char* bar =
    R"(<span class="bar {mark}" aria-hidden="true"><span style="width:{percent}%"></span></span>)";

/// On a narrow screen each row is a card of its own; the roles say what it is all the same.
inline constexpr const char* table = R"(<table role="table">
<caption>{caption}</caption>
<thead role="rowgroup"><tr role="row">{heads}</tr></thead>
<tbody role="rowgroup">
{rows}</tbody>
</table>
)";
inline constexpr const char* head_cell = R"(<th scope="col" role="columnheader">{text}</th>)";
inline constexpr const char* row = "<tr role=\"row\">{cells}</tr>\n";
inline constexpr const char* row_head =
    R"(<th scope="row" role="rowheader"><span class="label" aria-hidden="true">{label}</span><span>{text}</span></th>)";
inline constexpr const char* cell =
    R"(<td role="cell"><span class="label" aria-hidden="true">{label}</span><span>{text}</span></td>)";

inline constexpr const char* disk = R"(<details class="card {mark}">
<summary><strong>{bay}</strong> {name} {badge}<br>{loss}</summary>
<p>{about}</p>
{reasons}{lost}</details>
)";
inline constexpr const char* lost_list = "<p>With it would go:</p>\n<ul>\n{items}</ul>\n";
inline constexpr const char* lost = "<li>{what}: {names}</li>\n";

inline constexpr const char* map =
    R"(<div class="scroll" role="region" aria-label="Storage map, can be scrolled" tabindex="0">
{picture}</div>
<p class="faint">{key}</p>
<details>
<summary>The map as a table</summary>
{table}</details>
)";

inline constexpr const char* picture =
    R"(<svg role="img" aria-labelledby="map-name map-text" width="{width}" height="{height}" viewBox="0 0 {width} {height}" xmlns="http://www.w3.org/2000/svg">
<title id="map-name">Storage map</title>
<desc id="map-text">{text}</desc>
{heads}{lines}{boxes}</svg>
)";
inline constexpr const char* picture_head = R"(<text class="head" x="{x}" y="16">{text}</text>
)";
inline constexpr const char* picture_line = R"(<path class="line {mark}" d="{path}"/>
)";
/// The picture within cuts off what the box has no room for.
inline constexpr const char* picture_box = R"svg(<g class="box {mark}">
<title>{title}</title>
<rect x="{x}" y="{y}" width="{width}" height="{height}" rx="6"/>
<path class="shape" d="{shape}" transform="translate({shape_x} {shape_y})"/>
<svg x="{text_x}" y="{y}" width="{text_width}" height="{height}">
<text y="18" class="name">{name}</text>
<text y="34" class="detail">{detail}</text>
</svg>
</g>
)svg";

} // namespace zavinfo::templates
