// SPDX-License-Identifier: MIT
#include "zavinfo/records.h"
#include "zavinfo/tree.h"

#include <gmock/gmock.h>

namespace zavinfo::test {
namespace {

using testing::HasSubstr;
using testing::Not;

TEST(Tree, HasSharesOnFileSystemsOnPoolsOnGroupsOnArraysOnDisks) {
    Records records;
    std::swap(records.members[0],
              records.members[1]); // shown by the appliance's slots all the same
    EXPECT_EQ(
        tree_text(records.view(), {}),
        "nas  KOR7206H  1.0.0  41 C  fan1 2400 rpm, fan2 2380 rpm  power normal  memory 50 %  "
        "processor 20 %\n"
        "\n"
        "group data  100 GiB  60 GiB free\n"
        "|- pool films  40 GiB\n"
        "|  `- file system /mnt/data/films  xfs  [#####---------------] 25 % of 40 GiB\n"
        "|     `- share films  samba  served\n"
        "`- array md0  raid1  100 GiB  clean\n"
        "   |- slot 1  sda  100 GiB  DISK-2000  running  SMART passed  33 C\n"
        "   `- slot 2  sdb  100 GiB  DISK-2000  running  SMART passed  33 C\n"
        "\n"
        "Other disks\n"
        "`- slot 3  sdc  100 GiB  DISK-2000  running  SMART passed  33 C  hot spare\n"
        "\n"
        "Services\n"
        "|- samba  running\n"
        "`- nfs  stopped\n");
}

TEST(Tree, DrawsWithStrokesWhereTheTerminalHasThem) {
    Records records;
    const std::string text = tree_text(records.view(), {.has_unicode = true});
    EXPECT_THAT(text, HasSubstr("│  └─ file system /mnt/data/films  xfs  [█████░░░"));
    EXPECT_THAT(text, HasSubstr("   ├─ slot 1"));
}

TEST(Tree, ShowsARebuild) {
    Records records;
    records.arrays[0].state = ZAV_ARRAY_REBUILDING;
    records.arrays[0].rebuild = {1, 0.126, 7650};
    records.members[1].state = ZAV_MEMBER_REBUILDING;
    const std::string text = tree_text(records.view(), {});
    EXPECT_THAT(text, HasSubstr("rebuilding  [###-----------------]  12.6 %  2 h 7 min left\n"));
    EXPECT_THAT(text, HasSubstr("33 C  rebuilding\n"));
    EXPECT_THAT(text, HasSubstr("! array md0 is being rebuilt (12.6 %, 2 h 7 min left)\n"));
}

TEST(Tree, HasColoursOnlyWhenTheyAreWanted) {
    Records records;
    records.arrays[0].state = ZAV_ARRAY_DEGRADED;
    EXPECT_THAT(tree_text(records.view(), {}), Not(HasSubstr("\x1b")));
    const std::string text = tree_text(records.view(), {.has_colours = true});
    EXPECT_THAT(text, HasSubstr("\x1b[1;31mdegraded\x1b[0m"));
    EXPECT_THAT(text, HasSubstr("\x1b[32mrunning\x1b[0m"));
}

TEST(Tree, SendsNoControlCharacterOfANameToTheTerminal) {
    Records records = every_state();
    const std::string text = tree_text(records.view(), {});
    EXPECT_THAT(text, Not(HasSubstr("\x1b")));
    EXPECT_THAT(text, HasSubstr("Not read\n`- pools  -1050  not to be read  o\"dd"));
}

TEST(Tree, LeavesOutNothingThatHasNoPlace) {
    Records records;
    records.arrays[0].group = ZAV_NONE;
    records.pools[0].group = ZAV_NONE;
    records.groups.clear();
    records.filesystems.push_back(
        {1, "usb", ZAV_NONE, "/mnt/netdisk/usb", "xfs", ZAV_FILESYSTEM_UNMOUNTED, 0, 0, {}});
    records.shares.push_back(share_record("lost", ZAV_SERVICE_NFS));
    records.shares.back().pool = records.shares.back().filesystem = ZAV_NONE;
    const std::string text = tree_text(records.view(), {});
    EXPECT_THAT(text, HasSubstr("\nArrays without a group\n`- array md0"));
    EXPECT_THAT(text, HasSubstr("\nPools of no known group\n`- pool films"));
    EXPECT_THAT(text, HasSubstr("\nNetwork disks\n`- network disk usb  /mnt/netdisk/usb  xfs  "
                                "not mounted\n"));
    EXPECT_THAT(text, HasSubstr("\nShares on nothing known\n`- share lost  nfs  service stopped"));
}

TEST(Tree, IsEmptyForNothing) {
    EXPECT_EQ(tree_text({}, {}), "");
}

} // namespace
} // namespace zavinfo::test
