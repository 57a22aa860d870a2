// SPDX-License-Identifier: MIT
#include "shares/share_sources.h"

#include "frame/error_codes.h"
#include "frame/text.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace zav {

namespace {

constexpr std::size_t line_size = 256;
constexpr std::size_t shortest_section_line = 3;
constexpr std::size_t shortest_export_line = 11;
constexpr std::size_t shortest_target_line = 8;

/// The lines of at least `shortest` characters, without blanks at either end.
class ShareLines {
  public:
    ShareLines(std::string_view text, std::size_t shortest)
        : lines_(text, line_size), shortest_(shortest) {}

    bool next(std::string_view& line) {
        while (lines_.next(buffer_)) {
            line = skip_blanks(buffer_);
            if (line.size() >= shortest_) {
                return true;
            }
        }
        return false;
    }

  private:
    ByteLines lines_;
    std::size_t shortest_;
    std::string buffer_;
};

struct KeyValue {
    std::string_view key;
    std::string_view value;
};

/// False for a line that is no key with a value.
bool split_key(std::string_view line, KeyValue& pair) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return false;
    }
    pair.key = trim_right(line.substr(0, equals));
    pair.value = skip_blanks(line.substr(equals + 1));
    return true;
}

bool is_malformed_header(std::string_view line) {
    return line.starts_with('[') && !line.ends_with(']');
}

bool has_second(std::string_view line, char c) {
    return line.find(c) != line.rfind(c);
}

/// Of several the first counts.
template <std::size_t Size>
void fill(BoundedText<Size>& field, std::string_view value) {
    if (field.empty()) {
        field = value;
    }
}

/// What a signed number of 32 bits holds of it: larger sizes do not survive the register.
std::int64_t size_of(std::string_view value) {
    return static_cast<std::int32_t>(std::strtoll(std::string(value).c_str(), nullptr, 10));
}

void take_register_key(const KeyValue& pair, share_info& share) {
    constexpr std::array<std::string_view, 4> services = {share_type::samba, share_type::nfs,
                                                          share_type::ftp, share_type::iscsi};
    if (pair.key == "sharename") {
        fill(share.name, pair.value.substr(0, share_name_length));
    } else if (pair.key == "comment") {
        fill(share.comment, pair.value);
    } else if (pair.key == "path") {
        fill(share.path, pair.value);
    } else if (pair.key == "size") {
        share.size = size_of(pair.value);
    } else if (std::ranges::find(services, pair.key) != services.end() && pair.value == "1") {
        fill(share.type, pair.key);
    }
}

void take_samba_key(const KeyValue& pair, share_info& share) {
    if (pair.key == "comment") {
        fill(share.comment, pair.value);
    } else if (pair.key == "path") {
        fill(share.path, pair.value);
    } else if (pair.key == "writable" || pair.key == "writeable") {
        share.write = pair.value == "yes" ? 1 : 0; // the last one counts
    } else if (pair.key == "valid users") {
        fill(share.users, pair.value);
    }
}

std::string_view text_behind(std::string_view text, std::string_view separator) {
    const std::size_t at = text.find(separator);
    return at == std::string_view::npos ? "" : text.substr(at + separator.size());
}

/// Word `index` of a line of the target file.
std::string_view word(std::string_view line, std::size_t index) {
    return field(line, " ", index);
}

} // namespace

int parse_register_sections(std::string_view text, share_list& list) {
    ShareLines lines(text, shortest_section_line);
    std::string_view line;
    share_info* share = nullptr;
    while (lines.next(line)) {
        KeyValue pair;
        if (is_malformed_header(line) || has_second(line, '=')) {
            return file_error::malformed;
        }
        if (line.starts_with('[')) {
            share = &list.append();
        } else if (!split_key(line, pair)) {
            return file_error::malformed;
        } else if (share != nullptr) {
            take_register_key(pair, *share);
        }
    }
    return 0;
}

int parse_samba(std::string_view text, share_list& list) {
    ShareLines lines(text, shortest_section_line);
    std::string_view line;
    share_info* share = nullptr; // none in the global section
    while (lines.next(line)) {
        KeyValue pair;
        if (line.starts_with('#')) {
            continue;
        }
        if (is_malformed_header(line)) {
            return file_error::malformed;
        }
        if (line.starts_with('[')) {
            const std::string_view section = line.substr(1, line.size() - 2);
            share = section == "global" ? nullptr : &list.append();
            if (share != nullptr) {
                share->name = section.substr(0, share_name_length);
                share->type = share_type::samba;
            }
        } else if (share != nullptr) {
            if (has_second(line, '=') || !split_key(line, pair)) {
                return file_error::malformed;
            }
            take_samba_key(pair, *share);
        }
    }
    return 0;
}

int parse_exports(std::string_view text, share_list& list) {
    ShareLines lines(text, shortest_export_line);
    std::string_view line;
    while (lines.next(line)) {
        if (line.starts_with('#')) {
            continue;
        }
        if (has_second(line, '(')) {
            return file_error::malformed;
        }
        if (!line.starts_with('/') || !line.ends_with(')')) {
            continue;
        }
        share_info& share = list.append();
        const std::string_view path = cut_at(line, blanks);
        const std::string_view hosts = cut_at(line.substr(path.size()), "(");
        share.type = share_type::nfs;
        share.path = path;
        share.name = last_component(path).substr(0, share_name_length);
        share.users = trim_right(skip_blanks(hosts));
    }
    return 0;
}

int parse_targets(std::string_view text, share_list& list) {
    ShareLines lines(text, shortest_target_line);
    std::string_view line;
    share_info* share = nullptr;
    while (lines.next(line)) {
        if (line.starts_with("Target")) {
            share = &list.append();
            share->type = share_type::iscsi;
            share->name = text_behind(word(line, 1), ":");
        } else if (share == nullptr) {
            continue;
        } else if (line.starts_with("IncomingUser")) {
            share->users.append(share->users.empty() ? "" : ",").append(word(line, 1));
        } else if (line.starts_with("Lun")) {
            share->path = cut_at(text_behind(word(line, 2), "="), ",");
        }
    }
    return 0;
}

std::size_t samba_global_size(std::string_view text) {
    const std::size_t first = text.find('[');
    const std::size_t second = first == std::string_view::npos ? first : text.find('[', first + 1);
    return std::min(second, text.size());
}

std::string secret_of_user(std::string_view user_file, std::string_view user) {
    LinePieces pieces(user_file);
    std::string_view piece;
    while (pieces.next(piece)) {
        const std::string_view line = trim_right(skip_blanks(piece));
        const std::string_view name = cut_at(line, "|");
        if (line.empty() || name != user) {
            continue;
        }
        const std::string_view rest = line.substr(std::min(name.size() + 1, line.size()));
        const std::size_t last = rest.rfind('|');
        return last == std::string_view::npos ? "" : std::string(rest.substr(last + 1));
    }
    return "";
}

bool has_user(std::string_view file, std::string_view separator, std::string_view user) {
    return std::ranges::any_of(content_lines(file), [&](const std::string& line) {
        return cut_at(line, separator) == user;
    });
}

} // namespace zav
