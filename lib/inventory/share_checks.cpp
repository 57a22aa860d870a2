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
#include <array>
#include <string>

namespace zav {

namespace {

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

/// Whether the service's files can carry the users.
bool can_be_carried(const Service& service, std::string_view users) {
    return users.size() <= service.longest_users && is_line_text(users) &&
           users.find_first_of(blanks) == std::string_view::npos &&
           (users.empty() || service.users != ShareUsers::ftp_account || is_ftp_user_name(users));
}

} // namespace

Code check_share_name(const char* name) {
    constexpr std::array<std::string_view, 3> samba_sections = {"global", "homes", "printers"};
    const bool is_valid = !failed(check_name32(name)) && *name != '-' &&
                          std::ranges::none_of(samba_sections, [name](std::string_view section) {
                              return equal_ignoring_case(name, section);
                          });
    return is_valid ? Code::ok : Code::bad_share_name;
}

Code check_comment(BoundedText<129>& comment, const char* text) {
    const std::string_view given = text != nullptr ? text : "";
    return is_line_text(given) && !failed(copy_text128(comment, text)) ? Code::ok
                                                                       : Code::bad_comment;
}

Code check_user(const Service& service, const char* users, Sink& out) {
    if (service.users == ShareUsers::hosts) {
        return is_host(users, out) ? Code::ok : log_return(Code::bad_host, LogSite::numbered(137));
    }
    if (!can_be_carried(service, users)) {
        return log_return(Code::unknown_user);
    }
    for (const std::string_view user : split(users, ",")) {
        Code result = check_username(user);
        if (!failed(result) && service.users == ShareUsers::ftp_account && is_superuser(user)) {
            result = Code::unknown_user; // its home is not for sharing
        }
        if (failed(result)) {
            return log_return(result);
        }
    }
    return Code::ok;
}

} // namespace zav
