// SPDX-License-Identifier: MIT
#include "status/service_state.h"

#include "frame/command.h"
#include "frame/error_codes.h"
#include "frame/file.h"
#include "frame/log.h"
#include "frame/text.h"

#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <string>

namespace zav {

namespace {

/// Process, file.
constexpr char pidof_command[] = "/bin/busybox pidof %s > %s";

constexpr std::size_t line_room = 64;

int probe(const char* process, const char* path_template) {
    const Capture capture(path_template);
    if (capture.run_and_log(format_text(pidof_command, process, capture.path())) != 0) {
        return error::command_failed;
    }
    return share_status_get(capture.path());
}

int probe_samba(const char* process) {
    return probe(process, "/tmp/smb_status.XXXXXX");
}

} // namespace

} // namespace zav

using namespace zav;

int samba_status_get() {
    const int result = probe_samba("smbd");
    return result != 0 ? result : probe_samba("nmbd");
}

int zav_status_get() {
    return probe("zav", "/tmp/zav_status.XXXXXX");
}

int nfs_status_get() {
    return probe("nfsd", "/tmp/nfs_status.XXXXXX");
}

int ftp_status_get() {
    return probe("vsftpd", "/tmp/ftp_status.XXXXXX");
}

int iscsi_status_get() {
    return probe("ietd", "/tmp/iscsi_status.XXXXXX");
}

int share_status_get(const char* path) {
    // Opened for writing too: a file that may not be written is not read.
    const FileDescriptor fd = FileDescriptor::open(path, O_RDWR);
    const auto text = fd ? read_rest(fd.get()) : std::nullopt;
    if (!text || text->empty()) {
        return fail_with_errno(error::service_state_unread);
    }
    const std::string_view line = cut_at(*text, "\n").substr(0, line_room - 1);
    const std::string number(field(line, " ", 0));
    return std::strtoul(number.c_str(), nullptr, 10) == ULONG_MAX ? -1 : 0;
}
