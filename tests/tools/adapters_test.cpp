// SPDX-License-Identifier: MIT
// The adapters of mdadm, LVM and the tools that repair file systems. The stand-ins answer as the
// real programs of Debian 12 did: what zavbox runs fails without its adapter, and does with it what
// is meant.
#include "tools/tools_root.h"

#include <ostream>

namespace zav::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

struct Adapted {
    std::string name;
    std::string adapter;                // the program that zavbox runs
    std::vector<std::string> arguments; // as zavbox gives them
    std::string without;                // what the real program answered to these
    std::string becomes;                // what the adapter runs instead
    std::string with;                   // and what the real program answered to that
    std::string failure;                // how it can be told that it did not work, if not by 0
};

void PrintTo(const Adapted& one, std::ostream* out) {
    *out << one.name;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += " " + word;
    }
    return text;
}

class Adapters : public testing::TestWithParam<Adapted> {
  public:
    ToolsRoot root;
    std::string real = "/usr/sbin" + GetParam().adapter.substr(GetParam().adapter.rfind('/'));
};

TEST_P(Adapters, AreNeeded) {
    const Adapted& one = GetParam();
    const std::string command = real + joined(one.arguments);
    root.tool(real).on(command).replays(one.without);
    const Result result = root.bare(command);
    if (one.failure.empty()) {
        EXPECT_NE(result.exit_status, 0);
    } else {
        EXPECT_THAT(result.out + result.err, HasSubstr(one.failure));
    }
}

TEST_P(Adapters, RunWhatIsMeant) {
    const Adapted& one = GetParam();
    root.tool(real).on(real + " " + one.becomes).replays(one.with);
    const Result result = root.adapter(one.adapter, one.arguments);
    EXPECT_EQ(result.exit_status, 0) << result.err;
    root.expect_all_used();
}

const std::string uuid = "CDjztj-qvia-rOJR-kd3q-YCO7-ds4T-juaMyj";

INSTANTIATE_TEST_SUITE_P(Of, Adapters,
                         testing::Values(Adapted{"PvcreateOverAnOldSignature",
                                                 "/sbin/pvcreate",
                                                 {"/dev/md0"},
                                                 "pvcreate_old_signature",
                                                 "--yes /dev/md0",
                                                 "pvcreate_old_signature_yes",
                                                 ""},
                                         Adapted{"PvcreateWithAUuid",
                                                 "/sbin/pvcreate",
                                                 {"-u", uuid, "/dev/ram2"},
                                                 "recov_pvcreate_u_plain",
                                                 "--yes --norestorefile -u " + uuid + " /dev/ram2",
                                                 "pvcreate_uuid_norestorefile",
                                                 ""},
                                         Adapted{"VgcfgrestoreOfAnActiveGroup",
                                                 "/sbin/vgcfgrestore",
                                                 {"g"},
                                                 "vgcfgrestore_active",
                                                 "--yes g",
                                                 "vgcfgrestore_active_yes",
                                                 ""},
                                         Adapted{"LvcreateOverAnOldSignature",
                                                 "/sbin/lvcreate",
                                                 {"-L", "1G", "-n", "p", "g"},
                                                 "lvcreate_old_signature",
                                                 "--yes --wipesignatures y -L 1G -n p g",
                                                 "lvcreate_old_signature_yes",
                                                 ""},
                                         Adapted{"ReiserfsckOfAHealthyFileSystem",
                                                 "/sbin/reiserfsck",
                                                 {"--fix-fixable", "-y", "/dev/vg1/pr"},
                                                 "reiserfsck_fix",
                                                 "--fix-fixable -y /dev/vg1/pr",
                                                 "reiserfsck_fix",
                                                 ""}),
                         [](const auto& one) { return one.param.name; });

// mdadm

class MdadmAdapter : public testing::Test {
  public:
    Result mdadm(const std::vector<std::string>& arguments) {
        return root.adapter("/sbin/mdadm", arguments);
    }
    Tool real() { return root.tool("/usr/sbin/mdadm"); }
    ToolsRoot root;
};

TEST_F(MdadmAdapter, IsNeededAsTheShortFormOfRemovingDoesNothing) {
    real()
        .on("/usr/sbin/mdadm --manage /dev/md1 -r /dev/sdb")
        .replays("mdadm_remove_faulty_short_r");
    const Result result = root.bare("/usr/sbin/mdadm --manage /dev/md1 -r /dev/sdb");
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.err, "") << "nothing is hot removed";
}

TEST_F(MdadmAdapter, RemovesByTheLongForm) {
    real()
        .on("/usr/sbin/mdadm --manage /dev/md1 --remove /dev/sdb")
        .replays("mdadm_remove_faulty_long");
    const Result result = mdadm({"--manage", "/dev/md1", "-r", "/dev/sdb"});
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(result.err, HasSubstr("hot removed /dev/sdb from /dev/md1"));
}

TEST_F(MdadmAdapter, TriesAgainWhileADiskThatHasJustFailedIsBusy) {
    root.file("/sys/block/md1/md/dev-sdb/state", "faulty,blocked\n");
    real().on("/usr/sbin/mdadm --manage /dev/md1 --remove /dev/sdb").exits(1).then().exits(0);
    EXPECT_EQ(mdadm({"--manage", "/dev/md1", "-r", "/dev/sdb"}).exit_status, 0);
    root.expect_all_used();
}

TEST_F(MdadmAdapter, DoesNotInsistOnRemovingADiskInUse) {
    root.file("/sys/block/md1/md/dev-sdb/state", "in_sync\n");
    real().on("/usr/sbin/mdadm --manage /dev/md1 --remove /dev/sdb").exits(1).once();
    EXPECT_EQ(mdadm({"--manage", "/dev/md1", "-r", "/dev/sdb"}).exit_status, 1);
}

TEST_F(MdadmAdapter, MakesALinearArrayLonger) {
    root.file("/sys/block/md1/md/level", "linear\n");
    real().on("/usr/sbin/mdadm --grow /dev/md1 --add /dev/sdb");
    EXPECT_EQ(mdadm({"--manage", "/dev/md1", "--add", "/dev/sdb"}).exit_status, 0);
    root.expect_all_used();
}

TEST_F(MdadmAdapter, GivesLargeMirrorsABitmap) {
    const std::vector<std::string> mirror = {"-C", "/dev/md1", "-l",       "1",       "-n",
                                             "2",  "-R",       "/dev/sda", "/dev/sdb"};
    const std::string command = "/usr/sbin/mdadm -C /dev/md1 -l 1 -n 2 -R /dev/sda /dev/sdb";
    root.disk("sdb");
    root.file("/sys/block/sdb/size", "209715200\n"); // 100 GiB
    real().on(command).exits(5);
    EXPECT_EQ(mdadm(mirror).exit_status, 5);
    root.file("/sys/block/sdb/size", "209715208\n");
    real().on(command + " --bitmap=internal").exits(6);
    EXPECT_EQ(mdadm(mirror).exit_status, 6);
    const std::string stripe = "/usr/sbin/mdadm -C /dev/md1 -l 0 -n 2 -R /dev/sda /dev/sdb";
    real().on(stripe).exits(7);
    EXPECT_EQ(
        mdadm({"-C", "/dev/md1", "-l", "0", "-n", "2", "-R", "/dev/sda", "/dev/sdb"}).exit_status,
        7);
    const std::string with = "/usr/sbin/mdadm -C --bitmap=internal --bitmap-chunk=16384 /dev/md1 "
                             "-l 5 -n 2 -R /dev/sda /dev/sdb";
    real().on(with).exits(8);
    EXPECT_EQ(mdadm({"-C", "--bitmap=internal", "--bitmap-chunk=16384", "/dev/md1", "-l", "5", "-n",
                     "2", "-R", "/dev/sda", "/dev/sdb"})
                  .exit_status,
              8);
}

TEST_F(MdadmAdapter, PassesTheRestOnAsItIs) {
    for (const char* arguments : {"--detail /dev/md1", "-E /dev/sda", "-S /dev/md1",
                                  "/dev/md1 -f /dev/sda", "--manage /dev/md1 --add /dev/sdb",
                                  "-C /dev/md1 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc"}) {
        real().on(std::string("/usr/sbin/mdadm ") + arguments).exits(3);
    }
    EXPECT_EQ(mdadm({"--detail", "/dev/md1"}).exit_status, 3);
    EXPECT_EQ(mdadm({"-E", "/dev/sda"}).exit_status, 3);
    EXPECT_EQ(mdadm({"-S", "/dev/md1"}).exit_status, 3);
    EXPECT_EQ(mdadm({"/dev/md1", "-f", "/dev/sda"}).exit_status, 3);
    EXPECT_EQ(mdadm({"--manage", "/dev/md1", "--add", "/dev/sdb"}).exit_status, 3);
    EXPECT_EQ(
        mdadm({"-C", "/dev/md1", "-l", "5", "-n", "3", "-R", "/dev/sda", "/dev/sdb", "/dev/sdc"})
            .exit_status,
        3);
    root.expect_all_used();
}

const std::vector<std::string> in_foreground = {
    "-C", "/dev/md1", "--fg-init", "-l", "5", "-n", "3", "-R", "/dev/sda", "/dev/sdb", "/dev/sdc"};
const std::string create = "/usr/sbin/mdadm -C /dev/md1 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc";

TEST_F(MdadmAdapter, IsNeededAsThereIsNoInitialisationInTheForeground) {
    const std::string command = "/usr/sbin/mdadm" + joined(in_foreground);
    real().on(command).replays("mdadm_create_fginit");
    EXPECT_EQ(root.bare(command).exit_status, 2);
}

TEST_F(MdadmAdapter, WaitsInTheForegroundUntilTheArrayIsInSync) {
    root.file("/sys/block/md1/md/degraded", "1\n");
    root.file("/sys/block/md1/md/resync_start", "0\n");
    real().on(create);
    real()
        .on("/usr/sbin/mdadm --wait /dev/md1")
        .exits(1) // the sync has not begun
        .then()
        .does("echo 0 >/sys/block/md1/md/degraded; echo none >/sys/block/md1/md/resync_start");
    const Result result = mdadm(in_foreground);
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(root.read("/sys/block/md1/md/degraded"), "0\n");
    root.expect_all_used();
}

TEST_F(MdadmAdapter, DoesNotWaitForALevelWithoutRedundancy) {
    real().on("/usr/sbin/mdadm -C /dev/md1 -l 0 -n 2 -R /dev/sda /dev/sdb");
    EXPECT_EQ(
        mdadm({"-C", "/dev/md1", "--fg-init", "-l", "0", "-n", "2", "-R", "/dev/sda", "/dev/sdb"})
            .exit_status,
        0);
    root.expect_all_used();
}

TEST_F(MdadmAdapter, DoesNotWaitForAnArrayThatWasNotCreated) {
    real().on(create).exits(2);
    EXPECT_EQ(mdadm(in_foreground).exit_status, 2);
}

// xfs_repair

class XfsRepairAdapter : public testing::Test {
  public:
    XfsRepairAdapter() {
        // The namespace is the real program's business: here it is the same.
        root.tool("/usr/bin/unshare").any().does("shift 3; exec /bin/sh -c \"$@\"");
        root.tool("/bin/umount").any().does("echo umount >>/done").as_default();
    }
    Rule mount() { return root.tool("/bin/mount").any(); }
    Rule repair(const std::string& arguments) {
        return root.tool("/usr/sbin/xfs_repair").on("/usr/sbin/xfs_repair " + arguments);
    }
    Result run() { return root.adapter(program, {"-L", "/dev/g/p"}); }
    std::string done() { return root.exists("/done") ? root.read("/done") : ""; }

    ToolsRoot root;
    std::string program = "/sbin/xfs_repair";
};

TEST_F(XfsRepairAdapter, IsNeededAsTheLogIsThrownAway) {
    repair("-L /dev/g/p").replays("xfs_repair_L_dirty_log");
    EXPECT_THAT(root.bare("/usr/sbin/xfs_repair -L /dev/g/p").err,
                HasSubstr("valuable metadata changes in a log which is being\ndestroyed"));
}

TEST_F(XfsRepairAdapter, ReplaysTheLogByAMountAndKeepsIt) {
    for (const char* path : {"/sbin/xfs_repair", "/usr/local/bin/xfs_repair"}) {
        root.remove("/done");
        mount().does("echo mount >>/done");
        repair("/dev/g/p").does("echo repair >>/done");
        program = path;
        EXPECT_EQ(run().exit_status, 0);
        EXPECT_EQ(done(), "mount\numount\nrepair\n");
    }
    EXPECT_THAT(root.list("/run"), testing::ElementsAre("lock"));
}

TEST_F(XfsRepairAdapter, ThrowsTheLogAwayOfWhatCannotBeMounted) {
    mount().exits(32);
    repair("-L /dev/g/p").does("echo repair >>/done").exits(1);
    EXPECT_EQ(run().exit_status, 1);
    EXPECT_EQ(done(), "repair\n");
    EXPECT_THAT(root.list("/run"), testing::ElementsAre("lock"));
}

TEST_F(XfsRepairAdapter, ThrowsTheLogAwayThatAMountLeftDirty) {
    mount();
    repair("/dev/g/p").replays("xfs_repair_dirty_log");
    repair("-L /dev/g/p");
    EXPECT_EQ(run().exit_status, 0);
    root.expect_all_used();
}

TEST_F(XfsRepairAdapter, TellsThatARepairFailed) {
    mount();
    repair("/dev/g/p").exits(1);
    EXPECT_EQ(run().exit_status, 1);
}

// reiserfsck

TEST(ReiserfsckAdapter, TellsWhatCouldNotBeMended) {
    for (const char* path : {"/sbin/reiserfsck", "/usr/local/bin/reiserfsck"}) {
        ToolsRoot root;
        root.tool("/usr/sbin/reiserfsck").any().exits(4);
        EXPECT_EQ(root.adapter(path, {"--fix-fixable", "-y", "/dev/g/p"}).exit_status, 4);
    }
}

} // namespace
} // namespace zav::test
