// SPDX-License-Identifier: MIT
// fsmanage --display, and which of several modes is carried out.
#include "applets/fsmanage/pool_steps.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

const std::string header = "name\tmntpoint\tstatus\tallsize\tusedsize\townername\tdevice\n"
                           "***********************************************************\n";
const std::string mounted = "/dev/mapper/data-pool /mnt/data/pool";

class FsDisplay : public PoolCommand {
  protected:
    FsDisplay() : PoolCommand("fsmanage") { machine.pools({"/dev/data/pool"}).registered({line}); }
    // It always ends the same way and changes nothing.
    void display(const char* option = "-S") {
        const Snapshot before = machine.snapshot();
        manage({option});
        EXPECT_EQ(run.exit_status, 255);
        EXPECT_EQ(run.err, "");
        EXPECT_THAT(changes(run), IsEmpty());
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
    }
};

TEST_F(FsDisplay, HasHeaderAndRuleOnlyWithoutFileSystems) {
    machine.registered({});
    display();
    EXPECT_EQ(run.out, header);
    EXPECT_EQ(std::ranges::count(run.out, '*'), 59);
    EXPECT_THAT(machine.log(), IsEmpty());
    display("--display");
    EXPECT_EQ(run.out, header);
}

TEST_F(FsDisplay, ShowsAMountedPoolWithTheSizesOfItsFileSystem) {
    machine.mounts({mounted}).directory("/mnt/data/pool");
    display();
    EXPECT_THAT(run.out.substr(0, header.size()), header);
    EXPECT_THAT(run.out.substr(header.size()),
                MatchesRegex("/dev/data/pool\t/mnt/data/pool\tavailable\t[0-9]+M\t[0-9]+M\tdata"
                             "\t0\n"));
    EXPECT_THAT(run.out, testing::Not(HasSubstr("\t2048M\t0M\t")));
    EXPECT_THAT(machine.list("/mnt/data/pool"), IsEmpty());
}

// More blocks than 32 bits count, also where the processor has no more.
TEST_F(FsDisplay, ShowsTheSizeOfALargeFileSystem) {
    machine.mounts({mounted}).filesystem("/mnt/data/pool", "20T");
    display();
    EXPECT_EQ(run.out,
              header + "/dev/data/pool\t/mnt/data/pool\tavailable\t20971520M\t0M\tdata\t0\n");
}

TEST_F(FsDisplay, ShowsThePoolsSizesWhereNoFileSystemCanBeMeasured) {
    display();
    EXPECT_EQ(run.out, header + "/dev/data/pool\t/mnt/data/pool\tumount\t2048M\t0M\tdata\t0\n");
    machine.mounts({mounted});
    display();
    EXPECT_EQ(run.out,
              header + "/dev/data/pool\t/mnt/data/pool\tnot available\t2048M\t0M\tdata\t0\n");
}

TEST_F(FsDisplay, ShowsARegisteredPoolThatIsNoLongerThere) {
    machine.pools({});
    display();
    EXPECT_EQ(run.out, header + "/dev/data/pool\t/mnt/data/pool\tumount\t0M\t0M\tdata\tN.A.\n");
    machine.mounts({mounted}).directory("/mnt/data/pool");
    display();
    EXPECT_THAT(run.out, HasSubstr("/dev/data/pool\t/mnt/data/pool\tnot available\t"));
}

TEST_F(FsDisplay, ShowsTheStatusOfAMountedPool) {
    machine.pool_lines("  /dev/data/pool:data:3:0:-1:0:4194304:512:-1:0:-1:254:0\n");
    machine.mounts({mounted}).directory("/mnt/data/pool");
    display();
    EXPECT_THAT(run.out, HasSubstr("/mnt/data/pool\tnot available\t"));
}

TEST_F(FsDisplay, HasARowForEachLineInTheOrderOfTheRegister) {
    machine.pools({"/dev/data/pool", "/dev/more/other"});
    machine.registered({"/dev/more/other /mnt/more/other reiserfs defaults 0 0", "", line});
    display();
    EXPECT_EQ(run.out, header + "/dev/more/other\t/mnt/more/other\tumount\t2048M\t0M\tmore\t0\n"
                                "/dev/data/pool\t/mnt/data/pool\tumount\t2048M\t0M\tdata\t0\n");
}

TEST_F(FsDisplay, ReportsARegisterThatCannotBeReadAboveAnEmptyTable) {
    machine.remove(mdfstab);
    display();
    EXPECT_EQ(run.out, "for errno '-1'\n" + header);
    EXPECT_THAT(machine.logged().front(), testing::StartsWith("cannot open /etc/mdfstab for "));
    EXPECT_THAT(run.commands, IsEmpty());
}

TEST_F(FsDisplay, ReportsPoolsThatCannotBeReadAboveTheRegister) {
    hide_pools();
    display();
    const std::string row = "/dev/data/pool\t/mnt/data/pool\tN.A.\t0M\t0M\tdata\tN.A.\n";
    EXPECT_THAT(run.out, MatchesRegex("cannot open /tmp/lvdisplay\\.[^ ]{6}\nfor errno '-1050'\n"
                                      "name\t[^*]*\\*+\n" +
                                      row));
    EXPECT_THAT(machine.logged(), testing::Contains(returned("mountfs_get", -1050)));
}

TEST_F(FsDisplay, ShowsTheRegisterWithoutAPoolToolOrMountTable) {
    machine.remove(pool_tool::lvdisplay).remove("/proc/mounts");
    display();
    EXPECT_EQ(run.out, header + "/dev/data/pool\t/mnt/data/pool\tumount\t0M\t0M\tdata\tN.A.\n");
}

class FsMode : public PoolCommand {
  protected:
    FsMode() : PoolCommand("fsmanage") { machine.pools({"/dev/data/pool"}).registered({line}); }
    void manage_all(Texts modes) {
        modes.insert(modes.end(), {"-n", "pool", "-g", "data", "-s", "5"});
        manage(modes);
    }
};

TEST_F(FsMode, DeleteComesFirst) {
    for (const char* other : {"-C", "-S", "-R"}) {
        machine.registered({line});
        manage_all({other, "-D"});
        expect_succeeded("'/etc/lvm/backup' not exist\n");
        EXPECT_EQ(machine.read(mdfstab), "");
    }
}

TEST_F(FsMode, RepairComesBeforeDisplayAndCreate) {
    for (const char* other : {"-C", "-S"}) {
        manage_all({other, "-R"});
        expect_succeeded();
        EXPECT_EQ(changes(run).front(), "/sbin/xfs_repair -L /dev/data/pool > /dev/null");
    }
}

TEST_F(FsMode, DisplayComesBeforeCreate) {
    manage_all({"-C", "-S"});
    EXPECT_THAT(run.out, testing::StartsWith(header));
    EXPECT_THAT(changes(run), IsEmpty());
}

TEST_F(FsMode, DoesNothingAfterAnUnknownOption) {
    manage({"-x", "-D", "-n", "pool", "-g", "data"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, HasSubstr("'x'"));
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre("zav_getopt[499]: other option: ?"));
}

TEST_F(FsMode, ShowsItsUsageWithoutOne) {
    for (const Texts& arguments : {Texts{}, Texts{"-n", "pool", "-g", "data"}}) {
        manage(arguments);
        EXPECT_EQ(run.exit_status, 0);
        EXPECT_THAT(run.out, HasSubstr("manage the file system info"));
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

} // namespace
} // namespace zav::test
