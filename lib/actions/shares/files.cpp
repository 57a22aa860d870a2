// SPDX-License-Identifier: MIT
#include "actions/shares/files.h"

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/share_users.h"
#include "platform/conf_save.h"
#include "sources/share_register.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace zav {

namespace {

constexpr mode_t file_mode = 0700;

bool is_register(const ShareFile& file) {
    return &file == &share_register_file();
}

Code unopened_code(const ShareFile& file) {
    return is_register(file) ? Code::share_register_unopened : Code::service_file_unopened;
}

Code unwritten_code(const ShareFile& file) {
    return is_register(file) ? Code::share_register_unwritten : Code::service_file_unwritten;
}

/// The secrets of users. Without the file there are none; one that is there and cannot be read must
/// not cost the targets theirs.
class Secrets {
  public:
    std::string operator()(std::string_view user) {
        const auto secret = get_user_secret(user);
        is_unread_ = is_unread_ || (!secret && errno != ENOENT);
        return secret ? *secret : "";
    }
    [[nodiscard]] bool is_unread() const { return is_unread_; }

  private:
    bool is_unread_ = false;
};

/// What the file is to hold: what is not the shares', then the shares. Code::user_secrets_unread.
Result<std::string> new_text(const ShareFile& file, std::string_view text, const share_list& list) {
    std::string result = file.kept != nullptr ? file.kept(text) : "";
    Secrets secrets;
    const LineContext context = {std::time(nullptr), std::ref(secrets)};
    for (const share_info& share : list) {
        for (const std::string& line : file.lines(share, context)) {
            result += line;
        }
    }
    if (secrets.is_unread()) {
        return Code::user_secrets_unread;
    }
    return result;
}

/// Opens a file without making one that is there already; `was_made` tells.
FileDescriptor open_or_make(const char* path, bool& was_made) {
    constexpr int attempts = 100; // one may come and go in between
    FileDescriptor fd;
    for (int attempt = 0; attempt < attempts && !fd; ++attempt) {
        was_made = false;
        fd = FileDescriptor::open(path, O_RDWR, file_mode);
        if (!fd && errno == ENOENT) {
            fd = FileDescriptor::open(path, O_RDWR | O_CREAT | O_EXCL, file_mode);
            was_made = bool(fd);
        }
        if (!fd && errno != EEXIST && errno != ENOENT) {
            break;
        }
    }
    return fd;
}

Code open_and_lock(const char* path, FileDescriptor& fd, bool& was_made, Code unopened) {
    constexpr int attempts = 100;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        fd = open_or_make(path, was_made);
        if (!fd) {
            return unopened;
        }
        if (try_lock(fd.get()) != LockResult::locked) {
            fd.close();
            return Code::file_locked;
        }
        if (names_open_file(path, fd.get())) {
            return Code::ok;
        }
        // Whoever made it removed it before it was locked here.
    }
    fd.close();
    return Code::file_locked;
}

/// Keeps readers out of an open file, unless somebody has put another in its place meanwhile.
bool lock_in_place(const char* path, int fd) {
    return lock_for_rewriting(fd) && names_open_file(path, fd);
}

/// Writes what the entries of a journal say. Code::ok, Code::file_locked,
/// Code::service_file_unopened or Code::share_register_unwritten.
Code finish(const std::vector<JournalEntry>& entries, const FileDescriptor& register_fd) {
    std::list<FileDescriptor> opened;
    std::vector<int> fds;
    std::vector<FileContent> contents;
    for (const JournalEntry& entry : entries) {
        const bool is_the_register = entry.path == share_register_path;
        FileDescriptor fd;
        bool was_made = false;
        if (!is_the_register) {
            const Code result =
                open_and_lock(entry.path.c_str(), fd, was_made, Code::service_file_unopened);
            if (failed(result)) {
                return result;
            }
        }
        fds.push_back(is_the_register ? register_fd.get() : fd.get());
        opened.push_back(std::move(fd));
        if (!lock_in_place(entry.path.c_str(), fds.back())) {
            return Code::file_locked;
        }
        contents.push_back(::lseek(fds.back(), 0, SEEK_SET) == 0 ? read_rest(fds.back())
                                                                 : std::nullopt);
        if (!contents.back()) {
            return Code::share_register_unwritten;
        }
    }
    const bool is_finished =
        finish_files(entries, contents, [&fds](std::size_t place, const std::string& text) {
            return rewrite(fds[place], text);
        });
    return is_finished && sync_files(fds) ? Code::ok : Code::share_register_unwritten;
}

/// Finishes the change that a run of this program began and could not end.
Code finish_interrupted_change(const FileDescriptor& register_fd) {
    const auto entries = read_journal(share_register_path);
    if (!entries) {
        return Code::share_register_unopened;
    }
    if (entries->empty()) {
        return Code::ok;
    }
    const Code result =
        lock_for_rewriting(register_fd.get()) ? finish(*entries, register_fd) : Code::file_locked;
    release_readers(register_fd.get());
    if (failed(result)) {
        return result;
    }
    remove_journal(share_register_path);
    for (const JournalEntry& entry : *entries) {
        ignore(conf_save(saved_name(entry.path)));
    }
    return Code::ok;
}

bool is_empty(int fd) {
    struct stat status = {};
    return ::fstat(fd, &status) == 0 && status.st_size == 0;
}

} // namespace

Code file_lock_open(const char* path, FileDescriptor& fd, Code unopened) {
    bool was_made = false;
    return open_and_lock(path, fd, was_made, unopened);
}

const ShareFile* live_file(std::string_view service) {
    const Service* found = find_service_of_mode(service);
    return found != nullptr ? &found->live : nullptr;
}

const ShareFile* recycle_file(std::string_view service) {
    const Service* found = find_service_of_mode(service);
    return found != nullptr ? found->recycled : nullptr;
}

ShareFiles::~ShareFiles() {
    if (has_room_) {
        forget_prepared_change(share_register_path);
    }
    for (const OpenFile& open : files_) {
        if (open.was_made && is_empty(open.fd.get()) &&
            names_open_file(open.file->path, open.fd.get())) {
            ::unlink(open.file->path);
        }
    }
}

ShareFiles::OpenFile* ShareFiles::find(const ShareFile& file) {
    const auto found = std::ranges::find(files_, &file, &OpenFile::file);
    return found != files_.end() ? &*found : nullptr;
}

share_list& ShareFiles::shares(const ShareFile& file) {
    if (OpenFile* open = find(file)) {
        return open->shares;
    }
    OpenFile& none = files_.emplace_back();
    none.file = &file;
    return none.shares;
}

Code ShareFiles::open_one(const ShareFile& file) {
    OpenFile& open = files_.emplace_back();
    open.file = &file;
    if (const Code result = open_and_lock(file.path, open.fd, open.was_made, unopened_code(file));
        failed(result)) {
        return result;
    }
    if (is_register(file)) {
        forget_prepared_change(share_register_path); // of a run that was killed
        if (const Code result = finish_interrupted_change(open.fd); failed(result)) {
            return result;
        }
    }
    auto text = ::lseek(open.fd.get(), 0, SEEK_SET) == 0 ? read_rest(open.fd.get()) : std::nullopt;
    if (!text || failed(file.parse(*text, open.shares))) {
        return Code::share_file_malformed;
    }
    open.text = std::move(*text);
    return Code::ok;
}

Code ShareFiles::open(const std::vector<const ShareFile*>& files) {
    for (const ShareFile* file : files) {
        if (failed(unopened_) || file == nullptr || file->path == nullptr ||
            find(*file) != nullptr) {
            continue;
        }
        if (files_.empty() && !is_register(*file)) {
            unopened_ = open_one(share_register_file());
        }
        if (!failed(unopened_)) {
            unopened_ = open_one(*file);
        }
    }
    return unopened_;
}

Code ShareFiles::code_of_failure(const std::list<Rewrite>& rewrites, std::size_t place) {
    const auto file = std::next(rewrites.begin(), static_cast<std::ptrdiff_t>(place));
    return unwritten_code(*file->file->file);
}

std::vector<FileChange> ShareFiles::changes_of(const std::list<Rewrite>& rewrites) {
    std::vector<FileChange> changes;
    for (const Rewrite& change : rewrites) {
        const OpenFile& open = *change.file;
        changes.push_back({open.file->path, open.fd.get(), open.text, change.text});
    }
    return changes;
}

Code ShareFiles::rewrite_all(const std::list<Rewrite>& rewrites, ChangeFunction change) {
    // The register first, also when it stays as it is: who has it reads all files.
    if (const OpenFile* listed = find(share_register_file());
        listed != nullptr && !lock_in_place(share_register_path, listed->fd.get())) {
        return Code::file_locked;
    }
    const auto failure = change(share_register_path, changes_of(rewrites));
    if (!failure) {
        return Code::ok;
    }
    return failure->is_locked ? Code::file_locked : code_of_failure(rewrites, failure->file);
}

Code ShareFiles::make_rewrites(const std::vector<const ShareFile*>& files,
                               std::list<Rewrite>& rewrites) {
    for (const ShareFile* file : files) {
        OpenFile* open = file != nullptr && file->path != nullptr ? find(*file) : nullptr;
        if (open != nullptr && open->fd) {
            auto text = new_text(*file, open->text, open->shares);
            if (!text) {
                return text.code();
            }
            rewrites.push_back({open, std::move(*text)});
        }
    }
    return Code::ok;
}

Code ShareFiles::carry_out(std::list<Rewrite>& rewrites, ChangeFunction change) {
    if (rewrites.empty()) {
        return Code::ok;
    }
    const Code result = rewrite_all(rewrites, change);
    for (Rewrite& rewrite : rewrites) {
        release_readers(rewrite.file->fd.get());
        if (!failed(result)) {
            rewrite.file->was_made = false;
            rewrite.file->text = std::move(rewrite.text);
        }
    }
    if (const OpenFile* listed = find(share_register_file())) {
        release_readers(listed->fd.get());
    }
    if (failed(result)) {
        return result;
    }
    for (const Rewrite& rewrite : rewrites) {
        ignore(conf_save(rewrite.file->file->item));
    }
    return Code::ok;
}

Code ShareFiles::write(const std::vector<const ShareFile*>& files) {
    std::list<Rewrite> rewrites;
    const Code result = make_rewrites(files, rewrites);
    return failed(result) ? result : carry_out(rewrites, [](auto owner, auto changes) {
        return change_files(owner, changes);
    });
}

Code ShareFiles::prepare(const std::vector<const ShareFile*>& files) {
    const Code result = make_rewrites(files, prepared_);
    if (failed(result) || prepared_.empty()) {
        return result;
    }
    has_room_ = true; // also a part of it goes with this object
    const auto full = prepare_change(share_register_path, changes_of(prepared_));
    if (!full) {
        return Code::ok;
    }
    const Code unwritten = code_of_failure(prepared_, *full);
    prepared_.clear();
    return unwritten;
}

Code ShareFiles::write_prepared() {
    return carry_out(prepared_, change_prepared_files);
}

void finish_share_change() {
    if (has_journal(share_register_path)) {
        ShareFiles files;
        ignore(files.open({&share_register_file()})); // the next change of a share needs it
    }
}

Code service_conf_open(ShareFiles& files, std::string_view service) {
    const ShareFile* file = live_file(service);
    return file != nullptr ? files.open({file}) : Code::unknown_service;
}

Code recy_conf_open(ShareFiles& files, std::string_view service) {
    const ShareFile* file = recycle_file(service);
    return file != nullptr ? files.open({file}) : Code::unknown_service;
}

} // namespace zav
