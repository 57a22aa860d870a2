// SPDX-License-Identifier: MIT
// How a volume of a backup relates to the live volumes, and how those are shown.
#include "records/backup_volume.h"

#include <gmock/gmock.h>
#include <string>
#include <utility>
#include <vector>

namespace zav {
namespace {

using Pairs = std::vector<std::pair<const char*, const char*>>;

// The state of the volume "id" on `device`, given the UUIDs and names of the live volumes.
PvState state(const char* device, const Pairs& live) {
    backup_pv volume;
    volume.id = "id";
    volume.device = device;
    live_pv_list list;
    for (const auto& [uuid, name] : live) {
        live_pv& added = list.append();
        added.uuid = uuid;
        added.pvname = name;
    }
    return pv_state(volume, list);
}

TEST(StateOfAVolume, IsANumber) {
    EXPECT_EQ(static_cast<int>(PvState::moved), -1);
    EXPECT_EQ(static_cast<int>(PvState::present), 0);
    EXPECT_EQ(static_cast<int>(PvState::missing), 1);
    EXPECT_EQ(static_cast<int>(PvState::on_array), 2);
}

TEST(StateOfAVolume, IsMissingWithoutItsUuid) {
    EXPECT_EQ(state("md0", {}), PvState::missing);
    EXPECT_EQ(state("md0", {{"other", "md0"}}), PvState::missing);
    EXPECT_EQ(state("md0", {{"", "md0"}, {"i", "md0"}, {"id2", "md0"}, {"ID", "md0"}}),
              PvState::missing);
}

TEST(StateOfAVolume, IsPresentWhereARamDiskTookItsPlace) {
    EXPECT_EQ(state("md0", {{"id", "ram2"}}), PvState::present);
    EXPECT_EQ(state("sda", {{"id", "ram15"}}), PvState::present);
    EXPECT_EQ(state("ram2", {{"id", "ram3"}}), PvState::present);
    EXPECT_EQ(state("md0", {{"id", "ram"}}), PvState::present);
}

TEST(StateOfAVolume, IsMissingWhereItsDeviceIsUnknown) {
    EXPECT_EQ(state("md0", {{"id", "unknown"}}), PvState::missing);
}

TEST(StateOfAVolume, IsMovedOnAnyOtherDevice) {
    for (const char* device : {"md1", "sda", "md", "md00", "unknown1", "unknow", "mapper/md0", "",
                               "Ram2", "RAM2", "xram2", "[unknown]"}) {
        EXPECT_EQ(state("md0", {{"id", device}}), PvState::moved) << device;
    }
}

TEST(StateOfAVolume, IsOnAnArrayUnderItsOwnName) {
    EXPECT_EQ(state("md0", {{"id", "md0"}}), PvState::on_array);
    EXPECT_EQ(state("md127", {{"id", "md127"}}), PvState::on_array);
    EXPECT_EQ(state("md_d0", {{"id", "md_d0"}}), PvState::on_array);
}

TEST(StateOfAVolume, IsPresentUnderItsOwnNameOnAnythingElse) {
    for (const char* device : {"sda", "ram2", "unknown", "m", "xmd0", "MD0", ""}) {
        EXPECT_EQ(state(device, {{"id", device}}), PvState::present) << device;
    }
}

TEST(StateOfAVolume, IsThatOfTheFirstWithItsUuid) {
    EXPECT_EQ(state("md0", {{"other", "md0"}, {"id", "ram2"}, {"id", "sda"}}), PvState::present);
    EXPECT_EQ(state("md0", {{"id", "sda"}, {"id", "md0"}}), PvState::moved);
}

} // namespace
} // namespace zav
