// SPDX-License-Identifier: MIT
// Machines made by hand whose pages are looked at.
#pragma once

#include "zav/zav.hpp"
#include "zavinfo/last_errors.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace zavinfo::test {

// Records and all that they point to. Links of things that are added are set in both directions.
class MadeMachine {
  public:
    static constexpr std::uint64_t gib = std::uint64_t{1} << 30;
    static constexpr std::uint64_t tib = gib << 10;

    MadeMachine();

    zav_disk& disk(int channel, const std::string& name);
    zav_array& array(const std::string& name, const std::string& level,
                     const std::vector<int>& disks, zav_array_state state = ZAV_ARRAY_CLEAN);
    // The state of an array's member; without a disk for a missing one.
    void member(std::size_t array, std::size_t at, zav_member_state state);
    void group(const std::string& name, const std::vector<int>& arrays, std::uint64_t size);
    // A pool of the last group; with a file system when a use is given.
    void pool(const std::string& name, std::uint64_t size, double used);
    zav_filesystem& filesystem();
    void netdisk(const std::string& label, std::uint64_t size, double used);
    // A share on the last pool and its file system.
    zav_share& share(const std::string& name, zav_service_kind service,
                     zav_share_state state = ZAV_SHARE_SERVED);
    zav_disk& disk_at(std::size_t at) { return disks_[at]; }
    void service(zav_service_kind kind, zav_running running);
    void failure(const char* part, int code);
    zav_health& health() { return health_; }
    void forget_health();

    zav::View view();

  private:
    const char* keep(const std::string& text) { return texts_.emplace_back(text).c_str(); }
    zav_links links(const std::vector<std::uint32_t>& indices);

    std::deque<std::string> texts_;
    std::deque<std::vector<std::uint32_t>> lists_;
    std::deque<std::vector<zav_member>> members_;
    std::deque<std::vector<zav_volume>> volumes_;
    std::vector<zav_disk> disks_;
    std::vector<zav_array> arrays_;
    std::vector<zav_group> groups_;
    std::vector<zav_pool> pools_;
    std::vector<zav_filesystem> filesystems_;
    std::vector<zav_filesystem> netdisks_; // they stand behind the others
    std::vector<zav_share> shares_;
    std::vector<zav_service> services_;
    std::vector<zav_failure> failures_;
    zav_health health_ = {};
};

MadeMachine healthy_machine();
MadeMachine degraded_machine();
MadeMachine empty_machine(); // disks that nothing is on
MadeMachine bare_machine();  // nothing at all
MadeMachine hostile_machine();
MadeMachine large_machine(); // 16 arrays of a disk each, 64 pools, 1,000 shares

// What the log of the degraded machine has.
std::vector<LoggedError> errors_of_log();

} // namespace zavinfo::test
