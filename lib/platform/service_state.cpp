// SPDX-License-Identifier: MIT
#include "zav/service_state.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "sources/pidof.h"

#include <exception>
#include <fcntl.h>
#include <optional>
#include <string>

namespace zav {

namespace {

/// That a service does not run is an answer, not a failure of the tool: those who ask every few
/// seconds would have it push all that matters out of the log.
bool is_not_found(const Capture& capture, WaitStatus status) {
    return status == no_such_process && capture.read().value_or("").empty();
}

int probe(const char* process, const char* path_template, LogSite site = LogSite::here()) {
    try {
        const Capture capture(path_template);
        const std::string command = format_text(pidof_command, process, capture.path());
        const WaitStatus status = capture.run(command);
        if (!failed(status)) {
            return share_status_get(capture.path());
        }
        if (!is_not_found(capture, status)) {
            log_command_failure(command, status);
        }
        return number_of(Code::command_failed);
    } catch (const std::exception&) {
        return fail_without_memory(Code::command_failed, site);
    }
}

int probe_samba(const char* process, LogSite site = LogSite::here()) {
    return probe(process, "/tmp/smb_status.XXXXXX", site);
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

int share_status_get(const char* path) try {
    // Opened for writing too: a file that may not be written is not read.
    const FileDescriptor fd = FileDescriptor::open_regular(path, O_RDWR);
    const auto text = fd ? read_rest(fd.get()) : std::nullopt;
    if (!text || text->empty()) {
        return number_of(fail_with_errno(Code::service_state_unread));
    }
    return parse_is_running(*text) ? 0 : -1;
} catch (const std::exception&) {
    return fail_without_memory(Code::service_state_unread);
}
