// SPDX-License-Identifier: MIT
#include "zav/ftp_limits.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "platform/conf_save.h"
#include "sources/file_tools.h"
#include "sources/vsftpd_conf.h"

#include <optional>
#include <string>

namespace zav {

namespace {

void store(const std::optional<unsigned long>& value, unsigned long* output) {
    if (value && output != nullptr) {
        *output = *value;
    }
}

Code write_limits(const Capture& copy, const std::array<int, ftp_limit_count>& values) {
    const auto text = read_file(vsftpd_conf_path);
    if (!text) {
        return Code::ftp_limits_unread;
    }
    const bool written = write_copy(copy.path(), with_ftp_limits(*text, values), vsftpd_conf_path);
    return written ? Code::ok : Code::ftp_limits_copy_unopened;
}

} // namespace

} // namespace zav

using namespace zav;

int ftp_limits_get(unsigned long* local_max_rate, unsigned long* max_clients,
                   unsigned long* max_per_ip) {
    const auto text = read_file(vsftpd_conf_path);
    if (!text) {
        return number_of(fail_with_errno(Code::ftp_limits_unread));
    }
    const FtpLimits values = parse_ftp_limits(*text);
    store(values[0], local_max_rate);
    store(values[1], max_clients);
    store(values[2], max_per_ip);
    return 0;
}

int ftp_limits_set(int local_max_rate, int max_clients, int max_per_ip) {
    const Capture copy("/tmp/vsftpd.XXXXXX");
    if (const Code result = write_limits(copy, {local_max_rate, max_clients, max_per_ip});
        failed(result)) {
        return number_of(fail_with_errno(result));
    }
    const Code result = run_or_fail(format_text(move_command, copy.path(), vsftpd_conf_path));
    ignore(conf_save(vsftpd_conf_path));
    return number_of(result);
}
