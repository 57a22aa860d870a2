// SPDX-License-Identifier: MIT
/// \file
/// Locks between the instances of this program that are on no file of the system: on a name. They
/// hold while the system's file of that name is replaced, and where there is no file at all. Each
/// is a file in /run/zavbox, which nobody but root enters; it is gone when the lock is. Where that
/// directory cannot be made it is /var/run/zavbox.
#pragma once

#include "base/file.h"

#include <chrono>
#include <string>
#include <string_view>

namespace zav {

class SystemLock {
  public:
    SystemLock() = default;
    SystemLock(SystemLock&&) = default;
    SystemLock& operator=(SystemLock&& other) noexcept;
    ~SystemLock() { release(); }

    /// Takes the lock of that name, a plain one, waiting at most so long for another instance.
    static SystemLock take(std::string_view name, std::chrono::milliseconds wait = longest_wait);

    /// The same for the lock that is held while the file of that path is replaced: on its name.
    static SystemLock take_for_file(std::string_view path,
                                    std::chrono::milliseconds wait = longest_wait);

    /// Whether the process that had the lock of that name ended without giving it back. Only
    /// whoever keeps all others from taking it can rely on the answer.
    static bool was_left(std::string_view name);

    /// Whether the lock is held. If not, errno says why: EWOULDBLOCK when another instance has it.
    explicit operator bool() const { return bool(fd_); }

    /// Has the commands that are run from now on hold the lock as well: should this process be
    /// killed, it lasts as long as they do.
    void share_with_commands() const;

    void release();

    /// Lets the lock go as if this process had ended: was_left() tells that its work is not done.
    void leave();

  private:
    std::string path_;
    FileDescriptor fd_;
};

} // namespace zav
