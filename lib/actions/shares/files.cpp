// SPDX-License-Identifier: MIT
#include "actions/shares/files.h"

#include "base/codes.h"
#include "base/text.h"
#include "inventory/share_users.h"
#include "platform/conf_save.h"
#include "sources/exports.h"
#include "sources/ietd_conf.h"
#include "sources/share_register.h"
#include "sources/smb_conf.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <fcntl.h>
#include <span>
#include <unistd.h>

namespace zav {

namespace {

/// The name that the configuration tool knows the forbidden exports by is not that of the file.
constexpr const char* exports_recycle_item = "/etc/exports_recy.conf";

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

/// The global part stays.
FileCode write_samba(int fd, const share_list& list) {
    const auto text = read_whole(fd);
    if (!text) {
        return FileCode::unwritten;
    }
    std::size_t start = samba_global_size(*text);
    const bool ends_open = start == text->size() && start > 0 && text->back() != '\n';
    if (ends_open && !write_all(fd, "\n")) {
        return FileCode::unwritten;
    }
    start += ends_open ? 1 : 0;
    return rewrite(fd, start, list, samba_path,
                   [](const share_info& share) { return samba_lines(share, "writable"); });
}

FileCode write_samba_recycle(int fd, const share_list& list) {
    return rewrite(fd, 0, list, samba_recycle_path,
                   [](const share_info& share) { return samba_lines(share, "writeable"); });
}

FileCode write_exports(int fd, const share_list& list) {
    return rewrite(fd, 0, list, exports_path, export_line);
}

FileCode write_exports_recycle(int fd, const share_list& list) {
    return rewrite(fd, 0, list, exports_recycle_item, export_line);
}

FileCode write_targets(int fd, const share_list& list) {
    const std::time_t now = std::time(nullptr);
    return rewrite(fd, 0, list, targets_path, [now](const share_info& share) {
        return target_lines(share, now, [](std::string_view user) {
            const auto secret = get_user_secret(user);
            return secret ? *secret : ""; // without the file there is no secret
        });
    });
}

constexpr std::array<ServiceFile, 5> live_files = {{
    {"Samba", samba_path, parse_samba, write_samba},
    {"CIFS", samba_path, parse_samba, write_samba},
    {"Ftp", nullptr, nullptr, nullptr},
    {"Nfs", exports_path, parse_exports, write_exports},
    {"Iscsi", targets_path, parse_targets, write_targets},
}};

// Forbidden FTP and iSCSI shares have no other trace than the register.
constexpr std::array<ServiceFile, 3> recycle_files = {{
    {"Samba", samba_recycle_path, parse_samba, write_samba_recycle},
    {"CIFS", samba_recycle_path, parse_samba, write_samba_recycle},
    {"Nfs", exports_recycle_path, parse_exports, write_exports_recycle},
}};

const ServiceFile* find_file(std::span<const ServiceFile> files, std::string_view service) {
    const auto found = std::ranges::find_if(files, [service](const ServiceFile& file) {
        return equal_ignoring_case(file.service, service);
    });
    return found != files.end() ? &*found : nullptr;
}

Code open_file(OpenServiceFile& file, const ServiceFile* service) {
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
    return text ? parse_register_sections(*text, list) : FileCode::unread;
}

FileCode share_list_write(const FileDescriptor& fd, const share_list& list) {
    return rewrite(fd.get(), 0, list, share_register_path, register_lines);
}

const ServiceFile* live_file(std::string_view service) {
    return find_file(live_files, service);
}

const ServiceFile* recycle_file(std::string_view service) {
    return find_file(recycle_files, service);
}

Code OpenServiceFile::open(const ServiceFile& file) {
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
    return !has_file() || !failed(file_->write(fd_.get(), shares_)) ? Code::ok
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
