// SPDX-License-Identifier: MIT
#include "inventory/share_users.h"

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "sources/nas_users.h"
#include "sources/passwd.h"
#include "sources/vsftpd.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

namespace zav {

namespace {

constexpr std::size_t most_lines = 301;

bool is_regular_file(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool is_directory(const char* path) {
    struct stat status = {};
    return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

/// The names of the regular files in the FTP server's directory; nothing when it cannot be read.
std::optional<std::vector<std::string>> ftp_users() {
    auto names = directory_entries(ftp_users_directory);
    if (names) {
        std::erase_if(*names, [](const std::string& name) {
            return NewFile::is_name(name) || !is_regular_file(ftp_user_path(name));
        });
    }
    return names;
}

} // namespace

Result<std::string> get_user_secret(std::string_view user) {
    if (user.empty()) {
        return Code::user_missing;
    }
    const auto file = read_file(user_file_path);
    return file ? Result<std::string>(secret_of_user(*file, user)) : Code::user_secrets_unread;
}

Code check_username(std::string_view user) {
    const auto appliance_users = read_file(user_file_path);
    if (!appliance_users) {
        return Code::user_file_unread;
    }
    if (has_appliance_user(*appliance_users, user)) {
        return Code::ok;
    }
    const auto system_users = read_settled(passwd_path, passwd_path);
    if (!system_users) {
        return Code::passwd_unread;
    }
    return has_system_user(*system_users, user) ? Code::ok : Code::unknown_user;
}

bool is_superuser(std::string_view user) {
    const auto system_users = read_settled(passwd_path, passwd_path);
    return system_users ? has_system_user_id(*system_users, user, 0) : errno != ENOENT;
}

Result<std::vector<std::string>> read_file_lines(const char* path) {
    const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
    const auto text = fd && lock_shared(fd.get()) ? read_rest(fd.get()) : std::nullopt;
    if (!text) {
        return Code::lines_unread;
    }
    auto lines = content_lines(*text);
    if (lines.size() > most_lines) {
        return log_return(Code::too_many_lines, LogSite::here("read_file"));
    }
    return lines;
}

std::optional<std::vector<std::string>> get_user(std::size_t count, std::size_t length) {
    auto names = ftp_users();
    if (!names) {
        const LogSite site = LogSite::numbered(483);
        log_error("%s:%d return with %s\n", site.function, site.line, std::strerror(errno));
        return std::nullopt;
    }
    names->resize(std::min(names->size(), count));
    for (std::string& name : *names) {
        name.resize(std::min(name.size(), length));
    }
    return names;
}

Presence check_user_from_vsftpd(std::string_view user) {
    constexpr int no_directory = -1;
    constexpr int not_listed = -2;
    if (!is_directory(ftp_users_directory)) {
        log_failure(static_cast<Code>(no_directory), LogSite::numbered(125));
        return Presence::unknown;
    }
    const auto names = ftp_users();
    if (!names) {
        log_failure(static_cast<Code>(not_listed), LogSite::numbered(133));
        return Presence::unknown;
    }
    return presence(std::ranges::find(*names, user) != names->end());
}

Result<std::vector<std::string>> users_of_share(std::string_view share,
                                                std::string_view directory) {
    const auto names = directory_entries(ftp_users_directory);
    if (!names && errno != ENOENT && errno != ENOTDIR) {
        return Code::lines_unread;
    }
    std::vector<std::string> users;
    for (const std::string& name : names.value_or(std::vector<std::string>())) {
        const auto file = read_file(ftp_user_path(name).c_str());
        const bool is_none = !file && (errno == ENOENT || errno == EISDIR || errno == EINVAL);
        if (!file && !is_none) {
            return Code::lines_unread;
        }
        const auto root = file ? local_root(*file) : std::nullopt;
        const bool is_user = name != default_ftp_user && !NewFile::is_name(name);
        if (root && is_user && last_component(*root) == share &&
            (directory.empty() || *root == directory)) {
            users.push_back(name);
        }
    }
    return users;
}

} // namespace zav
