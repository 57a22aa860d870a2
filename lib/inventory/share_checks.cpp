// SPDX-License-Identifier: MIT
#include "inventory/share_checks.h"

#include "base/checks.h"
#include "base/codes.h"
#include "base/log.h"
#include "base/text.h"
#include "inventory/share_users.h"
#include "sources/vsftpd.h"

#include <algorithm>
#include <arpa/inet.h>
#include <string>

namespace zav {

namespace {

// A line of 255 characters is all that smb.conf is read with; "    valid users = " is in it.
constexpr std::size_t longest_samba_users = 255 - 18;

bool is_mode(std::string_view mode, std::string_view service) {
    return equal_ignoring_case(mode, service);
}

/// Whether a line of the files can carry a text: nothing in it ends the line or makes it a second
/// key, and its last character does not continue the line.
bool is_line_text(std::string_view text) {
    const std::string_view end = trim(text); // readers of lines do not see the blanks behind it
    return !end.ends_with('+') && !end.ends_with('\\') &&
           text.find_first_of("=\n\r\f\x1a") == std::string_view::npos;
}

/// A negative one too: it is printed before it is refused.
int prefix_length(std::string_view text) {
    const bool is_negative = text.starts_with('-');
    const int length = decimal_int(text.substr(is_negative ? 1 : 0));
    return is_negative ? -length : length;
}

/// "10.0.0.0", "10.0.0.0/8".
bool is_host(std::string_view text, Sink& out) {
    const std::size_t slash = text.find('/');
    const std::string address(text.substr(0, slash));
    in_addr parsed = {};
    bool is_valid = ::inet_pton(AF_INET, address.c_str(), &parsed) == 1;
    if (slash != std::string_view::npos) {
        const std::string_view digits = text.substr(slash + 1);
        const int length = prefix_length(digits);
        out.print("ip:%s %d\n", address.c_str(), length);
        is_valid = is_valid && std::ranges::all_of(digits, is_digit) && length >= 1 && length <= 32;
    }
    return is_valid;
}

bool can_be_carried(std::string_view mode, std::string_view users) {
    const bool is_samba = is_mode(mode, share_type::samba);
    const std::size_t longest = is_samba ? longest_samba_users : BoundedText<256>::capacity;
    return users.size() <= longest && is_line_text(users) &&
           users.find_first_of(blanks) == std::string_view::npos &&
           (users.empty() || !is_mode(mode, share_type::ftp) || is_ftp_user_name(users));
}

} // namespace

Code check_share_name(const char* name) {
    const bool is_valid =
        !failed(check_name32(name)) && *name != '-' && !equal_ignoring_case(name, "global");
    return is_valid ? Code::ok : Code::bad_share_name;
}

std::string_view service_of_mode(const char* mode) {
    const std::string_view given = mode != nullptr ? mode : "";
    if (is_mode(given, "cifs")) {
        return share_type::samba;
    }
    const bool is_service = is_mode(given, share_type::samba) || is_mode(given, share_type::ftp) ||
                            is_mode(given, share_type::nfs) || is_mode(given, share_type::iscsi);
    return is_service ? given : "";
}

Code check_comment(BoundedText<129>& comment, const char* text) {
    const std::string_view given = text != nullptr ? text : "";
    return is_line_text(given) && !failed(copy_text128(comment, text)) ? Code::ok
                                                                       : Code::bad_comment;
}

Code check_user(std::string_view mode, const char* users, Sink& out) {
    if (is_mode(mode, share_type::nfs)) {
        return is_host(users, out) ? Code::ok : log_return(Code::bad_host, LogSite::numbered(137));
    }
    if (!can_be_carried(mode, users)) {
        return log_return(Code::unknown_user);
    }
    for (const std::string_view user : split(users, ",")) {
        if (const Code result = check_username(user); failed(result)) {
            return log_return(result);
        }
    }
    return Code::ok;
}

} // namespace zav
