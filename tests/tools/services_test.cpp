// SPDX-License-Identifier: MIT
// The services as zavbox starts and stops them, over systemd.
#include "tools/services_root.h"

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Services : public testing::Test {
  public:
    Services() {
        root.recorded("/usr/bin/systemctl");
        root.recorded("/usr/sbin/exportfs");
    }

    Result script(const std::string& name, const std::string& action) {
        return root.run_tool(ServicesRoot::adapter("/etc/init.d/" + name), {action});
    }

    ServicesRoot root;
};

TEST_F(Services, SambaIsBothOfItsDaemons) {
    EXPECT_EQ(script("samba", "stop").exit_status, 0);
    EXPECT_EQ(script("samba", "start").exit_status, 0);
    EXPECT_THAT(root.calls(), ElementsAre("systemctl stop smbd.service nmbd.service",
                                          "systemctl reset-failed smbd.service nmbd.service",
                                          "systemctl start smbd.service nmbd.service"));
}

TEST_F(Services, TheFtpServerIsVsftpd) {
    EXPECT_EQ(script("vsftpd", "stop").exit_status, 0);
    EXPECT_EQ(script("vsftpd", "start").exit_status, 0);
    EXPECT_THAT(root.calls(), ElementsAre("systemctl stop vsftpd.service",
                                          "systemctl reset-failed vsftpd.service",
                                          "systemctl start vsftpd.service"));
}

TEST_F(Services, WhatIsNoLongerExportedIsGoneOnceNfsHasStarted) {
    EXPECT_EQ(script("nfs", "stop").exit_status, 0);
    EXPECT_EQ(script("nfs", "start").exit_status, 0);
    EXPECT_THAT(root.calls(), ElementsAre("systemctl stop nfs-server.service",
                                          "systemctl reset-failed nfs-server.service",
                                          "systemctl start nfs-server.service", "exportfs -ra"));
}

TEST_F(Services, ThatDoesNotStartIsAFailure) {
    root.tool("/usr/bin/systemctl").on_prefix("/usr/bin/systemctl start").exits(1);
    for (const char* service : {"samba", "nfs", "vsftpd"}) {
        EXPECT_EQ(script(service, "start").exit_status, 1) << service;
    }
    EXPECT_THAT(root.calls(), testing::Not(testing::Contains("exportfs -ra")));
}

// systemd refuses the sixth start within ten seconds; an unknown unit cannot be reset.
TEST_F(Services, StartAsOftenAsSharesAreMade) {
    root.tool("/usr/bin/systemctl").on_prefix("/usr/bin/systemctl reset-failed").exits(1);
    EXPECT_EQ(script("vsftpd", "start").exit_status, 0);
    EXPECT_THAT(root.calls(), ElementsAre("systemctl start vsftpd.service"));
}

TEST_F(Services, OnlyStartAndStop) {
    for (const char* service : {"samba", "nfs", "vsftpd", "iscsi-target"}) {
        const Result result = script(service, "restart");
        EXPECT_EQ(result.exit_status, 2) << service;
        EXPECT_THAT(result.err, HasSubstr("{start|stop}"));
    }
    EXPECT_THAT(root.calls(), IsEmpty());
}

class ServiceProcesses : public testing::Test {
  public:
    ServiceProcesses() {
        root.tool("/bin/busybox")
            .any()
            .does("echo \"busybox $*\" >>/calls")
            .prints("77\n")
            .optional();
    }

    void process(int pid, const std::string& file) {
        root.symlink(file, "/proc/" + std::to_string(pid) + "/exe");
    }

    Result pidof(const std::string& name) {
        return root.run_tool(ServicesRoot::adapter("/bin/busybox"), {"pidof", name});
    }

    ServicesRoot root;
};

TEST_F(ServiceProcesses, AreToldByTheFileThatTheyRun) {
    process(4000, "/usr/sbin/smbd");
    process(4100, "/usr/sbin/smbd");
    process(4200, "/usr/bin/dash"); // of a script named smbd
    const Result result = pidof("smbd");
    EXPECT_EQ(result.out, "4100 4000\n");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(root.calls(), IsEmpty());
}

TEST_F(ServiceProcesses, OfAnUpgradedPackageStillRun) {
    process(4000, "/usr/sbin/vsftpd (deleted)");
    EXPECT_EQ(pidof("vsftpd").out, "4000\n");
}

TEST_F(ServiceProcesses, ThatAreNotThereAreStatus1) {
    process(4000, "/usr/sbin/smbd-helper");
    for (const char* name : {"smbd", "nmbd", "vsftpd", "ietd"}) {
        const Result result = pidof(name);
        EXPECT_EQ(result.out, "") << name;
        EXPECT_EQ(result.exit_status, 1) << name;
    }
}

TEST_F(ServiceProcesses, OfTheIscsiTargetAreTgts) {
    process(4000, "/usr/sbin/tgtd");
    EXPECT_EQ(pidof("ietd").out, "4000\n");
}

// The kernel's threads run no file; the appliance's daemon is not here.
TEST_F(ServiceProcesses, OfOthersAreTheRealBusyboxs) {
    EXPECT_EQ(pidof("nfsd").out, "77\n");
    EXPECT_EQ(pidof("zav").out, "77\n");
    EXPECT_EQ(root.run_tool(ServicesRoot::adapter("/bin/busybox"), {"killall", "smbd"}).out,
              "77\n");
    EXPECT_THAT(root.calls(),
                ElementsAre("busybox pidof nfsd", "busybox pidof zav", "busybox killall smbd"));
}

} // namespace
} // namespace zav::test
