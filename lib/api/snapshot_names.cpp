// SPDX-License-Identifier: MIT
// The states of a snapshot as texts.
#include "zav/snapshot.h"

#include <array>
#include <cstddef>

namespace {

/// The name at the place of a value, counted from 0.
template <std::size_t Count>
const char* name_at(const std::array<const char*, Count>& names, long value) {
    return value >= 0 && static_cast<std::size_t>(value) < Count
               ? names[static_cast<std::size_t>(value)]
               : "unknown";
}

} // namespace

const char* zav_disk_state_name(zav_disk_state state) {
    constexpr std::array<const char*, 4> names = {"unknown", "running", "offline", "other"};
    return name_at(names, state);
}

const char* zav_verdict_name(zav_verdict verdict) {
    constexpr std::array<const char*, 3> names = {"unknown", "passed", "failed"};
    return name_at(names, verdict);
}

const char* zav_array_state_name(zav_array_state state) {
    constexpr std::array<const char*, 5> names = {"unknown", "clean", "degraded", "rebuilding",
                                                  "inactive"};
    return name_at(names, state);
}

const char* zav_member_state_name(zav_member_state state) {
    constexpr std::array<const char*, 6> names = {"unknown", "active",     "faulty",
                                                  "spare",   "rebuilding", "missing"};
    return name_at(names, state);
}

const char* zav_filesystem_state_name(zav_filesystem_state state) {
    constexpr std::array<const char*, 3> names = {"available", "unmounted", "unusable"};
    return name_at(names, state);
}

const char* zav_service_name(zav_service_kind kind) {
    constexpr std::array<const char*, 6> names = {"none", "samba", "nfs",
                                                  "ftp",  "iscsi", "management"};
    return name_at(names, kind);
}

const char* zav_running_name(zav_running running) {
    constexpr std::array<const char*, 2> names = {"stopped", "running"};
    return name_at(names, running);
}

const char* zav_share_state_name(zav_share_state state) {
    constexpr std::array<const char*, 4> names = {"served", "forbidden", "not_served",
                                                  "not_registered"};
    return name_at(names, state);
}
