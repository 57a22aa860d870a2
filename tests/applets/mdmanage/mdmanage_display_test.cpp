// SPDX-License-Identifier: MIT
// mdmanage --display: the table of all arrays, or of one.
#include "fixtures/array_machine.h"
#include "fixtures/library.h"

namespace zav::test {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::MatchesRegex;

const std::string header =
    "raidname\ttype\tstatus\tprogress\tdevice\tallsize\tusedsize\tchannel\tspare\n"
    "*******************************************************\n";

class Display : public testing::Test {
  protected:
    Display() { machine.box(6); }
    int display(Texts arguments) {
        run = machine.mdmanage(std::move(arguments));
        return run.exit_status;
    }
    ArrayMachine machine;
    Result run;
};

TEST_F(Display, HasHeaderAndRuleOnlyWithoutArrays) {
    for (const char* option : {"-S", "--display"}) {
        EXPECT_EQ(display({option}), 0);
        EXPECT_EQ(run.out, header);
    }
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(machine.log(), IsEmpty());
}

TEST_F(Display, RunsTheListsAndNothingElse) {
    machine.running("md1", "raid1", {"sda"}).running("md2", "raid1", {"sdc"});
    EXPECT_EQ(display({"-S"}), 0);
    EXPECT_THAT(outside(run), ElementsAreArray(joined(
                                  {array_list_commands({"md1", "md2"}), disk_list_commands()})));
}

TEST_F(Display, ShowsChannelsInARowForEachArray) {
    machine.running("md1", "raid0", {"sdc"}).running("md0", "linear", {"sda"});
    EXPECT_EQ(display({"-S"}), 0);
    EXPECT_EQ(run.out, header + "md1\traid0\tclean\t100%\t1\t2GB\t0GB\t3\tNone\n"
                                "md0\tJBOD\tclean\t100%\t1\t2GB\t0GB\t1\tNone\n");
}

TEST_F(Display, ShowsMarksAndSpares) {
    machine.array("md1", "raid1", "clean, degraded", 2, {{"sda", "faulty"}});
    EXPECT_EQ(display({"-S"}), 0);
    EXPECT_EQ(run.out, header + "md1\traid1\tinactive\t100%\t1\t2GB\t0GB\t1(F)\tNone\n");
    machine.mdstat("").array("md1", "raid5", "clean", 1, {{"sda", "spare"}});
    EXPECT_EQ(display({"-S"}), 0);
    EXPECT_EQ(run.out, header + "md1\traid5\tclean\t100%\t1\t2GB\t0GB\t1(S)\t1\n");
}

TEST_F(Display, ShowsTheProgressOfARebuild) {
    machine.array("md1", "raid5", "clean, degraded, recovering", 1, {{"sda", "in_sync"}});
    machine.mdstat("md1 : active raid5 sda[0]\n      x blocks\n      [==>......]  recovery = 12.6% "
                   "(123/456) finish=12.3min speed=12345K/sec\n");
    EXPECT_EQ(display({"-S"}), 0);
    EXPECT_EQ(run.out, header + "md1\traid5\tclean, degraded, recovering\t12.6%(12.00MB/s)\t1\t"
                                "2GB\t0GB\t1\tNone\n");
}

TEST_F(Display, ShowsOneArrayByItsName) {
    machine.running("md1", "raid0", {"sda"})
        .running("md10", "raid0", {"sdb"})
        .running("md2", "raid0", {"sdc"});
    EXPECT_EQ(display({"-S", "-n", "md10"}), 0);
    EXPECT_EQ(run.out, header + "md10\traid0\tclean\t100%\t1\t2GB\t0GB\t2\tNone\n");
    EXPECT_THAT(outside(run), ElementsAreArray(joined({array_list_commands({"md1", "md10", "md2"}),
                                                       disk_list_commands()})));
}

TEST_F(Display, ShowsNoTableForAnUnknownArray) {
    machine.running("md10", "raid0", {"sdb"});
    for (const char* name : {"nosuch", "md1", "md", "MD10"}) {
        display({"-S", "-n", name});
        expect_failure(machine, run, -423);
        EXPECT_EQ(run.out, "for errno '-423'\n");
    }
}

TEST_F(Display, ShowsNoTableForAnInvalidName) {
    for (const std::string& name : {std::string(""), std::string("a b"), std::string(33, 'n')}) {
        display({"-S", "-n", name});
        expect_failure(machine, run, -127);
        EXPECT_EQ(run.out, "for errno '-127'\n");
    }
}

TEST_F(Display, DoesNotFindANameOf32CharactersByItsFirst31) {
    machine.running("md" + std::string(29, '1'), "raid0", {"sda"});
    display({"-S", "-n", "md" + std::string(30, '1')});
    expect_failure(machine, run, -423);
}

TEST_F(Display, ShowsNoTableWithoutTheArrayList) {
    machine.without_array_list();
    display({"-S"});
    expect_failure(machine, run, -422);
    EXPECT_EQ(run.out, "for errno '-422'\n");
}

TEST_F(Display, ReportsTheArrayListBeforeTheName) {
    machine.without_array_list();
    display({"-S", "-n", "a b"});
    expect_failure(machine, run, -422);
}

TEST_F(Display, ShowsKernelNamesAndFailsWithoutTheDiskList) {
    machine.running("md1", "raid0", {"sda"});
    machine.without_disk_controller();
    display({"-S"});
    expect_failure(machine, run, -205);
    EXPECT_EQ(run.out, header + "md1\traid0\tclean\t100%\tN.A.\t2GB\t0GB\tsda\tNone\n"
                                "for errno '-205'\n");
    EXPECT_THAT(log_texts(machine, "disks_to_ch"),
                testing::ElementsAre(MatchesRegex("disks_to_ch:\\[[0-9]+\\] return with -205")));
}

TEST_F(Display, IgnoresOperandsAndOtherOptions) {
    machine.running("md1", "raid0", {"sda"});
    EXPECT_EQ(display({"-S", "-l", "9", "-d", "a b", "-g", "x", "y"}), 0);
    EXPECT_EQ(run.out, header + "md1\traid0\tclean\t100%\t1\t2GB\t0GB\t1\tNone\n");
}

} // namespace
} // namespace zav::test
