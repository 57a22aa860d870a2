// SPDX-License-Identifier: MIT
// What a restart brings back: mounts, the names of arrays, and the end of what was interrupted.
#include "base/change_journal.h"
#include "tools/services_root.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Restart : public testing::Test {
  public:
    Restart() {
        for (const char* table : {mdfstab, netfstab}) {
            root.file(table, "");
        }
        const std::string tools = ZAV_TEST_TOOLS;
        root.bind(tools + "/systemd/zavbox-mounts", "/generator");
        root.bind(tools + "/initramfs/zavbox", "/hook");
        root.bind("/usr/bin/systemd-escape", "/usr/bin/systemd-escape");
        root.recorded("/usr/bin/systemctl");
        root.recorded("/usr/sbin/update-initramfs");
        for (const char* path : {"/normal", "/early", late}) {
            root.directory(path);
        }
    }

    void generate() {
        const Result result = root.run({"/normal", "/early", late}, ServicesRoot::as("/generator"));
        EXPECT_EQ(result.exit_status, 0) << result.err;
        EXPECT_THAT(root.list("/normal"), IsEmpty());
    }

    std::string unit(const std::string& name) { return root.read(std::string(late) + "/" + name); }

    void array(const std::string& name, const std::string& uuid) {
        root.file("/sys/block/" + name + "/md/array_state", "clean\n");
        root.tool("/sbin/mdadm")
            .on("/sbin/mdadm --detail --export /dev/" + name)
            .prints("MD_LEVEL=raid5\nMD_DEVICES=3\nMD_UUID=" + uuid + "\nMD_NAME=nas:1\n")
            .optional();
    }

    Result keep_names() { return root.run_tool("/usr/lib/zavbox/arrays"); }

    std::string lines() const { return root.exists(kept) ? root.read(kept) : ""; }

    static constexpr auto late = "/late";
    static constexpr auto kept = "/etc/mdadm/mdadm.conf.d/zavbox-arrays.conf";
    static constexpr auto heading =
        "# Made by zavbox-tools: the names of the arrays. What is changed here is lost.\n";
    WithTools<Machine> root;
};

TEST_F(Restart, MountsPoolsAndNetworkDisks) {
    root.file("/etc/mdfstab", "/dev/data/pub\t/mnt/data/pub\txfs\tdefaults\t0 0\n"
                              "/dev/data/f-t\t/home/ftpuser/f-t\txfs\tnoatime\t0 0");
    root.file("/etc/netfstab", "LABEL=disk1\t/mnt/netdisk/disk1\txfs\tdefaults\t0 0\n");
    generate();
    EXPECT_EQ(unit("mnt-data-pub.mount"),
              "# Made of /etc/mdfstab by zavbox-mounts.\n[Unit]\nSourcePath=/etc/mdfstab\n"
              "After=zavbox-recover.service\nBefore=zavbox-mounts.target smbd.service "
              "nmbd.service nfs-server.service vsftpd.service tgt.service\n\n"
              "[Mount]\nWhat=/dev/data/pub\nWhere=/mnt/data/pub\nType=xfs\nOptions=nofail\n");
    EXPECT_THAT(unit("home-ftpuser-f\\x2dt.mount"), HasSubstr("Options=noatime,nofail\n"));
    EXPECT_THAT(unit("mnt-netdisk-disk1.mount"), HasSubstr("What=/dev/disk/by-label/disk1\n"));
    EXPECT_THAT(
        root.list("/late/zavbox-mounts.target.wants"),
        ElementsAre("home-ftpuser-f\\x2dt.mount", "mnt-data-pub.mount", "mnt-netdisk-disk1.mount"));
    EXPECT_THAT(root.list("/late/multi-user.target.wants"), ElementsAre("zavbox-mounts.target"));
    EXPECT_THAT(root.list(late), Not(testing::Contains("local-fs.target.wants")));
}

TEST_F(Restart, PassesOverWhatIsNoMount) {
    root.file("/etc/mdfstab",
              "# a comment\n\n/dev/data/a /mnt/a%n xfs defaults\nproc /proc proc x\n"
              "/dev/data/a relative xfs defaults\n");
    root.remove("/etc/netfstab");
    generate();
    EXPECT_THAT(root.list("/late/zavbox-mounts.target.wants"), IsEmpty());
}

TEST_F(Restart, FindsArraysUnderTheirNames) {
    array("md1", "11111111:00000000:00000000:0000000a");
    array("md10", "22222222:00000000:00000000:0000000a");
    EXPECT_EQ(keep_names().exit_status, 0);
    EXPECT_EQ(lines(), std::string(heading) +
                           "ARRAY /dev/md1 UUID=11111111:00000000:00000000:0000000a\n"
                           "ARRAY /dev/md10 UUID=22222222:00000000:00000000:0000000a\n");
    EXPECT_EQ(keep_names().exit_status, 0);
    EXPECT_THAT(root.calls(), ElementsAre("update-initramfs -u"));
}

TEST_F(Restart, KeepsTheNameOfAnArrayUntilAnotherHasIt) {
    array("md1", "11111111:00000000:00000000:0000000a");
    array("md2", "22222222:00000000:00000000:0000000a");
    keep_names();
    root.remove("/sys/block/md1").remove("/sys/block/md2");
    array("md2", "33333333:00000000:00000000:0000000a");
    keep_names();
    EXPECT_EQ(lines(), std::string(heading) +
                           "ARRAY /dev/md1 UUID=11111111:00000000:00000000:0000000a\n"
                           "ARRAY /dev/md2 UUID=33333333:00000000:00000000:0000000a\n");
}

TEST_F(Restart, LeavesArraysToTheAdministratorsFile) {
    root.file("/etc/mdadm/mdadm.conf",
              "ARRAY /dev/md/home metadata=1.2 uuid=11111111.00000000.00000000.0000000A name=x\n");
    array("md1", "11111111:00000000:00000000:0000000a");
    keep_names();
    EXPECT_THAT(lines(), Not(HasSubstr("ARRAY")));
}

TEST_F(Restart, HasOneLineForEachArrayInTheInitialRamDisk) {
    const std::string line = "ARRAY /dev/md1 UUID=11111111:00000000:00000000:0000000a\n";
    root.file(kept, heading + line);
    root.file("/image/etc/mdadm/mdadm.conf",
              "HOMEHOST <system>\n"
              "ARRAY /dev/md/1  metadata=1.2 UUID=11111111:00000000:00000000:0000000A name=nas:1\n"
              "ARRAY /dev/md/other UUID=22222222:00000000:00000000:0000000a\n");
    RunOptions options = ServicesRoot::as("/hook");
    options.environment["DESTDIR"] = "/image";
    EXPECT_EQ(root.run({}, options).exit_status, 0);
    EXPECT_EQ(root.read("/image/etc/mdadm/mdadm.conf"),
              "HOMEHOST <system>\nARRAY /dev/md/other UUID=22222222:00000000:00000000:0000000a\n");
    EXPECT_EQ(root.read(std::string("/image") + kept), heading + line);
    EXPECT_EQ(root.run({"prereqs"}, options).out, "mdadm\n");
}

// A register that was being replaced when the power went: its journal has what it was to become.
TEST_F(Restart, FinishesWhatACommandCouldNotAndMountsByIt) {
    const std::string before = "/dev/data/a\t/mnt/data/a\txfs\tdefaults\t0 0\n";
    const std::string after = before + "/dev/data/b\t/mnt/data/b\txfs\tdefaults\t0 0\n";
    const JournalEntry entry = {mdfstab, after, before};
    root.file(mdfstab, before);
    root.file(journal_path(mdfstab), journal_text({&entry, 1}), 0640);
    const Result result = root.run_tool("/usr/sbin/zavbox-recover");
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(root.read(mdfstab), after);
    EXPECT_FALSE(root.exists(journal_path(mdfstab)));
    EXPECT_THAT(root.calls(), ElementsAre("systemctl daemon-reload",
                                          "systemctl --no-block start zavbox-mounts.target"));
}

TEST_F(Restart, RunsNoToolWhenNothingWasInterrupted) {
    const Result result = root.run_tool("/usr/sbin/zavbox-recover");
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(root.calls(), IsEmpty());
    EXPECT_EQ(root.read("/run/sys_state"), "[status]\npower = on\n");
    EXPECT_TRUE(root.exists("/etc/nas_start_time.conf"));
}

TEST_F(Restart, SaysThatAChangeCouldNotBeFinished) {
    root.file("/etc/.mdfstab.zav", "no journal");
    EXPECT_EQ(root.run_tool("/usr/sbin/zavbox-recover").exit_status, 1);
    EXPECT_THAT(root.logged(), ElementsAre(HasSubstr("/etc/.mdfstab.zav")));
}

} // namespace
} // namespace zav::test
