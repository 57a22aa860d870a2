// SPDX-License-Identifier: MIT
// zavinfo --preflight on machines that lack something.
#include "api/snapshot_machine.h"
#include "zavinfo/needs.h"
#include "zavinfo/validate.h"

#include <nlohmann/json.hpp>

namespace zavinfo::test {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using zav::test::Result;
using zav::test::RunOptions;

// A machine with a stand-in for each program and a file for each file of the table.
class Preflight : public testing::Test {
  protected:
    Preflight() {
        machine.bind(ZAV_TEST_ZAVINFO, "/usr/bin/zavinfo");
        for (const Need& need : needs()) {
            const std::string name = need.name;
            if (need.kind == NeedKind::program) {
                machine.tool(name.starts_with("/") ? name : "/bin/" + name).any();
            } else if (need.kind == NeedKind::file && name != "/etc/sys_info" &&
                       !name.starts_with("/proc/")) {
                machine.file(name, "");
            } else if (need.kind == NeedKind::directory || need.kind == NeedKind::writable) {
                machine.directory(name);
            }
        }
        machine.file("/proc/mdstat", "Personalities : [raid0] [raid1] [raid5] [linear]\n");
        machine.file("/proc/misc", "236 device-mapper\n");
        machine.file("/proc/filesystems", "nodev\tproc\n\txfs\n\treiserfs\n");
        machine.file("/proc/partitions", "").file("/proc/mounts", "");
    }

    Result run(std::vector<std::string> arguments = {}) {
        const auto before = machine.snapshot();
        RunOptions options;
        options.argv0 = "zavinfo";
        options.program = "/usr/bin/zavinfo";
        arguments.insert(arguments.begin(), "--preflight");
        Result result = machine.run(arguments, options);
        EXPECT_THAT(before.changes_to(machine.snapshot()), IsEmpty());
        EXPECT_THAT(machine.log(), IsEmpty());
        return result;
    }

    json row(const std::string& name) {
        const Result result = run({"--json"});
        EXPECT_EQ(schema_faults(result.out), "");
        const json all = json::parse(result.out);
        for (const json& row : all["preflight"]) {
            if (row["name"] == name) {
                return row;
            }
        }
        return {};
    }

    zav::test::SnapshotMachine machine;
};

// A block device cannot be made in a private root: RAM disks are what is left.
TEST_F(Preflight, MissesNothingElseOnACompleteMachine) {
    const Result result = run();
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(
        result.out,
        testing::StartsWith("Model KOR7206H: 1 thing that the commands need is missing or wrong."
                            "\n\nmissing  /dev/ram2\n"));
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_THAT(result.out, HasSubstr("\nunneeded  /usr/local/bin/vexadm, "));
}

TEST_F(Preflight, FindsWhatFailsWithoutAWord) {
    for (const char* program : {"/usr/local/bin/diskformat", "/etc/init.d/nfs",
                                "/usr/local/bin/xfs_repair", "/usr/local/bin/fxml"}) {
        machine.remove(program);
        const Result result = run();
        EXPECT_EQ(result.exit_status, 2) << program;
        EXPECT_THAT(result.out, HasSubstr(std::string("\nmissing  ") + program + "\n"));
        EXPECT_EQ(row(program)["found"], "missing");
    }
    EXPECT_EQ(row("/usr/local/bin/diskformat")["lack"], "data");
}

TEST_F(Preflight, FindsWhatIsThereAndOfNoUse) {
    machine.remove("/sbin/vgscan").file("/sbin/vgscan", "no program", 0644);
    machine.remove("/etc/mdfstab").directory("/etc/mdfstab");
    EXPECT_EQ(row("/sbin/vgscan")["found"], "wrong");
    EXPECT_EQ(row("/sbin/vgscan")["detail"], "it is no program that can be run");
    EXPECT_EQ(row("/etc/mdfstab")["found"], "wrong");
    EXPECT_THAT(run().out, HasSubstr("\nwrong  /sbin/vgscan: it is no program that can be run\n"));
}

TEST_F(Preflight, FindsToolsWithoutAPathWhereCommandsDo) {
    machine.remove("/bin/chattr").remove("/usr/bin/chattr");
    EXPECT_EQ(row("chattr")["found"], "missing");
    machine.tool("/usr/sbin/chattr").any();
    EXPECT_EQ(row("chattr")["detail"], "/usr/sbin/chattr");
}

TEST_F(Preflight, KnowsVersionsThatDoNotWork) {
    machine.remove("/sbin/mdadm").bind(ZAV_TEST_TOOL_VERSION, "/sbin/mdadm");
    machine.file("/etc/tool_version", "mdadm - v4.2 - 2021-12-30\n");
    EXPECT_EQ(row("/sbin/mdadm")["found"], "wrong");
    EXPECT_EQ(row("/sbin/mdadm")["lack"], "silent");
    EXPECT_EQ(row("/sbin/mdadm")["remedy"], "Install zavbox-tools, which has an adapter for it.");
    EXPECT_EQ(run().exit_status, 2);
    machine.file("/etc/tool_version", "mdadm - v2.6.9 - 2009-03-10\n");
    EXPECT_EQ(row("/sbin/mdadm")["found"], "present");
}

TEST_F(Preflight, TakesAScriptForAWrapper) {
    machine.remove("/sbin/mdadm").file("/sbin/mdadm", "#!/bin/sh\necho mdadm - v4.2\n", 0755);
    EXPECT_EQ(row("/sbin/mdadm")["found"], "present");
}

TEST_F(Preflight, TakesAnAdapterForTheProgram) {
    const std::string adapter = "/usr/lib/zavbox/tools/sbin/mdadm";
    machine.remove("/sbin/mdadm").bind(ZAV_TEST_TOOL_VERSION, "/sbin/mdadm");
    machine.file("/etc/tool_version", "mdadm - v4.2 - 2021-12-30\n");
    machine.file(adapter, "#!/bin/sh\n", 0755);
    EXPECT_EQ(row("/sbin/mdadm")["found"], "present");
    EXPECT_EQ(row("/sbin/mdadm")["detail"], adapter);

    machine.remove("/sbin/vgscan").symlink("mdadm", "/usr/lib/zavbox/tools/sbin/vgscan");
    EXPECT_EQ(row("/sbin/vgscan")["found"], "present");

    machine.remove(adapter).file(adapter, "no program", 0644);
    EXPECT_EQ(row("/sbin/mdadm")["detail"], "its adapter is no program that can be run");
}

TEST_F(Preflight, TellsOfAnAdapterThatIsNotUsed) {
    const std::string adapter = "/usr/lib/zavbox/tools/sbin/vgscan";
    machine.file(adapter, "#!/bin/sh\n", 0775);
    EXPECT_EQ(row("/sbin/vgscan")["detail"], "/sbin/vgscan");
    machine.remove("/sbin/vgscan");
    EXPECT_EQ(row("/sbin/vgscan")["found"], "wrong");
    EXPECT_EQ(row("/sbin/vgscan")["detail"],
              "its adapter is not used: it must be a file that only root can have made");
    machine.remove(adapter).symlink("/sbin/vgdisplay", adapter);
    EXPECT_EQ(row("/sbin/vgscan")["found"], "wrong");
}

TEST_F(Preflight, KnowsNoAdapterOfTheShellOrOfAProgramWithoutAPath) {
    machine.file("/usr/lib/zavbox/tools/bin/sh", "#!/bin/sh\n", 0755);
    machine.remove("/bin/chattr")
        .remove("/usr/bin/chattr")
        .file("/usr/lib/zavbox/tools/bin/chattr", "#!/bin/sh\n", 0755);
    EXPECT_EQ(row("/bin/sh")["detail"], "/bin/sh");
    EXPECT_EQ(row("chattr")["found"], "missing");
}

TEST_F(Preflight, TakesTheSlotsForTheControllersDirectory) {
    machine.remove("/proc/scsi").directory("/run/zavbox/mvSata");
    EXPECT_EQ(row("/proc/scsi/mvSata")["found"], "present");
    EXPECT_EQ(row("/proc/scsi/mvSata")["detail"], "/run/zavbox/mvSata");
    machine.directory("/run/zavbox", 0775);
    EXPECT_EQ(row("/proc/scsi/mvSata")["found"], "wrong");
    machine.remove("/run/zavbox");
    EXPECT_EQ(row("/proc/scsi/mvSata")["found"], "missing");
}

TEST_F(Preflight, AsksTheKernel) {
    machine.file("/proc/mdstat", "Personalities : [raid0]\n");
    machine.file("/proc/filesystems", "nodev\tproc\n\treiserfs\n");
    EXPECT_EQ(row("RAID 0")["found"], "present");
    EXPECT_EQ(row("RAID 5 and 6")["found"], "missing");
    EXPECT_EQ(row("XFS")["found"], "missing");
    EXPECT_EQ(row("ReiserFS")["found"], "unneeded");
}

TEST_F(Preflight, DependsOnTheModel) {
    machine.model("VEL7205P");
    EXPECT_EQ(row("mkfs.reiserfs")["found"], "present");
    EXPECT_EQ(row("/sbin/mkfs.xfs")["found"], "unneeded");
    EXPECT_EQ(row("/usr/local/bin/pwstate")["found"], "present");
    EXPECT_EQ(row("/usr/local/bin/xconf")["found"], "unneeded");
    EXPECT_EQ(json::parse(run({"--json"}).out)["model"], "VEL7205P");
}

TEST_F(Preflight, CanSayNothingOfWrongArguments) {
    EXPECT_EQ(run({"--bogus"}).exit_status, 3);
    EXPECT_EQ(run({"--check"}).exit_status, 3);
    EXPECT_EQ(run({"--json", "disks"}).exit_status, 3);
}

} // namespace
} // namespace zavinfo::test
