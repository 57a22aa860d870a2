// SPDX-License-Identifier: MIT
// The volumes that the iSCSI target daemon exports.
#include "fixtures/share_lists.h"
#include "fixtures/share_machine.h"
#include "sources/iet_volumes.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VolumeScan : public testing::Test {
  protected:
    // The names after one more line of the daemon's output.
    Texts scanned(const std::string& text) {
        scan_iscsi_volumes(text, list);
        return names(list);
    }
    share_list list;
};

TEST_F(VolumeScan, AddsWhatTheRegisterDoesNotHave) {
    EXPECT_THAT(scanned("tid:1 name:iqn.2006-05.com.nas:disk1.20240502140305\n"
                        "\tlun:0 state:0 iotype:fileio path:/dev/data/disk1\n"),
                ElementsAre("disk1"));
    const share_info& share = *list.begin();
    EXPECT_EQ(share.type, "iSCSI");
    EXPECT_EQ(share.write, 1);
    EXPECT_EQ(share.size.count, 0);
    EXPECT_EQ(share.usedsize.count, 0);
    EXPECT_EQ(share.path, "");
}

TEST_F(VolumeScan, UpdatesTheShareOfTheName) {
    share_info& share = add(list, "disk1", "iscsi", "/dev/data/disk1");
    share.write = 0;
    share.usedsize = {-1};
    EXPECT_THAT(scanned("tid:1 name:iqn.2006-05.com.nas:disk1\n"), ElementsAre("disk1"));
    EXPECT_EQ(share.type, "iSCSI");
    EXPECT_EQ(share.write, 1);
    EXPECT_EQ(share.usedsize.count, 0);
    EXPECT_EQ(share.path, "/dev/data/disk1");
}

TEST_F(VolumeScan, UpdatesTheFirstOfNamesakes) {
    add(list, "disk1", "iscsi");
    add(list, "disk1", "iscsi");
    scanned("tid:1 name:iqn:disk1\ntid:2 name:iqn:disk1\n");
    EXPECT_EQ(list.begin()->type, "iSCSI");
    EXPECT_EQ(std::next(list.begin())->type, "iscsi");
}

TEST_F(VolumeScan, LeavesTheSharesOfOtherServicesAndForbiddenOnes) {
    for (const char* type : {"samba", "nfs", "ftp", ""}) {
        list.clear();
        add(list, "disk1", type).write = 0;
        EXPECT_THAT(scanned("tid:1 name:iqn:disk1.2024\n"), ElementsAre("disk1"));
        EXPECT_EQ(list.begin()->type, type);
        EXPECT_EQ(list.begin()->write, 0);
    }
}

TEST_F(VolumeScan, ReadsTheNameOnceItIsAdded) {
    EXPECT_THAT(scanned("tid:1 name:iqn:new\ntid:2 name:iqn:new.2024\n"), ElementsAre("new"));
}

TEST_F(VolumeScan, TakesTheFirstFieldWhereNoWordIsNamed) {
    EXPECT_THAT(scanned("tid:disk1.2024 lun\n"), ElementsAre("disk1"));
}

TEST_F(VolumeScan, PassesOverOtherLines) {
    EXPECT_THAT(scanned("lun:0 name:iqn:a\nx tid:1 name:iqn:b\n\n"), IsEmpty());
}

TEST_F(VolumeScan, CutsANameAt32Characters) {
    EXPECT_THAT(scanned("tid:1 name:iqn:" + std::string(40, 'x') + "\n"),
                ElementsAre(std::string(32, 'x')));
}

} // namespace
} // namespace zav::test
