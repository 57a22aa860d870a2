// SPDX-License-Identifier: MIT
// The device of a share: the group of its pool by lvdisplay, and the array or disk of the group.
#include "fixtures/library.h"
#include "fixtures/share_machine.h"
#include "inventory/shares.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr auto lists_pools = "/sbin/lvdisplay -c > /tmp/lvdisplay.XXXXXX";

auto failed_listing(const std::string& end) {
    return MatchesRegex("system\\(\"/sbin/lvdisplay -c > /tmp/lvdisplay.......\"\\) return " + end +
                        " for '.*'");
}

class PoolGroup : public testing::Test {
  protected:
    Result find(const char* name = "pub") {
        return machine.operation([name] {
            const auto group = get_vgname_from_lvdisplay(name);
            std::printf("%s", group ? group->c_str() : "");
            return group.code();
        });
    }
    ShareMachine machine;
};

TEST_F(PoolGroup, IsThatOfThePoolWithTheSharesName) {
    machine.pools({"/dev/more/pub2", "/dev/data/pub", "/dev/more/pub"});
    const Result result = find();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "data");
    EXPECT_THAT(outside(result), ElementsAre(lists_pools));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(PoolGroup, IsMissingWithoutThePool) {
    machine.pool_lines("  /dev/data/Pub:data:3\n  pub:data:3\n  x /dev/data/pub:data:3\n");
    const Result result = find();
    EXPECT_EQ(result.returned, -303);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(machine.logged(), IsEmpty());
    machine.pool_lines("");
    EXPECT_EQ(find().returned, -303);
}

TEST_F(PoolGroup, IsReadAfterAnyWhiteSpace) {
    machine.pool_lines("\t \r/dev/data/pub:data:3\n");
    EXPECT_EQ(find().out, "data");
}

TEST_F(PoolGroup, IsReadFromWhatAFailedToolPrinted) {
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints("  /dev/data/pub:data:3\n")
        .exits(5);
    const Result result = find();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "data");
    EXPECT_THAT(machine.logged(), ElementsAre(failed_listing("normal with exit\\(5\\)")));
}

TEST_F(PoolGroup, IsMissingWhenTheToolIsKilledOrNotThere) {
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").killed_by(SIGKILL);
    EXPECT_EQ(find().returned, -303);
    machine.remove(pool_tool::lvdisplay);
    EXPECT_EQ(find().returned, -303);
    EXPECT_THAT(machine.logged(), ElementsAre(failed_listing("unnormal with exit\\(0\\)"),
                                              failed_listing("normal with exit\\(127\\)")));
}

TEST_F(PoolGroup, CannotBeReadWithoutTheOutput) {
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").does("rm -f /tmp/lvdisplay.*");
    EXPECT_EQ(find().returned, -321);
    EXPECT_THAT(machine.logged(),
                ElementsAre(MatchesRegex("get_vgname_from_lvdisplay:192 return 0 with .+")));
}

TEST_F(PoolGroup, IsLoggedWithTheToolsFailureWhereTheOutputIsMissing) {
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .does("rm -f /tmp/lvdisplay.*")
        .exits(5);
    EXPECT_EQ(find().returned, -321);
    EXPECT_THAT(machine.logged(),
                ElementsAre(failed_listing("normal with exit\\(5\\)"),
                            MatchesRegex("get_vgname_from_lvdisplay:192 return -1051 with .+")));
}

TEST_F(PoolGroup, CannotBeReadWithoutRoomForTheOutput) {
    machine.remove("/tmp");
    const Result result = machine.call([] { return get_vgname_from_lvdisplay("pub").code(); });
    EXPECT_EQ(result.returned, -321);
    EXPECT_THAT(result.commands, IsEmpty());
}

class ShareDevice : public testing::Test {
  protected:
    // The devices of the shares with those names, and the commands that find them.
    Result run(const std::vector<const char*>& names) {
        return machine.operation([=] {
            share_list list;
            for (const char* name : names) {
                list.append().name = name;
            }
            get_share_dev(list, printed());
            for (const share_info& share : list) {
                std::printf("%s ", share.device.c_str());
            }
            return 0;
        });
    }
    std::string of(const std::vector<const char*>& names) { return run(names).out; }
    ShareMachine machine;
};

TEST_F(ShareDevice, IsTheArrayOfTheGroup) {
    machine.pools({"/dev/data/a", "/dev/more/b"});
    EXPECT_EQ(of({"b", "a"}), "md1 md0 ");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ShareDevice, IsTheDiskOfAGroupWithoutAnArray) {
    machine.group({.name = "single", .volumes = {{.device = "/dev/sdc"}}});
    machine.pools({"/dev/single/a"});
    EXPECT_EQ(of({"a"}), "sdc ");
}

TEST_F(ShareDevice, IsThatOfTheGroupsFirstVolume) {
    machine.group({.name = "two", .volumes = {{.device = "/dev/sdb"}, {.device = "/dev/md1"}}});
    machine.pools({"/dev/two/a"});
    EXPECT_EQ(of({"a"}), "sdb ");
}

TEST_F(ShareDevice, StaysUnknownWithoutAGroup) {
    machine.pools({"/dev/data/a"}).backup("data", {"other"});
    EXPECT_EQ(of({"x", "a", "y"}), "N.A. md0 N.A. ");
    EXPECT_THAT(machine.logged(),
                ElementsAre(returned("get_share_dev", -303), returned("get_share_dev", -303)));
}

TEST_F(ShareDevice, StaysUnknownForAGroupThatIsNotThere) {
    machine.pools({"/dev/gone/a"});
    EXPECT_EQ(of({"a"}), "N.A. ");
    EXPECT_THAT(machine.logged(), ElementsAre(returned("get_share_dev", -303)));
}

TEST_F(ShareDevice, IsFoundByTheBackupsWhereThePoolIsNotActive) {
    machine.backup("more", {"a"});
    EXPECT_EQ(of({"a"}), "md1 ");
}

TEST_F(ShareDevice, IsFoundByTheBackupsWhereThePoolsCannotBeRead) {
    machine.backup("more", {"a"});
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").does("rm -f /tmp/lvdisplay.*");
    EXPECT_EQ(of({"a"}), "md1 ");
    EXPECT_THAT(machine.logged(), ElementsAre(MatchesRegex("get_share_dev:[0-9]+ return 0 .+")));
}

TEST_F(ShareDevice, NeedsOneListOfPoolsForAllShares) {
    machine.pools({"/dev/data/a", "/dev/data/b", "/dev/more/c"});
    const Texts commands = outside(run({"a", "b", "c"}));
    EXPECT_EQ(std::ranges::count(commands, lists_pools), 1);
}

TEST_F(ShareDevice, AsksNothingWithoutShares) {
    EXPECT_THAT(run({}).commands, IsEmpty());
}

} // namespace
} // namespace zav::test
