// SPDX-License-Identifier: MIT
#include "base/change_journal.h"

#include "base/file.h"
#include "base/log.h"
#include "base/shared_sync.h"
#include "base/text.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace zav {

namespace {

constexpr std::string_view first_line = "zavbox journal 1\n";

/// The old and the new text of as many files as one step changes.
constexpr std::size_t longest_journal = 8 * longest_file;

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
    const auto size = static_cast<std::size_t>(*length);
    std::string taken(text.substr(0, size));
    text.remove_prefix(size);
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

/// The name of a journal whose change is to be taken back.
std::string back_path(std::string_view path) {
    return journal_path(path) + ".back";
}

/// The text of a journal. Empty for what others have put there; nothing when it cannot be read.
std::optional<std::string> read_own(const std::string& path) {
    const FileDescriptor fd = FileDescriptor::open_regular(path.c_str(), O_RDONLY | O_NOFOLLOW);
    struct stat status = {};
    if (!fd || ::fstat(fd.get(), &status) != 0) {
        const bool is_none = errno == ELOOP || errno == EISDIR || errno == EINVAL;
        return is_none ? std::optional<std::string>("") : std::nullopt;
    }
    const bool is_ours = status.st_uid == 0 || status.st_uid == ::geteuid();
    return is_ours ? read_rest(fd.get(), longest_journal) : std::optional<std::string>("");
}

/// Rewrites the files, with their new texts or back with their old ones. The place of the one that
/// failed; 0 also when the disk did not take all.
std::optional<std::size_t> rewrite_all(std::span<const FileChange> changes,
                                       std::string FileChange::*text) {
    std::vector<int> fds;
    for (std::size_t place = 0; place < changes.size(); ++place) {
        if (!rewrite(changes[place].fd, changes[place].*text)) {
            return place;
        }
        fds.push_back(changes[place].fd);
    }
    return sync_files(fds) ? std::nullopt : std::optional<std::size_t>(0);
}

void take_back(std::string_view owner, std::span<const FileChange> changes) {
    const int error = errno;
    // Before the old texts are written: what follows may be cut short, too.
    const bool is_turned = turn_journal_back(owner);
    if (!rewrite_all(changes, &FileChange::before)) {
        remove_journal(owner);
    } else {
        log_error("cannot put back %s for %s", std::string(owner).c_str(), std::strerror(errno));
        if (!is_turned) {
            log_error("the next change of it will be what failed now");
        }
    }
    errno = error;
}

/// The journal of a change that is prepared: it counts only under the journal's own name.
std::string room_path(std::string_view owner) {
    return journal_path(owner) + ".room";
}

/// Reserves room for a file that is to grow, without a change to it that anybody sees. Where the
/// file system cannot do that, rewriting it tells.
bool has_room(const FileChange& change) {
    struct stat status = {};
    const auto size = static_cast<off_t>(change.after.size());
    return ::fstat(change.fd, &status) != 0 || status.st_size >= size ||
           ::fallocate(change.fd, FALLOC_FL_KEEP_SIZE, 0, size) == 0 ||
           (errno != ENOSPC && errno != EDQUOT && errno != EFBIG);
}

std::vector<JournalEntry> entries_of(std::span<const FileChange> changes) {
    std::vector<JournalEntry> entries;
    for (const FileChange& change : changes) {
        entries.push_back({change.path, change.after, change.before});
    }
    return entries;
}

template <class MakeJournal>
std::optional<ChangeFailure> change_under_journal(std::string_view owner,
                                                  std::span<const FileChange> changes,
                                                  const MakeJournal& make_journal) {
    const auto taken = std::ranges::find_if_not(changes, [](const FileChange& change) {
        // Whoever edits a file without our locks puts another one in its place.
        return lock_for_rewriting(change.fd) && names_open_file(change.path.c_str(), change.fd);
    });
    if (taken != changes.end()) {
        return ChangeFailure{.file = static_cast<std::size_t>(taken - changes.begin()),
                             .is_locked = true};
    }
    if (!make_journal()) {
        return ChangeFailure{};
    }
    if (const auto failed_file = rewrite_all(changes, &FileChange::after)) {
        take_back(owner, changes);
        return ChangeFailure{.file = *failed_file};
    }
    remove_journal(owner);
    return std::nullopt;
}

/// How many bytes are only in one of two texts, between what they share in front and at the end.
std::size_t distance(std::string_view text, std::string_view other) {
    const auto [front, other_front] =
        std::mismatch(text.begin(), text.end(), other.begin(), other.end());
    const auto rest = std::make_reverse_iterator(front);
    const auto other_rest = std::make_reverse_iterator(other_front);
    const auto [back, other_back] = std::mismatch(text.rbegin(), rest, other.rbegin(), other_rest);
    return static_cast<std::size_t>((rest - back) + (other_rest - other_back));
}

bool is_made_from_old(const JournalEntry& entry, std::string_view content) {
    return distance(content, entry.before) < distance(content, entry.text);
}

/// What a journal says about a file, whose content is known.
FileContent settled_text(const std::vector<JournalEntry>& entries, std::string_view path,
                         const FileContent& content) {
    std::vector<FileContent> contents;
    contents.reserve(entries.size());
    for (const JournalEntry& entry : entries) {
        contents.push_back(entry.path == path ? content : read_file(entry.path.c_str()));
    }
    const auto texts = settled_texts(entries, contents);
    const auto entry = std::ranges::find(entries, path, &JournalEntry::path);
    return entry != entries.end() ? texts[static_cast<std::size_t>(entry - entries.begin())]
                                  : std::nullopt;
}

} // namespace

std::vector<FileContent> settled_texts(std::span<const JournalEntry> entries,
                                       std::span<const FileContent> contents) {
    bool is_whole = true;
    bool is_edited_old = false;
    std::vector<bool> is_ours;
    for (std::size_t place = 0; place < entries.size(); ++place) {
        is_ours.push_back(is_unfinished(entries[place], contents[place]));
        if (is_ours.back()) {
            is_whole = is_whole && contents[place] == entries[place].text;
        } else {
            is_edited_old = is_edited_old || is_made_from_old(entries[place], *contents[place]);
        }
    }
    const bool is_taken_back = is_edited_old && !is_whole;
    std::vector<FileContent> texts;
    for (std::size_t place = 0; place < entries.size(); ++place) {
        const JournalEntry& entry = entries[place];
        texts.push_back(!is_ours[place] ? std::nullopt
                        : is_taken_back ? FileContent(entry.before)
                                        : FileContent(entry.text));
    }
    return texts;
}

bool finish_files(std::span<const JournalEntry> entries, std::span<const FileContent> contents,
                  const std::function<bool(std::size_t place, const std::string& text)>& write) {
    const auto texts = settled_texts(entries, contents);
    for (std::size_t place = 0; place < entries.size(); ++place) {
        const JournalEntry& entry = entries[place];
        const char* path = entry.path.c_str();
        if (!texts[place]) {
            log_error("the change of %s that was cut short is dropped: it was changed since", path);
            continue;
        }
        if (!write(place, *texts[place])) {
            return false;
        }
        const bool is_new = *texts[place] == entry.text;
        log_error("%s the change of %s that was cut short", is_new ? "finished" : "took back",
                  path);
    }
    return true;
}

bool is_unfinished(const JournalEntry& entry, const std::optional<std::string>& content) {
    if (!content) {
        return true;
    }
    const std::string_view before = entry.before;
    const std::string_view after = entry.text;
    for (std::size_t i = 0; i < content->size(); ++i) {
        const char c = (*content)[i];
        const bool is_old = i < before.size() && c == before[i];
        const bool is_new = i < after.size() && (c == after[i] || c == 0);
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

bool has_journal(std::string_view path) {
    return ::access(journal_path(path).c_str(), F_OK) == 0 ||
           ::access(back_path(path).c_str(), F_OK) == 0;
}

std::optional<std::vector<JournalEntry>> read_journal(std::string_view path) {
    auto text = read_own(journal_path(path));
    const bool is_back = !text && errno == ENOENT;
    if (is_back) {
        text = read_own(back_path(path));
    }
    if (!text) {
        return errno == ENOENT ? std::optional(std::vector<JournalEntry>()) : std::nullopt;
    }
    auto entries = parse_journal(*text).value_or(std::vector<JournalEntry>());
    for (JournalEntry& entry : entries) {
        if (is_back) {
            std::swap(entry.before, entry.text);
        }
    }
    return entries;
}

bool write_journal(std::string_view path, std::span<const JournalEntry> entries,
                   const FileRights& rights) {
    const std::string text = journal_text(entries);
    const bool is_too_long =
        text.size() > longest_journal || std::ranges::any_of(entries, [](const auto& entry) {
            return entry.text.size() > longest_file;
        });
    if (is_too_long) {
        errno = EFBIG; // nothing would read it
        return false;
    }
    return replace_checked_file(journal_path(path), text, rights);
}

FileRights rights_of_journal(std::string_view path) {
    for (const std::string& journal : {journal_path(path), back_path(path)}) {
        if (const FileDescriptor fd = FileDescriptor::open(journal.c_str(), O_RDONLY)) {
            return rights_of(fd.get());
        }
    }
    return {.mode = S_IRUSR | S_IWUSR, .owner = {}, .group = {}};
}

bool turn_journal_back(std::string_view path) {
    return ::rename(journal_path(path).c_str(), back_path(path).c_str()) == 0 &&
           sync_directory_of(std::string(path));
}

void remove_journal(std::string_view path) {
    const bool was_there = ::unlink(journal_path(path).c_str()) == 0;
    const bool was_back = ::unlink(back_path(path).c_str()) == 0;
    if (was_there || was_back) {
        // Else it could be there again after a power cut, when the files have changed since.
        [[maybe_unused]] const bool is_durable = sync_names_beside(std::string(path));
    }
}

std::optional<ChangeFailure> change_files(std::string_view owner,
                                          std::span<const FileChange> changes,
                                          const FileRights& journal_rights) {
    return change_under_journal(
        owner, changes, [&] { return write_journal(owner, entries_of(changes), journal_rights); });
}

std::optional<std::size_t> prepare_change(std::string_view owner,
                                          std::span<const FileChange> changes) {
    const std::string room = room_path(owner);
    ::unlink(room.c_str()); // of a run that was killed
    const FileDescriptor fd =
        FileDescriptor::open(room.c_str(), O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
    if (!fd || !write_all(fd.get(), journal_text(entries_of(changes))) || ::fsync(fd.get()) != 0) {
        return 0;
    }
    const auto full = std::ranges::find_if_not(changes, has_room);
    return full != changes.end() ? std::optional<std::size_t>(full - changes.begin())
                                 : std::nullopt;
}

std::optional<ChangeFailure> change_prepared_files(std::string_view owner,
                                                   std::span<const FileChange> changes) {
    return change_under_journal(owner, changes, [owner] {
        const std::string journal = journal_path(owner);
        return ::rename(room_path(owner).c_str(), journal.c_str()) == 0 &&
               sync_directory_of(journal);
    });
}

void forget_prepared_change(std::string_view owner) {
    ::unlink(room_path(owner).c_str());
}

std::optional<std::string> read_settled(const char* path, std::string_view owner,
                                        bool* was_opened) {
    // The journal is looked for after the file is open: who replaces the file keeps it until the
    // new one is whole, and who rewrites it, in place, waits for this lock first.
    constexpr int attempts = 3;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const FileDescriptor fd = FileDescriptor::open_regular(path, O_RDONLY);
        const int error = errno;
        if (was_opened != nullptr) {
            *was_opened = bool(fd);
        }
        if (fd && !lock_for_reading(fd.get())) {
            return std::nullopt;
        }
        // Whoever may not read the journal reads what there is.
        const auto entries = read_journal(owner).value_or(std::vector<JournalEntry>());
        auto content = fd ? read_rest(fd.get()) : std::nullopt;
        const int read_error = fd ? errno : error;
        if (content || (!fd && error == ENOENT)) {
            if (auto text = settled_text(entries, path, content)) {
                return text;
            }
        }
        errno = read_error;
        if (fd) {
            return content;
        }
    }
    return std::nullopt;
}

} // namespace zav
