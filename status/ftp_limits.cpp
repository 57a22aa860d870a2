// SPDX-License-Identifier: MIT
#include "status/ftp_limits.h"

#include "frame/command.h"
#include "frame/conf_save.h"
#include "frame/error_codes.h"
#include "frame/file.h"
#include "frame/log.h"
#include "frame/text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>

namespace zav {

namespace {

constexpr const char* configuration = "/etc/vsftpd.conf";
constexpr char move_command[] = "mv %s /etc/vsftpd.conf > /dev/null";

// In the order of the functions' arguments.
constexpr std::array<std::string_view, 3> limits = {"local_max_rate", "max_clients", "max_per_ip"};

/// The place of a line's key among the limits, or their number.
std::size_t limit_of(std::string_view line) {
    return static_cast<std::size_t>(std::ranges::find(limits, cut_at(line, "=")) - limits.begin());
}

using Values = std::array<std::optional<unsigned long>, 3>;

/// The limits that the file has; of several lines the last one counts.
Values parse_limits(std::string_view text) {
    Values values;
    for (const std::string& line : content_lines(text)) {
        const std::size_t limit = limit_of(line);
        const std::size_t equals = line.find('=');
        if (limit < limits.size() && equals != std::string::npos) {
            values.at(limit) = decimal(std::string_view(line).substr(equals + 1));
        }
    }
    return values;
}

void store(const std::optional<unsigned long>& value, unsigned long* output) {
    if (value && output != nullptr) {
        *output = *value;
    }
}

std::string with_limits(std::string_view text, const std::array<int, 3>& values) {
    std::string result;
    for (const std::string& line : content_lines(text)) {
        const std::size_t limit = limit_of(line);
        result += limit < limits.size()
                      ? format_text("%s=%d", std::string(limits[limit]).c_str(), values.at(limit))
                      : line;
        result += "\n";
    }
    return result;
}

int write_limits(const Capture& copy, const std::array<int, 3>& values) {
    const auto text = read_file(configuration);
    if (!text) {
        return error::ftp_limits_unread;
    }
    const bool written = write_copy(copy.path(), with_limits(*text, values), configuration);
    return written ? 0 : error::ftp_limits_copy_unopened;
}

} // namespace

} // namespace zav

using namespace zav;

int ftp_limits_get(unsigned long* local_max_rate, unsigned long* max_clients,
                   unsigned long* max_per_ip) {
    const auto text = read_file(configuration);
    if (!text) {
        return fail_with_errno(error::ftp_limits_unread);
    }
    const Values values = parse_limits(*text);
    store(values[0], local_max_rate);
    store(values[1], max_clients);
    store(values[2], max_per_ip);
    return 0;
}

int ftp_limits_set(int local_max_rate, int max_clients, int max_per_ip) {
    const Capture copy("/tmp/vsftpd.XXXXXX");
    if (const int result = write_limits(copy, {local_max_rate, max_clients, max_per_ip});
        result != 0) {
        return fail_with_errno(result);
    }
    const int result = run_or_fail(format_text(move_command, copy.path()));
    conf_save(configuration);
    return result;
}
