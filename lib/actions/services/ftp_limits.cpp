// SPDX-License-Identifier: MIT
#include "zav/ftp_limits.h"

#include "base/change_journal.h"
#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/replacement.h"
#include "base/system_lock.h"
#include "base/text.h"
#include "platform/conf_save.h"
#include "sources/file_tools.h"
#include "sources/vsftpd_conf.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <optional>
#include <string>

namespace zav {

namespace {

using Limits = std::array<int, ftp_limit_count>;

void store(const std::optional<unsigned long>& value, unsigned long* output) {
    if (value && output != nullptr) {
        *output = *value;
    }
}

/// Replaces the configuration by a copy that has the limits.
Code replace(const Capture& copy, const Limits& values, LogSite site) {
    const auto old_text = read_file(vsftpd_conf_path);
    if (!old_text) {
        return fail_with_errno(Code::ftp_limits_unread, site);
    }
    const std::string text = with_ftp_limits(*old_text, values);
    const std::string command = format_text(move_command, copy.path(), vsftpd_conf_path);
    const Replacement result =
        write_copy(copy.path(), text, vsftpd_conf_path)
            ? replace_by_command(vsftpd_conf_path, text, [&] { return run_and_log(command); })
            : Replacement::not_begun;
    if (result == Replacement::not_begun) {
        return fail_with_errno(Code::ftp_limits_copy_unopened, site);
    }
    ignore(conf_save(vsftpd_conf_path));
    return result == Replacement::done ? Code::ok : Code::command_failed;
}

Code set_limits(const Limits& values, LogSite site) {
    if (std::ranges::any_of(values, [](int value) { return value < 0; })) {
        errno = EINVAL; // the server would take it as no limit
        return fail_with_errno(Code::ftp_limit_negative, site);
    }
    const SystemLock lock = SystemLock::take_for_file(vsftpd_conf_path);
    if (!lock || !finish_replacement(vsftpd_conf_path)) {
        return fail_with_errno(Code::ftp_limits_unread, site);
    }
    const Capture copy("/tmp/vsftpd.XXXXXX");
    return replace(copy, values, site);
}

} // namespace

} // namespace zav

using namespace zav;

int ftp_limits_get(unsigned long* local_max_rate, unsigned long* max_clients,
                   unsigned long* max_per_ip) try {
    const auto text = read_settled(vsftpd_conf_path, vsftpd_conf_path);
    if (!text) {
        return number_of(fail_with_errno(Code::ftp_limits_unread));
    }
    const FtpLimits values = parse_ftp_limits(*text);
    store(values[0], local_max_rate);
    store(values[1], max_clients);
    store(values[2], max_per_ip);
    return 0;
} catch (const std::exception&) {
    return fail_without_memory(Code::ftp_limits_unread);
}

int ftp_limits_set(int local_max_rate, int max_clients, int max_per_ip) try {
    return number_of(set_limits({local_max_rate, max_clients, max_per_ip}, LogSite::here()));
} catch (const std::exception&) {
    return fail_without_memory(Code::ftp_limits_copy_unopened);
}
