// SPDX-License-Identifier: MIT
// What readers of others say of a text.
#pragma once

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <unistd.h>
#include <utility>

namespace zavinfo::test {

// What tests/zavinfo/validate prints about a text, and how it ends.
inline std::pair<std::string, int> validated(const std::string& text, const std::string& kind) {
    std::string path = "/tmp/zavinfo.XXXXXX";
    const int descriptor = ::mkstemp(path.data());
    if (descriptor < 0 ||
        ::write(descriptor, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("cannot write " + path);
    }
    ::close(descriptor);
    const std::string command =
        std::string("/usr/bin/python3 ") + ZAV_TEST_VALIDATE + " " + kind + " 2>&1 < " + path;
    std::string printed;
    std::FILE* reader = ::popen(command.c_str(), "r");
    std::array<char, 4096> buffer = {};
    while (std::fgets(buffer.data(), buffer.size(), reader) != nullptr) {
        printed += buffer.data();
    }
    const int status = ::pclose(reader);
    std::remove(path.c_str());
    return {printed, status};
}

// The faults that it finds; empty when there are none.
inline std::string faults_of(const std::string& text, const std::string& kind) {
    const auto [faults, status] = validated(text, kind);
    return status == 0 && faults.empty() ? "" : faults + " (status " + std::to_string(status) + ")";
}

inline std::string schema_faults(const std::string& json) {
    return faults_of(json, std::string("json ") + ZAV_TEST_SCHEMA);
}

inline std::string metrics_faults(const std::string& text) {
    return faults_of(text, "metrics");
}

inline std::string page_faults(const std::string& text) {
    return faults_of(text, "page");
}

// A line for each thing that a page names: its section, ": ", and the name.
inline std::string page_names(const std::string& text) {
    return "\n" + validated(text, "names").first;
}

} // namespace zavinfo::test
