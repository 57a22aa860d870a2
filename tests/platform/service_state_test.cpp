// SPDX-License-Identifier: MIT
// The probes: the process that each looks for, and the meaning of each answer.
#include "fixtures/status_root.h"
#include "zav/service_state.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char busybox[] = "/bin/busybox";

struct Probe {
    int (*probe)();
    const char* process;
    const char* file; // its temporary file
};

// Samba takes two probes and has its own tests.
const std::vector<Probe> probes = {
    {zav_status_get, "zav", "/tmp/zav_status.XXXXXX"},
    {nfs_status_get, "nfsd", "/tmp/nfs_status.XXXXXX"},
    {ftp_status_get, "vsftpd", "/tmp/ftp_status.XXXXXX"},
    {iscsi_status_get, "ietd", "/tmp/iscsi_status.XXXXXX"},
};

std::string pidof(const std::string& process, const std::string& file) {
    return "/bin/busybox pidof " + process + " > " + file + " 2>> /dev/null";
}

class ServiceState : public testing::Test {
  protected:
    // The answer of pidof to every call.
    Rule pidof_answers() { return root.tool(busybox).any(); }
    int state(int (*probe)(), const RunOptions& options = {}) {
        run = root.call(probe, options);
        EXPECT_THAT(root.tmp(), IsEmpty());
        EXPECT_EQ(run.out, "");
        return run.returned;
    }
    // The state for a file with this content.
    int state_of(const std::string& content) {
        root.file("/tmp/state", content);
        return root.call([] { return share_status_get("/tmp/state"); }).returned;
    }
    StatusRoot root;
    Result run;
};

TEST_F(ServiceState, IsAskedOfPidof) {
    pidof_answers().prints("812\n");
    for (const Probe& probe : probes) {
        EXPECT_EQ(state(probe.probe), 0) << probe.process;
        EXPECT_THAT(run.commands_with_templates(), ElementsAre(pidof(probe.process, probe.file)));
    }
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(ServiceState, OfSambaIsThatOfBothDaemons) {
    root.tool(busybox).on("/bin/busybox pidof smbd").replays("pidof_smbd");
    root.tool(busybox).on("/bin/busybox pidof nmbd").replays("pidof_nmbd");
    EXPECT_EQ(state(samba_status_get), 0);
    EXPECT_THAT(run.commands_with_templates(),
                ElementsAre(pidof("smbd", "/tmp/smb_status.XXXXXX"),
                            pidof("nmbd", "/tmp/smb_status.XXXXXX")));
    root.expect_all_used();
}

TEST_F(ServiceState, OfSambaIsStoppedWithoutItsNameDaemon) {
    root.tool(busybox).on("/bin/busybox pidof smbd").prints("812\n");
    root.tool(busybox).on("/bin/busybox pidof nmbd").exits(1);
    EXPECT_EQ(state(samba_status_get), -11000);
    EXPECT_EQ(run.commands.size(), 2U);
}

TEST_F(ServiceState, OfSambaIsNotAskedFurtherWithoutItsFileDaemon) {
    root.tool(busybox).on("/bin/busybox pidof smbd").exits(1);
    EXPECT_EQ(state(samba_status_get), -11000);
    EXPECT_EQ(run.commands.size(), 1U);
}

TEST_F(ServiceState, OfSambaIsThatOfTheSecondDaemon) {
    root.tool(busybox).on("/bin/busybox pidof smbd").prints("812\n");
    root.tool(busybox).on("/bin/busybox pidof nmbd");
    EXPECT_EQ(state(samba_status_get), -1011);
}

TEST_F(ServiceState, IsReadFromTheRealTool) {
    for (const auto& [probe, capture] : std::vector<std::pair<int (*)(), const char*>>{
             {nfs_status_get, "pidof_nfsd"}, {ftp_status_get, "pidof_vsftpd"}}) {
        root.tool(busybox).replays(capture);
        EXPECT_EQ(state(probe), 0) << capture;
    }
    root.expect_all_used();
}

// A service that is switched off is asked about as often as any other, and the log keeps little.
TEST_F(ServiceState, OfAStoppedServiceLeavesTheLogAlone) {
    pidof_answers().exits(1);
    for (const Probe& probe : probes) {
        EXPECT_EQ(state(probe.probe), -11000) << probe.process;
    }
    EXPECT_EQ(state(samba_status_get), -11000);
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(ServiceState, IsStoppedWhenPidofFails) {
    const auto logged = [](const std::string& process, const std::string& end) {
        return AllOf(StartsWith("system(\"/bin/busybox pidof " + process + " > /tmp/"),
                     testing::HasSubstr("\") return " + end + " for '"), EndsWith("'"));
    };
    for (const Probe& probe : probes) {
        root.remove("/var/log/log.libzav");
        pidof_answers().exits(2);
        EXPECT_EQ(state(probe.probe), -11000);
        pidof_answers().prints("812\n").killed_by(SIGKILL);
        EXPECT_EQ(state(probe.probe), -11000);
        root.remove(busybox);
        EXPECT_EQ(state(probe.probe), -11000);
        EXPECT_THAT(root.log_texts(), ElementsAre(logged(probe.process, "normal with exit(2)"),
                                                  logged(probe.process, "unnormal with exit(0)"),
                                                  logged(probe.process, "normal with exit(127)")));
    }
}

// It says that there is none, and prints one: a tool that failed.
TEST_F(ServiceState, IsStoppedAndLoggedWhenPidofFailsAfterItsAnswer) {
    pidof_answers().prints("812\n").exits(1);
    EXPECT_EQ(state(nfs_status_get), -11000);
    EXPECT_THAT(root.log_texts(), ElementsAre(testing::HasSubstr("return normal with exit(1)")));
}

TEST_F(ServiceState, IsUnknownWhenPidofPrintsNothing) {
    pidof_answers();
    for (const Probe& probe : probes) {
        root.remove("/var/log/log.libzav");
        EXPECT_EQ(state(probe.probe), -1011);
        EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("share_status_get", -1011, ".*")));
    }
}

TEST_F(ServiceState, IsUnknownWhenTheOutputIsGone) {
    pidof_answers().does("rm -f /tmp/nfs_status.*");
    EXPECT_EQ(state(nfs_status_get), -1011);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failure_line("share_status_get", -1011, "No such file or directory")));
}

TEST_F(ServiceState, IsStoppedWithoutAPlaceForTheOutput) {
    pidof_answers().prints("812\n").optional();
    root.read_only("/tmp");
    EXPECT_EQ(state(nfs_status_get), -11000);
}

TEST_F(ServiceState, IsRunningForAnyNumber) {
    for (const char* content : {"812\n", "812", "0\n", "812 813 814\n", "  812\n", "812\n-1\n",
                                "18446744073709551614\n"}) {
        EXPECT_EQ(state_of(content), 0) << content;
    }
}

TEST_F(ServiceState, IsRunningForWhatIsNoNumber) {
    for (const char* content : {"x\n", "\n", "\n18446744073709551615\n", " \n", "- 1\n"}) {
        EXPECT_EQ(state_of(content), 0) << content;
    }
}

TEST_F(ServiceState, IsAFailureForTheLargestNumber) {
    for (const std::string& content :
         {std::string("18446744073709551615\n"), std::string("-1"), std::string("-1 812\n"),
          std::string("18446744073709551616 0\n"), std::string(40, '9')}) {
        EXPECT_EQ(state_of(content), -1) << content;
    }
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST_F(ServiceState, IsInTheFirst63Characters) {
    EXPECT_EQ(state_of(std::string(62, ' ') + "-1\n"), 0); // only "-" is read
    EXPECT_EQ(state_of(std::string(61, ' ') + "-1\n"), -1);
}

TEST_F(ServiceState, IsUnknownForAnEmptyFile) {
    EXPECT_EQ(state_of(""), -1011);
    EXPECT_THAT(root.log_texts(), ElementsAre(failure_line("share_status_get", -1011, ".*")));
}

TEST_F(ServiceState, IsUnknownForWhatIsNoFile) {
    for (const char* path : {"/tmp/none", "/tmp", "/etc/state"}) {
        root.file("/etc/state", "812\n").read_only("/etc"); // not writable
        EXPECT_EQ(root.call([path] { return share_status_get(path); }).returned, -1011) << path;
    }
    EXPECT_EQ(root.log().size(), 3U);
}

} // namespace
} // namespace zav::test
