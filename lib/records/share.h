// SPDX-License-Identifier: MIT
/// \file
/// The share record: a folder, or for iSCSI a device, that one service exports.
#pragma once

#include "base/bounded_text.h"
#include "base/lists.h"
#include "base/units.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace zav {

/// The services, as the register spells them.
namespace share_type {
inline constexpr std::string_view samba = "samba";
inline constexpr std::string_view nfs = "nfs";
inline constexpr std::string_view ftp = "ftp";
inline constexpr std::string_view iscsi = "iscsi";
} // namespace share_type

/// The spelling of iSCSI in listings.
inline constexpr std::string_view shown_iscsi = "iSCSI";

/// How long a share's name may be; only those of iSCSI targets, with their time, are longer.
inline constexpr std::size_t share_name_length = 32;

/// The FTP account that every share without a user of its own belongs to. It is never changed.
inline constexpr std::string_view default_ftp_user = "ftpuser";

/// The comment of a share that is not mounted; front ends look for it.
inline constexpr std::string_view unmounted_comment = "Filesystem umounted";

struct share_info {
    BoundedText<64> name;
    BoundedText<129> comment;
    BoundedText<128> path;
    BoundedText<32> type; ///< the service; empty when the share is forbidden
    BoundedText<8> device{"N.A."};
    /// Samba: valid users; NFS: hosts; iSCSI: users, separated by blanks or commas; FTP: the user.
    BoundedText<256> users;
    std::int32_t write = 1; ///< 0 when read-only
    SignedGib size;
    TenMib usedsize;
    ListLink link;
};

using share_list = RecordList<share_info>;

/// Whether a share is of a service, whatever the case.
bool is_type(const share_info& share, std::string_view type);

/// Whether a service has the share, maybe as one of several that are joined by commas.
bool is_served_by(const share_info& share, std::string_view type);

/// The name that a share is looked up by: of an iSCSI target without its time.
std::string_view lookup_name(const share_info& share);

/// The share with that name, exactly; null when there is none.
share_info* find_by_name(share_list& list, std::string_view name);

/// The share that is looked up by the same name as `share`; null when there is none.
share_info* find_same(share_list& list, const share_info& share);

/// Copies a text unless it is empty: what was not given stays as it is.
template <std::size_t Size, std::size_t Other>
void copy_given(BoundedText<Size>& target, const BoundedText<Other>& source) {
    if (!source.empty()) {
        target = source.view();
    }
}

/// Gives the member of that name the comment, users, access and service of `share`, or no service
/// when it has none. False when there was none and a copy without its sizes was added.
bool share_list_update(const share_info& share, share_list& list);

/// Adds a copy of a share. False when there is one of that name.
bool share_list_add(const share_info& share, share_list& list);

/// Takes all shares that are looked up by the same name out of the list. False without one.
bool share_list_remove(share_list& list, const share_info& share);

/// Those of `namesakes`, entries of a service's file with a share's name, that are the share. An
/// export has no name of its own but that of its folder: those with the share's `path` are meant.
/// Without any the only path that has the name is, but none of several.
std::vector<share_info*> own_entries(std::vector<share_info*> namesakes, std::string_view path);

/// The entries of a service's file that are the share with that path.
std::vector<share_info*> find_entries(share_list& list, const share_info& share,
                                      std::string_view path);

/// Takes them out of the list. False without one.
bool remove_entries(share_list& list, const share_info& share, std::string_view path);

} // namespace zav
