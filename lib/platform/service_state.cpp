// SPDX-License-Identifier: MIT
#include "zav/service_state.h"

#include "base/codes.h"
#include "base/command.h"
#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "sources/pidof.h"

#include <fcntl.h>
#include <optional>
#include <string>

namespace zav {

namespace {

int probe(const char* process, const char* path_template) {
    const Capture capture(path_template);
    if (failed(capture.run_and_log(format_text(pidof_command, process, capture.path())))) {
        return number_of(Code::command_failed);
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
    const FileDescriptor fd = FileDescriptor::open_regular(path, O_RDWR);
    const auto text = fd ? read_rest(fd.get()) : std::nullopt;
    if (!text || text->empty()) {
        return number_of(fail_with_errno(Code::service_state_unread));
    }
    return parse_is_running(*text) ? 0 : -1;
}
