// SPDX-License-Identifier: MIT
// The examples on a machine that has something of everything. md1 is being rebuilt, music is not
// mounted.
#include "api/snapshot_machine.h"

namespace zav::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::UnorderedElementsAre;

class Examples : public testing::Test {
  protected:
    // Nothing is changed, logged or left behind.
    Result run(const std::string& program, const std::vector<std::string>& arguments = {}) {
        machine.bind(program, "/usr/bin/example");
        const auto before = machine.snapshot();
        Result result = machine.run(arguments, {.argv0 = "example", .program = "/usr/bin/example"});
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
        EXPECT_THAT(machine.log(), IsEmpty());
        return result;
    }

    SnapshotMachine machine;
};

TEST_F(Examples, TellTheSharesOfADisk) {
    const Result result = run(ZAV_TEST_DISK_SHARES);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.err, "");
    // In the order of the controller's directory.
    EXPECT_THAT(split(result.out, "\n"),
                UnorderedElementsAre("slot 1  sda  md0 raid1 clean: films block",
                                     "slot 2  sdb  md0 raid1 clean: films block",
                                     "slot 3  sdc  md1 raid5 rebuilding: music",
                                     "slot 4  sdd  md1 raid5 rebuilding: music",
                                     "slot 5  sde  md1 raid5 rebuilding: music",
                                     "slot 6  sdf: music", "slot 7  sdg:"));
}

TEST_F(Examples, TellWhatCouldNotBeRead) {
    machine.tool("/usr/local/bin/hotspare").on("/usr/local/bin/hotspare --list").exits(3);
    const Result result = run(ZAV_TEST_DISK_SHARES);
    EXPECT_EQ(result.exit_status, 3);
    EXPECT_THAT(result.err, HasSubstr("disk_shares: disks: "));
    EXPECT_THAT(result.out, HasSubstr("slot 7  sdg:\n"));
}

TEST(NewShare, IsMadeWithAPoolForItsCopy) {
    ShareMachine machine;
    machine.bind(ZAV_TEST_NEW_SHARE, "/usr/bin/example");
    const RunOptions example = {.argv0 = "example", .program = "/usr/bin/example"};
    const Result made = machine.run({"data", "pub", "5"}, example);
    EXPECT_EQ(made.exit_status, 0);
    EXPECT_EQ(made.err, "");
    EXPECT_THAT(made.out, testing::StartsWith("1. /sbin/lvcreate -L 5G -n pub_copy data\n1. "));
    EXPECT_THAT(machine.read(share_register), HasSubstr("[pub]\n"));

    machine.tool(pool_tool::lvcreate).any().complains("no free extents\n").exits(5);
    const Result failed = machine.run({"data", "other", "5"}, example);
    EXPECT_EQ(failed.exit_status, 1);
    EXPECT_THAT(failed.err, HasSubstr(" (pool_not_created).\n'/sbin/lvcreate -L 5G -n other_copy "
                                      "data' failed: no free extents\n"));
}

TEST_F(Examples, TellTheFullFileSystems) {
    const Result all = run(ZAV_TEST_FULL_FILESYSTEMS, {"0"});
    EXPECT_EQ(all.exit_status, 1);
    EXPECT_EQ(all.err, "");
    EXPECT_THAT(all.out, MatchesRegex("(.*\n)?/dev/data/films: [0-9]+ % of [0-9]+ GiB, at "
                                      "/mnt/data/films films\n(.*\n)?"));
    EXPECT_THAT(all.out, HasSubstr("usb: "));
    EXPECT_THAT(all.out, testing::Not(HasSubstr("music"))); // it is not mounted
    const Result none = run(ZAV_TEST_FULL_FILESYSTEMS, {"101"});
    EXPECT_EQ(none.exit_status, 0);
    EXPECT_EQ(none.out, "");
}

} // namespace
} // namespace zav::test
