// SPDX-License-Identifier: MIT
// A file that is only in memory, alone in its directory, for functions that take a path.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <string_view>

namespace zav::test {

class MemoryFile {
  public:
    explicit MemoryFile(std::string_view text) : directory_("/dev/shm/zav-test.XXXXXX") {
        if (::mkdtemp(directory_.data()) == nullptr) {
            throw std::runtime_error("cannot make a directory in memory");
        }
        path_ = directory_ + "/file";
        std::ofstream file(path_, std::ios::binary);
        file << text;
        if (!file.flush()) {
            throw std::runtime_error("cannot write a file in memory");
        }
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { std::filesystem::remove_all(directory_); }

    const char* path() const { return path_.c_str(); }

    std::string text() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

  private:
    std::string directory_;
    std::string path_;
};

} // namespace zav::test
