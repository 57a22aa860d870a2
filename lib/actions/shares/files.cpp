// SPDX-License-Identifier: MIT
#include "actions/shares/files.h"

#include "base/codes.h"
#include "base/text.h"
#include "inventory/share_users.h"
#include "platform/conf_save.h"
#include "sources/exports.h"
#include "sources/share_register.h"

#include <ctime>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace zav {

namespace {

constexpr mode_t file_mode = 0700;

/// Cuts the file at `start`, writes every share's lines there, and hands it to the configuration
/// tool. A line that cannot be written ends the file.
template <class LinesOf>
FileCode rewrite(int fd, std::size_t start, const share_list& list, const char* item,
                 const LinesOf& lines_of) {
    const auto offset = static_cast<off_t>(start);
    if (::ftruncate(fd, offset) != 0 || ::lseek(fd, offset, SEEK_SET) != offset) {
        return FileCode::unwritten;
    }
    for (const share_info& share : list) {
        for (const std::string& line : lines_of(share)) {
            if (!write_all(fd, line)) {
                return FileCode::unwritten;
            }
        }
    }
    ignore(conf_save(item));
    return FileCode::ok;
}

/// The whole of an open file.
std::optional<std::string> read_whole(int fd) {
    return ::lseek(fd, 0, SEEK_SET) == 0 ? read_rest(fd) : std::nullopt;
}

/// Where the shares of the file begin. What stays in front of them gets a line end.
std::optional<std::size_t> start_of_shares(int fd, const ShareFile& file) {
    if (file.kept == nullptr) {
        return 0;
    }
    const auto text = read_whole(fd);
    if (!text) {
        return std::nullopt;
    }
    const std::size_t start = file.kept(*text);
    const bool ends_open = start == text->size() && start > 0 && text->back() != '\n';
    if (ends_open && !write_all(fd, "\n")) {
        return std::nullopt;
    }
    return start + (ends_open ? 1 : 0);
}

std::string secret_of(std::string_view user) {
    const auto secret = get_user_secret(user);
    return secret ? *secret : ""; // without the file there is no secret
}

FileCode write_share_file(int fd, const ShareFile& file, const share_list& list) {
    const auto start = start_of_shares(fd, file);
    if (!start) {
        return FileCode::unwritten;
    }
    const LineContext context = {std::time(nullptr), secret_of};
    return rewrite(fd, *start, list, file.item,
                   [&](const share_info& share) { return file.lines(share, context); });
}

Code open_file(OpenServiceFile& file, const ShareFile* service) {
    return service != nullptr ? file.open(*service) : Code::unknown_service;
}

} // namespace

Code file_lock_open(const char* path, FileDescriptor& fd, Code unopened) {
    fd = FileDescriptor::open(path, O_RDWR | O_CREAT, file_mode);
    if (!fd) {
        return unopened;
    }
    if (try_lock(fd.get()) != LockResult::locked) {
        fd.close();
        return Code::file_locked;
    }
    return Code::ok;
}

FileCode share_list_read(const FileDescriptor& fd, share_list& list) {
    const auto text = read_rest(fd.get());
    return text ? parse_register_sections(*text, register_services(), list) : FileCode::unread;
}

FileCode share_list_write(const FileDescriptor& fd, const share_list& list) {
    return rewrite(fd.get(), 0, list, share_register_path, [](const share_info& share) {
        return register_lines(share, register_services());
    });
}

const ShareFile* live_file(std::string_view service) {
    const Service* found = find_service_of_mode(service);
    return found != nullptr ? &found->live : nullptr;
}

const ShareFile* recycle_file(std::string_view service) {
    const Service* found = find_service_of_mode(service);
    return found != nullptr ? found->recycled : nullptr;
}

Code OpenServiceFile::open(const ShareFile& file) {
    file_ = &file;
    if (file.path == nullptr) {
        return Code::ok;
    }
    if (const Code result = file_lock_open(file.path, fd_, Code::service_file_unopened);
        failed(result)) {
        return result;
    }
    const auto text = read_rest(fd_.get());
    return text && !failed(file.parse(*text, shares_)) ? Code::ok : Code::share_file_malformed;
}

Code OpenServiceFile::write() {
    return !has_file() || !failed(write_share_file(fd_.get(), *file_, shares_))
               ? Code::ok
               : Code::service_file_unwritten;
}

Code OpenRegister::open() {
    if (const Code result = file_lock_open(share_register_path, fd_, Code::share_register_unopened);
        failed(result)) {
        return result;
    }
    return !failed(share_list_read(fd_, shares_)) ? Code::ok : Code::share_file_malformed;
}

Code OpenRegister::write() {
    return !failed(share_list_write(fd_, shares_)) ? Code::ok : Code::share_register_unwritten;
}

Code service_conf_open(OpenServiceFile& file, std::string_view service) {
    return open_file(file, live_file(service));
}

Code recy_conf_open(OpenServiceFile& file, std::string_view service) {
    return open_file(file, recycle_file(service));
}

Code read_exports_file(const char* path, share_list& list) {
    FileDescriptor fd;
    if (const Code result = file_lock_open(path, fd, Code::service_file_unopened); failed(result)) {
        return result;
    }
    const auto text = read_rest(fd.get());
    return text && !failed(parse_exports(*text, list)) ? Code::ok : Code::share_file_malformed;
}

} // namespace zav
