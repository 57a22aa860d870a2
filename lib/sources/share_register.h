// SPDX-License-Identifier: MIT
/// \file
/// The share register: a section for each share, of whatever service.
#pragma once

#include "records/share.h"
#include "sources/share_lines.h"

#include <span>
#include <string_view>

namespace zav {

inline constexpr const char* share_register_path = "/etc/sharefolder.conf";

/// A service as the register has it: the key that is "1" for its shares, and what listings show.
struct RegisterService {
    std::string_view key;
    std::string_view shown;
};
using RegisterServices = std::span<const RegisterService>;

/// For changes: adds a record for every section. Lines before the first one are passed over.
/// FileCode::ok, or FileCode::malformed with the records up to the malformed line.
FileCode parse_register_sections(std::string_view text, RegisterServices services,
                                 share_list& list);

/// For listings: adds the shares of the register, malformed or not. Of several services a share has
/// their names joined by commas.
void scan_register(std::string_view text, RegisterServices services, share_list& list);

/// Its section in /etc/sharefolder.conf.
Lines register_lines(const share_info& share, RegisterServices services);

} // namespace zav
