// SPDX-License-Identifier: MIT
// /proc/mdstat: the names of the arrays, and their progress compared with a plain search.
#include "sources/mdstat.h"

#include "base/text.h"
#include "fuzz.h"

#include <string>
#include <vector>

namespace zav::fuzz {

namespace {

std::vector<std::string_view> pieces_of(std::string_view text) {
    std::vector<std::string_view> all;
    LinePieces pieces(text);
    std::string_view piece;
    while (pieces.next(piece)) {
        all.push_back(piece);
    }
    return all;
}

/// The line two below the array's own.
std::string_view progress_line(const std::vector<std::string_view>& lines, std::string_view name) {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::size_t colon = lines[i].find(':');
        if (colon != std::string_view::npos && trim_right(lines[i].substr(0, colon)) == name) {
            return i + 2 < lines.size() ? lines[i + 2] : "";
        }
    }
    return "";
}

std::string expected_progress(std::string_view line) {
    const std::string_view percent = field(line, " ", 3);
    if (percent.find('%') == percent.npos) {
        return "";
    }
    std::string progress(cut_at(percent, "%").substr(0, 31));
    const std::string_view speed = field(line, " ", 6);
    if (const std::size_t equals = speed.find('='); equals != speed.npos) {
        progress += "%(" + std::to_string(decimal(speed.substr(equals + 1)) / 1024) + ".00MB/s)";
    }
    return progress;
}

} // namespace

void run(std::string_view input) {
    const auto lines = pieces_of(input);
    const RebuildProgress progress(input);
    std::size_t looked_up = 0;
    for (const std::string& name : parse_mdstat_names(input)) {
        require(name.starts_with("md") && is_plain_name(name), "an array has a plain name");
        if (++looked_up > 32) {
            continue; // the plain search reads the whole text for each name
        }
        const std::string found = progress.of(name);
        // Beyond 2^53 the figure is printed rounded.
        require(found.size() > 24 || found == expected_progress(progress_line(lines, name)),
                "the progress is that of the line two below the array's");
    }
    require(progress.of("").empty(), "no array has no progress");
}

} // namespace zav::fuzz
