// SPDX-License-Identifier: MIT
// Arguments reach no command before they are checked, whichever option they belong to.
#include "fixtures/array_machine.h"

namespace zav::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr auto proof = "/var/injected";

// A shell that interpreted one would create a file.
const Texts payloads = {
    "md1;echo>/var/injected", "$(echo>/var/injected)",   "`echo>/var/injected`",
    "1|echo>/var/injected",   "1&&echo>/var/injected",   "1\necho>/var/injected\n",
    "1>/var/injected",        "5;echo>/var/injected;#",  "';echo>/var/injected;'",
    "\";echo>/var/injected",  "1,2;echo>/var/injected",  "JBOD;echo>/var/injected",
    "../../var/injected",     "-n\n;echo>/var/injected", "\\;echo>/var/injected"};

// Command lines in which PAYLOAD is replaced.
const std::vector<Texts> places = {
    {"-C", "-n", "PAYLOAD", "-l", "1", "-d", "1", "4,5"},
    {"-C", "-n", "data", "-l", "PAYLOAD", "-d", "1", "4,5"},
    {"-C", "-n", "data", "-l", "1", "-d", "PAYLOAD", "4,5"},
    {"-C", "-n", "data", "-l", "1", "-d", "1", "PAYLOAD"},
    {"-C", "-n", "data", "-l", "1", "-d", "1", "4,5", "PAYLOAD"},
    {"-C", "-g", "-n", "PAYLOAD", "-l", "PAYLOAD", "-d", "PAYLOAD", "PAYLOAD"},
    {"-S", "-n", "PAYLOAD"},
    {"-S", "PAYLOAD"},
    {"-D", "-n", "PAYLOAD"},
    {"-D", "-n", "md1", "PAYLOAD"},
    {"-R", "-n", "PAYLOAD"},
    {"-a", "PAYLOAD", "md1"},
    {"-a", "4", "PAYLOAD"},
    {"-r", "PAYLOAD", "md1"},
    {"-r", "2", "PAYLOAD"},
    {"-PAYLOAD"},
    {"--PAYLOAD"}};

class Injection : public testing::TestWithParam<std::size_t> {};

TEST_P(Injection, ReachesNoCommand) {
    ArrayMachine machine;
    machine.box(6).array("md1", "raid5", "clean, degraded", 3,
                         {{"sda", "in_sync"}, {"sdb", "faulty"}, {"sdc", "in_sync"}});
    for (const std::string& payload : payloads) {
        Texts arguments = places[GetParam()];
        for (std::string& argument : arguments) {
            if (const auto at = argument.find("PAYLOAD"); at != std::string::npos) {
                argument.replace(at, 7, payload);
            }
        }
        const Result run = machine.mdmanage(arguments);
        EXPECT_EQ(run.signal, 0);
        for (const std::string& command : run.commands) {
            EXPECT_THAT(command, Not(HasSubstr("injected")));
        }
        EXPECT_FALSE(machine.exists(proof)) << payload;
    }
}

INSTANTIATE_TEST_SUITE_P(InPlace, Injection, testing::Range<std::size_t>(0, places.size()));

// Names from the kernel or a tool are used only if they are plain.
TEST(InjectionByTheSystem, ReachesNoCommand) {
    ArrayMachine machine;
    machine.box({{"sda;echo>/var/injected", 1}, {"sdb", 2}, {"sdc", 3}});
    machine.mdstat("md1;echo>/var/injected : active\n$(echo>/var/injected) : active\n"
                   "md1`echo>/var/injected` : active\n");
    machine.hotspares("sdb;echo>/var/injected");
    machine.group("vg1;echo>/var/injected", {"/dev/md1;echo>/var/injected"});
    for (const Texts& arguments :
         {Texts{"-S"}, Texts{"-C", "-n", "data", "-l", "1", "-d", "1", "1,2"},
          Texts{"-C", "-n", "data", "-l", "1", "-d", "1", "2,3"}, Texts{"-D", "-n", "md1"},
          Texts{"-a", "1", "md1"}}) {
        const Result run = machine.mdmanage(arguments);
        for (const std::string& command : run.commands) {
            EXPECT_THAT(command, Not(HasSubstr("injected")));
        }
        EXPECT_FALSE(machine.exists(proof));
    }
}

} // namespace
} // namespace zav::test
