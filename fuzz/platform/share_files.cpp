// SPDX-License-Identifier: MIT
// The share register and the services' files: reading and writing them changes nothing.
#include "base/codes.h"
#include "base/file.h"
#include "base/text.h"
#include "fuzz.h"
#include "platform/services.h"
#include "records/share.h"
#include "sources/exports.h"
#include "sources/ietd_conf.h"
#include "sources/nas_users.h"
#include "sources/passwd.h"
#include "sources/share_lines.h"
#include "sources/share_register.h"
#include "sources/smb_conf.h"

#include <algorithm>
#include <functional>
#include <string>

namespace zav::fuzz {

namespace {

using Parse = std::function<FileCode(std::string_view text, share_list& list)>;

std::string joined(const share_list& list,
                   const std::function<Lines(const share_info&)>& lines_of) {
    std::string text;
    for (const share_info& share : list) {
        for (const std::string& line : lines_of(share)) {
            text += line;
        }
    }
    return text;
}

/// Whether every written line is short enough to be read as one line.
bool has_short_lines(std::string_view text) {
    return std::ranges::all_of(split(text, "\n"),
                               [](std::string_view line) { return line.size() < 255; });
}

/// A text written from parsed records, parsed and written again, stays the same.
void check_round_trip(std::string_view input, const Parse& parse,
                      const std::function<Lines(const share_info&)>& lines_of) {
    share_list list;
    const FileCode result = parse(input, list);
    require(result == FileCode::ok || result == FileCode::malformed,
            "a result is one of the codes");
    const std::string once = joined(list, lines_of);
    if (!has_short_lines(once)) {
        return;
    }
    share_list again;
    if (failed(parse(once, again))) {
        return; // a name or a comment that the file cannot hold: no command writes it
    }
    const std::string twice = joined(again, lines_of);
    share_list third;
    if (!failed(parse(twice, third))) {
        require(joined(third, lines_of) == twice, "writing again what was read changes nothing");
    }
}

} // namespace

void run(std::string_view input) {
    const LineContext context = {0, [](std::string_view) { return std::string("secret"); }};
    check_round_trip(
        input,
        [](std::string_view text, share_list& list) {
            return parse_register_sections(text, register_services(), list);
        },
        [](const share_info& share) { return register_lines(share, register_services()); });
    check_round_trip(input, parse_samba,
                     [](const share_info& share) { return samba_lines(share, "writable"); });
    check_round_trip(input, parse_exports, export_line);
    check_round_trip(input, parse_targets,
                     [&](const share_info& share) { return target_lines(share, context); });
    require(samba_global_size(input) <= input.size(), "the global part is in the file");
    const std::string kept = samba_kept(input);
    const auto line_ends = static_cast<std::size_t>(std::ranges::count(input, '[')) + 1;
    require(kept.size() <= input.size() + line_ends, "what is kept comes from the file");
    const std::string line(input.substr(0, input.find('\n')));
    require(std::ranges::count(with_home(line, "/h"), ':') == std::ranges::count(line, ':'),
            "a home is one field");
    secret_of_user(input, "anna");
}

} // namespace zav::fuzz
