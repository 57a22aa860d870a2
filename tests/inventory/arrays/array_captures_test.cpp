// SPDX-License-Identifier: MIT
// Discovery on recordings of real arrays in every state: details, /proc/mdstat and the kernel's
// directory, all recorded at the same moment.
#include "fixtures/array_root.h"
#include "recorded.h"
#include "sources/mdadm.h"
#include "sources/mdstat.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

// The expected result of reading a recording.
struct State {
    std::string name;
    std::string array;
    std::string type;
    std::string status;
    std::string progress;
    std::uint64_t allsize;
    std::map<std::string, std::string> members; // as shown, by disk
    std::string missing;
};

void PrintTo(const State& state, std::ostream* out) {
    *out << state.name;
}

// Creates the array's directory from the lines "ATTRIBUTE=VALUE" and
// "dev-DISK/state=STATE slot=...".
void restore_directory(ArrayRoot& root, const std::string& array, const std::string& recording) {
    std::istringstream lines(recorded(recording + "_sysfs").text);
    for (std::string line; std::getline(lines, line);) {
        const auto equals = line.find('=');
        const std::string attribute = line.substr(0, equals);
        std::string value = line.substr(equals + 1);
        if (attribute.starts_with("dev-")) {
            value.resize(value.find(' '));
        }
        if (!value.starts_with("cat:")) {
            root.file("/sys/block/" + array + "/md/" + attribute, value + "\n");
        }
    }
}

void restore(ArrayRoot& root, const std::string& array, const std::string& recording) {
    root.mdstat(recorded(recording + "_mdstat").text);
    root.detail(array).replays(recording + "_detail");
    restore_directory(root, array, recording);
}

class RecordedArray : public testing::TestWithParam<State> {};

TEST_P(RecordedArray, IsReadAsItWas) {
    const State& state = GetParam();
    ArrayRoot root;
    root.disks(8);
    // The recordings of md3 include this array.
    root.detail("md0").replays("raid0_clean_detail").optional();
    restore_directory(root, "md0", "raid0_clean");
    restore(root, state.array, state.name);

    const Discovery found = root.discover();

    const FoundArray expected = {state.array,
                                 state.type,
                                 state.status,
                                 state.progress,
                                 state.allsize,
                                 0,
                                 root.in_directory_order(state.array, state.members) +
                                     state.missing,
                                 "",
                                 "0"};
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.run.out, "");
    ASSERT_THAT(found.arrays, SizeIs(state.array == "md3" ? 2 : 1));
    EXPECT_EQ(found.arrays.front(), expected);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

const std::map<std::string, std::string> a_b = {{"sda", "sda"}, {"sdb", "sdb"}};
const std::map<std::string, std::string> a_b_c = {{"sda", "sda"}, {"sdb", "sdb"}, {"sdc", "sdc"}};
const std::map<std::string, std::string> a_c = {{"sda", "sda"}, {"sdc", "sdc"}};
const std::map<std::string, std::string> c_d = {{"sdc", "sdc"}, {"sdd", "sdd"}};
const std::map<std::string, std::string> c_d_faulty = {{"sdc", "sdc"}, {"sdd", "sdd(F)"}};
const std::map<std::string, std::string> a_b_spare_c = {
    {"sda", "sda"}, {"sdb", "sdb"}, {"sdc", "sdc(S)"}};
const std::map<std::string, std::string> b_faulty = {
    {"sda", "sda"}, {"sdb", "sdb(F)"}, {"sdc", "sdc"}};
const std::map<std::string, std::string> four = {
    {"sda", "sda"}, {"sdb", "sdb"}, {"sdc", "sdc"}, {"sdd", "sdd"}};

INSTANTIATE_TEST_SUITE_P(
    Striped, RecordedArray,
    testing::Values(State{"linear_clean", "md2", "linear", "clean", "", 2, a_b, ""},
                    State{"linear_after_fail", "md2", "linear", "broken", "", 2, a_b, ""},
                    State{"raid0_clean", "md0", "raid0", "clean", "", 2, a_b, ""},
                    State{"raid0_after_fail", "md0", "raid0", "broken", "", 2, a_b, ""}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(Mirrored, RecordedArray,
                         testing::Values(State{"raid1_clean", "md3", "raid1", "clean", "", 1, c_d,
                                               ""},
                                         State{"raid1_degraded", "md3", "raid1", "clean, degraded",
                                               "", 1, c_d_faulty, ""},
                                         State{"raid1_resync", "md3", "raid1", "clean, resyncing",
                                               "0.4%(5.00MB/s)", 1, c_d, ""}),
                         [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Raid5, RecordedArray,
    testing::Values(
        State{"raid5_clean", "md1", "raid5", "clean", "", 2, a_b_c, ""},
        State{
            "raid5_clean_with_faulty",
            "md1",
            "raid5",
            "clean",
            "",
            2,
            {{"sda", "sda(F)"}, {"sdb", "sdb(F)"}, {"sdc", "sdc"}, {"sdd", "sdd"}, {"sde", "sde"}},
            ""},
        State{
            "raid5_clean_with_spare",
            "md1",
            "raid5",
            "clean",
            "",
            2,
            {{"sda", "sda"}, {"sdb", "sdb(F)"}, {"sdc", "sdc"}, {"sdd", "sdd"}, {"sde", "sde(S)"}},
            ""},
        State{"raid5_degraded_removed", "md1", "raid5", "clean, degraded", "", 4, a_c, ",*(M)"},
        State{"raid5_degraded_two_faulty_one_missing",
              "md1",
              "raid5",
              "clean, degraded",
              "",
              2,
              {{"sda", "sda(F)"},
               {"sdb", "sdb(F)"},
               {"sdc", "sdc(F)"},
               {"sdd", "sdd"},
               {"sde", "sde"}},
              ""},
        State{"raid5_disk_unplugged_after_write", "md1", "raid5", "clean, degraded", "", 2,
              b_faulty, ""},
        State{"raid5_disk_unplugged_idle", "md1", "raid5", "clean, degraded", "", 2, a_b_c, ""},
        // One member is still in sync; one reads "faulty,blocked", which gives no mark.
        State{"raid5_failed",
              "md1",
              "raid5",
              "inactive",
              "",
              2,
              {{"sda", "sda(F)"},
               {"sdb", "sdb(F)"},
               {"sdc", "sdc(F)"},
               {"sdd", "sdd"},
               {"sde", "sde"}},
              ""},
        State{"raid5_faulty_and_spare_rebuilding",
              "md1",
              "raid5",
              "clean, degraded, recovering",
              "0.5%(6.00MB/s)",
              2,
              {{"sda", "sda(F)"},
               {"sdb", "sdb(F)"},
               {"sdc", "sdc"},
               {"sdd", "sdd"},
               {"sde", "sde(S)"}},
              ""},
        State{"raid5_incremental_one_disk_inactive",
              "md1",
              "raid5",
              "inactive",
              "",
              0,
              {{"sda", "sda(S)"}},
              ""},
        State{"raid5_incremental_two_disks_inactive",
              "md1",
              "raid5",
              "inactive",
              "",
              0,
              {{"sda", "sda(S)"}, {"sdb", "sdb(S)"}},
              ""},
        State{"raid5_initial_recovery", "md1", "raid5", "clean, degraded, recovering",
              "0.5%(3.00MB/s)", 2, a_b_spare_c, ""},
        State{"raid5_one_faulty", "md1", "raid5", "clean, degraded", "", 2, b_faulty, ""},
        State{"raid5_one_of_three_inactive", "md1", "raid5", "clean, degraded", "", 4, a_b,
              ",*(M)"},
        State{"raid5_rebuilding",
              "md1",
              "raid5",
              "clean, degraded, recovering",
              "0.7%(4.00MB/s)",
              2,
              {{"sda", "sda"}, {"sdb", "sdb(F)"}, {"sdc", "sdc"}, {"sdd", "sdd(S)"}},
              ""},
        State{"raid5_recreated",
              "md1",
              "raid5",
              "clean, degraded, recovering",
              "3.7%(44.00MB/s)",
              2,
              {{"sdc", "sdc(S)"}, {"sdd", "sdd"}, {"sde", "sde"}},
              ""},
        State{"raid5_started_degraded", "md1", "raid5", "clean, degraded", "", 4, a_b, ",*(M)"},
        State{"raid5_v090_clean", "md1", "raid5", "clean", "", 2, a_b_c, ""},
        State{"raid5_v090_recovery", "md1", "raid5", "clean, degraded, recovering",
              "0.3%(4.00MB/s)", 2, a_b_spare_c, ""},
        State{"v090_two_of_three", "md1", "raid5", "clean, degraded", "", 2, a_c, ",*(M)"}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Raid6, RecordedArray,
    testing::Values(State{"raid6_clean", "md4", "raid6", "clean", "", 2, four, ""},
                    State{"raid6_resync", "md4", "raid6", "clean, resyncing", "0.3%(4.00MB/s)", 2,
                          four, ""},
                    State{"raid6_two_faulty",
                          "md4",
                          "raid6",
                          "clean, degraded",
                          "",
                          2,
                          {{"sda", "sda(F)"}, {"sdb", "sdb(F)"}, {"sdc", "sdc"}, {"sdd", "sdd"}},
                          ""}),
    [](const auto& test) { return test.param.name; });

class RecordingWithoutArrays : public testing::TestWithParam<const char*> {};

TEST_P(RecordingWithoutArrays, GivesAnEmptyListAndNoFailure) {
    ArrayRoot root;
    root.disks(3).mdstat(recorded(GetParam()).text);

    const Discovery found = root.discover();

    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays, IsEmpty());
    EXPECT_THAT(root.log(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(All, RecordingWithoutArrays,
                         testing::Values("mdstat_no_arrays", "raid5_inactive_assembled_mdstat",
                                         "v090_one_of_three_mdstat"),
                         [](const auto& test) { return std::string(test.param); });

// An array whose details and /proc/mdstat are recorded, but not its directory.
TEST(RecordedDetails, OfAFailedArrayBelowAVolumeGroupHaveTheirValues) {
    const std::string detail = recorded("lvm_raid5_failed_detail").text;
    EXPECT_EQ(parse_detail_value(detail, "Raid Level"), "raid5");
    EXPECT_EQ(parse_detail_value(detail, "Array Size"), "2453504 (2.34 GiB 2.51 GB)");
    EXPECT_EQ(parse_detail_value(detail, "State"), "clean, FAILED");
    EXPECT_THAT(parse_mdstat_names(recorded("lvm_raid5_failed_mdstat").text),
                testing::ElementsAre("md1", "md0"));
}

TEST(RecordedDetails, OfAnArrayWrittenForPeopleHaveTheirValues) {
    const std::string detail = recorded("mdadm_D_raid5").text;
    EXPECT_EQ(parse_detail_value(detail, "Raid Level"), "raid5");
    EXPECT_EQ(parse_detail_value(detail, "Raid Devices"), "3");
}

// mdadm fails for an array that is gone; the others are still read.
TEST(RecordedDetails, OfAnArrayThatIsGoneLeaveItInactive) {
    ArrayRoot root;
    root.disks(3).mdstat("md1 : active raid5\n");
    root.detail("md1").replays("mdadm_detail_no_such");
    root.members("md1", "3\n", {{"sda", "in_sync\n"}, {"sdb", "in_sync\n"}, {"sdc", "in_sync\n"}});

    const Discovery found = root.discover();

    EXPECT_EQ(found.code, 0);
    ASSERT_THAT(found.arrays, SizeIs(1));
    EXPECT_EQ(found.arrays[0].type, "");
    EXPECT_EQ(found.arrays[0].status, "inactive");
}

} // namespace
} // namespace zav::test
