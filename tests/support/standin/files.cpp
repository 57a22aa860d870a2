// SPDX-License-Identifier: MIT
#include "files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace zav::test {
namespace {

rlimit raise_soft_limit(__rlimit_resource resource) {
    rlimit before{};
    getrlimit(resource, &before);
    rlimit raised = before;
    raised.rlim_cur = raised.rlim_max;
    setrlimit(resource, &raised);
    return before;
}

} // namespace

LiftedLimits::LiftedLimits()
    : descriptors_(raise_soft_limit(RLIMIT_NOFILE)), file_size_(raise_soft_limit(RLIMIT_FSIZE)) {}

LiftedLimits::~LiftedLimits() {
    setrlimit(RLIMIT_NOFILE, &descriptors_);
    setrlimit(RLIMIT_FSIZE, &file_size_);
}

void lift_limits() {
    raise_soft_limit(RLIMIT_NOFILE);
    raise_soft_limit(RLIMIT_FSIZE);
}

bool write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

std::string read_file(const char* path, size_t most) {
    const LiftedLimits lifted;
    std::string content;
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return content;
    }
    std::array<char, 16384> buffer;
    while (content.size() < most) {
        const size_t wanted = std::min(buffer.size(), most - content.size());
        const ssize_t count = read(descriptor, buffer.data(), wanted);
        if (count <= 0) {
            break;
        }
        content.append(buffer.data(), static_cast<size_t>(count));
    }
    close(descriptor);
    return content;
}

void append_to_file(const char* path, std::string_view bytes) {
    const LiftedLimits lifted;
    const int descriptor = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        return;
    }
    write_all(descriptor, bytes);
    close(descriptor);
}

} // namespace zav::test
