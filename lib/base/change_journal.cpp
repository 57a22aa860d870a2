// SPDX-License-Identifier: MIT
#include "base/change_journal.h"

#include "base/file.h"
#include "base/text.h"

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

/// Cuts an entry off: "<length> <path>\n", then so many bytes.
std::optional<JournalEntry> take_entry(std::string_view& text) {
    const auto line = take_line(text);
    const std::size_t blank = line ? line->find(' ') : std::string_view::npos;
    if (blank == std::string_view::npos) {
        return std::nullopt;
    }
    const std::uint64_t length = decimal(line->substr(0, blank));
    if (length > text.size()) {
        return std::nullopt;
    }
    JournalEntry entry = {std::string(line->substr(blank + 1)),
                          std::string(text.substr(0, length))};
    text.remove_prefix(length);
    return entry;
}

} // namespace

std::string journal_path(std::string_view path) {
    const std::size_t name = path.rfind('/') + 1;
    return std::string(path.substr(0, name)) + "." + std::string(path.substr(name)) + ".zav";
}

std::string journal_text(std::span<const JournalEntry> entries) {
    std::string text(first_line);
    for (const JournalEntry& entry : entries) {
        text += std::to_string(entry.text.size()) + " " + entry.path + "\n" + entry.text;
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
    // The journal is looked for after the file is open: who replaces the file keeps it until the
    // new one is whole, and who rewrites it, in place, waits for this lock first.
    constexpr int attempts = 3;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
        const int error = errno;
        if (fd && !lock_for_reading(fd.get())) {
            return std::nullopt;
        }
        // Whoever may not read the journal reads what there is.
        for (JournalEntry& entry : read_journal(owner).value_or(std::vector<JournalEntry>())) {
            if (entry.path == path) {
                return std::move(entry.text);
            }
        }
        if (fd) {
            return read_rest(fd.get());
        }
        errno = error;
    }
    return std::nullopt;
}

void remove_journal(std::string_view path) {
    ::unlink(journal_path(path).c_str());
}

} // namespace zav
