// SPDX-License-Identifier: MIT
// LVM's backup of a volume group. Input: the name of a pool, then the backup.
#include "sources/lvm_backup.h"

#include "base/text.h"
#include "fuzz.h"

namespace zav::fuzz {

namespace {

void check_volume(const backup_pv& volume, std::string_view backup) {
    const std::string_view id = volume.id;
    const std::string_view device = volume.device;
    require(backup.find(id) != backup.npos, "a volume's id is in the backup");
    require(backup.find(device) != backup.npos, "a volume's device is in the backup");
    require(device.find_first_of("/\"\n") == device.npos, "a device is the last part of a path");
}

} // namespace

void run(std::string_view input) {
    const std::string_view pool = take_line(input);
    if (backup_has_pool(input, pool)) {
        const std::size_t section = input.find("logical_volumes");
        require(section != input.npos, "pools are in their section");
        require(!pool.empty() && input.find(pool, section) != input.npos, "a pool has its name");
        require(pool.find_first_of(blanks) == pool.npos, "a pool's name is one word");
    }

    backup_pv_list volumes;
    if (!parse_backup_volumes(input, volumes)) {
        require(volumes.empty(), "without their section there are no volumes");
        return;
    }
    const std::size_t section = input.find("physical_volumes");
    require(section != input.npos, "volumes are in their section");
    for (const backup_pv& volume : volumes) {
        check_volume(volume, input.substr(section));
    }
}

} // namespace zav::fuzz
