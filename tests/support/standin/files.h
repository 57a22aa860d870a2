// SPDX-License-Identifier: MIT
// File access of the stand-in program, independent of the resource limits that a test sets on the
// run, since those are meant for the program under test.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <sys/resource.h>

namespace zav::test {

// Raises the soft limits on descriptors and file size during its lifetime.
class LiftedLimits {
  public:
    LiftedLimits();
    ~LiftedLimits();
    LiftedLimits(const LiftedLimits&) = delete;
    LiftedLimits& operator=(const LiftedLimits&) = delete;

  private:
    rlimit descriptors_{};
    rlimit file_size_{};
};

// Raises both for good.
void lift_limits();

bool write_all(int descriptor, std::string_view bytes);
// The first `most` bytes; empty when the file cannot be read.
std::string read_file(const char* path, size_t most = static_cast<size_t>(-1));
// Appends to the file with one write.
void append_to_file(const char* path, std::string_view bytes);

} // namespace zav::test
