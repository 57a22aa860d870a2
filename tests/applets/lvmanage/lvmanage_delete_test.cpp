// SPDX-License-Identifier: MIT
// lvmanage --delete: its checks, the restoration of the group, and what follows a failed removal.
#include "fixtures/pool_command.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr auto remove_command = "/sbin/lvremove -f data/pool > /dev/null";
constexpr auto no_backups = "'/etc/lvm/backup' not exist\n";

class LvDelete : public PoolCommand {
  protected:
    LvDelete() : PoolCommand("lvmanage") { machine.pools({"/dev/data/first", "/dev/data/pool"}); }
    void delete_pool() { manage({"-D", "-n", "pool", "data"}); }
    Rule pool_alone() {
        return machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c data/pool");
    }
    Rule list() { return machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c"); }
    static constexpr auto line = "  /dev/data/pool:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
};

TEST_F(LvDelete, RemovesAPoolAndNothingElse) {
    machine.backup("data", {"pool"})
        .registered({"/dev/data/pool\t/mnt/data/pool\txfs\tdefaults\t0 0"});
    const Snapshot before = machine.snapshot();
    manage({"--delete", "-n", "pool", "data"});
    expect_succeeded("vg restore: no\n");
    EXPECT_THAT(changes(run), ElementsAre(remove_command));
    EXPECT_EQ(outside(run).back(), remove_command);
    EXPECT_THAT(machine.log(), ElementsAre());
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

TEST_F(LvDelete, ChecksTheNameBeforeTheGroup) {
    expect_refused(-126, {"-D", "-n", "a b", "a b"});
    expect_refused(-126, {"-D", "data"});
    expect_refused(-123, {"-D", "-n", "pool", "a b"});
    expect_refused(-123, {"-D", "-n", "pool"});
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(LvDelete, RefusesInvalidNames) {
    expect_each_refused(-126, bad_names, [](const std::string& name) {
        return Texts{"-D", "-n", name, "data"};
    });
    expect_each_refused(-123, bad_names, [](const std::string& group) {
        return Texts{"-D", "-n", "pool", group};
    });
}

TEST_F(LvDelete, RemovesAPoolOfAGroupWithoutABackup) {
    delete_pool();
    expect_succeeded(no_backups);
    machine.backup("more", {});
    delete_pool();
    expect_succeeded("file '/etc/lvm/backup/data' cannot open\n");
    EXPECT_THAT(changes(run), ElementsAre(remove_command));
}

TEST_F(LvDelete, RestoresTheGroupFirst) {
    lose_volume("data", {"pool"});
    delete_pool();
    expect_succeeded("vg restore: yes\n");
    EXPECT_THAT(changes(run), ElementsAre("/sbin/pvcreate -u gone-1 /dev/ram2",
                                          "/sbin/vgcfgrestore data", remove_command));
}

TEST_F(LvDelete, RemovesNothingOfAGroupThatCannotBeRestored) {
    lose_volume("data", {"pool"});
    with_each_fault("/sbin/pvcreate", [this](const std::string&) {
        delete_pool();
        expect_failed(-421, "raid restore 'data' fail\n");
        EXPECT_THAT(changes(run), ElementsAre("/sbin/pvcreate -u gone-1 /dev/ram2"));
    });
}

TEST_F(LvDelete, RestoresOnlyTheGroupOfTheCommandLine) {
    lose_volume("more", {"pool"});
    delete_pool();
    expect_succeeded("file '/etc/lvm/backup/data' cannot open\n");
    EXPECT_THAT(changes(run), ElementsAre(remove_command));
}

TEST_F(LvDelete, ReportsAPoolThatIsNotThere) {
    manage({"-D", "-n", "none", "data"});
    expect_failed(-2055, no_backups);
    machine.pools({});
    delete_pool();
    expect_failed(-2055, no_backups);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(LvDelete, ReportsAPoolOfAnotherGroup) {
    manage({"-D", "-n", "pool", "more"});
    expect_failed(-2052, no_backups);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(machine.logged(),
                ElementsAre("pool's vgname not match 'more'", returned("lvmanage_main", -2052)));
}

TEST_F(LvDelete, ReportsPoolsThatCannotBeReadAsMissing) {
    hide_pools();
    delete_pool();
    EXPECT_EQ(run.exit_status, -2055 & 0xff);
    EXPECT_THAT(run.out, MatchesRegex("'/etc/lvm/backup' not exist\n"
                                      "cannot open /tmp/lvdisplay\\.[^ ]{6}\n"
                                      "for errno '-2055'\n"));
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(LvDelete, ReportsAPoolThatIsStillThereAfterAFailure) {
    with_each_fault(pool_tool::lvremove, [this](const std::string& end) {
        delete_pool();
        expect_failed(-324, no_backups);
        EXPECT_THAT(changes(run), ElementsAre(remove_command));
        EXPECT_EQ(outside(run).back(), listing_pool);
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(remove_command, end), returned("lvmanage_main", -324)));
    });
}

TEST_F(LvDelete, SucceedsWhenThePoolIsGoneAfterAFailure) {
    pool_alone().prints("");
    with_each_fault(pool_tool::lvremove, [this](const std::string&) {
        delete_pool();
        expect_succeeded(no_backups);
        EXPECT_EQ(outside(run).back(), listing_pool);
    });
}

// The look-up fails without the pool as well as without LVM.
TEST_F(LvDelete, SucceedsWhenThePoolIsGoneAfterAFailureByTheListOfAllPools) {
    pool_alone().exits(5);
    list().prints(line).then().prints("");
    machine.tool(pool_tool::lvremove).any().exits(5);
    delete_pool();
    expect_succeeded(no_backups);
    EXPECT_EQ(outside(run).back(), "/sbin/lvdisplay -c > /tmp/lvdisplay.XXXXXX ");
}

TEST_F(LvDelete, ReportsAPoolOfWhichNothingIsKnownAfterAFailure) {
    machine.tool(pool_tool::lvremove).any().exits(5);
    pool_alone().exits(5);
    delete_pool();
    expect_failed(-324, no_backups);
    list().prints(line).then().exits(5);
    delete_pool();
    expect_failed(-324, no_backups);
    hide_pools("/sbin/lvdisplay -c data/pool");
    list().prints(line);
    delete_pool();
    EXPECT_EQ(run.exit_status, -324 & 0xff);
    EXPECT_THAT(run.out, MatchesRegex("'/etc/lvm/backup' not exist\n"
                                      "cannot open /tmp/lvdisplay\\.[^ ]{6}\n"
                                      "for errno '-324'\n"));
}

TEST_F(LvDelete, PutsNoNameThatLooksLikeAnOptionIntoACommand) {
    machine.pools({"/dev/data/-pool"});
    manage({"-D", "-n", "-pool", "data"});
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(machine.logged().front(),
                failed("/sbin/lvremove -f data/-pool > /dev/null", "unnormal with exit(255)"));
}

} // namespace
} // namespace zav::test
