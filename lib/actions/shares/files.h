// SPDX-License-Identifier: MIT
/// \file
/// The share register and the services' files, as a step changes them: all that it needs are
/// opened, locked and read before the first is written, and stay locked to its end. What is written
/// is written to all of them or to none, also when the program is killed or the power fails: the
/// next one that opens the register finishes what was begun.
///
/// The lock that keeps writers apart is on the whole file and nobody waits for it. Whoever reads
/// for a listing does not take it: see read_settled().
#pragma once

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/file.h"
#include "platform/services.h"

#include <list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zav {

/// Opens a file, made when it is not there, and locks it. Code::ok, `unopened` or
/// Code::file_locked. The lock ends when `fd` is closed.
Code file_lock_open(const char* path, FileDescriptor& fd, Code unopened);

/// The live file of a service, which may be one without a path, or the recycle file that keeps its
/// forbidden shares; null for a service that has none. The case does not matter.
const ShareFile* live_file(std::string_view service);
const ShareFile* recycle_file(std::string_view service);

class ShareFiles {
  public:
    ShareFiles() = default;
    ShareFiles(const ShareFiles&) = delete;
    ShareFiles& operator=(const ShareFiles&) = delete;
    /// Releases the locks. A file that was made is removed if it is still empty and nobody has put
    /// another in its place.
    ~ShareFiles();

    /// Opens files in that order, but always the register first: a change that was cut short is
    /// finished then, and its files are handed to the configuration tool. One that is null, has no
    /// path or is open already is passed over. Code::ok; Code::share_register_unopened or
    /// Code::service_file_unopened; Code::file_locked; Code::share_file_malformed, also for one
    /// that cannot be read; Code::share_register_unwritten when a change could not be finished.
    /// After a failure nothing more is opened: it is the result of each later call as well.
    Code open(const std::vector<const ShareFile*>& files);

    /// The shares of an open file, or of one that open() passed over, which has none.
    share_list& shares(const ShareFile& file);
    share_list& registered() { return shares(share_register_file()); }

    /// Rewrites open files with their shares, makes that durable, and hands them to the
    /// configuration tool in that order. One that is null or has no path is passed over. Code::ok;
    /// Code::share_register_unwritten or Code::service_file_unwritten, Code::file_locked when
    /// somebody keeps reading one or has put another in its place, Code::user_secrets_unread when a
    /// target's users have secrets in a file that cannot be read: all files are then as they were.
    Code write(const std::vector<const ShareFile*>& files);

    /// The same in two steps, for a change that must not fail once something else has happened.
    /// prepare() makes the new texts and reserves the room that writing them takes; without it the
    /// code is that of write(), and nothing has changed. write_prepared() writes what was prepared,
    /// or nothing.
    Code prepare(const std::vector<const ShareFile*>& files);
    Code write_prepared();

  private:
    struct OpenFile {
        const ShareFile* file = nullptr;
        FileDescriptor fd;
        bool was_made = false; ///< by us, and nothing is in it yet
        std::string text;      ///< what it holds
        share_list shares;
    };
    struct Rewrite {
        OpenFile* file;
        std::string text;
    };

    OpenFile* find(const ShareFile& file);
    Code open_one(const ShareFile& file);
    Code make_rewrites(const std::vector<const ShareFile*>& files, std::list<Rewrite>& rewrites);
    static std::vector<FileChange> changes_of(const std::list<Rewrite>& rewrites);
    static Code code_of_failure(const std::list<Rewrite>& rewrites, std::size_t place);
    using ChangeFunction = std::optional<ChangeFailure> (*)(std::string_view owner,
                                                            std::span<const FileChange> changes);
    Code carry_out(std::list<Rewrite>& rewrites, ChangeFunction change);
    Code rewrite_all(const std::list<Rewrite>& rewrites, ChangeFunction change);

    Code unopened_ = Code::ok;  ///< the first failure to open a file
    std::list<OpenFile> files_; ///< in the order of opening
    std::list<Rewrite> prepared_;
    bool has_room_ = false; ///< for what is prepared, in a file of its own
};

/// Finishes a change that was cut short, unless somebody has the files: the services know no
/// journal.
void finish_share_change();

/// Opens a service's live file, or the recycle file that keeps its forbidden shares. Also
/// Code::unknown_service, for a service without one.
Code service_conf_open(ShareFiles& files, std::string_view service);
Code recy_conf_open(ShareFiles& files, std::string_view service);

} // namespace zav
