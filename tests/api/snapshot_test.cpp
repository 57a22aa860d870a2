// SPDX-License-Identifier: MIT
// The picture of a machine that has something of everything, field by field and link by link.
#include "api/snapshot_machine.h"

namespace zav::test {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::Pair;
using testing::UnorderedElementsAre;

class Snapshots : public testing::Test {
  protected:
    SnapshotMachine machine;
};

TEST_F(Snapshots, HaveEveryDisk) {
    const Picture picture = machine.picture();
    EXPECT_EQ(picture.run.returned, 0);
    const std::string smart = "|passed|EMU0001|EF01|33";
    const std::string size = "|2000398934016|DISK-2000|running|running|";
    EXPECT_THAT(picture.lines("disk"),
                UnorderedElementsAre(
                    "sda|1|0" + size + "0|1|0|[0]" + smart, "sdb|2|0" + size + "0|1|0|[0]" + smart,
                    "sdc|3|0" + size + "0|1|1|[1]" + smart, "sdd|4|0" + size + "0|1|1|[1]" + smart,
                    "sde|5|0" + size + "0|1|1|[1]" + smart, "sdf|6|0" + size + "0|1|-1|[1]" + smart,
                    "sdg|7|0|2000398934016|DISK-2000|offline|offline|1|0|-1|[]" + smart));
    EXPECT_THAT(picture.run.out, HasSubstr("\n  attribute Raw_Read_Error_Rate|118|99|6|187654321|-"
                                           "\n  attribute Spin_Up_Time|97|97|0|0|-\n"));
    machine.expect_all_used();
}

// Disks are found in the order of a directory: links are compared by the names that they lead to.
std::map<std::string, std::string> disk_indices(const Picture& picture) {
    std::map<std::string, std::string> indices;
    int index = 0;
    for (const std::string& line : picture.lines("disk")) {
        indices[line.substr(0, line.find('|'))] = std::to_string(index++);
    }
    return indices;
}

std::string links(const Picture& picture, const std::vector<std::string>& disks) {
    const auto indices = disk_indices(picture);
    std::vector<int> numbers;
    for (const std::string& disk : disks) {
        numbers.push_back(std::stoi(indices.at(disk)));
    }
    std::ranges::sort(numbers);
    std::string text;
    for (const int number : numbers) {
        text += (text.empty() ? "" : ",") + std::to_string(number);
    }
    return "[" + text + "]";
}

TEST_F(Snapshots, HaveEveryArrayWithItsMembers) {
    const Picture picture = machine.picture();
    EXPECT_THAT(picture.lines("array"),
                ElementsAre("md0|raid1|clean|clean|107374182400|0|0|0.000|-1|0",
                            "md1|raid5|rebuilding|clean, degraded, recovering|214748364800|0|1|"
                            "0.126|7650|1"));
    auto disk = disk_indices(picture);
    EXPECT_THAT(
        picture.lines("  member"),
        UnorderedElementsAre("sda|" + disk["sda"] + "|active|0", "sdb|" + disk["sdb"] + "|active|1",
                             "sdc|" + disk["sdc"] + "|active|0", "sdd|" + disk["sdd"] + "|active|1",
                             "sde|" + disk["sde"] + "|rebuilding|2"));
}

TEST_F(Snapshots, HaveEveryGroupAndPool) {
    const Picture picture = machine.picture();
    EXPECT_THAT(picture.lines("group"),
                ElementsAre("data|resizable|0|107374182400|6442450944|[0,1]",
                            "more|resizable|0|16106127360|0|[2]"));
    const std::string sdf = disk_indices(picture)["sdf"];
    EXPECT_THAT(picture.lines("  volume"),
                ElementsAre("md0|0|-1|107374182400|6442450944", "md1|1|-1|10737418240|0",
                            "6|-1|" + sdf + "|5368709120|0"));
    EXPECT_THAT(picture.lines("pool"), ElementsAre("films|/dev/data/films|0|2147487744|1|0|[0]",
                                                   "block|/dev/data/block|0|2147483648|1|-1|[3]",
                                                   "music|/dev/more/music|1|2147483648|1|1|[1]"));
}

TEST_F(Snapshots, HaveEveryFileSystem) {
    const Picture picture = machine.picture();
    EXPECT_THAT(
        picture.lines("filesystem"),
        ElementsAre(
            testing::MatchesRegex(
                "0\\|/dev/data/films\\|0\\|/mnt/data/films\\|xfs\\|available\\|[1-9][0-9]*\\|"
                "[0-9]+\\|\\[0\\]"),
            "0|/dev/more/music|2|/mnt/more/music|xfs|unmounted|2147483648|0|[1]",
            testing::MatchesRegex("1\\|usb\\|-1\\|/mnt/netdisk/usb\\|xfs\\|available\\|[1-9][0-9]*"
                                  "\\|[0-9]+\\|\\[\\]")));
}

TEST_F(Snapshots, HaveEveryShareAndTheDisksThatHoldIt) {
    machine.mounts({"/dev/mapper/data-films /mnt/data/films", "/dev/sdh /mnt/netdisk/usb",
                    "/dev/mapper/data-guest /home/ftpuser/guest"});
    const Picture picture = machine.picture();
    const std::string data = links(picture, {"sda", "sdb"});
    const std::string more = links(picture, {"sdc", "sdd", "sde", "sdf"});
    EXPECT_THAT(
        picture.lines("share"),
        ElementsAre("films|samba|samba|served|/mnt/data/films|all films|anna,bert|1|1|0|0|" + data,
                    "music|nfs|nfs|served|/mnt/more/music|songs|10.0.0.0/8|1|0|1|2|" + more,
                    "old|none||forbidden|/mnt/data/old|||0|0|-1|-1|[]",
                    "block|iscsi|iSCSI|served|/dev/data/block||anna|0|1|-1|1|" + data,
                    "guest|ftp|ftp|served|/home/ftpuser/guest|||0|1|-1|-1|[]"));
}

TEST_F(Snapshots, HaveTheServicesAndTheHealth) {
    const Picture picture = machine.picture();
    EXPECT_THAT(picture.lines("service"),
                ElementsAre("samba|samba|running", "nfs|nfs|running", "ftp|ftp|stopped",
                            "iscsi|iscsi|stopped", "management|management|stopped"));
    EXPECT_THAT(picture.lines("health"),
                ElementsAre("nas|KOR7206H|1.0.0|1.0|2026-11-20 10:00|41|41|fan1:2400|normal|50.0|"
                            "20.0"));
    EXPECT_THAT(picture.failures(), IsEmpty());
}

TEST_F(Snapshots, RunEachCommandOnce) {
    const Picture picture = machine.picture();
    EXPECT_THAT(picture.counts(), Each(Pair(testing::_, 1)));
    std::map<std::string, int> tools;
    for (const auto& [command, count] : picture.counts()) {
        ++tools[command.substr(0, command.find(' '))];
    }
    EXPECT_THAT(tools, IsSupersetOf(std::map<std::string, int>{{"/sbin/mdadm", 2},
                                                               {"/sbin/vgdisplay", 1},
                                                               {"/sbin/pvdisplay", 1},
                                                               {"/sbin/lvdisplay", 1},
                                                               {"/usr/local/bin/hotspare", 1},
                                                               {"/usr/local/sbin/smartctl", 7},
                                                               {"/usr/bin/vmstat", 1},
                                                               {"/bin/busybox", 6}}));
    RecordProperty("commands", static_cast<int>(picture.run.commands.size()));
}

TEST_F(Snapshots, LogNothingOfAMachineThatIsWell) {
    const Picture picture = machine.picture();
    EXPECT_EQ(picture.messages, "");
    EXPECT_THAT(machine.logged(), IsEmpty());
    EXPECT_EQ(picture.run.err, "");
}

TEST_F(Snapshots, HaveWhatIsAskedForAlone) {
    const Picture services = machine.picture(ZAV_SERVICES);
    EXPECT_THAT(services.lines("service").size(), 5);
    EXPECT_EQ(services.run.out.find("disk "), std::string::npos);
    EXPECT_THAT(services.run.commands_without_redirection(),
                Each(testing::StartsWith("/bin/busybox pidof ")));

    const Picture arrays = machine.picture(ZAV_ARRAYS);
    EXPECT_THAT(arrays.lines("array"),
                ElementsAre(testing::EndsWith("|-1"), testing::EndsWith("|-1")));
    EXPECT_THAT(arrays.lines("  member"), Contains("sda|-1|active|0"));
    EXPECT_THAT(arrays.lines("disk"), IsEmpty());
}

TEST_F(Snapshots, AreEmptyOnABareMachine) {
    Machine bare;
    bare.file("/proc/mounts", "");
    bare.tool("/sbin/lvdisplay").any();
    bare.file(share_register, "").file(exports, "").file(targets, "").file(smb_conf, "");
    bare.directory("/etc/vsftpd");
    std::string log;
    const Result run = bare.call([] {
        char messages[4096];
        const int code =
            print_snapshot(ZAV_ALL & ~(ZAV_HEALTH | ZAV_SERVICES), messages, sizeof messages);
        std::printf("%s", messages);
        return code;
    });
    EXPECT_EQ(run.returned, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(bare.log(), IsEmpty());
}

TEST_F(Snapshots, TellUnregisteredAndUnservedShares) {
    machine.file(smb_conf, samba_global + samba_section("stranger", "/mnt/data/films"));
    machine.file(exports, "/mnt/data/films *(rw,sync,no_root_squash)\n");
    const Picture picture = machine.picture(ZAV_SHARES | ZAV_FILESYSTEMS | ZAV_POOLS);
    EXPECT_THAT(picture.lines("share"),
                IsSupersetOf({HasSubstr("films|samba|samba|not_served|"),
                              HasSubstr("music|nfs|nfs|not_served|"),
                              HasSubstr("stranger|samba|samba|not_registered|/mnt/data/films|")}));
    EXPECT_THAT(picture.failures(), IsEmpty());
}

TEST_F(Snapshots, FindAShareWhereItIsMounted) {
    machine.pools({"/dev/data/films", "/dev/data/block", "/dev/more/music", "/dev/more/other"});
    machine.file(targets, "");
    machine.shares({{.name = "films", .path = "/mnt/data/films/below/it"},
                    {.name = "target", .service = "iscsi", .path = "/dev/mapper/data-block"},
                    {.name = "music", .service = "", .path = ""},
                    {.name = "guest", .service = "ftp", .path = "/home/ftpuser/guest"},
                    {.name = "stick", .path = "/mnt/netdisk/usb/stick"}});
    for (const char* path : {"/dev/mapper/data-block", "/dev/data/block"}) {
        machine.symlink("../dm-4", path);
    }
    for (const char* path : {"/dev/mapper/more-other", "/dev/more/other"}) {
        machine.symlink("../dm-5", path);
    }
    machine.file("/dev/dm-4", "").file("/dev/dm-5", "");
    machine.mounts({"/dev/mapper/more-other /home/ftpuser/guest"});
    Texts places;
    for (const std::string& share :
         machine.picture(ZAV_POOLS | ZAV_FILESYSTEMS | ZAV_NETDISKS | ZAV_SHARES).lines("share")) {
        const auto fields = split(share, "|");
        places.push_back(std::string(fields.front()) + " " +
                         std::string(fields[fields.size() - 3]) + " " +
                         std::string(fields[fields.size() - 2]));
    }
    EXPECT_THAT(places,
                ElementsAre("films 0 0", "target -1 1", "music 1 2", "guest -1 3", "stick 2 -1"));
}

TEST_F(Snapshots, TellADiskThatIsMounted) {
    machine.mounts({"/dev/sdg1 /mnt/netdisk/usb"});
    EXPECT_THAT(
        machine.picture(ZAV_DISKS).lines("disk"),
        Contains(testing::StartsWith("sdg|7|0|2000398934016|DISK-2000|offline|offline|1|1|-1|")));
}

TEST_F(Snapshots, TellAFileSystemThatCannotBeUsed) {
    machine.pools({"/dev/data/films"}).directory("/mnt/more/music");
    machine.mounts({"/dev/mapper/data-films /mnt/data/films", "/dev/sdh /mnt/more/music"});
    const Picture picture = machine.picture(ZAV_FILESYSTEMS);
    EXPECT_THAT(picture.lines("filesystem"),
                ElementsAre(HasSubstr("|available|"), HasSubstr("|unusable|")));
}

TEST_F(Snapshots, TellHowAnArrayIs) {
    machine.array({.name = "md0",
                   .level = "raid1",
                   .state = "clean, degraded",
                   .raid_disks = 2,
                   .members = {{"sda"}, {"sdb", "faulty"}}});
    machine.array({.name = "md1",
                   .level = "raid5",
                   .state = "clean, FAILED",
                   .raid_disks = 3,
                   .members = {{"sdc"}}});
    const Picture picture = machine.picture(ZAV_ARRAYS);
    EXPECT_THAT(picture.lines("array"), ElementsAre(HasSubstr("md0|raid1|degraded|"),
                                                    HasSubstr("md1|raid5|inactive|inactive|")));
    EXPECT_THAT(picture.lines("  member"),
                UnorderedElementsAre("sda|-1|active|?", "sdb|-1|faulty|?", "sdc|-1|active|?",
                                     "|-1|missing|?", "|-1|missing|?"));
}

} // namespace
} // namespace zav::test
