// SPDX-License-Identifier: MIT
// lvmanage --display, and which of several modes is carried out.
#include "fixtures/pool_command.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

const std::string header = "lvname\tstatus\tallsize\tusedsize\tvgname\tdevice\n"
                           "*****************************************************\n";
const std::string row = "/dev/data/pool\tavailable\t2G\t0G\tdata\t0\n";

class LvDisplay : public PoolCommand {
  protected:
    LvDisplay() : PoolCommand("lvmanage") {}
    void display(Texts arguments = {}) {
        const Snapshot before = machine.snapshot();
        arguments.insert(arguments.begin(), "-S");
        manage(arguments);
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
    // The code is printed and logged without a table, and the command succeeds.
    void expect_only_printed(const Texts& arguments) {
        display(arguments);
        expect_succeeded("for errno '-126'\n");
        expect_logged_last(-126);
    }
};

TEST_F(LvDisplay, HasHeaderAndRuleOnlyWithoutPools) {
    display();
    expect_succeeded(header);
    EXPECT_EQ(std::ranges::count(run.out, '*'), 53);
    EXPECT_THAT(machine.log(), IsEmpty());
    manage({"--display"});
    expect_succeeded(header);
}

TEST_F(LvDisplay, HasARowForEachPool) {
    machine.pools({"/dev/data/pool", "/dev/more/other"});
    display();
    expect_succeeded(header + row + "/dev/more/other\tavailable\t2G\t0G\tmore\t0\n");
}

TEST_F(LvDisplay, ShowsWhatTheRealToolPrints) {
    machine.tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").replays("lvdisplay_c_inactive");
    display();
    EXPECT_EQ(run.out, header +
                           "/dev/vgdisks/full\tnot available\t2G\t0G\tvgdisks\tN.A.\n"
                           "/dev/vg1/pub\tavailable\t1G\t0G\tvg1\tN.A.\n"
                           "/dev/vg1/half\tavailable\t1G\t0G\tvg1\tN.A.\n" +
                           row);
}

TEST_F(LvDisplay, ShowsWhatAToolThatFailedHasPrinted) {
    machine.tool(pool_tool::lvdisplay)
        .on("/sbin/lvdisplay -c")
        .prints("  /dev/data/pool:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n")
        .exits(5);
    display();
    expect_succeeded(header + row);
    machine.remove(pool_tool::lvdisplay);
    display();
    expect_succeeded(header);
}

TEST_F(LvDisplay, ReportsPoolsThatCannotBeReadWhateverTheName) {
    hide_pools();
    for (const Texts& arguments :
         {Texts{}, Texts{"-n", "/dev/data/pool"}, Texts{"-n", "pool"}, Texts{"-n", "a b"}}) {
        display(arguments);
        EXPECT_EQ(run.exit_status, -326 & 0xff);
        EXPECT_THAT(run.out,
                    MatchesRegex("cannot open /tmp/lvdisplay\\.[^ ]{6}\nfor errno '-326'\n"));
        expect_logged_last(-326);
    }
}

TEST_F(LvDisplay, ShowsOnePoolByItsPath) {
    machine.pools({"/dev/more/pool", "/dev/data/pool", "/dev/data/pool2"});
    display({"-n", "/dev/data/pool"});
    expect_succeeded(header + row);
}

TEST_F(LvDisplay, ChecksOnlyWhatStandsAfterTheLastSlash) {
    machine.pool_lines("  /dev/da ta/pool:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n");
    display({"-n", "/dev/da ta/pool"});
    expect_succeeded(header + "/dev/da ta/pool\tavailable\t2G\t0G\tdata\t0\n");
}

TEST_F(LvDisplay, OnlyPrintsThatANameIsNotAPath) {
    machine.pools({"/dev/data/pool"});
    for (const char* name : {"pool", "", "data"}) {
        expect_only_printed({"-n", name});
    }
}

TEST_F(LvDisplay, OnlyPrintsThatAPathEndsInNoName) {
    machine.pool_lines("  /dev/data/po ol:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n"
                       "  /dev/data/:data:3:1:-1:0:4194304:512:-1:0:-1:254:0\n");
    for (const char* path : {"/dev/data/po ol", "/dev/data/", "/"}) {
        expect_only_printed({"-n", path});
    }
}

TEST_F(LvDisplay, OnlyPrintsThatThereIsNoSuchPool) {
    machine.pools({"/dev/data/pool"});
    for (const char* path : {"/dev/data/other", "data/pool", "/dev/more/pool", "/dev/data/pool2"}) {
        expect_only_printed({"-n", path});
    }
}

class LvMode : public PoolCommand {
  protected:
    LvMode() : PoolCommand("lvmanage") { machine.pools({"/dev/data/pool"}); }
};

TEST_F(LvMode, CreateComesBeforeDisplayAndDelete) {
    for (const char* other : {"-S", "-D"}) {
        manage({other, "-C", "-n", "new", "-L", "5", "data"});
        expect_succeeded();
        EXPECT_THAT(changes(run), ElementsAre("/sbin/lvcreate -L 5G -n new data > /dev/null"));
    }
}

TEST_F(LvMode, DisplayComesBeforeDelete) {
    manage({"-D", "-S", "-n", "/dev/data/pool", "data"});
    expect_succeeded(header + row);
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(LvMode, DoesNothingAfterAnUnknownOption) {
    manage({"-x", "-D", "-n", "pool", "data"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("'x'"));
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre("zav_getopt[499]: other option: ?"));
}

TEST_F(LvMode, RunsTheModeThatCameBeforeAnUnknownOption) {
    manage({"-S", "-x", "-n", "none"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(run.out, header + row);
}

TEST_F(LvMode, RunsWithoutTheArgumentOfItsLastOption) {
    manage({"-S", "-n"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(run.out, header + row);
    manage({"-D", "data", "-n"});
    EXPECT_EQ(run.out, "for errno '-126'\n");
}

TEST_F(LvMode, ShowsItsUsageWithoutOne) {
    for (const Texts& arguments : {Texts{}, Texts{"-n", "pool", "data"}}) {
        manage(arguments);
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_THAT(run.out, HasSubstr("manage the lv info"));
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

} // namespace
} // namespace zav::test
