// SPDX-License-Identifier: MIT
// Arguments reach no command before they are checked, whichever option they belong to, and names
// from the system only if they are plain.
#include "fixtures/group_machine.h"

namespace zav::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A shell that interpreted one would create a file.
const Texts payloads = {
    "md0;echo>/var/injected", "$(echo>/var/injected)",   "`echo>/var/injected`",
    "4|echo>/var/injected",   "4&&echo>/var/injected",   "4\necho>/var/injected\n",
    "4>/var/injected",        "md0,;echo>/var/injected", "';echo>/var/injected;'",
    "\";echo>/var/injected",  "4,5;echo>/var/injected",  "\\;echo>/var/injected",
    "../../../var/injected",  "-n\n;echo>/var/injected"};

// Command lines in which PAYLOAD is replaced.
const std::vector<Texts> places = {{"-C", "-n", "PAYLOAD", "-c", "md0"},
                                   {"-C", "-n", "data", "-c", "PAYLOAD"},
                                   {"-C", "-n", "data", "-c", "md0,PAYLOAD"},
                                   {"-C", "-n", "data", "-c", "md0", "-d", "PAYLOAD"},
                                   {"-C", "-n", "data", "-c", "4", "PAYLOAD"},
                                   {"-S", "-n", "PAYLOAD"},
                                   {"-S", "PAYLOAD"},
                                   {"-D", "-n", "PAYLOAD"},
                                   {"-D", "-n", "used", "PAYLOAD"},
                                   {"-PAYLOAD"},
                                   {"--PAYLOAD"}};

void expect_not_injected(const GroupMachine& machine, const Result& run) {
    EXPECT_EQ(run.signal, 0);
    for (const std::string& command : run.commands) {
        EXPECT_THAT(command, Not(HasSubstr("injected")));
    }
    EXPECT_FALSE(machine.exists("/var/injected"));
    EXPECT_FALSE(machine.exists("/injected"));
}

class VgInjection : public testing::TestWithParam<std::size_t> {};

TEST_P(VgInjection, ReachesNoCommand) {
    GroupMachine machine;
    machine.on("used", {"/dev/md1"}).directory("/etc/lvm/backup");
    for (const std::string& payload : payloads) {
        Texts arguments = places[GetParam()];
        for (std::string& argument : arguments) {
            if (const auto at = argument.find("PAYLOAD"); at != std::string::npos) {
                argument.replace(at, 7, payload);
            }
        }
        SCOPED_TRACE(payload);
        expect_not_injected(machine, machine.vgmanage(arguments));
    }
}

INSTANTIATE_TEST_SUITE_P(InPlace, VgInjection, testing::Range<std::size_t>(0, places.size()));

// Names from the kernel or a tool.
TEST(VgInjectionByTheSystem, ReachesNoCommand) {
    GroupMachine machine;
    machine.disk({.name = "sd;echo>injected", .channel = 9});
    machine.file("/proc/mdstat", "md2;echo>injected : active\n$(echo>injected) : active\n"
                                 "md0 : active\nmd1 : active\n");
    machine.hotspares({"sdb;echo>injected"});
    machine.group_lines("  used;echo>injected:r/w:772:-1:0:0:0:-1:0:1:1:0:4096:0:0:0:Q\n"
                        "  data:r/w:772:-1:0:0:0:-1:0:1:1:0:4096:0:0:0:Q\n",
                        "  /dev/md1;echo>injected:data:0:-1:8:8:-1:4096:0:0:0:Q\n"
                        "  /dev/sd;echo>injected:data:0:-1:8:8:-1:4096:0:0:0:Q\n");
    for (const Texts& arguments :
         {Texts{"-S"}, Texts{"-S", "-n", "data"}, Texts{"-C", "-n", "new", "-c", "9"},
          Texts{"-C", "-n", "new", "-c", "md2"}, Texts{"-D", "-n", "used"},
          Texts{"-D", "-n", "data"}}) {
        expect_not_injected(machine, machine.vgmanage(arguments));
    }
}

TEST(VgInjectionByABackup, ReachesNoCommand) {
    GroupMachine machine;
    machine.on("data", {"/dev/md1"});
    machine.file("/etc/lvm/backup/data", "physical_volumes {\npv0 {\nid = \"x;echo>injected\"\n"
                                         "device = \"/dev/md1;echo>injected\"\n}\n}\n");
    const Result run = machine.vgmanage({"-D", "-n", "data"});
    expect_not_injected(machine, run);
    EXPECT_THAT(changes(run), IsEmpty());
    EXPECT_EQ(run.exit_status, -301 & 0xff);
}

} // namespace
} // namespace zav::test
