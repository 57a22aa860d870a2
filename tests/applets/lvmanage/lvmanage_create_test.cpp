// SPDX-License-Identifier: MIT
// lvmanage --create: its checks in order, its only command, and what follows a failure of that.
#include "fixtures/held_lock.h"
#include "fixtures/pool_command.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr auto create_command = "/sbin/lvcreate -L 5G -n pool data > /dev/null";

class LvCreate : public PoolCommand {
  protected:
    LvCreate() : PoolCommand("lvmanage") {}
    void create() { manage({"-C", "-n", "pool", "-L", "5", "data"}); }
};

TEST_F(LvCreate, MakesAPoolAndNothingElse) {
    const Snapshot before = machine.snapshot();
    manage({"--create", "-n", "pool", "-L", "5", "data"});
    expect_succeeded();
    EXPECT_THAT(changes(run), ElementsAre(create_command));
    EXPECT_EQ(outside(run).front(), "/sbin/lvdisplay -c > /tmp/lvdisplay.XXXXXX ");
    EXPECT_EQ(outside(run).back(), create_command);
    EXPECT_THAT(machine.log(), IsEmpty());
    EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
}

TEST_F(LvCreate, TakesTheGroupWhereverItStandsAndTheLastOfEqualOptions) {
    manage({"data", "-n", "other", "-C", "-L", "7", "-n", "pool", "-L5"});
    expect_succeeded();
    EXPECT_THAT(changes(run), ElementsAre(create_command));
}

TEST_F(LvCreate, ChecksTheNameBeforeTheSizeBeforeTheGroup) {
    expect_refused(-126, {"-C", "-n", "a b", "-L", "x", "a b"});
    expect_refused(-113, {"-C", "-n", "pool", "-L", "x", "a b"});
    expect_refused(-123, {"-C", "-n", "pool", "-L", "5", "a b"});
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(LvCreate, RefusesWhatIsMissing) {
    expect_refused(-126, {"-C", "-L", "5", "data"});
    expect_refused(-113, {"-C", "-n", "pool", "data"});
    expect_refused(-123, {"-C", "-n", "pool", "-L", "5"});
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(LvCreate, RefusesInvalidNames) {
    expect_each_refused(-126, bad_names, [](const std::string& name) {
        return Texts{"-C", "-n", name, "-L", "5", "data"};
    });
    expect_each_refused(-123, bad_names, [](const std::string& group) {
        return Texts{"-C", "-n", "pool", "-L", "5", group};
    });
    const std::string longest(32, 'n');
    manage({"-C", "-n", longest, "-L", "5", "data"});
    expect_succeeded();
    EXPECT_THAT(changes(run), ElementsAre("/sbin/lvcreate -L 5G -n " + longest +
                                          " data > "
                                          "/dev/null"));
}

TEST_F(LvCreate, RefusesInvalidSizes) {
    expect_each_refused(
        -113, {"", "5G", "-5", "+5", "1.5", "0x5", " 5", "5 ", "123456789"},
        [](const std::string& size) { return Texts{"-C", "-n", "pool", "-L", size, "data"}; });
}

TEST_F(LvCreate, RefusesANameInUseInAnyGroup) {
    for (const char* path : {"/dev/data/pool", "/dev/more/pool"}) {
        machine.pools({"/dev/data/first", path});
        expect_refused(-327, {"-C", "-n", "pool", "-L", "5", "data"});
    }
}

TEST_F(LvCreate, TakesANameThatOnlyResemblesOthers) {
    machine.pools({"/dev/data/pool1", "/dev/data/POOL", "/dev/data/apool", "/dev/pool/x"});
    create();
    expect_succeeded();
    EXPECT_THAT(changes(run), ElementsAre(create_command));
}

TEST_F(LvCreate, RefusesAGroupThatIsUnknown) {
    expect_refused(-2052, {"-C", "-n", "pool", "-L", "5", "dat"});
    EXPECT_THAT(machine.logged(),
                ElementsAre("Cannot find vg 'dat'!", returned("lvmanage_main", -2052)));
}

TEST_F(LvCreate, RefusesEveryGroupWithoutAListOfThem) {
    const std::string command = "/sbin/vgdisplay -c";
    machine.tool("/sbin/vgdisplay").on(command).exits(5);
    create();
    expect_failed(-2052);
    machine.tool("/sbin/vgdisplay").on(command).killed_by(SIGKILL);
    create();
    expect_failed(-2052);
    machine.remove("/sbin/vgdisplay");
    create();
    expect_failed(-2052);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(machine.logged(), testing::Contains("Cannot find vg 'data'!"));
}

TEST_F(LvCreate, RefusesASizeThatIsNotFreeInTheGroup) {
    for (const char* size : {"101", "99999999", "0", "00"}) {
        expect_refused(-2053, {"-C", "-n", "pool", "-L", size, "data"});
        EXPECT_THAT(machine.logged(), ElementsAre(returned("lvmanage_main", -2053)));
    }
    manage({"-C", "-n", "pool", "-L", "100", "data"});
    expect_succeeded();
    EXPECT_THAT(changes(run), ElementsAre("/sbin/lvcreate -L 100G -n pool data > /dev/null"));
}

// A share or a file system that is being created under the name would wipe the pool.
TEST_F(LvCreate, MakesNoPoolWhoseNameAnotherCommandIsCreating) {
    const HeldLock other(machine, "pool-data-pool");
    create();
    expect_failed(-325);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(machine.logged(), testing::Contains(testing::StartsWith(
                                      "'pool' is not created: its name cannot be locked: ")));
    manage({"-C", "-n", "pool", "-L", "5", "more"});
    expect_succeeded();
}

TEST_F(LvCreate, PrintsThatThePoolsCannotBeReadAndContinues) {
    hide_pools();
    create();
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/lvdisplay\\.[^ ]{6}\nfor errno '-326'\n"
                                      "cannot open /tmp/lvdisplay\\.[^ ]{6}\n"));
    EXPECT_THAT(changes(run), ElementsAre(create_command));
}

TEST_F(LvCreate, TakesAListThatTheToolDidNotFinish) {
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").exits(5);
    create();
    expect_succeeded();
    EXPECT_THAT(changes(run), ElementsAre(create_command));
    EXPECT_THAT(machine.logged().front(),
                MatchesRegex(R"(system\("/sbin/lvdisplay -c > /tmp/lvdisplay\..{6} "\) )"
                             R"(return normal with exit\(5\) for '.*')"));
}

TEST_F(LvCreate, ReportsAFailureThatLeftNoPool) {
    with_each_fault(pool_tool::lvcreate, [this](const std::string& end) {
        create();
        expect_failed(-325);
        EXPECT_THAT(changes(run), ElementsAre(create_command));
        EXPECT_EQ(outside(run).back(), listing_pool);
        EXPECT_THAT(machine.logged(),
                    ElementsAre(failed(create_command, end), returned("lvmanage_main", -325)));
    });
}

TEST_F(LvCreate, SucceedsWhenThePoolIsThereAfterAFailure) {
    list_pool_alone();
    with_each_fault(pool_tool::lvcreate, [this](const std::string& end) {
        create();
        expect_succeeded();
        EXPECT_EQ(outside(run).back(), listing_pool);
        EXPECT_THAT(machine.logged(), ElementsAre(failed(create_command, end)));
    });
}

TEST_F(LvCreate, ReportsAFailureThatCannotBeCheckedAfterwards) {
    hide_pools("/sbin/lvdisplay -c data/pool");
    machine.tool(pool_tool::lvcreate).any().exits(5);
    create();
    EXPECT_EQ(run.exit_status, -325 & 0xff);
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/lvdisplay\\.[^ ]{6}\nfor errno '-325'\n"));
    EXPECT_THAT(machine.logged().at(1),
                MatchesRegex("check_lvdisplay:\\[[0-9]+\\] return -1040 with .*"));
}

TEST_F(LvCreate, OnlyLogsThatTheCheckAfterwardsFailed) {
    machine.tool(pool_tool::lvcreate).any().exits(5);
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c data/pool").exits(3);
    create();
    expect_failed(-325);
    EXPECT_THAT(
        machine.logged(),
        ElementsAre(failed(create_command, "normal with exit(5)"),
                    MatchesRegex(R"(system\("/sbin/lvdisplay -c data/pool > )"
                                 R"(/tmp/lvdisplay\..{6}"\) return normal with exit\(3\).*)"),
                    returned("lvmanage_main", -325)));
}

TEST_F(LvCreate, PutsNoNameThatLooksLikeAnOptionIntoACommand) {
    manage({"-C", "-n", "-pool", "-L", "5", "data"});
    expect_failed(-325);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_THAT(machine.logged().front(), failed("/sbin/lvcreate -L 5G -n -pool data > /dev/null",
                                                 "unnormal with exit(255)"));
}

} // namespace
} // namespace zav::test
