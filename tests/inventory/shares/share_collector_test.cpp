// SPDX-License-Identifier: MIT
// The list of all shares, collected from the register, the services' files and the kernel.
#include "fixtures/library.h"
#include "fixtures/share_machine.h"
#include "inventory/shares.h"

#include <csignal>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

constexpr auto volumes = "/proc/net/iet/volume";
constexpr auto reads_targets = "cat /etc/ietd.conf > /tmp/iscsi.XXXXXX";

void show(const share_info& share) {
    std::printf("%s|%s|%s|%s|%d|%lld|%lld|%s|%s\n", share.name.c_str(), share.type.c_str(),
                share.path.c_str(), share.users.c_str(), share.write,
                static_cast<long long>(share.size.count),
                static_cast<long long>(share.usedsize.count), share.comment.c_str(),
                share.device.c_str());
}

Code collect_and_show() {
    share_list list;
    const auto result = collect_shares(list);
    for (const share_info& share : list) {
        show(share);
    }
    return result;
}

auto error_of(const std::string& function, int code) {
    return MatchesRegex(function + ":[0-9]+ return " + std::to_string(code) + " with .+");
}

class ShareCollector : public testing::Test {
  protected:
    Result collect() { return machine.operation(collect_and_show); }
    // One row per share: name, service, path, users, access, size, use, comment, device.
    std::string rows() {
        const Result result = collect();
        EXPECT_EQ(result.returned, 0);
        return result.out;
    }
    ShareMachine machine;
};

TEST_F(ShareCollector, FindsNoShares) {
    const Result result = collect();
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(outside(result), ElementsAre(reads_targets));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ShareCollector, DoesWithoutRegisterAndServiceFiles) {
    machine.remove(share_register).remove(smb_conf).remove(exports);
    EXPECT_EQ(rows(), "");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ShareCollector, GathersFromEverySource) {
    machine.shares({{"s", "samba", "/mnt/data/s", "1", "first"},
                    {"n", "nfs", "/mnt/data/n", "2"},
                    {"f", "ftp", "/home/ftpuser/f", "3"},
                    {"i", "iscsi", "/dev/data/i", "4"}});
    machine.file(smb_conf, samba_global + samba_section("s", "/", "anna", "", "writable = no"))
        .file(exports, "/mnt/data/n 10.0.0.0/8(ro,sync,no_root_squash)\n")
        .file("/etc/vsftpd/bert", "local_root=/home/ftpuser/f\nwrite_enable=NO\n")
        .directory("/home/bert/f")
        .file(targets, "Target iqn.2006-05.com.nas:i.2024\n\tIncomingUser carla secret\n")
        .file(volumes, "tid:1 name:iqn.2006-05.com.nas:i.2024\n\tlun:0 path:/dev/data/i\n"
                       "tid:2 name:iqn.2006-05.com.nas:new.2024\n\tlun:0 path:/dev/x\n");
    const Result result = collect();
    EXPECT_EQ(result.out, "s|samba|/mnt/data/s|anna|0|1|0|Filesystem umounted|N.A.\n"
                          "n|nfs|/mnt/data/n|10.0.0.0/8|0|2|0|Filesystem umounted|N.A.\n"
                          "f|ftp|/home/ftpuser/f|bert|0|3|0|Filesystem umounted|N.A.\n"
                          "i|iSCSI|/dev/data/i|carla|1|4|0||N.A.\n"
                          "new|iSCSI|||1|0|0||N.A.\n");
    EXPECT_EQ(result.returned, 0);
    EXPECT_THAT(outside(result),
                ElementsAre("cat /proc/net/iet/volume > /tmp/iscsi.XXXXXX", reads_targets));
    EXPECT_THAT(machine.logged(), IsEmpty());
}

// The rows of a share on a mounted file system of that many MiB, with that many KiB used.
class ShareSize : public ShareCollector {
  protected:
    std::string sizes(int mebibytes, int used_kibibytes = 0) {
        machine.shares({{}}).mounts({"/dev/data/pub /mnt/data/pub"}).directory("/mnt/data/pub");
        return machine
            .operation([=] {
                const std::string size = "size=" + std::to_string(mebibytes) + "m";
                EXPECT_EQ(::mount("ram", "/mnt/data/pub", "tmpfs", 0, size.c_str()), 0);
                const int fd = ::open("/mnt/data/pub/file", O_RDWR | O_CREAT, 0600);
                EXPECT_TRUE(used_kibibytes == 0 ||
                            ::posix_fallocate(fd, 0, off_t{1024} * used_kibibytes) == 0);
                ::close(fd);
                return collect_and_show();
            })
            .out;
    }
};

TEST_F(ShareSize, IsThatOfTheFileSystem) {
    EXPECT_EQ(sizes(2048), "pub|samba|/mnt/data/pub||1|2|0||N.A.\n");
}

TEST_F(ShareSize, IsRoundedHalfUpToGigabytes) {
    EXPECT_THAT(sizes(1535), HasSubstr("|1|0||"));
    EXPECT_THAT(sizes(1536), HasSubstr("|2|0||"));
    EXPECT_THAT(sizes(511), HasSubstr("|0|0||"));
}

TEST_F(ShareSize, HasItsUseRoundedHalfUpToTenMebibytes) {
    EXPECT_THAT(sizes(2048, 5116), HasSubstr("|2|0||"));
    EXPECT_THAT(sizes(2048, 5120), HasSubstr("|2|1||"));
    EXPECT_THAT(sizes(2048, 10240), HasSubstr("|2|1||"));
    EXPECT_THAT(sizes(2048, 15360), HasSubstr("|2|2||"));
}

TEST_F(ShareSize, StaysTheRegisteredOneWhereNothingCanBeMeasured) {
    machine.shares({{}}).mounts({"/dev/data/pub /mnt/data/pub"});
    EXPECT_EQ(rows(), "pub|samba|/mnt/data/pub||1|5|-1||N.A.\n") << "the mark of a mount stays";
}

TEST_F(ShareSize, IsNotThatOfTheDirectoryBelow) {
    machine.shares({{}}).directory("/mnt/data/pub");
    EXPECT_EQ(rows(), "pub|samba|/mnt/data/pub||1|5|0|Filesystem umounted|N.A.\n");
}

TEST_F(ShareSize, OfAnIscsiShareIsTheRegisteredOne) {
    machine.shares({{.name = "disk1", .service = "iscsi", .path = "/mnt"}}).directory("/mnt");
    EXPECT_EQ(rows(), "disk1|iSCSI|/mnt||1|5|-1||N.A.\n") << "the mark stays without the daemon";
    machine.file(volumes, "tid:1 name:iqn:disk1.2024\n");
    EXPECT_EQ(rows(), "disk1|iSCSI|/mnt||1|5|0||N.A.\n");
}

TEST_F(ShareCollector, ReplacesTheCommentOfAShareThatIsNotMounted) {
    machine.shares({{.comment = "mine"}});
    EXPECT_EQ(rows(), "pub|samba|/mnt/data/pub||1|5|0|Filesystem umounted|N.A.\n");
}

TEST_F(ShareCollector, KeepsTheCommentsWhereTheMountsCannotBeRead) {
    machine.shares({{.comment = "mine"}, {.name = "i", .service = "iscsi"}}).remove("/proc/mounts");
    EXPECT_EQ(rows(), "pub|samba|/mnt/data/pub||1|5|0|mine|N.A.\n"
                      "i|iSCSI|/mnt/data/pub||1|5|0||N.A.\n");
    EXPECT_THAT(machine.logged(), IsEmpty());
}

TEST_F(ShareCollector, DoesNotRefreshSharesOfSeveralServices) {
    machine.file(share_register, "[pub]\nsharename = pub\nsamba = 1\nnfs = 1\npath = /mnt/pub\n")
        .file(smb_conf, samba_section("pub", "/mnt/pub", "anna", "", "writable = no"))
        .file(exports, "/mnt/pub host(ro)\n");
    EXPECT_EQ(rows(), "pub|samba,nfs|/mnt/pub||1|0|0|Filesystem umounted|N.A.\n");
}

TEST_F(ShareCollector, ListsNamesakesOneByOne) {
    machine.shares({{}, {.service = "nfs"}}).mounts({"/dev/data/pub /mnt/data/pub"});
    EXPECT_EQ(rows(), "pub|samba|/mnt/data/pub||1|5|-1||N.A.\n"
                      "pub|samba|/mnt/data/pub||1|5|0|Filesystem umounted|N.A.\n");
}

TEST_F(ShareCollector, TakesTheServiceOfAShareFromTheRegister) {
    machine.shares({{}, {.name = "f", .service = ""}})
        .mounts({"/dev/data/pub /mnt/data/pub", "/dev/data/f /mnt/data/f"})
        .file(volumes, "tid:1 name:iqn:pub.2024\ntid:2 name:iqn:f.2024\n")
        .file(targets, "Target iqn:pub.2024\n\tIncomingUser anna secret\nTarget iqn:f.2024\n");
    EXPECT_EQ(rows(), "pub|samba|/mnt/data/pub||1|5|-1||N.A.\n"
                      "f||/mnt/data/f||1|5|-1||N.A.\n");
}

TEST_F(ShareCollector, StopsAtExportsThatCannotBeRead) {
    machine.shares({{}}).remove(exports).directory(exports);
    machine.file(volumes, "tid:1 name:iqn:disk1\n");
    const Result result = collect();
    EXPECT_EQ(result.returned, -1060);
    EXPECT_EQ(result.out, "pub|samba|/mnt/data/pub||1|5|0||N.A.\n") << "what was gathered stays";
    EXPECT_THAT(result.commands, IsEmpty());
    EXPECT_THAT(machine.logged(), ElementsAre(error_of("get_shareinfo_from_exportfs", -1060)));
}

TEST_F(ShareCollector, StopsAtVolumesThatCannotBeRead) {
    machine.file(volumes, "");
    machine.tool("/bin/cat").on("cat /proc/net/iet/volume").does("rm -f /tmp/iscsi.*");
    const Result result = collect();
    EXPECT_EQ(result.returned, -1060);
    EXPECT_THAT(result.commands, SizeIs(1));
    EXPECT_THAT(machine.logged(), ElementsAre(error_of("get_shareinfo_from_iSCSI", -1060)));
}

TEST_F(ShareCollector, ReadsWhatAFailedToolPrintedOfTheVolumes) {
    machine.file(volumes, "");
    machine.tool("/bin/cat").on("cat /proc/net/iet/volume").prints("tid:1 name:iqn:a\n").exits(3);
    machine.tool("/bin/cat").on("cat /etc/ietd.conf");
    EXPECT_EQ(rows(), "a|iSCSI|||1|0|0||N.A.\n");
    EXPECT_THAT(machine.logged(),
                ElementsAre(MatchesRegex("system\\(\"cat /proc/net/iet/volume > /tmp/iscsi.......\""
                                         "\\) return normal with exit\\(3\\) for '.*'")));
}

TEST_F(ShareCollector, StopsWithoutTheTargetFile) {
    machine.shares({{}}).remove(targets);
    const Result result = collect();
    EXPECT_EQ(result.returned, -11000);
    EXPECT_THAT(result.out, StartsWith("pub|samba|"));
    EXPECT_THAT(machine.logged(),
                ElementsAre(MatchesRegex("system\\(\"cat /etc/ietd.conf > /tmp/iscsi.......\"\\) "
                                         "return normal with exit\\(1\\) for '.*'"),
                            error_of("get_shareinfo_from_ietd", -11000)));
}

TEST_F(ShareCollector, StopsWhenTheTargetsToolIsKilledOrMissing) {
    machine.tool("/bin/cat").on("cat /etc/ietd.conf").prints("Target iqn:a\n").killed_by(SIGKILL);
    EXPECT_EQ(collect().returned, -11000);
    EXPECT_THAT(machine.logged().at(0), HasSubstr(") return unnormal with exit(0) for '"));
    machine.remove("/bin/cat");
    EXPECT_EQ(collect().returned, -11000);
    EXPECT_THAT(machine.logged().at(2), HasSubstr(") return normal with exit(127) for '"));
}

TEST_F(ShareCollector, StopsAtTargetsThatCannotBeRead) {
    machine.tool("/bin/cat").on("cat /etc/ietd.conf").does("rm -f /tmp/iscsi.*");
    EXPECT_EQ(collect().returned, -1061);
    EXPECT_THAT(machine.logged(), ElementsAre(error_of("get_shareinfo_from_ietd", -1061)));
}

TEST_F(ShareCollector, StopsAtTheTargetsWithoutRoomForACapture) {
    machine.remove("/tmp");
    EXPECT_EQ(machine.call(collect_and_show).returned, -11000);
}

TEST_F(ShareCollector, CollectsAThousandShares) {
    std::vector<RegisteredShare> list;
    Texts mounts;
    std::string samba = samba_global;
    std::string output;
    for (int number = 0; number < 1000; ++number) {
        const std::string name = "share" + std::to_string(number);
        const std::string path = "/mnt/data/" + name;
        list.push_back({.name = name, .path = path});
        mounts.push_back("/dev/data/" + name + " " + path);
        samba += samba_section(name, path, "user" + std::to_string(number));
        output += name + "|samba|" + path + "|user" + std::to_string(number) + "|1|5|-1||N.A.\n";
    }
    machine.shares(list).mounts(mounts).file(smb_conf, samba);
    EXPECT_EQ(rows(), output);
}

} // namespace
} // namespace zav::test
