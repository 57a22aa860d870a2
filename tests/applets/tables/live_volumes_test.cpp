// SPDX-License-Identifier: MIT
// The rows of the physical volumes that LVM sees.
#include "applets/tables.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

// What live_pv_list_display() prints.
std::string shown(const live_pv_list* list) {
    testing::internal::CaptureStdout();
    live_pv_list_display(list);
    return testing::internal::GetCapturedStdout();
}

TEST(ShownLiveVolumes, AreRowsUnderAHeader) {
    live_pv_list list;
    EXPECT_EQ(shown(&list), "uuid\t\tpvname\n");
    live_pv& first = list.append();
    first.uuid = "AAAAAA-0000";
    first.pvname = "md0";
    list.append().pvname = "unknown";
    EXPECT_EQ(shown(&list), "uuid\t\tpvname\nAAAAAA-0000\tmd0\n\tunknown\n");
}

TEST(ShownLiveVolumes, AreAMessageWithoutAList) {
    EXPECT_EQ(shown(nullptr), "Can't show NULL list\n");
}

} // namespace
} // namespace zav::test
