// SPDX-License-Identifier: MIT
#include "base/key_value.h"

#include "base/change_journal.h"
#include "base/file.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zav {

namespace {

constexpr std::size_t line_size = 512;
constexpr std::size_t remove_room = 128;

/// Where a lookup found what it looked for; lines are counted from 1.
struct Found {
    FileCode code = FileCode::ok;
    std::size_t header_line = 0;
    std::size_t key_line = 0;
    std::size_t key_lines = 0; ///< the key's own line and its continuations
    std::string value;
};

class Lines : public ByteLines {
  public:
    explicit Lines(std::string_view file) : ByteLines(file, line_size) {}
};

bool is_passed_over(std::string_view content) {
    return content.empty() || content.front() == ';';
}

/// Reads on to the next section's header.
FileCode next_section(Lines& lines, std::string& section) {
    std::string line;
    while (lines.next(line)) {
        std::string_view content = skip_blanks(line);
        if (is_passed_over(content) || content.front() != '[') {
            continue;
        }
        // A header of two characters is taken without its bracket: "[x" is section "x".
        if (content.size() > 2) {
            if (content.back() != ']') {
                return FileCode::malformed;
            }
            content.remove_suffix(1);
        }
        section = content.substr(1);
        return FileCode::ok;
    }
    return FileCode::no_section;
}

/// Reads on to the header of that section.
FileCode find_section(Lines& lines, std::string_view section) {
    std::string found;
    FileCode code = next_section(lines, found);
    while (!failed(code) && found != section) {
        code = next_section(lines, found);
    }
    return code;
}

/// Joins the continuations of `line` to it, and adds their number to `count`.
FileCode join_continuations(Lines& lines, std::string& line, std::size_t& count) {
    std::string next;
    bool continues = line.ends_with('+');
    while (continues) {
        line.pop_back();
        if (!lines.next(next)) {
            break;
        }
        ++count;
        line += next;
        // What was joined may still end in a "+" of its own: only the line just read counts.
        continues = next.ends_with('+');
        if (line.size() > line_size) {
            return FileCode::too_long;
        }
    }
    return FileCode::ok;
}

/// Reads the section's lines up to the key.
FileCode find_key(Lines& lines, std::string_view key, Found& found) {
    std::string line;
    while (lines.next(line)) {
        if (is_passed_over(skip_blanks(line))) {
            continue;
        }
        if (skip_blanks(line).front() == '[') {
            return FileCode::no_key;
        }
        found.key_line = lines.number();
        found.key_lines = 1;
        if (const FileCode code = join_continuations(lines, line, found.key_lines); failed(code)) {
            return code;
        }
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos) {
            return FileCode::malformed;
        }
        const std::string_view content = line;
        if (trim_right(skip_blanks(content.substr(0, equals))) == key) {
            found.value = skip_blanks(content.substr(equals + 1));
            return FileCode::ok;
        }
    }
    return FileCode::no_key;
}

Found lookup(std::string_view file, const char* section, const char* key) {
    Found found;
    Lines lines(file);
    found.code = find_section(lines, section);
    if (!failed(found.code)) {
        found.header_line = lines.number();
        found.code = find_key(lines, key, found);
    }
    return found;
}

FileCode code_of_open(FileCode otherwise) {
    return errno == EISDIR || errno == EINVAL ? FileCode::unread : otherwise;
}

/// The file's text between two changes; a code when it cannot be opened or read.
FileCode read_text(const char* path, std::string& text) {
    bool was_opened = false;
    auto content = read_settled(path, path, &was_opened);
    if (!content) {
        return was_opened ? FileCode::unread : code_of_open(FileCode::not_opened);
    }
    text = std::move(*content);
    return FileCode::ok;
}

std::string key_line_text(const char* key, const char* value) {
    return format_text("\t%s = %s\n", key, value);
}

/// The file's text with the section and its first key at the end.
std::string extended_text(std::string_view text, const char* section, const char* key,
                          const char* value) {
    std::string result(text);
    if (!text.empty() && text.back() != '\n') {
        result += "\n"; // else the header would be part of the last line
    }
    return result + format_text("%c%s%c\n", '[', section, ']') + key_line_text(key, value);
}

/// The file's text with the key's line in its new place.
std::string replaced_text(std::string_view text, const Found& found, const char* key,
                          const char* value) {
    const bool has_key = !failed(found.code);
    const std::size_t last_before = has_key ? found.key_line - 1 : found.header_line;
    const std::size_t skipped = has_key ? found.key_lines : 0;
    std::string result;
    std::string line;
    Lines lines(text);
    bool placed = false;
    while (true) {
        if (!placed && lines.number() == last_before) {
            result += key_line_text(key, value);
            placed = true;
        }
        if (!lines.next(line)) {
            return result;
        }
        if (lines.number() <= last_before || lines.number() > last_before + skipped) {
            result += line + "\n";
        }
    }
}

/// A file that is about to be changed, open and locked.
struct Change {
    FileDescriptor fd;
    bool was_made = false;
    std::string text; ///< what it holds
};

/// Finishes a change that was cut short.
bool finish_change(const char* path, Change& change) {
    const auto entries = read_journal(path);
    if (!entries || entries->empty()) {
        return entries.has_value();
    }
    const int fd = change.fd.get();
    const FileContent content = change.text;
    const bool is_finished =
        finish_files({&entries->front(), 1}, {&content, 1}, [&](auto, const std::string& text) {
            change.text = text;
            return rewrite(fd, text) && sync_files({&fd, 1});
        });
    if (is_finished) {
        remove_journal(path);
    }
    return is_finished;
}

/// Opens the file, which is made when it is not there, and keeps all others from it.
FileCode open_and_lock(const char* path, Change& change) {
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        change.was_made = false;
        change.fd = FileDescriptor::open_regular(path, O_RDWR);
        if (!change.fd && errno == ENOENT) {
            change.fd = FileDescriptor::open_regular(path, O_RDWR | O_CREAT, 0644);
            change.was_made = bool(change.fd);
        }
        if (!change.fd) {
            return code_of_open(FileCode::not_created);
        }
        if (!lock_for_rewriting(change.fd.get())) {
            return FileCode::not_created;
        }
        if (names_open_file(path, change.fd.get())) {
            return FileCode::ok;
        }
        // Somebody has put another in its place before it was locked.
    }
    return FileCode::not_created;
}

FileCode open_to_change(const char* path, Change& change) {
    if (const FileCode code = open_and_lock(path, change); failed(code)) {
        return code;
    }
    auto text = read_rest(change.fd.get());
    if (!text) {
        return FileCode::unread;
    }
    change.text = std::move(*text);
    return finish_change(path, change) ? FileCode::ok : FileCode::unread;
}

/// Rewrites the file in its place; what cannot be written leaves the old one.
FileCode write_change(const char* path, const Change& change, std::string text) {
    const FileChange rewriting = {path, change.fd.get(), change.text, std::move(text)};
    const auto failure = change_files(path, {&rewriting, 1});
    if (!failure) {
        return FileCode::ok;
    }
    const bool has_no_directory = errno == EROFS || errno == EACCES || errno == EPERM;
    return failure->is_locked || has_no_directory ? FileCode::not_created : FileCode::unwritten;
}

std::string without_element(std::string_view value, char separator, std::string_view dropped) {
    std::string result;
    for (bool is_last = false; !is_last;) {
        const std::size_t end = value.find(separator);
        is_last = end == std::string_view::npos;
        const std::string_view element = value.substr(0, end);
        if (element != dropped) {
            result.append(element) += separator;
        }
        value.remove_prefix(is_last ? value.size() : end + 1);
    }
    if (!result.empty()) {
        result.pop_back();
    }
    return result;
}

} // namespace

FileCode key_value_get(const char* path, const char* section, const char* key, char* value,
                       std::size_t room) {
    std::string text;
    if (const FileCode code = read_text(path, text); failed(code)) {
        return code;
    }
    const Found found = lookup(text, section, key);
    if (!failed(found.code) && room > 0) {
        const std::size_t count = std::min(found.value.size(), room - 1);
        std::memcpy(value, found.value.data(), count);
        value[count] = '\0';
    }
    return found.code;
}

FileCode key_value_get(char* value, std::size_t room, const char* path, const char* section,
                       const char* key) {
    return key_value_get(path, section, key, value, room);
}

KeyValueIndex::KeyValueIndex(std::string_view file) {
    Lines lines(file);
    std::string section;
    // Behind a malformed header no section is found.
    while (next_section(lines, section) == FileCode::ok) {
        sections_.emplace(section, lines.rest());
    }
}

std::optional<std::string> KeyValueIndex::get(const std::string& section,
                                              std::string_view key) const {
    const auto at = sections_.find(section);
    if (at == sections_.end()) {
        return std::nullopt;
    }
    Lines lines(at->second);
    Found found;
    return find_key(lines, key, found) == FileCode::ok ? std::optional(found.value) : std::nullopt;
}

FileCode key_value_set(const char* path, const char* section, const char* key, const char* value) {
    Change change;
    if (const FileCode code = open_to_change(path, change); failed(code)) {
        return code;
    }
    const Found found = lookup(change.text, section, key);
    FileCode code = found.code;
    if (code == FileCode::no_section) {
        code = write_change(path, change, extended_text(change.text, section, key, value));
    } else if (code == FileCode::no_key || code == FileCode::ok) {
        code = write_change(path, change, replaced_text(change.text, found, key, value));
    }
    if (failed(code) && change.was_made && names_open_file(path, change.fd.get())) {
        ::unlink(path);
    }
    return code;
}

FileCode key_value_remove(const char* item, const char* path, const char* section,
                          const char* key) {
    char value[remove_room] = "";
    if (const FileCode code = key_value_get(path, section, key, value, sizeof value);
        failed(code)) {
        return code;
    }
    std::string rest = value;
    if (!is_letter_or_digit(item[0])) {
        rest = item[0] == '\0' ? rest : without_element(rest, item[0], item + 1);
    } else if (rest == item) {
        rest.clear();
    }
    return key_value_set(path, section, key, rest.c_str());
}

} // namespace zav
