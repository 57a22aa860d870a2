// SPDX-License-Identifier: MIT
// full_filesystems [PERCENT] - the file systems that are filled to PERCENT or more, 90 unless
// given, the fullest first, each with the shares whose clients will notice. Status 1 when there are
// any.
#include "zav/zav.hpp"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <vector>

namespace {

double percent_used(const zav_filesystem* filesystem) {
    return 100.0 * static_cast<double>(filesystem->used_bytes) /
           static_cast<double>(filesystem->size_bytes);
}

void print(const zav_filesystem& filesystem, std::span<const zav_share> shares) {
    constexpr std::uint64_t gib = std::uint64_t{1} << 30;
    std::cout << filesystem.name << ": " << static_cast<int>(percent_used(&filesystem)) << " % of "
              << filesystem.size_bytes / gib << " GiB, at " << filesystem.mount_point;
    for (const std::uint32_t index : zav::items(filesystem.shares)) {
        std::cout << ' ' << shares[index].name;
    }
    std::cout << '\n';
}

int report(double limit) {
    zav::Context context;
    context.log_to(ZAV_LOG_NOWHERE);
    const zav::Snapshot snapshot(context, ZAV_POOLS | ZAV_FILESYSTEMS | ZAV_NETDISKS | ZAV_SHARES);
    const zav::View view = snapshot.view();

    std::vector<const zav_filesystem*> full;
    for (const zav_filesystem& filesystem : view.filesystems) {
        // One that is not mounted cannot be measured.
        if (filesystem.state == ZAV_FILESYSTEM_AVAILABLE && filesystem.size_bytes > 0 &&
            percent_used(&filesystem) >= limit) {
            full.push_back(&filesystem);
        }
    }
    std::ranges::sort(full, std::ranges::greater(), percent_used);
    for (const zav_filesystem* filesystem : full) {
        print(*filesystem, view.shares);
    }
    for (const zav_failure& failure : view.failures) {
        std::cerr << "full_filesystems: " << failure.part << ": " << failure.sentence << '\n';
    }
    return full.empty() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) try {
    return report(argc > 1 ? std::atof(argv[1]) : 90);
} catch (const std::exception& error) { // zav::Error has the code and what to do as well
    std::cerr << "full_filesystems: " << error.what() << '\n';
    return 2;
}
