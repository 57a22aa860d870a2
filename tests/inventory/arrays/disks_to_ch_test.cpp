// SPDX-License-Identifier: MIT
// Rewriting the members of arrays as channels.
#include "fixtures/array_root.h"
#include "fixtures/library.h"
#include "inventory/array_members.h"
#include "sources/mdstat.h"

#include <gmock/gmock.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

class MembersToChannels : public testing::Test {
  protected:
    MembersToChannels() {
        disk("sda", 1);
        disk("sdb", 2);
        disk("sdc", 3);
        array.type = "raid5";
        array.status = "clean";
    }

    void disk(const char* name, int channel) {
        disk_info& added = disks.append();
        added.name = name;
        added.channel = channel;
    }

    const mdinfo& with(const std::string& members) {
        array.members = members;
        members_to_channels(array, disks);
        return array;
    }

    disk_list disks;
    mdinfo array;
};

TEST_F(MembersToChannels, GivesEachDiskItsChannel) {
    EXPECT_EQ(with("sdc,sda,sdb").members, "3,1,2");
}

TEST_F(MembersToChannels, KeepsTheMarks) {
    EXPECT_EQ(with("sda,sdb(F),sdc(S)").members, "1,2(F),3(S)");
}

TEST_F(MembersToChannels, DropsMissingMembers) {
    EXPECT_EQ(with("sda,sdb,*(M)").members, "1,2");
    EXPECT_EQ(with(",*(M),*(M)").members, "");
}

TEST_F(MembersToChannels, DropsMembersThatAreNoDisk) {
    EXPECT_EQ(with("sdx,sda,hda").members, "1");
}

TEST_F(MembersToChannels, ListsTheSpares) {
    EXPECT_EQ(with("sda(S),sdb,sdc(S)").spare, "1,3");
    EXPECT_EQ(with("sda,sdb(F)").spare, "");
}

TEST_F(MembersToChannels, EmptiesAnOldListOfSpares) {
    array.spare = "7";
    EXPECT_EQ(with("sda,sdb").spare, "");
}

TEST_F(MembersToChannels, LeavesAnArrayWithoutMembersAlone) {
    array.type = "raid0";
    array.spare = "7";
    EXPECT_EQ(with("").spare, "7");
    EXPECT_EQ(array.status, "clean");
}

// The second to last character decides, in a text of at least four.
TEST_F(MembersToChannels, TreatsAnSBeforeTheLastCharacterAsASpare) {
    disk("sdsa", 9);
    EXPECT_EQ(with("sda(s)").spare, "1");
    EXPECT_EQ(with("sdsa").spare, "9");
    EXPECT_EQ(with("sdS").spare, "");
}

TEST_F(MembersToChannels, TreatsNoThreeCharactersAsASpare) {
    disk("asd", 9);
    EXPECT_EQ(with("asd").spare, "");
}

TEST_F(MembersToChannels, TakesTheFirstDiskThatTheMemberBeginsWith) {
    disk("sdaa", 27);
    EXPECT_EQ(with("sdaa(F)").members, "1a(F)");
}

TEST_F(MembersToChannels, TakesALongerNameWhenItsDiskComesFirst) {
    disks.clear();
    disk("sdaa", 27);
    disk("sda", 1);
    EXPECT_EQ(with("sdaa(F),sda").members, "27(F),1");
}

TEST_F(MembersToChannels, DoesNotFindADiskByOtherCase) {
    EXPECT_EQ(with("SDA").members, "");
}

TEST_F(MembersToChannels, DoesNotMatchADiskWithoutANameWithAnyMember) {
    disks.clear();
    disk("", 1);
    disk("sdb", 2);
    EXPECT_EQ(with("1,sdb,*(M)").members, "2");
}

TEST_F(MembersToChannels, WritesANegativeChannelWithItsSign) {
    disks.clear();
    disk("sda", -7);
    EXPECT_EQ(with("sda(S)").members, "-7(S)");
    EXPECT_EQ(array.spare, "-7");
}

TEST_F(MembersToChannels, PassesOverEmptyItems) {
    array.type = "raid0";
    EXPECT_EQ(with(",sda,,sdb,").members, "1,2");
    EXPECT_EQ(array.status, "clean");
}

TEST_F(MembersToChannels, CutsWhatTheFieldsCannotHold) {
    disks.clear();
    disk("sda", 1000000000);
    std::string members = "sda(S)";
    for (int i = 0; i < 17; ++i) {
        members += ",sda(S)";
    }
    with(members);
    EXPECT_THAT(array.members.view(), testing::StartsWith("1000000000(S),1000000000(S),"));
    EXPECT_THAT(array.members.view(), SizeIs(127));
    EXPECT_EQ(array.spare, "1000000000,1000000000,100000000");
}

TEST_F(MembersToChannels, SurvivesGarbage) {
    with("((((,),\xff,(S)");
    EXPECT_EQ(array.members, "");
}

// The state of an array of that type with these members afterwards.
struct Demotion {
    const char* type;
    const char* members;
    const char* status;
};

void PrintTo(const Demotion& demotion, std::ostream* out) {
    *out << demotion.type << " of " << demotion.members;
}

class StateWithChannels : public MembersToChannels, public testing::WithParamInterface<Demotion> {};

TEST_P(StateWithChannels, IsInactiveWhenTooManyAreMissing) {
    array.type = GetParam().type;
    EXPECT_EQ(with(GetParam().members).status, GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(Striped, StateWithChannels,
                         testing::Values(Demotion{"linear", "sda,sdb", "clean"},
                                         Demotion{"linear", "sda,*(M)", "inactive"},
                                         Demotion{"linear", "sda,sdx", "inactive"},
                                         Demotion{"LiNeAr", "sda,*(M)", "inactive"},
                                         Demotion{"raid0", "sda,sdb", "clean"},
                                         Demotion{"raid0", "sda,*(M)", "inactive"},
                                         Demotion{"RAID0", "sda,*(M)", "inactive"},
                                         // Marks alone do not matter to this rule.
                                         Demotion{"raid0", "sda(F),sdb(S)", "clean"}));

INSTANTIATE_TEST_SUITE_P(
    Mirrored, StateWithChannels,
    testing::Values(
        Demotion{"raid1", "sda,sdb", "clean"}, Demotion{"raid1", "*(M),*(M)", "inactive"},
        Demotion{"RAID1", "sdx,sdy", "inactive"}, Demotion{"raid1", "sda,*(M)", "clean"},
        Demotion{"raid1", "sda(F),*(M)", "inactive"}, Demotion{"raid1", "sda(S),*(M)", "inactive"},
        Demotion{"raid1", "sda(f),*(M)", "inactive"}, Demotion{"raid1", "sda(s),*(M)", "inactive"},
        // Only the first parenthesis counts, here that of the missing member.
        Demotion{"raid1", "*(M),sda(F)", "clean"}, Demotion{"raid1", "sdx,sda", "clean"},
        Demotion{"raid1", "sdx,sda(", "clean"}, Demotion{"raid1", "sda(F),sdb", "clean"}));

INSTANTIATE_TEST_SUITE_P(WithParity, StateWithChannels,
                         testing::Values(Demotion{"raid5", "*(M),*(M),*(M)", "clean"},
                                         Demotion{"raid6", "sda(F),*(M)", "clean"},
                                         Demotion{"raid10", "sda(F),*(M)", "clean"},
                                         Demotion{"", "sda(F),*(M)", "clean"}));

Code rewrite(mdinfo_list& list) {
    add_array(list, "md1", "raid1").members = "sda,sdb(F)";
    add_array(list, "md2", "raid0").members = "sdc,*(M)";
    return disks_to_ch(list, printed());
}

TEST(DisksToChannels, RewritesEveryArrayOfTheList) {
    ArrayRoot root;
    root.disks(3);

    const Discovery found = root.discover(rewrite);

    EXPECT_EQ(found.code, 0);
    ASSERT_THAT(found.arrays, SizeIs(2));
    EXPECT_EQ(found.arrays[0].members, "1,2(F)");
    EXPECT_EQ(found.arrays[1].members, "3");
    EXPECT_EQ(found.arrays[1].status, "inactive");
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(DisksToChannels, BuildsTheDiskListOnce) {
    ArrayRoot root;
    root.disks(1);
    EXPECT_THAT(root.discover(rewrite).run.commands_without_redirection(),
                ElementsAre("cat /proc/scsi/mvSata/1", "/usr/local/bin/hotspare --list"));
}

TEST(DisksToChannels, FailsAndChangesNothingWithoutADiskList) {
    ArrayRoot root;
    root.without_disk_controller();

    const Discovery found = root.discover(rewrite);

    EXPECT_EQ(found.code, -205);
    ASSERT_THAT(found.arrays, SizeIs(2));
    EXPECT_EQ(found.arrays[0].members, "sda,sdb(F)");
    EXPECT_EQ(found.arrays[1].members, "sdc,*(M)");
    EXPECT_EQ(found.arrays[1].status, "clean");
    EXPECT_THAT(log_texts(root, "disks_to_ch"),
                ElementsAre(MatchesRegex("disks_to_ch:\\[[0-9]+\\] return with -205")));
}

} // namespace
} // namespace zav::test
