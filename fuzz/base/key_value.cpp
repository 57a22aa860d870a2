// SPDX-License-Identifier: MIT
// Sectioned key/value files, in memory. Input: section, key, value, then the file's text.
#include "base/key_value.h"

#include "base/codes.h"
#include "base/file.h"
#include "base/text.h"
#include "fuzz.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>

namespace zav::fuzz {

namespace {

constexpr std::size_t longest_line = 511;

/// The directory of this process's file in memory, which has others beside it while it changes.
class MemoryDirectory {
  public:
    MemoryDirectory() { require(::mkdtemp(path_) != nullptr, "memory has room for a directory"); }
    MemoryDirectory(const MemoryDirectory&) = delete;
    MemoryDirectory& operator=(const MemoryDirectory&) = delete;
    ~MemoryDirectory() { std::filesystem::remove_all(path_); }
    [[nodiscard]] std::string file() const { return std::string(path_) + "/file"; }

  private:
    char path_[32] = "/dev/shm/zav-fuzz.XXXXXX";
};

class MemoryFile {
  public:
    explicit MemoryFile(std::string_view text) {
        static const MemoryDirectory directory;
        path_ = directory.file();
        const FileDescriptor fd =
            FileDescriptor::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        require(write_all(fd.get(), text), "a file in memory can be written");
    }
    [[nodiscard]] const char* path() const { return path_.c_str(); }
    [[nodiscard]] std::string text() const { return read_file(path()).value_or(""); }

  private:
    std::string path_;
};

struct Item {
    std::string section;
    std::string key;
    std::string value;
};

bool is_within(std::string_view text, std::string_view forbidden) {
    return text.find_first_of(forbidden) == text.npos && text == trim_right(skip_blanks(text));
}

/// Whether the format can hold the item: it must not contain what ends or joins lines, begins a
/// comment or a header, or separates key and value.
bool can_be_held(const Item& item) {
    constexpr std::string_view line_ends("\n\r\f\x1a\0", 5);
    return !item.section.empty() && is_within(item.section, line_ends) && !item.key.empty() &&
           is_within(item.key, std::string(line_ends) + "=") && item.key.front() != ';' &&
           item.key.front() != '[' && is_within(item.value, line_ends) &&
           !item.value.ends_with('+') && item.section.size() + 2 <= longest_line &&
           item.key.size() + item.value.size() + 4 <= longest_line;
}

/// Whether the text has a line that does not end in a line feed: rewriting adds one.
bool has_cut_line(std::string_view text) {
    std::size_t length = 0;
    for (const char c : text) {
        length = c == '\n' || c == '\0' ? 0 : length + 1;
        if (length >= longest_line || c == '\f' || c == '\x1a') {
            return true;
        }
    }
    return false;
}

std::string get(const MemoryFile& file, const Item& item, int& code) {
    char value[longest_line + 2] = "";
    code = number_of(
        key_value_get(file.path(), item.section.c_str(), item.key.c_str(), value, sizeof value));
    return value;
}

void check_room(const MemoryFile& file, const Item& item, const std::string& value) {
    for (const std::size_t room : {std::size_t{1}, std::size_t{4}}) {
        char cut[4] = "...";
        ignore(key_value_get(cut, room, file.path(), item.section.c_str(), item.key.c_str()));
        require(std::string_view(cut) == value.substr(0, room - 1), "a value is cut to its room");
    }
}

void check_set(MemoryFile& file, const Item& item, bool has_cut_lines) {
    int before = 0;
    get(file, item, before);
    const std::string untouched = file.text();
    const int set = number_of(
        key_value_set(file.path(), item.section.c_str(), item.key.c_str(), item.value.c_str()));
    require((set == 0) == (before >= number_of(FileCode::no_key)),
            "a key is set when it can be read");
    if (set != 0) {
        require(file.text() == untouched, "a key that is not set leaves the file as it was");
        return;
    }
    if (!can_be_held(item)) {
        return;
    }
    int after = 0;
    require(get(file, item, after) == item.value && after == 0, "what was set can be read");
    if (has_cut_lines) {
        return;
    }
    const std::string once = file.text();
    ignore(key_value_set(file.path(), item.section.c_str(), item.key.c_str(), item.value.c_str()));
    ignore(key_value_set(file.path(), item.section.c_str(), item.key.c_str(), item.value.c_str()));
    const std::string twice = file.text();
    ignore(key_value_set(file.path(), item.section.c_str(), item.key.c_str(), item.value.c_str()));
    require(file.text() == twice, "setting again what is set changes nothing");
    require(twice.size() <= once.size(), "and adds nothing");
}

} // namespace

void run(std::string_view input) {
    Item item;
    for (std::string* text : {&item.section, &item.key, &item.value}) {
        *text = std::string(take_line(input)).c_str();
    }
    MemoryFile file(input);
    int code = 0;
    const std::string value = get(file, item, code);
    require(code <= 0 && code >= number_of(FileCode::too_long), "a result is one of the codes");
    if (code == 0) {
        require(value.size() <= longest_line + 1, "a value fits the longest line");
        const std::size_t last = input.find_last_not_of(std::string_view(" \r\n\0", 4));
        const bool has_plus = input[last] == '+' || input.find("++") != input.npos;
        require(!value.ends_with('+') || has_plus, "a line that ends in + goes on");
        check_room(file, item, value);
    }
    const auto indexed = KeyValueIndex(input).get(item.section, item.key);
    require(indexed.has_value() == (code == 0) && indexed.value_or("") == value,
            "an index of the text finds what is read from the file");
    check_set(file, item, has_cut_line(input));
    MemoryFile other(input);
    ignore(
        key_value_remove(item.value.c_str(), other.path(), item.section.c_str(), item.key.c_str()));
}

} // namespace zav::fuzz
