// SPDX-License-Identifier: MIT
#include "zavinfo/page_parts.h"

#include "zavinfo/page_templates.h"

#include <array>

namespace zavinfo {

namespace {

constexpr std::array<const char*, 5> classes = {"good", "doubtful", "bad", "idle", "unknown"};
constexpr std::array<const char*, 5> shapes = {"✓", "▲", "✕", "○", "◆"};
constexpr std::size_t most_names = 30;

} // namespace

Html mark_class(Mark mark) {
    return escaped(classes[static_cast<std::size_t>(mark)]);
}

Html sign_of(Mark mark) {
    return fill(templates::sign, {{"shape", escaped(shapes[static_cast<std::size_t>(mark)])}});
}

Html badge(const State& state) {
    return fill(templates::badge, {{"mark", mark_class(state.mark)},
                                   {"sign", sign_of(state.mark)},
                                   {"text", escaped(state.text)}});
}

Html words_html(std::string_view text) {
    Html html;
    for (bool is_command = false;; is_command = !is_command) {
        const std::size_t end = text.find('`');
        const Html part = escaped(text.substr(0, end));
        html += is_command ? fill(templates::command, {{"text", part}}) : part;
        if (end == std::string_view::npos) {
            return html;
        }
        text.remove_prefix(end + 1);
    }
}

Html name_html(std::string_view text) {
    return fill(templates::name, {{"text", escaped(text)}});
}

Html names_html(const std::vector<std::string>& names) {
    Html list;
    for (std::size_t at = 0; at < names.size(); ++at) {
        if (at == most_names && names.size() > most_names + 1) {
            list += escaped(" and " + std::to_string(names.size() - at) + " more");
            break;
        }
        list += escaped(at == 0 ? "" : ", ");
        list += name_html(names[at]);
    }
    return list;
}

Html table_html(std::string_view caption, const std::vector<std::string>& heads,
                const std::vector<Row>& rows) {
    Html head_cells;
    for (const std::string& head : heads) {
        head_cells += fill(templates::head_cell, {{"text", escaped(head)}});
    }
    Html lines;
    for (const Row& row : rows) {
        Html cells;
        for (std::size_t at = 0; at < row.size(); ++at) {
            cells += fill(at == 0 ? templates::row_head : templates::cell,
                          {{"label", escaped(heads[at])},
                           {"text", row[at].empty() ? escaped("–") : row[at]}});
        }
        lines += fill(templates::row, {{"cells", cells}});
    }
    return fill(templates::table,
                {{"caption", escaped(caption)}, {"heads", head_cells}, {"rows", lines}});
}

} // namespace zavinfo
