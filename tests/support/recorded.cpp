// SPDX-License-Identifier: MIT
#include "recorded.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace zav::test {
namespace {

std::filesystem::path captures_folder() {
    const char* folder = std::getenv("ZAV_TEST_CAPTURES");
    return folder != nullptr ? folder : ZAV_TEST_CAPTURES_FOLDER;
}

// Returns everything after the first line, and the first line in `head`.
std::string read_body(const std::filesystem::path& path, std::string& head) {
    std::ifstream in(path, std::ios::binary);
    if (!in || !std::getline(in, head)) {
        throw std::runtime_error("no recording " + path.filename().string());
    }
    return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace

Recorded recorded(const std::string& name) {
    Recorded result;
    std::string head;
    result.text = read_body(captures_folder() / (name + ".txt"), head);
    constexpr std::string_view sign = "# $ ";
    constexpr std::string_view status_sign = "    [exit ";
    const size_t status = head.rfind(status_sign);
    if (!head.starts_with(sign) || status == std::string::npos) {
        throw std::runtime_error("recording " + name +
                                 " has no line \"# $ COMMAND    [exit N; ...]\"");
    }
    result.command = head.substr(sign.size(), status - sign.size());
    result.exit_status = std::atoi(head.c_str() + status + status_sign.size());
    if (const size_t semicolon = head.find("; ", status); semicolon != std::string::npos) {
        result.versions = head.substr(semicolon + 2, head.size() - semicolon - 3);
    }
    const auto errors = captures_folder() / (name + ".err.txt");
    if (std::filesystem::exists(errors)) {
        result.errors = read_body(errors, head);
    }
    return result;
}

} // namespace zav::test
