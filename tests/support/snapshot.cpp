// SPDX-License-Identifier: MIT
#include "snapshot.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

namespace zav::test {
namespace {

std::string description(const std::filesystem::path& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return "unreadable";
    }
    std::string text = std::to_string(status.st_mode) + " ";
    if (S_ISLNK(status.st_mode)) {
        return text + std::filesystem::read_symlink(path).string();
    }
    if (!S_ISREG(status.st_mode)) {
        return text;
    }
    std::ifstream in(path, std::ios::binary);
    return text.append(std::istreambuf_iterator<char>(in), {});
}

} // namespace

std::vector<std::string> Snapshot::changes_to(const Snapshot& later) const {
    std::map<std::string, std::string> changes;
    for (const auto& [path, text] : entries) {
        const auto found = later.entries.find(path);
        if (found == later.entries.end()) {
            changes[path] = "removed " + path;
        } else if (found->second != text) {
            changes[path] = "changed " + path;
        }
    }
    for (const auto& [path, text] : later.entries) {
        if (!entries.contains(path)) {
            changes[path] = "created " + path;
        }
    }
    std::vector<std::string> lines;
    for (const auto& [path, line] : changes) {
        lines.push_back(line);
    }
    return lines;
}

void add_to_snapshot(Snapshot& snapshot, const std::filesystem::path& root,
                     const std::string& folder, const std::vector<std::string>& except) {
    const std::filesystem::path real = root / folder.substr(1);
    if (!std::filesystem::is_directory(real)) {
        return;
    }
    for (auto at = std::filesystem::recursive_directory_iterator(
             real, std::filesystem::directory_options::skip_permission_denied);
         at != std::filesystem::recursive_directory_iterator(); ++at) {
        const std::string inside = "/" + at->path().lexically_relative(root).string();
        if (std::find(except.begin(), except.end(), inside) != except.end()) {
            at.disable_recursion_pending();
            continue;
        }
        snapshot.entries[inside] = description(at->path());
    }
}

} // namespace zav::test
