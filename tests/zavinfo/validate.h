// SPDX-License-Identifier: MIT
// What readers of others say of a text.
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace zavinfo::test {

// The faults that tests/zavinfo/validate finds; empty when there are none.
inline std::string faults_of(const std::string& text, const std::string& kind) {
    std::string path = "/tmp/zavinfo.XXXXXX";
    const int descriptor = ::mkstemp(path.data());
    if (descriptor < 0 ||
        ::write(descriptor, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("cannot write " + path);
    }
    ::close(descriptor);
    const std::string command =
        std::string("/usr/bin/python3 ") + ZAV_TEST_VALIDATE + " " + kind + " 2>&1 < " + path;
    std::string faults;
    std::FILE* reader = ::popen(command.c_str(), "r");
    std::array<char, 4096> buffer = {};
    while (std::fgets(buffer.data(), buffer.size(), reader) != nullptr) {
        faults += buffer.data();
    }
    const int status = ::pclose(reader);
    std::remove(path.c_str());
    return status == 0 && faults.empty() ? "" : faults + " (status " + std::to_string(status) + ")";
}

inline std::string schema_faults(const std::string& json) {
    return faults_of(json, std::string("json ") + ZAV_TEST_SCHEMA);
}

inline std::string metrics_faults(const std::string& text) {
    return faults_of(text, "metrics");
}

} // namespace zavinfo::test
