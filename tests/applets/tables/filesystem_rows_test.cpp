// SPDX-License-Identifier: MIT
// The rows of the file-system table.
#include "applets/tables.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

fs_info& add(fs_list& list, const char* name) {
    fs_info& fs = list.append();
    fs.name = name;
    fs.mntpoint = "/mnt/data/a";
    fs.fstype = "xfs";
    fs.status = "available";
    fs.allsize = {2048};
    fs.usedsize = {33};
    fs.ownername = "data";
    fs.device = "0";
    return fs;
}

std::string shown(const fs_info& fs) {
    CaptureStdout();
    fs_show(fs);
    return GetCapturedStdout();
}

TEST(FileSystemRow, HasAllButTheType) {
    fs_list list;
    EXPECT_EQ(shown(add(list, "/dev/data/a")),
              "/dev/data/a\t/mnt/data/a\tavailable\t2048M\t33M\tdata\t0\n");
}

TEST(FileSystemRow, ShowsEmptyTextsAsNotAvailableButLeavesTheRecord) {
    const fs_info fs;
    EXPECT_EQ(shown(fs), "\tN.A.\tN.A.\t0M\t0M\tN.A.\tN.A.\n") << "but an empty name stays empty";
    EXPECT_EQ(fs.mntpoint, "");
    EXPECT_EQ(fs.status, "");
    EXPECT_EQ(fs.ownername, "");
    EXPECT_EQ(fs.device, "");
}

TEST(FileSystemRow, ShowsTheUseOfAFileSystemWithoutASize) {
    fs_list list;
    fs_info& fs = add(list, "/dev/data/a");
    fs.allsize = {0};
    EXPECT_EQ(shown(fs), "/dev/data/a\t/mnt/data/a\tavailable\t0M\t33M\tdata\t0\n");
    EXPECT_EQ(fs.usedsize.count, 33U);
}

TEST(FileSystemRow, ShowsSizesOf64Bits) {
    fs_list list;
    fs_info& fs = add(list, "x");
    fs.allsize = {9223372036854775807U};
    fs.usedsize = {4294967296U};
    EXPECT_THAT(shown(fs), testing::HasSubstr("\t9223372036854775807M\t4294967296M\t"));
}

TEST(FileSystemRows, ComeInTheListsOrder) {
    fs_list list;
    add(list, "b");
    add(list, "a");
    CaptureStdout();
    fs_list_show(&list);
    EXPECT_EQ(GetCapturedStdout(), "b\t/mnt/data/a\tavailable\t2048M\t33M\tdata\t0\n"
                                   "a\t/mnt/data/a\tavailable\t2048M\t33M\tdata\t0\n");
}

TEST(FileSystemRows, OfNoListAreAMessage) {
    CaptureStdout();
    fs_list_show(nullptr);
    EXPECT_EQ(GetCapturedStdout(), "Can't show NULL list\n");
}

TEST(FileSystemTable, HasAHeaderAndARuleOf59Asterisks) {
    fs_list list;
    CaptureStdout();
    fs_table_show(list);
    EXPECT_EQ(GetCapturedStdout(),
              "name\tmntpoint\tstatus\tallsize\tusedsize\townername\tdevice\n" +
                  std::string(59, '*') + "\n");
    add(list, "a");
    CaptureStdout();
    fs_table_show(list);
    EXPECT_THAT(GetCapturedStdout(),
                testing::EndsWith("*\na\t/mnt/data/a\tavailable\t2048M\t33M\tdata\t0\n"));
}

TEST(FileSystemList, IsEmptyWhenDestroyed) {
    fs_list list;
    add(list, "a");
    add(list, "b");
    CaptureStdout();
    EXPECT_EQ(fs_list_destroy(&list), 0);
    EXPECT_EQ(fs_list_destroy(&list), 0);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(list.begin(), list.end());
}

TEST(FileSystemList, ThatIsMissingCannotBeDestroyed) {
    CaptureStdout();
    EXPECT_EQ(fs_list_destroy(nullptr), -1);
    EXPECT_EQ(GetCapturedStdout(), "Can't destory NULL list\n");
}

} // namespace
} // namespace zav::test
