// SPDX-License-Identifier: MIT
// Discovery on recordings of real volume groups, from the tools' output to the rows.
#include "fixtures/group_root.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::IsEmpty;

// What vgdisplay and pvdisplay printed, and the expected rows.
struct Recording {
    const char* name;
    const char* vgdisplay;
    const char* pvdisplay;
    const char* rows;
};

void PrintTo(const Recording& recording, std::ostream* out) {
    *out << recording.name;
}

class RecordedGroups : public testing::TestWithParam<Recording> {};

// Eight disks on channels 1 to 8, with the arrays md0 and md1 on the first three.
TEST_P(RecordedGroups, AreReadAsTheyWere) {
    Machine machine;
    machine.disks(8);
    machine.array({.name = "md0", .level = "raid0", .members = {{"sda"}}});
    machine.array({.name = "md1", .members = {{"sdb"}, {"sdc"}}});
    machine.tool("/sbin/vgdisplay").on("/sbin/vgdisplay -c").replays(GetParam().vgdisplay);
    machine.tool("/sbin/pvdisplay").on("/sbin/pvdisplay -c").replays(GetParam().pvdisplay);

    const Result result = shown_groups(machine);

    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, GetParam().rows);
    EXPECT_THAT(machine.tmp(), IsEmpty());
    EXPECT_THAT(machine.log(), IsEmpty());
    machine.expect_all_used();
}

constexpr const char* vg1_and_data = "vg1\tresizable\t0\t2G\t1G\n"
                                     "\tmd1\tAllocatable:yes \t0\t2G\t2G\tvg1\n"
                                     "data\tresizable\t0\t2G\t2G\n"
                                     "\tmd0\tAllocatable:yes \t0\t2G\t2G\tdata\n";

const std::string three = std::string("vgdisks\tresizable\t0\t2G\t2G\n"
                                      "\t6\tAllocatable:yes (but full)\t0\t1G\t1G\tvgdisks\n"
                                      "\t7\tAllocatable:yes (but full)\t0\t1G\t1G\tvgdisks\n") +
                          vg1_and_data;

const std::string exported = std::string("vgdisks\texported/resizable\t0\t2G\t2G\n"
                                         "\t6\tAllocatable:yes (but full)\t0\t1G\t1G\tvgdisks\n"
                                         "\t7\tAllocatable:yes (but full)\t0\t1G\t1G\tvgdisks\n") +
                             vg1_and_data;

// The missing disk has no row.
const std::string missing = std::string("vgdisks\tresizable\t0\t2G\t2G\n"
                                        "\t6\tAllocatable:yes (but full)\t0\t1G\t1G\tvgdisks\n") +
                            vg1_and_data;

// A RAM disk replaces the missing disk.
const std::string recovered = std::string("vgdisks\tresizable\t0\t2G\t2G\n"
                                          "\t6\tAllocatable:yes \t0\t1G\t0G\tvgdisks\n"
                                          "\tram2\tAllocatable:yes \t\t1G\t0G\tvgdisks\n") +
                              vg1_and_data;

constexpr const char* one = "data\tresizable\t0\t2G\t0G\n"
                            "\tmd0\tAllocatable:yes \t0\t2G\t0G\tdata\n";

constexpr const char* one_without_volumes = "data\tresizable\t\t2G\t0G\n";

constexpr const char* failed_array = "vg1\tresizable\t0\t2G\t1G\n"
                                     "\tmd1\tAllocatable:yes \t0\t2G\t2G\tvg1\n";

constexpr const char* failed_array_later = "vg1\tresizable\t0\t2G\t1G\n"
                                           "\tmd1\tAllocatable:yes \t0\t2G\t1G\tvg1\n";

constexpr const char* half_missing = "vg1\tresizable\t0\t4G\t3G\n"
                                     "\tmd0\tAllocatable:yes (but full)\t0\t2G\t2G\tvg1\n";

constexpr const char* half_restored = "vg1\tresizable\t0\t4G\t3G\n"
                                      "\tmd0\tAllocatable:yes (but full)\t0\t2G\t2G\tvg1\n"
                                      "\tram2\tAllocatable:yes \t\t2G\t1G\tvg1\n";

constexpr const char* emptied = "vg1\tresizable\t0\t4G\t0G\n"
                                "\tmd0\tAllocatable:yes (but full)\t0\t2G\t2G\tvg1\n"
                                "\tram2\tAllocatable:yes \t\t2G\t1G\tvg1\n";

INSTANTIATE_TEST_SUITE_P(
    All, RecordedGroups,
    testing::Values(
        Recording{"Three", "vgdisplay_c_three", "pvdisplay_c_three", three.c_str()},
        Recording{"OneExported", "vgdisplay_c_exported", "pvdisplay_c_exported", exported.c_str()},
        Recording{"OneWithAMissingDisk", "vgdisplay_c_missing", "pvdisplay_c_missing",
                  missing.c_str()},
        Recording{"OneWithARecoveredDisk", "vgdisplay_c_three", "recov_pvdisplay",
                  recovered.c_str()},
        Recording{"OneWithARecoveredDiskLater", "vgdisplay_c_three", "recov_pvdisplay_after",
                  recovered.c_str()},
        Recording{"One", "vgdisplay_c_one", "pvdisplay_c_one", one},
        Recording{"VolumesOfNoGroup", "vgdisplay_c_one", "pvdisplay_c_orphan", one_without_volumes},
        Recording{"NoVolumes", "vgdisplay_c_one", "lvm_pvdisplay_c_empty", one_without_volumes},
        Recording{"OnAFailedArray", "lvm_raid5_failed_vgdisplay", "lvm_raid5_failed_pvdisplay",
                  failed_array},
        Recording{"OnAnotherFailedArray", "lvm_raid5_failed_vgdisplay",
                  "lvm_A_pvdisplay_raid5_failed", failed_array_later},
        Recording{"OnAnOverwrittenArray", "lvm_raid5_failed_vgdisplay", "lvm_A_pvdisplay_after_dd",
                  failed_array_later},
        Recording{"HalfMissing", "lvm_B_vgdisplay_missing", "lvm_B_pvdisplay_missing",
                  half_missing},
        Recording{"HalfOnARamDisk", "lvm_B_vgdisplay_missing", "lvm_B_pvdisplay_ram",
                  half_restored},
        Recording{"HalfRestored", "lvm_B_vgdisplay_missing", "lvm_B_pvdisplay_restored",
                  half_restored},
        Recording{"Emptied", "lvm_B_vgdisplay_final", "lvm_B_pvdisplay_restored", emptied},
        Recording{"None", "lvm_vgdisplay_c_empty", "lvm_pvdisplay_c_empty", ""},
        Recording{"AllMissing", "lvm_C_vgdisplay_all_missing", "lvm_C_pvdisplay_all_missing", ""},
        Recording{"VolumesOfUnknownGroups", "lvm_vgdisplay_c_empty", "pvdisplay_c_three", ""}),
    [](const auto& test) { return std::string(test.param.name); });

} // namespace
} // namespace zav::test
