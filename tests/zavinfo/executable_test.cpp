// SPDX-License-Identifier: MIT
// The executable on a machine that has something of everything. md1 is being rebuilt, music is not
// mounted, the FTP and iSCSI services are stopped.
#include "api/snapshot_machine.h"
#include "zavinfo/validate.h"

#include <nlohmann/json.hpp>

namespace zavinfo::test {
namespace {

using nlohmann::json;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::Pair;
using testing::StartsWith;
using zav::test::Picture;
using zav::test::Result;
using zav::test::RunOptions;

class Zavinfo : public testing::Test {
  protected:
    Zavinfo() { machine.bind(ZAV_TEST_ZAVINFO, "/usr/bin/zavinfo"); }

    static RunOptions with_program(RunOptions options) {
        options.argv0 = "zavinfo";
        options.program = "/usr/bin/zavinfo";
        return options;
    }

    // Nothing is changed, logged or left behind.
    Result run(const std::vector<std::string>& arguments, const RunOptions& options = {}) {
        const auto before = machine.snapshot();
        Result result = machine.run(arguments, with_program(options));
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
        EXPECT_THAT(machine.log(), IsEmpty());
        return result;
    }

    zav::test::SnapshotMachine machine;
};

TEST_F(Zavinfo, ShowsATree) {
    const Result result = run({});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(result.out, StartsWith("nas  KOR7206H  1.0.0  41 C  fan1 2400 rpm"));
    EXPECT_THAT(result.out, HasSubstr("\n|  `- file system /mnt/data/films  xfs  ["));
    EXPECT_THAT(result.out,
                HasSubstr("\n|     `- share films  samba  served  read-only  all films"));
    EXPECT_THAT(result.out, HasSubstr("md1  raid5  200 GiB  rebuilding  [###-----------------]  "
                                      "12.6 %  2 h 7 min left\n"));
    EXPECT_THAT(result.out, HasSubstr("\n`- slot 7  sdg  1.8 TiB  DISK-2000  offline"));
    EXPECT_THAT(result.out, Not(HasSubstr("\x1b")));
    EXPECT_THAT(run({}, {.environment = {{"LANG", "C.UTF-8"}}}).out, HasSubstr("\n│  └─ "));
}

TEST_F(Zavinfo, RunsEachCommandOnce) {
    const Picture picture{run({"--json"}), ""};
    EXPECT_THAT(picture.counts(), Each(Pair(testing::_, 1)));
    EXPECT_THAT(picture.counts(), Contains(Pair("/sbin/mdadm --detail /dev/md1", 1)));
}

TEST_F(Zavinfo, PrintsJsonThatSuitsTheSchema) {
    const Result result = run({"--json"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(schema_faults(result.out), "");
    const json all = json::parse(result.out);
    EXPECT_EQ(all["disks"].size(), 7);
    EXPECT_EQ(all["shares"].size(), 5);
    EXPECT_EQ(all["shares"][3]["services"], json({"iscsi"}));
    EXPECT_EQ(all["arrays"][1]["rebuild_done"], 0.126);
    EXPECT_EQ(all["netdisks"][0]["name"], "usb");
}

TEST_F(Zavinfo, PrintsTheSamePartAlone) {
    machine.mounts({}); // what is used of a file system of the host varies
    const json all = json::parse(run({"--json"}).out);
    for (const char* part : {"disks", "arrays", "groups", "pools", "filesystems", "netdisks",
                             "shares", "services", "health"}) {
        const Result result = run({"--json", part});
        EXPECT_EQ(schema_faults(result.out), "") << part;
        EXPECT_EQ(json::parse(result.out)[part], all[part]) << part;
    }
    EXPECT_THAT(run({"--json", "services"}).commands_without_redirection(),
                Each(StartsWith("/bin/busybox pidof ")));
}

TEST_F(Zavinfo, AsksNoDiskForItsHealthOnRequest) {
    const Result result = run({"--json", "--no-smart"});
    EXPECT_EQ(schema_faults(result.out), "");
    EXPECT_EQ(json::parse(result.out)["disks"][0]["smart"], "unknown");
    EXPECT_THAT(result.commands, Each(Not(HasSubstr("smartctl"))));
}

TEST_F(Zavinfo, Checks) {
    const Result result = run({"--check"});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_THAT(result.out, StartsWith("ZAV CRITICAL - "));
    for (const char* finding :
         {"the file system of share music is not mounted",
          "service ftp is stopped, and has 1 share",
          "array md1 is being rebuilt (12.6 %, 2 h 7 min left)",
          "hot spare sdg cannot help: it is offline", "file system /dev/more/music is not mounted",
          "share old is registered, but is on no pool and no registered file system"}) {
        EXPECT_THAT(result.out, HasSubstr(finding));
    }
    EXPECT_EQ(std::ranges::count(result.out, '\n'), 1);
}

TEST_F(Zavinfo, ChecksAMachineThatIsWell) {
    machine.hotspares({}).file("/sys/block/sdg/device/state", "running\n");
    machine.array({.name = "md1", .level = "raid5", .members = {{"sdc"}, {"sdd"}, {"sde"}}});
    machine.shares({{.name = "films", .path = "/mnt/data/films", .comment = "all films"}});
    machine.registered({"/dev/data/films\t/mnt/data/films\txfs\tdefaults\t0 0"});
    machine.file(zav::test::exports, "").file(zav::test::targets, "");
    const Result result = run({"--check", "-w", "100", "-c", "100"});
    EXPECT_THAT(result.out, StartsWith("ZAV OK - 7 disks, 2 arrays, 3 pools, 2 file systems, "
                                       "1 share | 'disks_failing'=0;;;0;7 "));
    EXPECT_EQ(result.exit_status, 0);
}

TEST_F(Zavinfo, PrintsMetricsThatSuitTheReaders) {
    const Result result = run({"--metrics"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(metrics_faults(result.out), "");
    EXPECT_THAT(result.out, HasSubstr("\nzav_check_status 2\n"));
    EXPECT_THAT(result.out, HasSubstr("\nzav_array_rebuild_left_seconds{array=\"md1\"} 7650\n"));
}

TEST_F(Zavinfo, TellsTheRestWhenSomethingCannotBeRead) {
    machine.tool("/sbin/lvdisplay").any().exits(5);
    machine.tool("/sbin/lvdisplay").on("/sbin/lvdisplay -c").exits(5);
    for (const char* output : {"--json", "--metrics"}) {
        EXPECT_EQ(run({output}).exit_status, 3) << output;
    }
    EXPECT_EQ(run({}).exit_status, 3);
    const Result result = run({"--json"});
    EXPECT_EQ(schema_faults(result.out), "");
    EXPECT_EQ(json::parse(result.out)["failures"][0]["part"], "pools");
    EXPECT_EQ(json::parse(result.out)["disks"].size(), 7);
    EXPECT_EQ(metrics_faults(run({"--metrics"}).out), "");
    EXPECT_THAT(run({"--metrics"}).out, HasSubstr("\nzav_unread{part=\"pools\"} "));
    EXPECT_THAT(run({"--check"}).out, HasSubstr("pools not read: "));
    EXPECT_THAT(run({}).out, HasSubstr("\nNot read\n"));
}

TEST_F(Zavinfo, EndsACommandThatTakesTooLong) {
    machine.tool("/usr/bin/vmstat").any().does("sleep 60");
    const Result result = run({"--json", "health", "--timeout", "1"});
    EXPECT_EQ(result.exit_status, 3);
    EXPECT_EQ(json::parse(result.out)["health"]["processor_percent"], nullptr);
}

TEST_F(Zavinfo, Watches) {
    // The third reading begins when two have been printed.
    machine.tool("/usr/bin/vmstat")
        .any()
        .does("if [ -e /var/2 ]; then touch /var/3; elif [ -e "
              "/var/1 ]; then touch /var/2; else touch /var/1; fi");
    auto watching = machine.start(
        {"--watch=1"},
        with_program({.ends_by_signal = true, .time_limit = std::chrono::seconds(100)}));
    ASSERT_TRUE(machine.appears("/var/3", std::chrono::seconds(60)));
    watching.signal(SIGINT);
    const Result result = watching.wait();
    EXPECT_EQ(result.signal, SIGINT);
    const std::size_t first = result.out.find("nas  KOR7206H");
    EXPECT_EQ(first, 0);
    EXPECT_NE(result.out.find("nas  KOR7206H", first + 1), std::string::npos);
    EXPECT_THAT(result.commands, Each(Not(HasSubstr("smartctl"))));
}

TEST_F(Zavinfo, EndsWhenItIsInterruptedWhileACommandRuns) {
    machine.tool("/usr/bin/vmstat").any().does("touch /var/started; sleep 1");
    for (const int signal : {SIGINT, SIGTERM}) {
        auto reading = machine.start({}, with_program({.ends_by_signal = true}));
        ASSERT_TRUE(machine.appears("/var/started"));
        reading.signal(signal);
        const Result result = reading.wait();
        EXPECT_EQ(result.signal, signal);
        EXPECT_EQ(result.out, "");
        EXPECT_THAT(machine.tmp(), IsEmpty());
        machine.remove("/var/started");
    }
}

TEST_F(Zavinfo, Explains) {
    const Result result = run({"--explain", "-411"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(result.out, StartsWith("-411  array_details_unread  (exit status 101)\n"
                                       "  Meaning: the array runs, "));
    EXPECT_THAT(result.out, HasSubstr("\n  Left:    The array has not been stopped.\n  Next:    "));
    EXPECT_THAT(result.out,
                HasSubstr("\n\n-411  array_details_unread  (exit status 101)  of mdmanage\n"));
    EXPECT_THAT(run({"--explain", "101"}).out, HasSubstr("exit status 101 stands for\n\n-411  "));
    EXPECT_THAT(run({"--explain", "array_details_unread"}).out, StartsWith("-411  "));
    const Result unknown = run({"--explain", "300"});
    EXPECT_EQ(unknown.exit_status, 1);
    EXPECT_EQ(unknown.out, "");
    EXPECT_EQ(unknown.err, "zavinfo: there is no code '300'\n");
    EXPECT_THAT(result.commands, IsEmpty());
}

TEST_F(Zavinfo, TellsItsUsageAndVersion) {
    EXPECT_THAT(run({"--help"}).out, StartsWith("Usage: zavinfo [OPTION]...\n"));
    EXPECT_EQ(run({"--help"}).exit_status, 0);
    const std::string version = run({"--version"}).out;
    const std::string expected = std::string("zavinfo ") + ZAV_VERSION;
    EXPECT_THAT(version, StartsWith(expected));
    EXPECT_THAT(version.substr(expected.size()),
                MatchesRegex("( \\((package [^ ,]+, )?commit [^ ,]+\\))?\n"))
        << "what tells two builds apart";
}

TEST_F(Zavinfo, FailsWhenItIsMisused) {
    const Result result = run({"--bogus"});
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err, "zavinfo: the options are not understood; see zavinfo --help\n");
    const Result check = run({"--check", "--bogus"});
    EXPECT_EQ(check.exit_status, 3);
    EXPECT_EQ(check.out, "ZAV UNKNOWN - the options are not understood; see zavinfo --help\n");
}

TEST_F(Zavinfo, FailsWhenItCannotPrint) {
    EXPECT_EQ(run({"--json"}, {.descriptors = {{1, "/dev/full"}}}).exit_status, 1);
    EXPECT_EQ(run({"--check"}, {.descriptors = {{1, "/dev/full"}}}).exit_status, 3);
    EXPECT_EQ(run({"--help"}, {.descriptors = {{1, "/dev/full"}}}).exit_status, 1);
}

} // namespace
} // namespace zavinfo::test
