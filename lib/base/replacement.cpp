// SPDX-License-Identifier: MIT
#include "base/replacement.h"

#include "base/change_journal.h"
#include "base/file.h"
#include "base/log.h"
#include "base/shared_sync.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace zav {

namespace {

/// Whether the file, and its name, are on the disk with that content.
bool is_durable(const char* path, std::string_view text) {
    const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
    const auto content = fd ? read_rest(fd.get()) : std::nullopt;
    return content == text && sync_with_name(fd.get());
}

/// Where the old file stays until the new one is known to be whole: to put it back takes no room.
std::string old_path(const char* path) {
    return journal_path(path) + ".old";
}

/// Puts the old content back unless it is still there. The old file itself may have been
/// overwritten.
bool put_back(const char* path, std::string_view text, const FileRights& rights) {
    const std::string old = old_path(path);
    return read_file(path) == text ||
           (read_file(old.c_str()) == text && ::rename(old.c_str(), path) == 0 &&
            sync_directory_of(path)) ||
           replace_file(path, text, rights);
}

/// Ends a replacement: the file is whole.
void remove_traces(const char* path) {
    ::unlink(old_path(path).c_str());
    remove_new_file(path);
    remove_journal(path);
}

/// Puts the old content back. When that fails, the next one that looks does it.
void take_back(const char* path, std::string_view before, const FileRights& rights) {
    const bool is_turned = turn_journal_back(path); // this may be cut short, too
    if (put_back(path, before, rights)) {
        remove_traces(path);
    } else {
        log_error("cannot put back %s for %s%s", path, std::strerror(errno),
                  is_turned ? "" : ": it will be changed by the next one that looks");
    }
}

/// Makes durable what the command has left, which is the new content: by `copy`, which is on the
/// disk already, where there is one.
bool make_durable(const char* path, std::string_view text, NewFile& copy) {
    return copy && copy.take_place() ? sync_names_beside(path) : is_durable(path, text);
}

/// Runs the command. When that fails, or the file does not get the content, puts the old one back.
Replacement run_or_put_back(const char* path, std::string_view text, std::string_view before,
                            const FileRights& rights, NewFile& copy,
                            const std::function<WaitStatus()>& run) {
    const bool has_worked = !failed(run());
    const bool is_new = has_worked && read_file(path) == text;
    if (is_new && make_durable(path, text, copy)) {
        remove_traces(path);
        return Replacement::done;
    }
    if (is_new) {
        log_error("%s cannot be made durable for %s: it stays as it was", path,
                  std::strerror(errno));
    } else if (has_worked) { // a command that has not is in the log
        log_error("%s does not hold what was moved there: it stays as it was", path);
    }
    take_back(path, before, rights);
    return Replacement::failed;
}

} // namespace

bool finish_replacement(const char* path) {
    const auto entries = read_journal(path);
    if (!entries) {
        return false;
    }
    if (entries->empty()) {
        // A journal that tells nothing: the old file may be the only copy. Without a journal the
        // change had ended, and the new file may well be empty.
        const bool may_be_cut = has_journal(path);
        const auto content = read_file(path);
        const bool is_lost = content ? content->empty() && may_be_cut : errno == ENOENT;
        if (!is_lost || ::rename(old_path(path).c_str(), path) != 0) {
            ::unlink(old_path(path).c_str());
        }
        remove_new_file(path);
        return true;
    }
    const FileContent content = read_file(path);
    if (!content && errno != ENOENT) {
        return false;
    }
    const bool is_finished =
        finish_files({&entries->front(), 1}, {&content, 1}, [path](auto, const std::string& text) {
            return is_durable(path, text) || replace_file(path, text, rights_of_journal(path));
        });
    if (is_finished) {
        remove_traces(path);
    }
    return is_finished;
}

Replacement replace_by_command(const char* path, std::string_view text,
                               const std::function<WaitStatus()>& run) {
    const FileDescriptor old = FileDescriptor::open(path, O_RDONLY);
    const auto before = old && lock_for_rewriting(old.get()) ? read_rest(old.get()) : std::nullopt;
    const std::array<JournalEntry, 1> entries = {
        {{.path = path, .text = std::string(text), .before = before.value_or("")}}};
    const FileRights rights = rights_of(old.get());
    if (!before) {
        return Replacement::not_begun;
    }
    // The journal's sync is that of the copy as well; without one the command's file is synced.
    NewFile copy(path, text, rights);
    // On a read-only file system nothing can be lost.
    if (!(write_journal(path, entries, rights) || errno == EROFS)) {
        return Replacement::not_begun;
    }
    // Without it the old content is written anew if need be.
    [[maybe_unused]] const bool is_kept = ::link(path, old_path(path).c_str()) == 0;
    return run_or_put_back(path, text, *before, rights, copy, run);
}

} // namespace zav
