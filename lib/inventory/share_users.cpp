// SPDX-License-Identifier: MIT
#include "inventory/share_users.h"

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

// For the look-up of a path's user.
constexpr std::size_t user_slots = 24;
constexpr std::size_t user_slot_length = 31;

bool is_regular_file(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool is_directory(const char* path) {
    struct stat status = {};
    return ::stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

/// The names of the regular files in the FTP server's directory; nothing when it cannot be opened.
std::optional<std::vector<std::string>> ftp_users() {
    auto names = directory_entries(ftp_users_directory);
    if (names) {
        std::erase_if(
            *names, [](const std::string& name) { return !is_regular_file(ftp_user_path(name)); });
    }
    return names;
}

} // namespace

int get_user_secret(std::string_view user, std::string& secret) {
    if (user.empty()) {
        return -1;
    }
    const auto file = read_file(user_file_path);
    if (!file) {
        return error::user_secrets_unread;
    }
    secret = secret_of_user(*file, user);
    return 0;
}

int check_username(std::string_view user) {
    const auto appliance_users = read_file(user_file_path);
    if (!appliance_users) {
        return error::user_file_unread;
    }
    if (has_appliance_user(*appliance_users, user)) {
        return 0;
    }
    const auto system_users = read_file(passwd_path);
    if (!system_users) {
        return error::passwd_unread;
    }
    return has_system_user(*system_users, user) ? 0 : error::unknown_user;
}

int read_file_lines(const char* path, std::vector<std::string>& lines) {
    const FileDescriptor fd = FileDescriptor::open(path, O_RDONLY);
    const auto text = fd && lock_shared(fd.get()) ? read_rest(fd.get()) : std::nullopt;
    if (!text) {
        return -1;
    }
    lines = content_lines(*text);
    return lines.size() <= most_lines ? 0 : log_return(-2, {"read_file", __builtin_LINE()});
}

int get_user(std::vector<std::string>& names, std::size_t count, std::size_t length) {
    auto found = ftp_users();
    if (!found) {
        const LogSite site = LogSite::numbered(483);
        log_error("%s:%d return with %s\n", site.function, site.line, std::strerror(errno));
        return -1;
    }
    for (std::string& name : *found) {
        if (names.size() == count) {
            break;
        }
        names.push_back(name.substr(0, length));
    }
    return static_cast<int>(names.size());
}

int check_user_from_vsftpd(std::string_view user) {
    if (!is_directory(ftp_users_directory)) {
        return log_return(-1, LogSite::numbered(125));
    }
    const auto names = ftp_users();
    if (!names) {
        return log_return(-2, LogSite::numbered(133));
    }
    return std::ranges::find(*names, user) != names->end() ? 1 : -1;
}

int user_of_path(std::string_view path, std::string& user) {
    std::vector<std::string> names;
    get_user(names, user_slots, user_slot_length);
    for (const std::string& name : names) {
        const std::string file = read_file(ftp_user_path(name).c_str()).value_or("");
        if (local_root(file) == path) {
            user = name;
            return 0;
        }
    }
    return -1;
}

} // namespace zav
