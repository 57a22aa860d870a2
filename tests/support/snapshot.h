// SPDX-License-Identifier: MIT
// The state of files, to prove that a run changes nothing, or only what it should.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zav::test {

struct Snapshot {
    // Path inside the root, and a description: kind, mode, and content or link target.
    std::map<std::string, std::string> entries;

    // "created PATH", "removed PATH" and "changed PATH" lines, sorted by path; empty: no change.
    std::vector<std::string> changes_to(const Snapshot& later) const;
};

// Adds everything below `folder` of the tree `root`, except the paths in `except`.
void add_to_snapshot(Snapshot& snapshot, const std::filesystem::path& root,
                     const std::string& folder, const std::vector<std::string>& except);

} // namespace zav::test
