// SPDX-License-Identifier: MIT
// Running the command that creates an array: clearing the disks, bounds, length.
#include "actions/arrays/creation.h"
#include "fixtures/array_machine.h"
#include "fixtures/library.h"
#include "sources/mdadm.h"

#include <gtest/gtest.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// Runs the create command for a list of kernel names.
class Creation : public testing::Test {
  protected:
    int create(const char* type, const std::string& disks, const char* name = "data") {
        run = machine.operation([=] {
            mdinfo array;
            array.name = name;
            array.type = type;
            array.status = "";
            return run_create_command(array, disks);
        });
        return run.returned;
    }
    ArrayMachine machine;
    Result run;
};

TEST_F(Creation, PreparesEachDiskBeforeTheCommand) {
    EXPECT_EQ(create("raid1", "sdb,sda"), 0);
    EXPECT_THAT(
        outside(run),
        ElementsAre("/usr/local/bin/diskformat /dev/sdb", "/usr/local/bin/diskformat /dev/sda",
                    "/sbin/mdadm -C  /dev/data -l 1 -n 2 -R /dev/sdb /dev/sda > /dev/null"));
    EXPECT_THAT(machine.log(), IsEmpty());
    EXPECT_EQ(run.out, "");
}

TEST_F(Creation, TakesTheBitmapFromTheRunningKernel) {
    EXPECT_EQ(create("raid5", "sda,sdb,sdc"), 0);
    EXPECT_THAT(outside(run).back(),
                testing::StartsWith(
                    "/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384  /dev/data -l 5"));
}

TEST_F(Creation, ContinuesWhenADiskCannotBePrepared) {
    machine.tool(ArrayMachine::diskformat).any().exits(1);
    EXPECT_EQ(create("raid1", "sda,sdb"), 0);
    EXPECT_THAT(outside(run), SizeIs(3));
    EXPECT_THAT(log_texts(machine, "diskformat /dev/sda"),
                ElementsAre(testing::StartsWith("system(\"/usr/local/bin/diskformat /dev/sda\") "
                                                "return normal with exit(1) for '")));
}

TEST_F(Creation, ReportsAFailedCommand) {
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -C").exits(2);
    EXPECT_EQ(create("raid1", "sda,sdb"), -11000);
    EXPECT_THAT(
        last_message(machine),
        testing::StartsWith("system(\"/sbin/mdadm -C  /dev/data -l 1 -n 2 -R /dev/sda /dev/sdb > "
                            "/dev/null\") return normal with exit(2) for '"));
}

TEST_F(Creation, ReportsAKilledCommand) {
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -C").killed_by(9);
    EXPECT_EQ(create("raid1", "sda,sdb"), -11000);
    EXPECT_THAT(last_message(machine),
                testing::HasSubstr("> /dev/null\") return unnormal with exit(0) for '"));
}

TEST_F(Creation, ReportsAMissingTool) {
    machine.remove("/sbin/mdadm");
    EXPECT_EQ(create("raid1", "sda,sdb"), -11000);
    EXPECT_THAT(last_message(machine), testing::HasSubstr("return normal with exit(127) for '"));
}

std::string disk_names(int count) {
    std::string names;
    for (int at = 0; at < count; ++at) {
        names += (at == 0 ? "sd" : ",sd") + std::string(1, static_cast<char>('a' + at));
    }
    return names;
}

struct Bounds {
    const char* type;
    int level;
    int fewest;
    int most;
};

class CreationBounds : public Creation, public testing::WithParamInterface<Bounds> {};

TEST_P(CreationBounds, RefuseOneDiskFewerOrMoreBeforeAnyIsPrepared) {
    const auto& [type, level, fewest, most] = GetParam();
    for (const int count : {0, fewest - 1, most + 1}) {
        EXPECT_EQ(create(type, disk_names(count)), -2034);
        EXPECT_EQ(last_message(machine), "disks num " + std::to_string(count) + " exceed [" +
                                             std::to_string(fewest) + ", " + std::to_string(most) +
                                             "] in " + type);
        EXPECT_THAT(run.commands, IsEmpty());
    }
}

TEST_P(CreationBounds, TakeTheFewestAndTheMostDisks) {
    const auto& [type, level, fewest, most] = GetParam();
    for (const int count : {fewest, most}) {
        EXPECT_EQ(create(type, disk_names(count)), 0);
        EXPECT_THAT(outside(run).back(),
                    testing::HasSubstr(" -l " + (level < 0 ? type : std::to_string(level)) +
                                       " -n " + std::to_string(count) + " -R /dev/sda "));
    }
    EXPECT_THAT(machine.log(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(OfLevel, CreationBounds,
                         testing::Values(Bounds{"raid0", 0, 2, 16}, Bounds{"raid1", 1, 2, 2},
                                         Bounds{"raid5", 5, 3, 16}, Bounds{"raid6", 6, 4, 16},
                                         Bounds{"linear", -1, 2, 16}, Bounds{"other", 0, 2, 16}),
                         [](const auto& test) { return test.param.type; });

// A linear array whose command has exactly that many characters.
class CommandLength : public Creation, public testing::WithParamInterface<std::size_t> {
  protected:
    int create_with_length(std::size_t length) {
        const std::string rest = "/sbin/mdadm -C /dev/data -l linear -n 2 -R /dev/sda /dev/ > "
                                 "/dev/null";
        name = std::string(length - rest.size(), 'x');
        return create("linear", "sda," + name);
    }
    std::string name; // of the second disk
};

class LengthThatIsCut : public CommandLength {};

TEST_P(LengthThatIsCut, IsRefusedBeforeAnyDiskIsPrepared) {
    EXPECT_EQ(create_with_length(GetParam()), -11000);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_EQ(last_message(machine), "'/sbin/mdadm -C /dev/data -l linear -n 2 -R /dev/sda /dev/" +
                                         name +
                                         " > /dev/null' was not run: it is too long to be "
                                         "run whole");
}

INSTANTIATE_TEST_SUITE_P(Characters, LengthThatIsCut,
                         testing::Values(245, 246, 249, 250, 251, 252, 253, 256, 257, 300, 1000),
                         testing::PrintToStringParamName());

class LengthThatReachesTheShell : public CommandLength {};

TEST_P(LengthThatReachesTheShell, IsRunWithAllItsDisks) {
    machine.tool(ArrayMachine::mdadm)
        .on_prefix("/sbin/mdadm -C")
        .does("echo \"$*\" > /var/arguments");
    EXPECT_EQ(create_with_length(GetParam()), 0);
    EXPECT_THAT(run.commands, SizeIs(3));
    EXPECT_EQ(machine.read("/var/arguments"),
              "-C /dev/data -l linear -n 2 -R /dev/sda /dev/" + name + "\n");
}

INSTANTIATE_TEST_SUITE_P(Characters, LengthThatReachesTheShell,
                         testing::Values(240, 241, 242, 243, 244, 247, 248, 254, 255),
                         testing::PrintToStringParamName());

// Runs the command that re-creates an array.
class Recreation : public testing::Test {
  protected:
    int recreate(const char* type, const std::string& disks, const std::string& name = "md1") {
        run = machine.operation([=] { return run_recreate_command(name, type, disks); });
        return run.returned;
    }
    ArrayMachine machine;
    Result run;
};

TEST_F(Recreation, RunsNothingButTheCommand) {
    EXPECT_EQ(recreate("raid5", "sdb,sda,sdc"), 0);
    EXPECT_THAT(
        outside(run),
        ElementsAre("/sbin/mdadm -C /dev/md1 -l 5 -n 3 -R /dev/sdb /dev/sda /dev/sdc > /dev/null"));
}

TEST_F(Recreation, HasLevel0ForAllButRaid5AndRaid6) {
    EXPECT_EQ(recreate("raid6", "sda,sdb,sdc,sdd"), 0);
    EXPECT_THAT(outside(run).back(), testing::HasSubstr("-C /dev/md1 -l 6 -n 4 -R"));
    for (const char* type : {"raid1", "raid0", "linear", ""}) {
        EXPECT_EQ(recreate(type, "sda,sdb"), 0);
        EXPECT_THAT(outside(run), ElementsAre("/sbin/mdadm -C /dev/md1 -l 0 -n 2 -R /dev/sda "
                                              "/dev/sdb > /dev/null"));
    }
}

TEST_F(Recreation, HasBoundsOfItsOwn) {
    for (const auto& [type, level, fewest, most] :
         {Bounds{"raid5", 5, 3, 16}, Bounds{"raid6", 6, 4, 16}, Bounds{"raid1", 0, 2, 16}}) {
        for (const int count : {fewest - 1, most + 1}) {
            EXPECT_EQ(recreate(type, disk_names(count)), -2034);
            EXPECT_EQ(last_message(machine), "disks num " + std::to_string(count) + " exceed [" +
                                                 std::to_string(fewest) + ", 16] in " + type);
            EXPECT_THAT(run.commands, IsEmpty());
        }
        EXPECT_EQ(recreate(type, disk_names(fewest)), 0);
        EXPECT_EQ(recreate(type, disk_names(most)), 0);
    }
}

TEST_F(Recreation, ReportsAFailedCommand) {
    machine.tool(ArrayMachine::mdadm).on_prefix("/sbin/mdadm -C").exits(1);
    EXPECT_EQ(recreate("raid0", "sda,sdb"), -11000);
}

TEST_F(Recreation, IsRefusedWhenTheCommandWouldBeCut) {
    EXPECT_EQ(recreate("raid0", "sda," + std::string(200, 'x')), -11000);
    EXPECT_THAT(run.commands, IsEmpty());
    EXPECT_THAT(last_message(machine),
                testing::EndsWith("' was not run: it is too long to be run whole"));
}

} // namespace
} // namespace zav::test
