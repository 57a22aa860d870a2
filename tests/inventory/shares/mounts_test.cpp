// SPDX-License-Identifier: MIT
// Which shares are mounted.
#include "inventory/shares.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

share_info& add(share_list& list, const char* name, const char* type, const char* path = "") {
    share_info& share = list.append();
    share.name = name;
    share.type = type;
    share.path = path;
    return share;
}

class MountScan : public testing::Test {
  protected:
    share_list list;
};

TEST_F(MountScan, MarksWhatIsMountedAndTakesItsDirectory) {
    share_info& share = add(list, "pub", "samba", "/registered");
    share.comment = "mine";
    scan_mounts({{"/dev/data/pub", "/elsewhere/pub"}}, list);
    EXPECT_EQ(share.path, "/elsewhere/pub");
    EXPECT_EQ(share.usedsize.count, -1);
    EXPECT_EQ(share.comment, "mine");
}

TEST_F(MountScan, MarksWhatIsNotMounted) {
    share_info& share = add(list, "pub", "samba", "/mnt/data/pub");
    share.comment = "mine";
    share.usedsize = {5};
    scan_mounts({{"proc", "/proc"}, {"/dev/x", "/mnt/data/public"}}, list);
    EXPECT_EQ(share.comment, "Filesystem umounted");
    EXPECT_EQ(share.usedsize.count, 0);
    EXPECT_EQ(share.path, "/mnt/data/pub");
}

TEST_F(MountScan, TakesTheLastOfSeveralDirectories) {
    const share_info& share = add(list, "pub", "ftp");
    scan_mounts({{"a", "/one/pub"}, {"b", "/two/pub"}}, list);
    EXPECT_EQ(share.path, "/two/pub");
}

TEST_F(MountScan, AffectsTheFirstOfNamesakes) {
    const share_info& first = add(list, "pub", "samba");
    const share_info& second = add(list, "pub", "nfs");
    scan_mounts({{"a", "/mnt/pub"}}, list);
    EXPECT_EQ(first.usedsize.count, -1);
    EXPECT_EQ(second.comment, "Filesystem umounted");
}

TEST_F(MountScan, AsksNoMountOfAnIscsiShare) {
    const share_info& share = add(list, "disk1", "iSCSI", "/dev/data/disk1");
    const share_info& other = add(list, "disk1", "samba");
    scan_mounts({{"a", "/mnt/disk1"}}, list);
    EXPECT_EQ(share.usedsize.count, -1);
    EXPECT_EQ(share.comment, "");
    EXPECT_EQ(share.path, "/dev/data/disk1");
    EXPECT_EQ(other.path, "/mnt/disk1") << "the mount is that of its namesake";
}

TEST_F(MountScan, FindsNoIscsiShareWhereNothingIsMounted) {
    const share_info& share = add(list, "disk1", "iscsi");
    scan_mounts({}, list);
    EXPECT_EQ(share.comment, "Filesystem umounted");
    EXPECT_EQ(share.usedsize.count, 0);
}

TEST_F(MountScan, TakesNoDirectoryThatNoFileCanHold) {
    for (const char* directory :
         {"/mnt/x\n[evil]/pub", "/mnt/x\ty/pub", "/mnt/x\\y/pub", "/mnt/x\x7f/pub"}) {
        share_list shares;
        const share_info& share = add(shares, "pub", "samba", "/mnt/data/pub");
        scan_mounts({{"a", directory}}, shares);
        EXPECT_EQ(share.path, "/mnt/data/pub") << directory;
        EXPECT_EQ(share.usedsize.count, -1) << "it is mounted all the same";
    }
}

TEST_F(MountScan, TakesADirectoryWithABlankUnlessItIsExported) {
    const share_info& share = add(list, "pub", "samba", "/mnt/data/pub");
    const share_info& exported = add(list, "export", "nfs", "/mnt/data/export");
    const share_info& both = add(list, "both", "samba,NFS", "/mnt/data/both");
    scan_mounts({{"a", "/x y/pub"}, {"b", "/x y/export"}, {"c", "/x y/both"}}, list);
    EXPECT_EQ(share.path, "/x y/pub");
    EXPECT_EQ(exported.path, "/mnt/data/export") << "a blank ends the path in the file";
    EXPECT_EQ(both.path, "/mnt/data/both");
}

TEST_F(MountScan, CountsSharesOfSeveralServicesAsMounted) {
    const share_info& share = add(list, "pub", "samba,iSCSI");
    scan_mounts({{"a", "/mnt/pub"}}, list);
    EXPECT_EQ(share.path, "/mnt/pub");
}

} // namespace
} // namespace zav::test
