// SPDX-License-Identifier: MIT
/// \file
/// The services that shares are offered by. What differs between them is a row of the table in
/// services.cpp: another service is another row, with its reader and its format in lib/sources.
#pragma once

#include "base/codes.h"
#include "records/share.h"
#include "sources/share_lines.h"
#include "sources/share_register.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace zav {

/// A file of a service's shares: those in use, or the forbidden ones.
struct ShareFile {
    const char* path; ///< null: the service keeps none
    const char* item; ///< the name that the configuration tool knows it by
    FileCode (*parse)(std::string_view text, share_list& list);
    /// What of the text is not the shares' and stays in front of them; null: nothing.
    std::string (*kept)(std::string_view text);
    Lines (*lines)(const share_info& share, const LineContext& context);
};

/// Adds the shares of the register to the list. FileCode::ok or FileCode::malformed.
FileCode share_list_read(std::string_view text, share_list& list);

/// The register of all shares, as a file of that kind.
const ShareFile& share_register_file();

/// The name that the configuration tool knows a share file by; for any other path the register's.
const char* saved_name(std::string_view path);

/// Where a service's shares are mounted.
enum class SharePath {
    group_directory, ///< /mnt/GROUP/NAME
    user_home,       ///< a directory in the home of the FTP server's default user
    device           ///< nowhere: the pool's device itself is offered
};

/// Who a share's users are.
enum class ShareUsers {
    accounts,    ///< accounts of the appliance or the system
    ftp_account, ///< one of them, whose home and file of its own lead to the share
    hosts        ///< addresses
};

struct Service {
    std::string_view name;  ///< in the register, and as a mode on the command line
    std::string_view alias; ///< another word for the mode; empty for none
    std::string_view shown; ///< in listings
    const char* script;     ///< its init script
    SharePath path;
    ShareUsers users;
    std::size_t longest_users; ///< that its file is read back with
    ShareFile live;
    /// Only a service that has one keeps users and comment of its forbidden shares.
    const ShareFile* recycled; ///< null: no trace but the register's
};

/// All services, in the order of the register's keys.
std::span<const Service> services();

/// The service of that name, whatever the case; null when there is none.
const Service* find_service(std::string_view name);

/// The same by name or alias, as a mode on the command line gives it.
const Service* find_service_of_mode(std::string_view mode);

/// The services as the register has them.
RegisterServices register_services();

inline bool has_file_system(const Service& service) {
    return service.path != SharePath::device;
}

/// What a share's service is; false for a forbidden share, whose service is not known.
bool is_on_device(const share_info& share);
bool has_ftp_account(const share_info& share);

/// The name of the service that a mode on the command line means, whatever the mode's case: the
/// register and the services' files know no other spelling. Empty when there is none. A null mode
/// is none.
std::string_view service_of_mode(const char* mode);

} // namespace zav
