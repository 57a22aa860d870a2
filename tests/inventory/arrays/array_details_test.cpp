// SPDX-License-Identifier: MIT
// Level, size and state of arrays, as mdadm reports them.
#include "fixtures/array_root.h"
#include "fixtures/library.h"

#include <csignal>
#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

// One clean array of one disk.
class ArrayDetails : public testing::Test {
  protected:
    ArrayDetails() { root.disks(1).array("md1", "linear", "clean", 1, {{"sda", "in_sync\n"}}); }

    ArrayRoot root;
};

TEST_F(ArrayDetails, SkipsTheDetailsThatMdadmDoesNotGive) {
    root.array("md2", "linear", "active", 0, {});
    root.detail("md1").complains("mdadm: cannot open /dev/md1\n").exits(1);
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays,
                ElementsAre(FoundArray{"md1", "", "inactive", "", 0, 0, "sda", "", "0"},
                            FoundArray{"md2", "linear", "active", "", 2, 0, "", "", ""}));
    EXPECT_THAT(log_texts(root),
                ElementsAre(MatchesRegex("system\\(\"/sbin/mdadm --detail /dev/md1 > "
                                         "/tmp/md1\\.[^ ]{6}\"\\) return normal with exit\\(1\\) "
                                         "for '.*'")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST_F(ArrayDetails, ContinuesWhenASignalEndsMdadm) {
    root.detail("md1").prints("Raid Level : linear\n").killed_by(SIGSEGV);
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.arrays.at(0).type, "");
    EXPECT_THAT(log_texts(root), ElementsAre(HasSubstr("unnormal")));
}

TEST_F(ArrayDetails, ContinuesWithoutMdadm) {
    root.remove("/sbin/mdadm");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.arrays.at(0).status, "inactive");
    EXPECT_THAT(log_texts(root), ElementsAre(HasSubstr("return normal with exit(127)")));
}

TEST_F(ArrayDetails, KeepsTheDefaultsWhenTheDetailsCannotBeOpened) {
    root.array("md2", "linear", "active", 0, {});
    root.detail("md1").does("rm -f /tmp/md1.*");
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.run.out, "");
    EXPECT_EQ(found.arrays.at(0).status, "inactive");
    EXPECT_EQ(found.arrays.at(1).status, "active");
    EXPECT_THAT(log_texts(root),
                ElementsAre(MatchesRegex("get_mdinfo_from_mdadm:[0-9]+ return -1030 with No such "
                                         "file or directory")));
}

Code details_of_two(mdinfo_list& list) {
    add_array(list, "md1", "", "inactive");
    add_array(list, "md2", "", "inactive");
    return get_mdinfo_from_mdadm(list);
}

TEST_F(ArrayDetails, ReportsDetailsThatCannotBeOpenedAndReadsTheOthers) {
    root.array("md2", "linear", "active", 0, {});
    root.detail("md1").does("rm -f /tmp/md1.*");
    const Discovery found = root.discover(details_of_two);
    EXPECT_EQ(found.code, -1030);
    EXPECT_EQ(found.arrays.at(0).type, "");
    EXPECT_EQ(found.arrays.at(1).type, "linear");
}

TEST_F(ArrayDetails, ReportsNoFailureOfMdadmItself) {
    root.array("md2", "linear", "active", 0, {});
    root.detail("md1").exits(1);
    EXPECT_EQ(root.discover(details_of_two).code, 0);
}

// The record that get_mdinfo_from_mdadm() makes from one array's details.
FoundArray details(ArrayRoot& root, const std::string& text) {
    root.detail("md1").prints(text);
    const Discovery found = root.discover([](mdinfo_list& list) {
        add_array(list, "md1", "", "inactive");
        return get_mdinfo_from_mdadm(list);
    });
    EXPECT_EQ(found.code, 0);
    return found.arrays.at(0);
}

std::vector<std::string> missing_keys(const ArrayRoot& root) {
    return log_texts(root, "get_mdinfo_type");
}

const auto logged_missing_key = MatchesRegex("get_mdinfo_type:[0-9]+ return -1031 with .+");

TEST_F(ArrayDetails, ReadsNothingButTheLevelWithoutOne) {
    const FoundArray found = details(root, "Array Size : 1048576\nState : clean\n");
    EXPECT_EQ(found, (FoundArray{"md1", "", "inactive", "", 0, 0, "", "", ""}));
    EXPECT_THAT(missing_keys(root), ElementsAre(logged_missing_key));
}

TEST_F(ArrayDetails, ReadsTheDeviceSizeWhereThereIsNoArraySize) {
    const FoundArray found =
        details(root, "Raid Level : raid1\nDevice Size : 1048576 (1 GB)\nState : clean\n");
    EXPECT_EQ(found.allsize, 1U);
    EXPECT_EQ(found.status, "clean");
    EXPECT_THAT(missing_keys(root), ElementsAre(logged_missing_key));
}

TEST_F(ArrayDetails, PrefersTheArraySize) {
    EXPECT_EQ(
        details(root, "Raid Level : raid1\nDevice Size : 1048576\nArray Size : 2097152\n").allsize,
        2U);
}

TEST_F(ArrayDetails, ReadsNoStateWithoutAnySize) {
    const FoundArray found = details(root, "Raid Level : raid1\nState : clean\n");
    EXPECT_EQ(found.type, "raid1");
    EXPECT_EQ(found.status, "inactive");
    EXPECT_THAT(missing_keys(root), ElementsAre(logged_missing_key, logged_missing_key));
}

TEST_F(ArrayDetails, KeepsInactiveWithoutAState) {
    const FoundArray found = details(root, "Raid Level : raid1\nArray Size : 1048576\n");
    EXPECT_EQ(found.allsize, 1U);
    EXPECT_EQ(found.status, "inactive");
}

TEST_F(ArrayDetails, KeepsInactiveForAnEmptyState) {
    EXPECT_EQ(details(root, "Raid Level : raid1\nArray Size : 1048576\nState :\n").status,
              "inactive");
}

TEST_F(ArrayDetails, TreatsEmptyDetailsAsNone) {
    EXPECT_EQ(details(root, "Raid Level :\nArray Size :\nState : clean\n"),
              (FoundArray{"md1", "", "clean", "", 0, 0, "", "", ""}));
}

TEST_F(ArrayDetails, CutsTheDetailsToTheirFields) {
    const FoundArray found = details(root, "Raid Level : raid1000\nArray Size : 1048576\nState : " +
                                               std::string(60, 's') + "\n");
    EXPECT_EQ(found.type, "raid100");
    EXPECT_EQ(found.status, std::string(47, 's'));
}

TEST_F(ArrayDetails, RoundsTheSizeHalfUp) {
    EXPECT_EQ(details(root, "Raid Level : raid5\nArray Size : 976759936 (931.51 GiB 1000.20 GB)\n")
                  .allsize,
              932U);
    EXPECT_EQ(details(root, "Raid Level : raid5\nArray Size : 524287 (512 MiB)\n").allsize, 0U);
    EXPECT_EQ(details(root, "Raid Level : raid5\nArray Size : 524288 (512 MiB)\n").allsize, 1U);
}

TEST_F(ArrayDetails, ReadsDetailsThatAreNotThere) {
    EXPECT_EQ(details(root, ""), (FoundArray{"md1", "", "inactive", "", 0, 0, "", "", ""}));
}

TEST_F(ArrayDetails, ReadsDetailsThatAreAMegabyteOfGarbage) {
    root.detail("md1").prints_bytes(1 << 20);
    const Discovery found = root.discover();
    EXPECT_EQ(found.code, 0);
    EXPECT_EQ(found.arrays.at(0).status, "inactive");
}

// Values copied for callers.

std::string value_of(std::string_view text, const char* key, std::size_t capacity, int& code) {
    char value[64] = "before";
    code = number_of(get_mdinfo_type(text, value, capacity, key));
    return value;
}

TEST(DetailText, IsCopiedUpToTheCapacity) {
    PrivateRoot root;
    root.call([] {
        int code = 1;
        EXPECT_EQ(value_of("State : clean, degraded\n", "State", 64, code), "clean, degraded");
        EXPECT_EQ(code, 0);
        EXPECT_EQ(value_of("State : clean, degraded\n", "State", 6, code), "clean");
        EXPECT_EQ(value_of("State : clean, degraded\n", "State", 5, code), "clea");
        return 0;
    });
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(DetailText, StaysAsItWasWithoutTheKey) {
    PrivateRoot root;
    root.call([] {
        int code = 1;
        EXPECT_EQ(value_of("State : clean\n", "Level", 64, code), "before");
        EXPECT_EQ(code, -1031);
        return 0;
    });
    EXPECT_THAT(log_texts(root), ElementsAre(logged_missing_key));
}

} // namespace
} // namespace zav::test
