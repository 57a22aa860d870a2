// SPDX-License-Identifier: MIT
#include "base/replacement.h"

#include "base/change_journal.h"
#include "base/file.h"
#include "base/log.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>

namespace zav {

namespace {

/// Whether the file, and its name, are on the disk with that content.
bool is_durable(const char* path, std::string_view text) {
    const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
    const auto content = fd ? read_rest(fd.get()) : std::nullopt;
    const std::array<int, 1> fds = {fd.get()};
    return content == text && sync_files(fds) && sync_directory_of(path);
}

} // namespace

bool finish_replacement(const char* path) {
    const auto entries = read_journal(path);
    if (!entries || entries->empty()) {
        return entries.has_value();
    }
    // The journal has the rights of the file, of which nothing may be left.
    const FileDescriptor journal = FileDescriptor::open(journal_path(path).c_str(), O_RDONLY);
    if (!journal || !replace_file(path, entries->front().text, rights_of(journal.get()))) {
        return false;
    }
    remove_journal(path);
    log_error("finished the change of %s that was cut short", path);
    return true;
}

WaitStatus replace_by_command(const char* path, std::string_view text,
                              const std::function<WaitStatus()>& run) {
    const FileDescriptor old = FileDescriptor::open(path, O_RDONLY);
    const auto before = old && lock_for_rewriting(old.get()) ? read_rest(old.get()) : std::nullopt;
    const std::array<JournalEntry, 1> entries = {{{path, std::string(text)}}};
    const FileRights rights = rights_of(old.get());
    if (!before || !write_journal(path, entries, rights)) {
        return WaitStatus::not_started;
    }
    const WaitStatus status = run();
    if (!failed(status) && is_durable(path, text)) {
        remove_journal(path);
        return status;
    }
    if (read_file(path) == before || replace_file(path, *before, rights)) {
        remove_journal(path);
    } else {
        // The journal stays: the next run makes the file whole, with the new content.
        log_error("cannot put back %s for %s", path, std::strerror(errno));
    }
    return failed(status) ? status : WaitStatus::not_started;
}

} // namespace zav
