// SPDX-License-Identifier: MIT
#include "zavinfo/map.h"
#include "zavinfo/page_parts.h"
#include "zavinfo/page_templates.h"
#include "zavinfo/text.h"

#include <algorithm>
#include <array>

namespace zavinfo {

namespace {

// In pixels.
constexpr int box_width = 158;
constexpr int box_height = 42;
constexpr int row_height = 52;
constexpr int column_width = 184;
constexpr int margin = 10;
constexpr int head_height = 26;
constexpr int text_left = 28;
constexpr int text_right = 4;

// As many as fit beside the shape; letters of East Asia are two wide.
constexpr int name_columns = 15;
constexpr int detail_columns = 20;

constexpr std::array<const char*, 6> headings = {"Bays",  "Arrays",       "Groups",
                                                 "Pools", "File systems", "Shares"};
/// A tick, a triangle, a cross, a ring, a diamond, in a square of 12.
constexpr std::array<const char*, 5> shapes = {
    "M1 7L3 5L5 7L10 1L12 3L5 11Z", "M6 0L12 11L0 11Z",
    "M2 0L6 4L10 0L12 2L8 6L12 10L10 12L6 8L2 12L0 10L4 6L0 2Z",
    "M6 0A6 6 0 1 0 6 12A6 6 0 1 0 6 0M6 3A3 3 0 1 1 6 9A3 3 0 1 1 6 3Z", "M6 0L12 6L6 12L0 6Z"};

/// The columns that have boxes, from left to right.
using Columns = std::vector<Column>;

Columns columns_of(const Map& map) {
    Columns columns;
    for (const Box& box : map.boxes) {
        if (std::ranges::find(columns, box.column) == columns.end()) {
            columns.push_back(box.column);
        }
    }
    std::ranges::sort(columns);
    return columns;
}

Html number(int value) {
    return escaped(std::to_string(value));
}

int left_of(const Columns& columns, const Box& box) {
    const auto at = std::ranges::find(columns, box.column) - columns.begin();
    return margin + static_cast<int>(at) * column_width;
}

int top_of(const Box& box) {
    return head_height + static_cast<int>(box.top * row_height);
}

/// The width of a character on the screen, in columns of a fixed font.
int columns_of_character(std::string_view character) {
    constexpr unsigned char first_wide = 0xe1; // from U+1100 on, roughly
    return static_cast<unsigned char>(character.front()) >= first_wide ? 2 : 1;
}

/// As much of a text as fits, with an ellipsis where something is left out.
std::string shortened(std::string_view text, int columns) {
    const std::string good = plain(text);
    std::string start;
    int used = 0;
    for (std::size_t at = 0; at < good.size();) {
        std::size_t end = at + 1;
        while (end < good.size() && (static_cast<unsigned char>(good[end]) & 0xc0) == 0x80) {
            ++end;
        }
        const std::string_view character = std::string_view(good).substr(at, end - at);
        used += columns_of_character(character);
        if (used > columns) {
            return start + "…";
        }
        start += character;
        at = end;
    }
    return good;
}

Html line_html(const Columns& columns, const Box& from, const Box& to) {
    const int start = left_of(columns, from) + box_width;
    const int end = left_of(columns, to);
    const int middle = (start + end) / 2;
    const int from_y = top_of(from) + box_height / 2;
    const int to_y = top_of(to) + box_height / 2;
    const auto point = [](int x, int y) { return std::to_string(x) + " " + std::to_string(y); };
    return fill(templates::picture_line,
                {{"mark", mark_class(from.mark)},
                 {"path", escaped("M" + point(start, from_y) + "C" + point(middle, from_y) + "," +
                                  point(middle, to_y) + "," + point(end, to_y))}});
}

Html box_html(const Columns& columns, const Box& box) {
    constexpr int shape_left = 10;
    const int left = left_of(columns, box);
    const int top = top_of(box);
    return fill(templates::picture_box,
                {{"mark", mark_class(box.mark)},
                 {"title", escaped(box.name + ": " + box.detail)},
                 {"x", number(left)},
                 {"y", number(top)},
                 {"width", number(box_width)},
                 {"height", number(box_height)},
                 {"shape", escaped(shapes[static_cast<std::size_t>(box.mark)])},
                 {"shape_x", number(left + shape_left)},
                 {"shape_y", number(top + shape_left - 2)},
                 {"text_x", number(left + text_left)},
                 {"text_width", number(box_width - text_left - text_right)},
                 {"name", escaped(shortened(box.name, name_columns))},
                 {"detail", escaped(shortened(box.detail, detail_columns))}});
}

/// What the picture shows, for whoever does not see it.
std::string summary_of(const Map& map, const Columns& columns) {
    std::vector<std::string> counts;
    for (const Column column : columns) {
        const auto count = std::ranges::count(map.boxes, column, &Box::column);
        counts.push_back(std::string(headings[static_cast<std::size_t>(column)]) + ": " +
                         std::to_string(count));
    }
    std::vector<std::string> bad;
    for (const Box& box : map.boxes) {
        if (box.mark == Mark::bad) {
            bad.push_back(plain(box.name) + " (" + box.detail + ")");
        }
    }
    return "Boxes in columns, with lines to what each lies on. " + joined(counts, ", ") + ". " +
           (bad.empty() ? "None of them is marked as bad." : "Bad: " + joined(bad, "; ") + ".") +
           " The table below the map has all of it as text.";
}

} // namespace

Html map_picture(const Map& map) {
    if (map.boxes.empty()) {
        return {};
    }
    const Columns columns = columns_of(map);
    Html heads;
    for (std::size_t at = 0; at < columns.size(); ++at) {
        heads += fill(templates::picture_head,
                      {{"x", number(margin + static_cast<int>(at) * column_width)},
                       {"text", escaped(headings[static_cast<std::size_t>(columns[at])])}});
    }
    Html lines;
    Html boxes;
    for (const Box& box : map.boxes) {
        for (const std::size_t below : box.below) {
            lines += line_html(columns, map.boxes[below], box);
        }
        boxes += box_html(columns, box);
    }
    const int width = 2 * margin + static_cast<int>(columns.size() - 1) * column_width + box_width;
    return fill(templates::picture,
                {{"width", number(width)},
                 {"height", number(head_height + static_cast<int>(map.rows * row_height))},
                 {"text", escaped(summary_of(map, columns))},
                 {"heads", heads},
                 {"lines", lines},
                 {"boxes", boxes}});
}

} // namespace zavinfo
