// SPDX-License-Identifier: MIT
#include "platform/services.h"

#include "base/text.h"
#include "sources/exports.h"
#include "sources/ietd_conf.h"
#include "sources/smb_conf.h"

#include <algorithm>
#include <array>

namespace zav {

namespace {

// smb.conf is read with lines of at most 255 characters, "    valid users = " included.
constexpr std::size_t longest_samba_users = 255 - 18;
constexpr std::size_t longest_users = decltype(share_info::users)::capacity;

Lines live_samba_lines(const share_info& share, const LineContext&) {
    return samba_lines(share, "writable");
}

Lines recycled_samba_lines(const share_info& share, const LineContext&) {
    return samba_lines(share, "writeable");
}

Lines export_lines(const share_info& share, const LineContext&) {
    return export_line(share);
}

Lines lines_of_register(const share_info& share, const LineContext&) {
    return register_lines(share, register_services());
}

constexpr ShareFile register_file = {share_register_path, share_register_path, share_list_read,
                                     nullptr, lines_of_register};

constexpr ShareFile no_file = {nullptr, nullptr, nullptr, nullptr, nullptr};

constexpr ShareFile samba_recycled = {samba_recycle_path, samba_recycle_path, parse_samba, nullptr,
                                      recycled_samba_lines};

constexpr ShareFile exports_recycled = {
    // The configuration tool knows the forbidden exports by another name than their file's.
    exports_recycle_path, "/etc/exports_recy.conf", parse_exports, nullptr, export_lines};

constexpr std::array<Service, 4> table = {{
    {.name = share_type::samba,
     .alias = "cifs",
     .shown = share_type::samba,
     .script = "samba",
     .path = SharePath::group_directory,
     .users = ShareUsers::accounts,
     .longest_users = longest_samba_users,
     .live = {samba_path, samba_path, parse_samba, samba_kept, live_samba_lines},
     .recycled = &samba_recycled},
    {.name = share_type::nfs,
     .alias = "",
     .shown = share_type::nfs,
     .script = "nfs",
     .path = SharePath::group_directory,
     .users = ShareUsers::hosts,
     .longest_users = longest_users,
     .live = {exports_path, exports_path, parse_exports, nullptr, export_lines},
     .recycled = &exports_recycled},
    {.name = share_type::ftp,
     .alias = "",
     .shown = share_type::ftp,
     .script = "vsftpd",
     .path = SharePath::user_home,
     .users = ShareUsers::ftp_account,
     .longest_users = longest_users,
     .live = no_file,
     .recycled = nullptr},
    {.name = share_type::iscsi,
     .alias = "",
     .shown = shown_iscsi,
     .script = "iscsi-target",
     .path = SharePath::device,
     .users = ShareUsers::accounts,
     .longest_users = longest_users,
     .live = {targets_path, targets_path, parse_targets, nullptr, target_lines},
     .recycled = nullptr},
}};

constexpr auto registered = [] {
    std::array<RegisterService, table.size()> keys = {};
    std::ranges::transform(table, keys.begin(), [](const Service& service) {
        return RegisterService{service.name, service.shown};
    });
    return keys;
}();

} // namespace

FileCode share_list_read(std::string_view text, share_list& list) {
    return parse_register_sections(text, register_services(), list);
}

const ShareFile& share_register_file() {
    return register_file;
}

const char* saved_name(std::string_view path) {
    for (const Service& service : table) {
        for (const ShareFile* file : {&service.live, service.recycled}) {
            if (file != nullptr && file->path != nullptr && path == file->path) {
                return file->item;
            }
        }
    }
    return share_register_path;
}

std::span<const Service> services() {
    return table;
}

const Service* find_service(std::string_view name) {
    const auto* found = std::ranges::find_if(
        table, [name](const Service& service) { return equal_ignoring_case(service.name, name); });
    return found != table.end() ? found : nullptr;
}

const Service* find_service_of_mode(std::string_view mode) {
    const auto* found = std::ranges::find_if(table, [mode](const Service& service) {
        return !service.alias.empty() && equal_ignoring_case(service.alias, mode);
    });
    return found != table.end() ? found : find_service(mode);
}

RegisterServices register_services() {
    return registered;
}

bool is_on_device(const share_info& share) {
    const Service* service = find_service(share.type);
    return service != nullptr && service->path == SharePath::device;
}

bool has_ftp_account(const share_info& share) {
    const Service* service = find_service(share.type);
    return service != nullptr && service->users == ShareUsers::ftp_account;
}

std::string_view service_of_mode(const char* mode) {
    const Service* service = find_service_of_mode(mode != nullptr ? mode : "");
    return service != nullptr ? service->name : "";
}

} // namespace zav
