// SPDX-License-Identifier: MIT
// Members and health of arrays, from the kernel's directories.
#include "fixtures/array_root.h"
#include "fixtures/library.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

// get_mdinfo_from_sysblock() on arrays of that type, all in state clean.
Reader<mdinfo_list> health_of(const std::vector<std::string>& names,
                              const std::string& type = "raid5") {
    return [names, type](mdinfo_list& list) {
        for (const std::string& name : names) {
            add_array(list, name, type);
        }
        return get_mdinfo_from_sysblock(list, printed());
    };
}

class MembersOfMd1 : public testing::Test {
  protected:
    FoundArray read(const std::string& type = "raid5") {
        discovery = root.discover(health_of({"md1"}, type));
        EXPECT_THAT(discovery.arrays, SizeIs(1));
        return discovery.arrays.at(0);
    }

    ArrayRoot root;
    Discovery discovery;
};

TEST_F(MembersOfMd1, AreTheKernelsNamesInTheOrderOfTheDirectory) {
    const MemberStates states = {{"sda", "in_sync\n"},
                                 {"sdb", "in_sync\n"},
                                 {"sdc", "in_sync\n"},
                                 {"sdd", "in_sync\n"},
                                 {"sde", "in_sync\n"}};
    root.members("md1", "5\n", states);
    EXPECT_EQ(
        read().members,
        root.in_directory_order(
            "md1",
            {{"sda", "sda"}, {"sdb", "sdb"}, {"sdc", "sdc"}, {"sdd", "sdd"}, {"sde", "sde"}}));
}

TEST_F(MembersOfMd1, AreMarkedFaultyOrSpare) {
    root.members("md1", "1\n", {{"sda", "faulty\n"}});
    EXPECT_EQ(read().members, "sda(F)");
    root.members("md1", "1\n", {{"sda", "spare\n"}});
    EXPECT_EQ(read().members, "sda(S)");
}

TEST_F(MembersOfMd1, HaveNoMarkInAnyOtherState) {
    for (const char* state : {"in_sync\n", "in_sync,write_mostly\n", "faulty,blocked\n", "Faulty\n",
                              " spare\n", "spares\n", "", "\n"}) {
        root.members("md1", "1\n", {{"sda", state}});
        EXPECT_EQ(read().members, "sda") << state;
    }
}

TEST_F(MembersOfMd1, MayHaveWhiteSpaceOfAnyKindAfterTheirState) {
    root.members("md1", "1\n", {{"sda", "faulty \t\v\f\r\n\n"}});
    EXPECT_EQ(read().members, "sda(F)");
}

TEST_F(MembersOfMd1, ReplaceWhatTheRecordHeld) {
    root.members("md1", "1\n", {{"sda", "in_sync\n"}});
    const Discovery found = root.discover([](mdinfo_list& list) {
        add_array(list, "md1", "raid5").members = "2097152 (2.00 GiB 2.15 GB)";
        return get_mdinfo_from_sysblock(list, printed());
    });
    EXPECT_EQ(found.arrays.at(0).members, "sda");
}

TEST_F(MembersOfMd1, AreEntriesThatBeginWithDevSd) {
    root.members("md1", "1\n", {{"sda", "in_sync\n"}});
    for (const char* other :
         {"rd0", "dev-hda", "dev-", "dev-s", "dev-sr0", "xdev-sdb", "Dev-sdb", "array_state"}) {
        root.file(std::string("/sys/block/md1/md/") + other + "/state", "faulty\n");
    }
    EXPECT_EQ(read().members, "sda");
}

// The shortest entry name that is considered has six characters.
TEST_F(MembersOfMd1, MayHaveTheShortestName) {
    root.members("md1", "1\n", {{"sd", "in_sync\n"}});
    EXPECT_EQ(read().members, "sd");
}

TEST_F(MembersOfMd1, GetAMarkForEachMissingOne) {
    root.members("md1", "3\n", {{"sda", "in_sync\n"}});
    EXPECT_EQ(read().members, "sda,*(M),*(M)");
}

TEST_F(MembersOfMd1, BeginWithACommaWhenAllAreMissing) {
    root.members("md1", "2\n", {});
    EXPECT_EQ(read().members, ",*(M),*(M)");
}

TEST_F(MembersOfMd1, AreNotMissingWhereASpareTakesTheirPlace) {
    root.members("md1", "2\n", {{"sda", "in_sync\n"}, {"sdb", "spare\n"}});
    EXPECT_EQ(read().members, root.in_directory_order("md1", {{"sda", "sda"}, {"sdb", "sdb(S)"}}));
}

TEST_F(MembersOfMd1, MayBeMoreThanTheArrayHasPlacesFor) {
    root.members("md1", "1\n", {{"sda", "in_sync\n"}, {"sdb", "in_sync\n"}});
    EXPECT_EQ(read().members, root.in_directory_order("md1", {{"sda", "sda"}, {"sdb", "sdb"}}));
}

TEST_F(MembersOfMd1, AreCutAt127Characters) {
    MemberStates states;
    for (char last = 'a'; last <= 'z'; ++last) {
        states[std::string("sda") + last] = "in_sync\n";
        states[std::string("sdb") + last] = "in_sync\n";
    }
    root.members("md1", "52\n", states);
    const std::string members = read().members;
    EXPECT_THAT(members, MatchesRegex("(sd[ab][a-z],){25}sd"));
    EXPECT_THAT(members, SizeIs(127));
    EXPECT_EQ(discovery.arrays[0].status, "clean"); // all 52 are counted
}

TEST_F(MembersOfMd1, GetMissingMarksUpTo127Characters) {
    root.members("md1", "60\n", {});
    EXPECT_THAT(read().members, MatchesRegex("(,\\*\\(M\\)){25},\\*"));
}

TEST_F(MembersOfMd1, DoNotTakeForeverWhenTheKernelsCountIsHuge) {
    for (const char* count : {"2147483647\n", "99999999999999999999999999\n"}) {
        root.members("md1", count, {{"sda", "in_sync\n"}});
        EXPECT_THAT(read().members, MatchesRegex("sda(,\\*\\(M\\)){24},\\*\\(M"));
        EXPECT_EQ(discovery.arrays[0].status, "inactive");
    }
}

TEST_F(MembersOfMd1, AreNotMissingWhenTheKernelsCountIsNoNumber) {
    for (const char* count : {"", "\n", "many\n", "-3\n"}) {
        root.members("md1", count, {{"sda", "in_sync\n"}});
        EXPECT_EQ(read().members, "sda") << count;
    }
}

TEST_F(MembersOfMd1, AreReadWithoutTheKernelsCount) {
    root.members("md1", "2\n", {{"sda", "in_sync\n"}}).remove("/sys/block/md1/md/raid_disks");
    EXPECT_EQ(read().members, "sda");
    EXPECT_EQ(discovery.code, 0);
    EXPECT_EQ(discovery.run.out, "cannot cat /sys/block/md1/md/raid_disks\n");
    EXPECT_THAT(
        log_texts(root, "get_raid_disks"),
        ElementsAre(MatchesRegex("get_raid_disks:[0-9]+ return 0 with No such file or directory")));
}

TEST_F(MembersOfMd1, WithoutAStateFileAreAskedThreeTimesAndHaveNoMark) {
    root.members("md1", "1\n", {}).directory("/sys/block/md1/md/dev-sda");
    EXPECT_EQ(read().members, "sda");
    const std::string line = "cannot cat /sys/block/md1/md/dev-sda/state\n";
    EXPECT_EQ(discovery.run.out, line + line + line);
    const auto logged =
        MatchesRegex("get_disk_state:[0-9]+ return -1 with No such file or directory");
    EXPECT_THAT(log_texts(root, "get_disk_state"), ElementsAre(logged, logged, logged));
}

// A pipe delivers its contents once: each read takes 256 bytes, one of the three answers.
TEST_F(MembersOfMd1, AreAskedForTheirStateAnewForEachMark) {
    const std::string path = "/sys/block/md1/md/dev-sda/state";
    root.members("md1", "1\n", {}).fifo(path);
    const int pipe = open(root.host_path(path).c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(pipe, 0);
    std::string answers;
    for (const char* answer : {"faulty", "spare", "in_sync"}) {
        answers += answer;
        answers.resize((answers.size() / 256 + 1) * 256, '\n');
    }
    ASSERT_EQ(write(pipe, answers.data(), answers.size()), 768);
    EXPECT_EQ(read().members, "sda(F)(S)");
    EXPECT_EQ(discovery.arrays[0].status, "clean"); // and the member counts as in sync
    close(pipe);
}

TEST_F(MembersOfMd1, GiveTheArrayTheDeviceOfTheirDisk) {
    root.disk("sda", 1).members("md1", "1\n", {{"sda", "in_sync\n"}});
    EXPECT_EQ(read().device, "0");
}

TEST_F(MembersOfMd1, GiveTheDeviceOfTheLastOneInTheDirectory) {
    // In an expansion box: boxes 3 and 4 give the devices 1 and 3.
    const auto expansion = [this](const std::string& file, const std::string& place,
                                  const std::string& disk) {
        std::string status = "PCI location : " + place + "\n";
        for (int line = 1; line < 9; ++line) {
            status += "controller line\n";
        }
        root.file("/proc/scsi/mvSata/" + file, status + "0 0 0 - - - - - - *" + disk + "\n");
    };
    expansion("1", "2,1", "sda");
    expansion("2", "2,2", "sdb");
    root.members("md1", "2\n", {{"sda", "in_sync\n"}, {"sdb", "in_sync\n"}});
    const std::string order = root.in_directory_order("md1", {{"sda", "a"}, {"sdb", "b"}});
    EXPECT_EQ(read().device, order == "a,b" ? "3" : "1");
}

TEST_F(MembersOfMd1, GiveNoDeviceWhenTheirDiskIsUnknown) {
    root.disk("sd", 1).disk("sdaa", 2).members("md1", "1\n", {{"sda", "in_sync\n"}});
    EXPECT_EQ(read().device, "");
}

TEST_F(MembersOfMd1, AreReadWithoutADiskListButHaveNoDevice) {
    root.without_disk_controller().members("md1", "2\n", {{"sda", "in_sync\n"}});
    const FoundArray found = read();
    EXPECT_EQ(discovery.code, 0);
    EXPECT_EQ(found.members, "sda,*(M)");
    EXPECT_EQ(found.status, "clean");
    EXPECT_EQ(found.device, "");
    EXPECT_THAT(log_texts(root, "get_mdinfo_from_sysblock"),
                ElementsAre(MatchesRegex("get_mdinfo_from_sysblock:[0-9]+ return -1021 with .+")));
}

TEST_F(MembersOfMd1, HaveNoDeviceFromADiskListThatFailedHalfway) {
    root.disk("sda", 1).members("md1", "1\n", {{"sda", "in_sync\n"}});
    root.tool(ArrayRoot::hotspare).on("/usr/local/bin/hotspare --list").exits(1);
    EXPECT_EQ(read().device, "");
    EXPECT_EQ(discovery.code, 0);
}

TEST_F(MembersOfMd1, LeaveAnInactiveArrayInactive) {
    root.members("md1", "1\n", {{"sda", "in_sync\n"}});
    const Discovery found = root.discover([](mdinfo_list& list) {
        add_array(list, "md1", "raid5", "inactive");
        return get_mdinfo_from_sysblock(list, printed());
    });
    EXPECT_EQ(found.arrays.at(0).status, "inactive");
}

// The state of an array of that type with that many slots and members in these states.
struct Health {
    const char* type;
    int raid_disks;
    std::vector<const char*> states;
    const char* status;
};

void PrintTo(const Health& health, std::ostream* out) {
    *out << health.type << " of " << health.raid_disks << ":";
    for (const char* state : health.states) {
        *out << " " << state;
    }
}

class ArrayHealth : public testing::TestWithParam<Health> {};

TEST_P(ArrayHealth, DecidesWhetherTheArrayCanRun) {
    MemberStates states;
    char last = 'a';
    for (const char* state : GetParam().states) {
        states[std::string("sd") + last++] = state + std::string("\n");
    }
    ArrayRoot root;
    root.members("md1", std::to_string(GetParam().raid_disks) + "\n", states);
    const Discovery found = root.discover(health_of({"md1"}, GetParam().type));
    EXPECT_EQ(found.arrays.at(0).status, GetParam().status);
}

constexpr const char* in_sync = "in_sync";
constexpr const char* faulty = "faulty";
constexpr const char* spare = "spare";
constexpr const char* write_mostly = "in_sync,write_mostly";

INSTANTIATE_TEST_SUITE_P(
    Raid6, ArrayHealth,
    testing::Values(Health{"raid6", 4, {in_sync, in_sync, in_sync, in_sync}, "clean"},
                    Health{"raid6", 4, {in_sync, in_sync}, "clean"},
                    Health{"raid6", 4, {in_sync, in_sync, faulty, spare}, "clean"},
                    Health{"raid6", 4, {in_sync, faulty, faulty, faulty}, "inactive"},
                    Health{"raid6", 4, {in_sync}, "inactive"}));

INSTANTIATE_TEST_SUITE_P(
    Raid5, ArrayHealth,
    testing::Values(Health{"raid5", 4, {in_sync, in_sync, in_sync}, "clean"},
                    Health{"raid5", 4, {in_sync, in_sync, in_sync, faulty}, "clean"},
                    Health{"raid5", 4, {in_sync, in_sync, in_sync, spare}, "clean"},
                    Health{"raid5", 4, {in_sync, in_sync}, "inactive"},
                    Health{"raid5", 4, {in_sync, in_sync, spare, spare}, "inactive"}));

INSTANTIATE_TEST_SUITE_P(Raid1, ArrayHealth,
                         testing::Values(Health{"raid1", 2, {in_sync, in_sync}, "clean"},
                                         Health{"raid1", 2, {in_sync}, "clean"},
                                         Health{"raid1", 2, {in_sync, faulty}, "clean"},
                                         Health{"raid1", 2, {in_sync, write_mostly}, "clean"},
                                         Health{
                                             "raid1", 2, {write_mostly, write_mostly}, "inactive"},
                                         Health{"raid1", 2, {faulty, spare}, "inactive"}));

// Levels without redundancy and unknown levels: even a spare makes the array inactive.
INSTANTIATE_TEST_SUITE_P(Others, ArrayHealth,
                         testing::Values(Health{"raid0", 2, {in_sync, in_sync}, "clean"},
                                         Health{"raid0", 2, {write_mostly, write_mostly}, "clean"},
                                         Health{"raid0", 2, {in_sync, spare}, "inactive"},
                                         Health{"raid0", 2, {in_sync, in_sync, spare}, "inactive"},
                                         Health{"raid0", 2, {in_sync, faulty}, "inactive"},
                                         Health{"raid0", 2, {in_sync}, "inactive"},
                                         Health{"raid0", 1, {in_sync, in_sync}, "clean"},
                                         Health{"linear", 2, {in_sync, in_sync}, "clean"},
                                         Health{"linear", 2, {in_sync}, "inactive"},
                                         Health{
                                             "raid10", 4, {in_sync, in_sync, in_sync}, "inactive"},
                                         Health{"raid4", 2, {in_sync, faulty}, "inactive"},
                                         // The level is compared as the tools spell it.
                                         Health{"RAID5", 3, {in_sync, in_sync}, "inactive"},
                                         Health{"", 1, {in_sync}, "clean"}));

TEST(ArrayDirectory, ThatCannotBeOpenedEndsDiscoveryThere) {
    ArrayRoot root;
    root.members("md1", "2\n", {{"sda", "in_sync\n"}});
    root.members("md3", "2\n", {{"sdc", "in_sync\n"}});

    const Discovery found = root.discover(health_of({"md1", "md2", "md3"}));

    EXPECT_EQ(found.code, -1032);
    EXPECT_EQ(found.run.out, "cannot open dir /sys/block/md2/md\n");
    ASSERT_THAT(found.arrays, SizeIs(3));
    EXPECT_EQ(found.arrays[0].members, "sda,*(M)");
    EXPECT_EQ(found.arrays[2].members, "");
    EXPECT_THAT(
        log_texts(root, "-1032"),
        ElementsAre(MatchesRegex("get_mdinfo_from_sysblock:[0-9]+ return -1032 with No such "
                                 "file or directory")));
}

TEST(ArrayDirectory, OfNoArrayIsOpenedForAnEmptyList) {
    ArrayRoot root;
    const Discovery found = root.discover(health_of({}));
    EXPECT_EQ(found.code, 0);
    EXPECT_THAT(found.arrays, IsEmpty());
}

TEST(ArrayHealthOfSeveral, IsReadWithOneDiskList) {
    ArrayRoot root;
    root.disks(1).members("md1", "0\n", {}).members("md2", "0\n", {});
    EXPECT_THAT(root.discover(health_of({"md1", "md2"})).run.commands_without_redirection(),
                ElementsAre("cat /proc/scsi/mvSata/1", "/usr/local/bin/hotspare --list"));
}

int disk_state(const char* path) {
    return static_cast<int>(get_disk_state(path, printed()));
}

TEST(DiskStateNumbers, AreThoseThatCallersKnow) {
    PrivateRoot root;
    root.file("/f", "faulty\n").file("/s", "spare\n").file("/i", "in_sync\n");
    root.file("/o", "blocked\n").file("/e", "");
    const std::map<const char*, int> expected = {{"/f", 1}, {"/s", 2}, {"/i", 3},
                                                 {"/o", 0}, {"/e", 0}, {"/none", -1}};
    for (const auto& [path, state] : expected) {
        EXPECT_EQ(root.call([path = path] { return disk_state(path); }).returned, state) << path;
    }
}

TEST(DiskStateFile, IsReadUpTo256Bytes) {
    PrivateRoot root;
    root.file("/state", "spare" + std::string(251, '\n') + "x");
    EXPECT_EQ(root.call([] { return disk_state("/state"); }).returned, 2);
    root.file("/state", "spare" + std::string(250, '\n') + "x");
    EXPECT_EQ(root.call([] { return disk_state("/state"); }).returned, 0);
}

TEST(DiskStateFile, MayBeAMegabyteOfGarbage) {
    PrivateRoot root;
    root.file("/state", std::string(1 << 20, '\0'));
    EXPECT_EQ(root.call([] { return disk_state("/state"); }).returned, 0);
}

TEST(RaidDisksFile, HoldsADecimalNumber) {
    PrivateRoot root;
    root.file("/raid_disks", "16\n");
    EXPECT_EQ(root.call([] { return get_raid_disks("/raid_disks", printed()); }).returned, 16);
    root.file("/raid_disks", "4 (3)\n");
    EXPECT_EQ(root.call([] { return get_raid_disks("/raid_disks", printed()); }).returned, 4);
}

TEST(RaidDisksFile, ThatIsADirectoryGivesNone) {
    PrivateRoot root;
    root.directory("/raid_disks");
    const Result result = root.call([] { return get_raid_disks("/raid_disks", printed()); });
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "cannot cat /raid_disks\n");
}

} // namespace
} // namespace zav::test
