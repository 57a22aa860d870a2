// SPDX-License-Identifier: MIT
// The use of disks in the disk listing: arrays, volume groups and mounted file systems.
#include "fixtures/disk_root.h"
#include "fixtures/library.h"
#include "fixtures/shown_records.h"
#include "inventory/disk_use.h"

#include <csignal>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

/// "name channel device raid use" of each disk of a listing.
std::vector<std::string> uses(const display_disk_list& listing) {
    std::vector<std::string> texts;
    for (const display_disk_info& disk : listing) {
        texts.push_back(format_text("%s %d %s %s %d", disk.diskname.c_str(), disk.channel,
                                    disk.device.c_str(), disk.raid.c_str(), disk.use));
    }
    return texts;
}

void add_shown(display_disk_list& listing, const char* name, int channel,
               const char* device = "0") {
    display_disk_info& disk = listing.append();
    disk.diskname = name;
    disk.channel = channel;
    disk.device = device;
}

struct Annotation {
    int code;
    std::vector<std::string> uses;
    std::vector<std::string> commands;
};

/// An appliance with disks sda to sdd and no arrays, groups or mounts.
class AnnotationRoot : public DiskRoot {
  public:
    AnnotationRoot() {
        disk("sda", 1).disk("sdb", 2).disk("sdc", 3).disk("sdd", 4).hot_spares("");
        file("/proc/mdstat", "Personalities : [raid1]\nunused devices: <none>\n");
        tool("/sbin/vgdisplay").any().optional();
        tool("/sbin/pvdisplay").any().optional();
        tool("/bin/df").any().prints("Filesystem 1K-blocks Used\nnone 5 1\n").optional();
    }
    /// A running array with these member entries ("dev-sda").
    AnnotationRoot& array(const std::string& name, const std::vector<std::string>& members) {
        file("/proc/mdstat", "Personalities : [raid1]\n" + name + " : active raid1\n");
        tool("/sbin/mdadm")
            .any()
            .prints("     Raid Level : raid1\n   Array Size : 1048576\n"
                    "        State : clean\n");
        const std::string directory = "/sys/block/" + name + "/md";
        file(directory + "/raid_disks", std::to_string(members.size()) + "\n");
        for (const std::string& member : members) {
            file(directory + "/" + member + "/state", "in_sync\n");
        }
        return *this;
    }
    /// A volume group on these devices.
    AnnotationRoot& group(const std::vector<std::string>& devices) {
        tool("/sbin/vgdisplay")
            .any()
            .prints("  vg1:r/w:772:-1:0:0:0:-1:0:1:1:4186112:4096:1022:0:"
                    "1022:u\n");
        std::string text;
        for (const std::string& device : devices) {
            text += "  " + device + ":vg1:4186112:-1:8:8:-1:4096:511:511:0:u\n";
        }
        tool("/sbin/pvdisplay").any().prints(text);
        return *this;
    }
    AnnotationRoot& mounts(const std::string& output) {
        tool("/bin/df").on("/bin/df").prints(output);
        return *this;
    }

    Annotation annotate(const Reader<display_disk_list>& step,
                        const std::function<void(display_disk_list&)>& prepare) {
        const Result result = call([&] {
            display_disk_list listing;
            prepare(listing);
            const int code = step(listing);
            for (const std::string& row : uses(listing)) {
                std::puts(row.c_str());
            }
            return code;
        });
        std::vector<std::string> shown;
        for (const auto row : split(result.out, "\n")) {
            shown.emplace_back(row);
        }
        return {result.returned, shown, result.commands_with_templates()};
    }
};

void four_shown(display_disk_list& listing) {
    add_shown(listing, "sda", 1);
    add_shown(listing, "sdb", 2);
    add_shown(listing, "sdc", 3);
    add_shown(listing, "sdd", 4);
}

const std::vector<std::string> none_used = {"sda 1 0  0", "sdb 2 0  0", "sdc 3 0  0", "sdd 4 0  0"};

TEST(ArrayAnnotation, MarksTheMembersWithTheArraysName) {
    AnnotationRoot root;
    root.array("md1", {"dev-sda", "dev-sdc"});
    const Annotation marked = root.annotate(add_disk_list_mdinfo, four_shown);
    EXPECT_EQ(marked.code, 0);
    EXPECT_THAT(marked.uses,
                ElementsAre("sda 1 0 md1 1", "sdb 2 0  0", "sdc 3 0 md1 1", "sdd 4 0  0"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(ArrayAnnotation, MarksFaultyAndSpareMembersAndNoDiskForAMissingOne) {
    AnnotationRoot root;
    root.array("md1", {"dev-sda", "dev-sdb", "dev-sdc"});
    root.file("/sys/block/md1/md/dev-sda/state", "faulty\n");
    root.file("/sys/block/md1/md/dev-sdb/state", "spare\n");
    root.file("/sys/block/md1/md/raid_disks", "4\n");
    EXPECT_THAT(root.annotate(add_disk_list_mdinfo, four_shown).uses,
                ElementsAre("sda 1 0 md1 1", "sdb 2 0 md1 1", "sdc 3 0 md1 1", "sdd 4 0  0"));
}

TEST(ArrayAnnotation, MarksEveryDiskThatAMembersNameBeginsWith) {
    AnnotationRoot root;
    root.array("md1", {"dev-sdaa"}).disk("sdaa", 5);
    EXPECT_THAT(root.annotate(add_disk_list_mdinfo,
                              [](display_disk_list& listing) {
                                  four_shown(listing);
                                  add_shown(listing, "sdaa", 5);
                                  add_shown(listing, "sdaab", 6);
                              })
                    .uses,
                ElementsAre("sda 1 0 md1 1", "sdb 2 0  0", "sdc 3 0  0", "sdd 4 0  0",
                            "sdaa 5 0 md1 1", "sdaab 6 0  0"));
}

TEST(ArrayAnnotation, ComparesNamesWithoutCase) {
    AnnotationRoot root;
    root.array("md1", {"dev-sda", "dev-sdB"});
    EXPECT_THAT(root.annotate(add_disk_list_mdinfo,
                              [](display_disk_list& listing) {
                                  add_shown(listing, "SDA", 1);
                                  add_shown(listing, "sdb", 2);
                              })
                    .uses,
                ElementsAre("SDA 1 0 md1 1", "sdb 2 0 md1 1"));
}

TEST(ArrayAnnotation, MarksOnlyDisksOfTheArraysDevice) {
    AnnotationRoot root;
    root.array("md1", {"dev-sda"});
    EXPECT_THAT(root.annotate(add_disk_list_mdinfo,
                              [](display_disk_list& listing) {
                                  add_shown(listing, "sda", 1, "3");
                                  add_shown(listing, "sda", 1, "");
                                  add_shown(listing, "sda", 1, "0");
                              })
                    .uses,
                ElementsAre("sda 1 3  0", "sda 1   0", "sda 1 0 md1 1"));
}

TEST(ArrayAnnotation, MarksNoDiskWithoutAName) {
    AnnotationRoot root;
    root.array("md1", {"dev-sda"});
    EXPECT_THAT(root.annotate(add_disk_list_mdinfo,
                              [](display_disk_list& listing) { add_shown(listing, "", 1); })
                    .uses,
                ElementsAre(" 1 0  0"));
}

TEST(ArrayAnnotation, CutsTheArraysNameToSevenCharacters) {
    AnnotationRoot root;
    root.array("md12345678", {"dev-sda"});
    EXPECT_THAT(root.annotate(add_disk_list_mdinfo, four_shown).uses.front(), "sda 1 0 md12345 1");
}

TEST(ArrayAnnotation, WithoutArraysMarksNothing) {
    AnnotationRoot root;
    EXPECT_EQ(root.annotate(add_disk_list_mdinfo, four_shown).uses, none_used);
}

TEST(ArrayAnnotation, WithoutTheArrayListFailsAndLogsItsCode) {
    AnnotationRoot root;
    root.remove("/proc/mdstat");
    const Annotation marked = root.annotate(add_disk_list_mdinfo, four_shown);
    EXPECT_EQ(marked.code, -422);
    EXPECT_EQ(marked.uses, none_used);
    EXPECT_THAT(root.log_texts().back(), "add_disk_list_mdinfo[114]: return with -11000");
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(GroupAnnotation, MarksTheDisksThatAreVolumes) {
    AnnotationRoot root;
    root.group({"/dev/sdb", "/dev/sdd"});
    const Annotation marked = root.annotate(add_disk_list_vginfo, four_shown);
    EXPECT_EQ(marked.code, 0);
    EXPECT_THAT(marked.uses, ElementsAre("sda 1 0  0", "sdb 2 0  1", "sdc 3 0  0", "sdd 4 0  1"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(GroupAnnotation, MarksByChannelAndDevice) {
    AnnotationRoot root;
    root.group({"/dev/sdb"});
    EXPECT_THAT(root.annotate(add_disk_list_vginfo,
                              [](display_disk_list& listing) {
                                  add_shown(listing, "sdx", 2);
                                  add_shown(listing, "sdb", 2, "1");
                                  add_shown(listing, "sdb", 9);
                              })
                    .uses,
                ElementsAre("sdx 2 0  1", "sdb 2 1  0", "sdb 9 0  0"));
}

TEST(GroupAnnotation, MarksDisksOfNegativeChannels) {
    AnnotationRoot root;
    root.file("/proc/scsi/mvSata/9", status_file("9,9", {port_line("0", "0", "sde")}));
    root.group({"/dev/sde"});
    EXPECT_THAT(root.annotate(add_disk_list_vginfo,
                              [](display_disk_list& listing) {
                                  add_shown(listing, "sde", -7);
                                  add_shown(listing, "sdf", 7);
                              })
                    .uses,
                ElementsAre("sde -7 0  1", "sdf 7 0  0"));
}

TEST(GroupAnnotation, MarksNoDiskForAnArrayOrAnUnknownDevice) {
    AnnotationRoot root;
    root.array("md1", {"dev-sda"}).group({"/dev/md1", "/dev/sdx", "/dev/ram2"});
    EXPECT_THAT(root.annotate(add_disk_list_vginfo,
                              [](display_disk_list& listing) {
                                  four_shown(listing);
                                  add_shown(listing, "sde", 0);
                                  add_shown(listing, "sdf", 0, "");
                              })
                    .uses,
                ElementsAre("sda 1 0  0", "sdb 2 0  0", "sdc 3 0  0", "sdd 4 0  0", "sde 0 0  0",
                            "sdf 0   0"));
}

TEST(GroupAnnotation, WithoutTheGroupListFailsAndLogsItsCode) {
    AnnotationRoot root;
    root.tool("/sbin/vgdisplay").any().exits(5);
    const Annotation marked = root.annotate(add_disk_list_vginfo, four_shown);
    EXPECT_EQ(marked.code, -304);
    EXPECT_EQ(marked.uses, none_used);
    EXPECT_THAT(root.log_texts().back(), "add_disk_list_vginfo[169]: return with -11000");
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(MountAnnotation, MarksTheDisksOfMountedPartitions) {
    AnnotationRoot root;
    root.mounts("Filesystem 1K-blocks\n/dev/sdb1 5 1 / \n/dev/sdd 5 1 /x\n/dev/md1 5 1 /y\n");
    const Annotation marked = root.annotate(get_diskinfo_from_df, four_shown);
    EXPECT_EQ(marked.code, 0);
    EXPECT_THAT(marked.uses, ElementsAre("sda 1 0  0", "sdb 2 0  1", "sdc 3 0  0", "sdd 4 0  1"));
    EXPECT_THAT(marked.commands, ElementsAre("/bin/df > /tmp/dfinfo.XXXXXX 2>> /dev/null"));
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(MountAnnotation, ComparesBeginningsWithCaseAndNoDevice) {
    AnnotationRoot root;
    root.mounts("/dev/sdaa1 5\n");
    EXPECT_THAT(root.annotate(get_diskinfo_from_df,
                              [](display_disk_list& listing) {
                                  add_shown(listing, "sda", 1, "3");
                                  add_shown(listing, "sdaa", 2, "");
                                  add_shown(listing, "SDA", 3);
                                  add_shown(listing, "sdaa12", 4);
                                  add_shown(listing, "", 5);
                              })
                    .uses,
                ElementsAre("sda 1 3  1", "sdaa 2   1", "SDA 3 0  0", "sdaa12 4 0  0", " 5 0  0"));
}

TEST(MountAnnotation, LeavesTheOutputOfDfInTmp) {
    AnnotationRoot root;
    root.mounts("/dev/sdb1 5 1 /\n");
    root.annotate(get_diskinfo_from_df, four_shown);
    ASSERT_THAT(root.tmp(), ElementsAre(MatchesRegex("dfinfo\\.[A-Za-z0-9]{6}")));
    EXPECT_EQ(root.read("/tmp/" + root.tmp().front()), "/dev/sdb1 5 1 /\n");
}

TEST(MountAnnotation, OfAFailingDfMarksNothingAndLeavesNothing) {
    AnnotationRoot root;
    root.tool("/bin/df").any().prints("/dev/sdb1 5 1 /\n").exits(1); // one stale mount is enough
    const Annotation marked = root.annotate(get_diskinfo_from_df, four_shown);
    EXPECT_EQ(marked.code, -11000);
    EXPECT_EQ(marked.uses, none_used);
    EXPECT_THAT(root.log_texts(),
                ElementsAre(failed_capture("/bin/df > /tmp/dfinfo", "normal with exit\\(1\\)")));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(MountAnnotation, OfAKilledDfLeavesNothing) {
    AnnotationRoot root;
    root.tool("/bin/df").any().killed_by(SIGKILL);
    EXPECT_EQ(root.annotate(get_diskinfo_from_df, four_shown).code, -11000);
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(MountAnnotation, WhoseOutputIsGoneFails) {
    AnnotationRoot root;
    root.tool("/bin/df").any().does("rm /tmp/dfinfo.*");
    EXPECT_EQ(root.annotate(get_diskinfo_from_df, four_shown).code, -1023);
    EXPECT_THAT(root.log_texts(),
                ElementsAre("get_diskinfo_from_df:54 return 0 with No such file or directory"));
}

/// add_disk_list_info() on one disk with every field set.
Code annotate_one(display_disk_list& listing) {
    disk_list disks;
    disk_info& disk = add_disk(disks, "sdb", 2);
    disk.space = {931};
    disk.status = "running";
    disk.model = "MODEL";
    disk.usage = "RAID";
    disk.hotspare = 1;
    return add_disk_list_info(disks, listing, printed());
}

TEST(DiskAnnotation, CopiesEveryFieldOfTheDisk) {
    AnnotationRoot root;
    const Result result = root.call([] {
        display_disk_list listing;
        const Code code = annotate_one(listing);
        const display_disk_info& disk = *listing.begin();
        show_line({disk.diskname.c_str(), std::to_string(disk.channel),
                   std::to_string(disk.space.count), disk.status.c_str(), disk.model.c_str(),
                   disk.state.c_str(), disk.device.c_str(), disk.raid.c_str(),
                   std::to_string(disk.use), std::to_string(disk.hotspare)});
        return code;
    });
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.out, "sdb\t2\t931\trunning\tMODEL\tRAID\t0\t\t0\t1\n");
    EXPECT_THAT(root.log(), IsEmpty());
}

TEST(DiskAnnotation, AddsAfterWhatTheListingHas) {
    AnnotationRoot root;
    const Annotation marked = root.annotate(
        annotate_one, [](display_disk_list& listing) { add_shown(listing, "sda", 1); });
    EXPECT_THAT(marked.uses, ElementsAre("sda 1 0  0", "sdb 2 0  0"));
}

TEST(DiskAnnotation, OfADiskInAnArrayAndMountedShowsBoth) {
    AnnotationRoot root;
    root.array("md1", {"dev-sdb"}).mounts("/dev/sdb1 5 1 /\n");
    EXPECT_THAT(root.annotate(annotate_one, [](display_disk_list&) {}).uses,
                ElementsAre("sdb 2 0 md1 1"));
}

TEST(DiskAnnotation, LooksForArraysThenGroupsThenMounts) {
    AnnotationRoot root;
    const auto commands = root.annotate(annotate_one, [](display_disk_list&) {}).commands;
    std::vector<std::string> tools;
    for (const std::string& command : commands) {
        if (!command.starts_with("cat /proc/scsi") && !command.starts_with(disk_tool::hotspare)) {
            tools.push_back(command.substr(0, command.find(" >")));
        }
    }
    EXPECT_THAT(tools, ElementsAre("cat /proc/mdstat", "cat /proc/mdstat", "/sbin/vgdisplay -c",
                                   "cat /proc/mdstat", "cat /proc/mdstat", "/sbin/pvdisplay -c",
                                   "/bin/df"));
}

TEST(DiskAnnotation, FailuresAreLoggedAndLeftOut) {
    AnnotationRoot root;
    root.remove("/proc/mdstat");
    root.tool("/sbin/vgdisplay").any().exits(5);
    root.tool("/bin/df").any().exits(1);
    const Annotation marked = root.annotate(annotate_one, [](display_disk_list&) {});
    EXPECT_EQ(marked.code, 0);
    EXPECT_THAT(marked.uses, ElementsAre("sdb 2 0  0"));
    EXPECT_THAT(root.log_texts(), ElementsAre(StartsWith("system(\"cat /proc/mdstat"),
                                              "add_disk_list_mdinfo[114]: return with -11000",
                                              "add_disk_list_info[238]: return with -422",
                                              StartsWith("system(\"/sbin/vgdisplay -c"),
                                              "add_disk_list_vginfo[169]: return with -11000",
                                              "add_disk_list_info[244]: return with -304",
                                              StartsWith("system(\"/bin/df"),
                                              "add_disk_list_info[250]: return with -11000"));
    EXPECT_THAT(root.tmp(), IsEmpty());
}

TEST(DiskAnnotation, ContinuesAfterAFailure) {
    AnnotationRoot root;
    root.mounts("/dev/sdb1 5 1 /\n").remove("/proc/mdstat");
    EXPECT_THAT(root.annotate(annotate_one, [](display_disk_list&) {}).uses,
                ElementsAre("sdb 2 0  1"));
}

} // namespace
} // namespace zav::test
