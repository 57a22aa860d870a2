// SPDX-License-Identifier: MIT
// What --check finds, and its line.
#include "zavinfo/check.h"
#include "zavinfo/records.h"

#include <gmock/gmock.h>

namespace zavinfo::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class Check : public testing::Test {
  protected:
    Check() { records.arrays[0].size_bytes = 90 * gib; }

    // The texts, each with its severity before it.
    std::vector<std::string> found(const Limits& limits = {}) {
        std::vector<std::string> texts;
        for (const Finding& finding : findings_of(records.view(), limits)) {
            const char* severity = finding.severity == Severity::critical  ? "critical: "
                                   : finding.severity == Severity::warning ? "warning: "
                                                                           : "unknown: ";
            texts.push_back(severity + finding.text);
        }
        return texts;
    }

    Records records;
};

TEST_F(Check, FindsNothingOnAMachineThatIsWell) {
    EXPECT_THAT(found(), IsEmpty());
    const CheckResult result = check(records.view(), {});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.line, StartsWith("ZAV OK - 3 disks, 1 array, 1 pool, 1 file system, 1 share "
                                        "| 'disks_failing'=0;;;0;3 'arrays_degraded'=0;;;0;1 "));
    EXPECT_THAT(result.line, HasSubstr(" 'sda_celsius'=33 "));
    EXPECT_THAT(result.line,
                testing::EndsWith(" '/mnt/data/films'=10737418240B;38654705664;41661182771;0;"
                                  "42949672960\n"));
}

TEST_F(Check, FindsADegradedArray) {
    records.arrays[0].state = ZAV_ARRAY_DEGRADED;
    records.members[1] = {"", ZAV_NONE, ZAV_MEMBER_MISSING, 1};
    records.members.push_back({"sdb", 1, ZAV_MEMBER_FAULTY, ZAV_UNKNOWN});
    EXPECT_THAT(found(),
                ElementsAre("critical: array md0 is degraded (slot 1 is empty, sdb has failed)"));
    EXPECT_EQ(check(records.view(), {}).status, 2);
}

TEST_F(Check, FindsALostArray) {
    records.arrays[0].state = ZAV_ARRAY_INACTIVE;
    EXPECT_THAT(found(), ElementsAre("critical: array md0 is lost",
                                     "warning: hot spare sdc cannot help: no array could use it"));
}

TEST_F(Check, FindsARebuildAndAnArrayOfUnknownState) {
    records.arrays[0].state = ZAV_ARRAY_REBUILDING;
    records.arrays[0].rebuild = {1, 0.126, 7650};
    EXPECT_THAT(found(),
                ElementsAre("warning: array md0 is being rebuilt (12.6 %, 2 h 7 min left)"));
    EXPECT_EQ(check(records.view(), {}).status, 1);
    records.arrays[0].state = ZAV_ARRAY_UNKNOWN;
    EXPECT_THAT(found(), ElementsAre("unknown: the state of array md0 is not known"));
    EXPECT_EQ(check(records.view(), {}).status, 3);
}

TEST_F(Check, FindsDisksThatFail) {
    records.disks[0].smart = ZAV_VERDICT_FAILED;
    records.disks[1].state = ZAV_DISK_OFFLINE;
    EXPECT_THAT(found(), ElementsAre("critical: disk sda expects to fail (SMART)",
                                     "critical: disk sdb is offline"));
    records.disks[0].smart = ZAV_VERDICT_PASSED;
    records.attributes[0].when_failed = "FAILING_NOW";
    records.disks[1].is_used = 0;
    EXPECT_THAT(found(), ElementsAre("warning: disk sda has an attribute below its threshold",
                                     "warning: disk sdb is offline"));
}

TEST_F(Check, FindsHotSparesThatCannotHelp) {
    const std::string head = "warning: hot spare sdc cannot help: ";
    records.disks[2].size_bytes = 80 * gib;
    EXPECT_THAT(found(),
                ElementsAre(head + "it has 80 GiB, and every array needs at least 90 GiB"));
    records.disks[2].size_bytes = 90 * gib;
    EXPECT_THAT(found(), IsEmpty());
    records.arrays[0].level = "raid0";
    EXPECT_THAT(found(), ElementsAre(head + "no array could use it"));
    records.arrays[0].level = "raid1";
    records.disks[2].state = ZAV_DISK_OFFLINE;
    EXPECT_THAT(found(), ElementsAre(head + "it is offline"));
    records.disks[2] = disk_record("sdc", 3, 0);
    records.disks[2].is_hotspare = 1;
    records.members.push_back({"sdc", 2, ZAV_MEMBER_ACTIVE, 2});
    EXPECT_THAT(found(), ElementsAre(head + "it is a member of array md0"));
    records.members.back().state = ZAV_MEMBER_REBUILDING;
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(Check, MeasuresAHotSpareByTheSmallestPartThatAnArrayNeeds) {
    records.disks[2].size_bytes = 45 * gib;
    records.arrays[0].level = "raid5"; // three of 45 GiB
    records.members.push_back({"", ZAV_NONE, ZAV_MEMBER_MISSING, 2});
    records.arrays[0].state = ZAV_ARRAY_CLEAN;
    EXPECT_THAT(found(), IsEmpty());
    records.arrays[0].level = "raid6"; // three of 90 GiB
    EXPECT_THAT(found(), ElementsAre(HasSubstr("every array needs at least 90 GiB")));
    zav_array other = records.arrays[0];
    other.name = "md1";
    other.size_bytes = 40 * gib;
    other.level = "raid1";
    records.arrays.push_back(other);
    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(Check, FindsFileSystemsThatAreFullOrCannotBeUsed) {
    zav_filesystem& filesystem = records.filesystems[0];
    filesystem.used_bytes = 36 * gib;
    EXPECT_THAT(found(), ElementsAre("warning: file system /dev/data/films is 90 % full"));
    EXPECT_THAT(found({.warning = 91}), IsEmpty());
    EXPECT_THAT(found({.critical = 90}),
                ElementsAre("critical: file system /dev/data/films is 90 % full"));
    filesystem.used_bytes = 39 * gib;
    EXPECT_THAT(found(), ElementsAre("critical: file system /dev/data/films is 98 % full"));
    filesystem.state = ZAV_FILESYSTEM_UNUSABLE;
    EXPECT_THAT(found(), ElementsAre("critical: file system /dev/data/films cannot be used"));
    filesystem.state = ZAV_FILESYSTEM_UNMOUNTED;
    EXPECT_THAT(found(), ElementsAre("warning: file system /dev/data/films is not mounted"));
}

TEST_F(Check, FindsSharesThatAreOutOfReach) {
    records.shares[0].is_mounted = 0;
    EXPECT_THAT(found(), ElementsAre("critical: the file system of share films is not mounted"));
    EXPECT_THAT(check(records.view(), {}).line, HasSubstr(" 'shares_out_of_reach'=1;;;0;1 "));
    records.shares[0].state = ZAV_SHARE_FORBIDDEN;
    EXPECT_THAT(found(), IsEmpty());
    records.shares[0].is_mounted = 1;
    records.shares[0].state = ZAV_SHARE_NOT_SERVED;
    EXPECT_THAT(found(),
                ElementsAre("critical: share films is registered, but samba does not serve it"));
    records.shares[0].state = ZAV_SHARE_NOT_REGISTERED;
    EXPECT_THAT(found(), ElementsAre("warning: share films is served by samba, but not "
                                     "registered"));
}

TEST_F(Check, FindsAServiceThatHasSharesAndDoesNotRun) {
    records.services[0].running = ZAV_STOPPED;
    EXPECT_THAT(found(), ElementsAre("critical: service samba is stopped, and has 1 share"));
    records.services[0].running = ZAV_RUNNING_UNKNOWN;
    EXPECT_THAT(found(), ElementsAre("unknown: whether service samba runs is not known"));
}

TEST_F(Check, FindsRegistersThatDisagree) {
    records.filesystems[0].pool = ZAV_NONE;
    EXPECT_THAT(found(), ElementsAre("warning: file system /dev/data/films is registered, but "
                                     "there is no such pool"));
    records.filesystems[0].pool = 0;
    records.filesystems.push_back(records.filesystems[0]);
    EXPECT_THAT(found(), ElementsAre("warning: the mount point /mnt/data/films is registered more "
                                     "than once"));
    records.filesystems.pop_back();
    records.shares[0].pool = records.shares[0].filesystem = ZAV_NONE;
    EXPECT_THAT(found(), ElementsAre("warning: share films is registered, but is on no pool and "
                                     "no registered file system"));
}

TEST_F(Check, FindsAPoolThatIsSwitchedOff) {
    records.pools[0].is_available = 0;
    EXPECT_THAT(found(), ElementsAre("critical: pool /dev/data/films is switched off"));
}

TEST_F(Check, TellsWhatCouldNotBeReadUnlessSomethingWorseIsKnown) {
    records.failures = {{"pools", "", ZAV_E_POOL_OUTPUT_UNREAD, "it cannot be read"}};
    records.filesystems[0].pool = ZAV_NONE; // which says nothing now
    records.shares[0].pool = records.shares[0].filesystem = ZAV_NONE;
    EXPECT_THAT(found(), ElementsAre("unknown: pools not read: it cannot be read (-1050)"));
    EXPECT_EQ(check(records.view(), {}).status, 3);
    records.arrays[0].state = ZAV_ARRAY_REBUILDING;
    EXPECT_EQ(check(records.view(), {}).status, 1);
    EXPECT_THAT(check(records.view(), {}).line,
                StartsWith("ZAV WARNING - array md0 is being rebuilt; pools not read: "));
    records.arrays[0].state = ZAV_ARRAY_DEGRADED;
    EXPECT_EQ(check(records.view(), {}).status, 2);
}

TEST_F(Check, JudgesNoHotSpareByArraysThatCouldNotBeRead) {
    records.arrays[0].level = "raid0";
    records.failures = {{"arrays", "", ZAV_E_ARRAY_OUTPUT_UNREAD, "it cannot be read"}};
    EXPECT_THAT(found(), ElementsAre(StartsWith("unknown: arrays not read")));
}

TEST_F(Check, StaysOnOneLine) {
    records = every_state();
    const CheckResult result = check(records.view(), {});
    EXPECT_EQ(std::ranges::count(result.line, '\n'), 1);
    EXPECT_EQ(std::ranges::count(result.line, '|'), 1);
    EXPECT_THAT(result.line, HasSubstr(" more | "));
    EXPECT_THAT(result.line, Not(HasSubstr("\x1b")));
    EXPECT_EQ(check_failure("a|b\nc").line, "ZAV UNKNOWN - a/b?c\n");
}

} // namespace
} // namespace zavinfo::test
