// SPDX-License-Identifier: MIT
// What is made once on a plain server, and what is left as it is.
#include "tools/services_root.h"

#include <sstream>

namespace zav::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Setup : public testing::Test {
  public:
    Setup() {
        const std::filesystem::path seeds = std::string(ZAV_TEST_TOOLS) + "/seed";
        for (const auto& one : std::filesystem::recursive_directory_iterator(seeds)) {
            const std::string path = "/" + one.path().lexically_relative(seeds).string();
            if (one.is_regular_file()) {
                root.bind(one.path(), "/usr/share/zavbox/seed" + path);
                root.remove(path);
            }
        }
        root.file(passwd, "root:x:0:0:root:/root:/bin/sh\n");
        root.remove("/home/ftpuser");
        root.file("/etc/mdadm/mdadm.conf.d/zavbox.conf", "PROGRAM /usr/sbin/zavbox-md-event\n");
        root.tool("/usr/sbin/useradd")
            .any()
            .does("echo 'ftpuser:x:900:900::/home/ftpuser:/bin/sh' >>/etc/passwd")
            .optional();
        root.tool("/usr/sbin/modprobe").any().does("mkdir -p /dev; : >/dev/ram2").optional();
        root.recorded("/usr/bin/systemctl");
        root.tool("/usr/bin/zavinfo").any().prints("Nothing is missing.\n").optional();
        root.file("/usr/sbin/sendmail", "", 0755);
    }

    Result setup(const std::vector<std::string>& arguments = {}) {
        return root.run_tool("/usr/sbin/zavbox-setup", arguments);
    }

    ServicesRoot root;
};

TEST_F(Setup, MakesWhatIsMissingOnceAndIsContent) {
    const Result first = setup();
    EXPECT_EQ(first.exit_status, 0) << first.out << first.err;
    EXPECT_THAT(first.out, HasSubstr("made: /etc/mdfstab\n"));
    EXPECT_THAT(root.read("/etc/sys_info"), HasSubstr("type = GENERIC"));
    EXPECT_THAT(root.read(ftp_template), HasSubstr("write_enable=YES"));
    EXPECT_EQ(root.read(targets), "");
    EXPECT_EQ(root.mode(targets), 0600u);
    EXPECT_EQ(root.mode("/etc/mdfstab"), 0644u);
    EXPECT_TRUE(root.exists("/dev/ram2"));
    EXPECT_THAT(root.read(passwd), HasSubstr("ftpuser:"));
    const Snapshot before = root.snapshot();
    const Result second = setup();
    EXPECT_EQ(second.exit_status, 0);
    EXPECT_EQ(second.out, "");
    EXPECT_THAT(before.changes_to(root.snapshot()), IsEmpty());
    EXPECT_EQ(setup({"--check"}).out, "Nothing is missing.\n");
}

TEST_F(Setup, OnlyTellsWithCheck) {
    const Snapshot before = root.snapshot();
    const Result result = setup({"--check"});
    EXPECT_EQ(result.exit_status, 1);
    for (const char* what : {"/etc/mdfstab", "/etc/ietd.conf", "/etc/sys_info", "the user ftpuser",
                             "/etc/samba/smb.conf with a global part alone", "RAM disks"}) {
        EXPECT_THAT(result.out, HasSubstr(std::string("missing: ") + what + "\n"));
    }
    EXPECT_THAT(result.out, HasSubstr("Nothing is missing.\n")); // of zavinfo
    EXPECT_THAT(before.changes_to(root.snapshot()), IsEmpty());
}

TEST_F(Setup, LeavesTheAdministratorsFilesAlone) {
    root.file("/etc/mdfstab", "/dev/g/p /mnt/g/p xfs defaults 0 0\n");
    root.file("/etc/nas_base.conf", "[product]\ntype = KOR7206H\n");
    root.file(smb_conf, "[global]\n   workgroup = HOME\n");
    EXPECT_EQ(setup().exit_status, 0);
    EXPECT_EQ(root.read("/etc/mdfstab"), "/dev/g/p /mnt/g/p xfs defaults 0 0\n");
    EXPECT_FALSE(root.exists("/etc/sys_info"));
    EXPECT_EQ(root.read(smb_conf), "[global]\n   workgroup = HOME\n");
}

TEST_F(Setup, ReplacesSambasFileOnlyWhileItIsThePackages) {
    const std::string shipped = "[global]\n[homes]\n;   comment = Home Directories\n";
    root.file(smb_conf, shipped);
    root.file("/var/lib/ucf/hashfile", "00000000000000000000000000000000  /etc/samba/smb.conf\n");
    const Result result = setup();
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_THAT(result.out, HasSubstr("to do: /etc/samba/smb.conf has sections of its own"));
    EXPECT_EQ(root.read(smb_conf), shipped);

    root.file("/sum",
              "#!/.harness/busybox sh\n"
              "md5sum /etc/samba/smb.conf >/var/lib/ucf/hashfile\n",
              0755);
    root.run_tool("/sum");
    EXPECT_EQ(setup().exit_status, 0);
    EXPECT_THAT(root.read(smb_conf), Not(HasSubstr("[homes]")));
    EXPECT_EQ(root.read("/etc/samba/smb.conf.before-zavbox"), shipped);
}

TEST_F(Setup, IsContentWithTheSharesThatZavboxWrote) {
    root.file(smb_conf, std::string(samba_global) + samba_section("pub", "/mnt/data/pub"));
    root.file(share_register, register_section({}));
    EXPECT_EQ(setup().exit_status, 0);
    EXPECT_THAT(root.read(smb_conf), HasSubstr("[pub]"));
}

TEST_F(Setup, TellsThatAnotherProgramGetsTheEvents) {
    root.file("/etc/mdadm/mdadm.conf", "PROGRAM /usr/local/sbin/mine\n");
    const Result result = setup();
    EXPECT_EQ(result.exit_status, 1);
    EXPECT_THAT(result.out, HasSubstr("to do: PROGRAM in mdadm.conf"));
}

} // namespace
} // namespace zav::test
