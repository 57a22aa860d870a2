// SPDX-License-Identifier: MIT
/// \file
/// The share register and the services' files, each read and rewritten under a lock of the whole
/// file. Nobody waits for a lock.
#pragma once

#include "base/codes.h"
#include "base/file.h"
#include "platform/services.h"

#include <string_view>

namespace zav {

/// Opens a file, made when it is not there, and locks it. `unopened` or Code::file_locked. The lock
/// ends when `fd` is closed; no other descriptor of the file may be closed until then.
Code file_lock_open(const char* path, FileDescriptor& fd, Code unopened);

/// Adds the shares of the register to the list. FileCode::ok, FileCode::unread or
/// FileCode::malformed.
FileCode share_list_read(const FileDescriptor& fd, share_list& list);

/// Rewrites the register and hands it to the configuration tool. FileCode::ok or
/// FileCode::unwritten, which leaves it short.
FileCode share_list_write(const FileDescriptor& fd, const share_list& list);

/// The live file of a service, which may be one without a path, or the recycle file that keeps its
/// forbidden shares; null for a service that has none. The case does not matter.
const ShareFile* live_file(std::string_view service);
const ShareFile* recycle_file(std::string_view service);

/// A service's file with its lock and its shares.
class OpenServiceFile {
  public:
    /// Code::ok; Code::service_file_unopened, Code::file_locked, Code::share_file_malformed.
    Code open(const ShareFile& file);

    [[nodiscard]] share_list& shares() { return shares_; }

    /// Whether the service has a file of its own at all.
    [[nodiscard]] bool has_file() const { return file_->path != nullptr; }

    /// Rewrites the file and hands it to the configuration tool. Code::ok or
    /// Code::service_file_unwritten, which leaves it short.
    Code write();

  private:
    const ShareFile* file_ = nullptr;
    FileDescriptor fd_;
    share_list shares_;
};

/// The register in the same way: Code::ok; Code::share_register_unopened, Code::file_locked,
/// Code::share_file_malformed; write() gives Code::share_register_unwritten.
class OpenRegister {
  public:
    Code open();
    [[nodiscard]] share_list& shares() { return shares_; }
    Code write();

  private:
    FileDescriptor fd_;
    share_list shares_;
};

/// live_file() or recycle_file(), opened. Also Code::unknown_service.
Code service_conf_open(OpenServiceFile& file, std::string_view service);
Code recy_conf_open(OpenServiceFile& file, std::string_view service);

/// Reads a file of exports: Code::ok, Code::service_file_unopened, Code::file_locked or
/// Code::share_file_malformed.
Code read_exports_file(const char* path, share_list& list);

} // namespace zav
