// SPDX-License-Identifier: MIT
#include "base/change_journal.h"

#include "base/file.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

namespace zav {

namespace {

constexpr std::string_view first_line = "zavbox journal 1\n";

/// The 64-bit FNV-1a sum: it tells a journal that the disk has only a part of.
std::uint64_t sum_of(std::string_view text) {
    constexpr std::uint64_t basis = 14695981039346656037U;
    constexpr std::uint64_t prime = 1099511628211U;
    std::uint64_t sum = basis;
    for (const char c : text) {
        sum = (sum ^ static_cast<unsigned char>(c)) * prime;
    }
    return sum;
}

std::string last_line(std::string_view text) {
    return format_text("end %016llx\n", static_cast<unsigned long long>(sum_of(text)));
}

/// Cuts the line at the start of `text` off; nothing when it does not end.
std::optional<std::string_view> take_line(std::string_view& text) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    return line;
}

/// Cuts off the number at the start of a line, and the blank behind it.
std::optional<std::uint64_t> take_length(std::string_view& line) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) {
        return std::nullopt;
    }
    const std::uint64_t length = decimal(line.substr(0, blank));
    line.remove_prefix(blank + 1);
    return length;
}

std::optional<std::string> take_text(std::string_view& text, std::optional<std::uint64_t> length) {
    if (!length || *length > text.size()) {
        return std::nullopt;
    }
    std::string taken(text.substr(0, *length));
    text.remove_prefix(*length);
    return taken;
}

/// Cuts an entry off: "<length of the old text> <length of the new one> <path>\n", then both.
std::optional<JournalEntry> take_entry(std::string_view& text) {
    std::string_view line = take_line(text).value_or("");
    const auto old_length = take_length(line);
    const auto new_length = take_length(line);
    auto before = take_text(text, old_length);
    auto after = take_text(text, new_length);
    if (!before || !after) {
        return std::nullopt;
    }
    return JournalEntry{
        .path = std::string(line), .text = std::move(*after), .before = std::move(*before)};
}

} // namespace

bool is_unfinished(const JournalEntry& entry, const std::optional<std::string>& content) {
    if (!content) {
        return true;
    }
    const std::string_view before = entry.before;
    const std::string_view after = entry.text;
    for (std::size_t i = 0; i < content->size(); ++i) {
        const char c = (*content)[i];
        const bool is_old = i < before.size() && c == before[i];
        const bool is_new = i < after.size() && (c == after[i] || (c == 0 && i >= before.size()));
        if (!is_old && !is_new) {
            return false;
        }
    }
    return true;
}

std::string journal_path(std::string_view path) {
    const std::size_t name = path.rfind('/') + 1;
    return std::string(path.substr(0, name)) + "." + std::string(path.substr(name)) + ".zav";
}

std::string journal_text(std::span<const JournalEntry> entries) {
    std::string text(first_line);
    for (const JournalEntry& entry : entries) {
        text += std::to_string(entry.before.size()) + " " + std::to_string(entry.text.size()) +
                " " + entry.path + "\n" + entry.before + entry.text;
    }
    return text + last_line(text);
}

std::optional<std::vector<JournalEntry>> parse_journal(std::string_view text) {
    const std::size_t end_size = last_line("").size();
    if (text.size() < first_line.size() + end_size || !text.starts_with(first_line)) {
        return std::nullopt;
    }
    std::string_view rest = text.substr(0, text.size() - end_size);
    if (text.substr(rest.size()) != last_line(rest)) {
        return std::nullopt;
    }
    rest.remove_prefix(first_line.size());
    std::vector<JournalEntry> entries;
    while (!rest.empty()) {
        auto entry = take_entry(rest);
        if (!entry) {
            return std::nullopt;
        }
        entries.push_back(std::move(*entry));
    }
    return entries;
}

std::optional<std::vector<JournalEntry>> read_journal(std::string_view path) {
    const auto text = read_file(journal_path(path).c_str());
    if (!text) {
        return errno == ENOENT ? std::optional(std::vector<JournalEntry>()) : std::nullopt;
    }
    return parse_journal(*text).value_or(std::vector<JournalEntry>());
}

bool write_journal(std::string_view path, std::span<const JournalEntry> entries,
                   const FileRights& rights) {
    return replace_file(journal_path(path), journal_text(entries), rights);
}

std::optional<std::string> read_settled(const char* path, std::string_view owner) {
    // The journal is looked for once the file is open: whoever replaces the file keeps it until the
    // new one is whole, and whoever rewrites it in place waits for this lock first.
    constexpr int attempts = 3;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
        const int error = errno;
        if (fd && !lock_for_reading(fd.get())) {
            return std::nullopt;
        }
        // Whoever may not read the journal reads what there is.
        const auto entries = read_journal(owner).value_or(std::vector<JournalEntry>());
        const auto entry = std::ranges::find(entries, path, &JournalEntry::path);
        auto content = fd ? read_rest(fd.get()) : std::nullopt;
        if (entry != entries.end() && (content || !fd) && is_unfinished(*entry, content)) {
            return entry->text;
        }
        if (fd) {
            return content;
        }
        errno = error;
    }
    return std::nullopt;
}

void remove_journal(std::string_view path) {
    ::unlink(journal_path(path).c_str());
}

} // namespace zav
