// SPDX-License-Identifier: MIT
// A file that is only in memory, for functions that take a path.
#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace zav::test {

class MemoryFile {
  public:
    explicit MemoryFile(std::string_view text) : descriptor_(memfd_create("test", MFD_CLOEXEC)) {
        if (write(descriptor_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            throw std::runtime_error("cannot write a file in memory");
        }
        path_ = "/proc/self/fd/" + std::to_string(descriptor_);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(descriptor_); }

    const char* path() const { return path_.c_str(); }

    std::string text() const {
        std::string result;
        std::array<char, 4096> chunk;
        ssize_t count = 0;
        while ((count = pread(descriptor_, chunk.data(), chunk.size(),
                              static_cast<off_t>(result.size()))) > 0) {
            result.append(chunk.data(), static_cast<std::size_t>(count));
        }
        return result;
    }

  private:
    int descriptor_;
    std::string path_;
};

} // namespace zav::test
