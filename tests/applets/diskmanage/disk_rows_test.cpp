// SPDX-License-Identifier: MIT
// The rows of the disk listing.
#include "applets/diskmanage.h"
#include "fixtures/disk_root.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What a function prints.
std::string printed_by(const std::function<void()>& print) {
    PrivateRoot root;
    const auto run = [&] {
        print();
        return 0;
    };
    return root.call(run).out;
}

constexpr char listing_header[] =
    "diskname\tchannel\tspace\tstatus\tmodel\tstate\tdevice\traid\tuse\thotspare\n"
    "*****************************************************\n";

display_disk_info& add_shown(display_disk_list& list, const char* name, int hotspare) {
    display_disk_info& disk = list.append();
    disk.diskname = name;
    disk.channel = 3;
    disk.space = {931};
    disk.status = "running";
    disk.model = "DISK MODEL";
    disk.state = "RAID";
    disk.device = "0";
    disk.raid = "md1";
    disk.use = 1;
    disk.hotspare = hotspare;
    return disk;
}

TEST(DiskListing, HasHeaderRuleAndARowOfTenColumnsForEachDisk) {
    const std::string text = printed_by([] {
        display_disk_list list;
        add_shown(list, "sda", 1);
        add_shown(list, "sdb", 0);
        display_disk_list_show(&list);
    });
    const std::string row = "\t'3'\t'931'\t'running'\t'DISK MODEL'\t'RAID'\t'0'\t'md1'\t'1'\t";
    EXPECT_EQ(text, listing_header + ("'sda'" + row + "'H'\n") + ("'sdb'" + row + "'NH'\n"));
}

TEST(DiskListing, MarksOnlyTheValueOneAsAHotSpare) {
    const std::string text = printed_by([] {
        display_disk_list list;
        display_disk_show(add_shown(list, "sda", -1));
        display_disk_show(add_shown(list, "sda", 2));
    });
    EXPECT_THAT(split(text, "\n"),
                ElementsAre(testing::EndsWith("'NH'"), testing::EndsWith("'NH'")));
}

TEST(DiskListing, PrintsSpaceAsASignedNumberOf64Bits) {
    const std::string text = printed_by([] {
        display_disk_list list;
        display_disk_info& disk = add_shown(list, "sda", 0);
        disk.space = {static_cast<std::uint64_t>(LLONG_MIN)};
        disk.channel = INT_MIN;
        display_disk_show(disk);
    });
    EXPECT_THAT(text, testing::StartsWith("'sda'\t'-2147483648'\t'-9223372036854775808'\t"));
}

TEST(DiskListing, WithoutDisksHasHeaderAndRule) {
    EXPECT_EQ(printed_by([] {
                  const display_disk_list list;
                  display_disk_list_show(&list);
              }),
              listing_header);
}

TEST(DiskListing, OfNoListIsAMessageAlone) {
    EXPECT_EQ(printed_by([] { display_disk_list_show(nullptr); }), "Can't show NULL disklist\n");
}

TEST(DiskListing, IsEmptiedWithoutAWord) {
    display_disk_list list;
    add_shown(list, "sda", 0);
    EXPECT_EQ(display_disk_list_destroy(&list), 0);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(display_disk_list_destroy(&list), 0);
    EXPECT_THAT(printed_by([] {
                    display_disk_list none;
                    display_disk_list_destroy(&none);
                }),
                IsEmpty());
}

TEST(DiskListing, ThatIsNoListIsNotEmptied) {
    EXPECT_EQ(printed_by([] { EXPECT_EQ(display_disk_list_destroy(nullptr), -1); }),
              "Can't destory NULL disklist\n");
}

} // namespace
} // namespace zav::test
