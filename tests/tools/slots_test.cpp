// SPDX-License-Identifier: MIT
// zavbox-slots: which place has which channel, and what the commands read of it.
#include "inventory/disks.h"
#include "sources/mvsata.h"
#include "tools/tools_root.h"

#include <algorithm>

namespace zav::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr auto conf = "/etc/zavbox/slots.conf";
constexpr auto table = "/run/zavbox/mvSata";

class Slots : public testing::Test {
  public:
    Slots() {
        root.file("/usr/share/zavbox/slots.conf", "# The channels.\nusb = no\n");
        root.directory("/run/udev/data");
    }

    // A disk that udev has seen, at a place of that name.
    void disk(const std::string& name, const std::string& path, const std::string& serial = "S",
              const std::string& device = "") {
        const std::string number = "8:" + std::to_string(++disks * 16);
        root.symlink("/sys/devices/" + (device.empty() ? path : device),
                     "/sys/block/" + name + "/device");
        root.file("/sys/devices/" + (device.empty() ? path : device) + "/state", "running\n");
        root.file("/sys/block/" + name + "/dev", number + "\n");
        root.file("/sys/block/" + name + "/size", "4194304\n");
        root.symlink("/sys/block/" + name, "/sys/dev/block/" + number);
        root.symlink("/sys/block/" + name, "/sys/class/block/" + name);
        root.file("/run/udev/data/b" + number, "S:disk/by-path/" + path + "\nE:ID_PATH=" + path +
                                                   "\nE:ID_SERIAL_SHORT=" + serial + "\n");
    }

    void pull(const std::string& name) {
        root.remove("/sys/block/" + name);
        root.remove("/sys/class/block/" + name);
    }

    Result run(const std::vector<std::string>& arguments = {}) {
        return root.run(arguments, {.argv0 = "zavbox-slots",
                                    .program = "/tools/sbin/zavbox-slots",
                                    .time_limit = std::chrono::seconds(60)});
    }

    void update() {
        const Result result = run();
        EXPECT_EQ(result.exit_status, 0) << result.err;
        EXPECT_EQ(result.err, "");
    }

    // What the commands make of the table: DEVICE:CHANNEL=NAME, sorted.
    std::vector<std::string> seen() {
        std::vector<std::string> found;
        for (const std::string& name : root.list(table)) {
            EXPECT_LE(name.size(), 2) << "a longer name is not read";
            disk_list list;
            parse_controller_status(root.read(std::string(table) + "/" + name), list);
            for (const disk_info& one : list) {
                found.push_back(std::string(one.device.view()) + ":" + std::to_string(one.channel) +
                                "=" + std::string(one.name.view()));
            }
        }
        std::sort(found.begin(), found.end());
        return found;
    }

    ToolsRoot root;
    int disks = 0;
};

const std::string ahci = "pci-0000:00:1f.2-ata-";

TEST_F(Slots, AreTheNextChannelsInTheOrderOfTheirPaths) {
    disk("sda", ahci + "10.0");
    disk("sdb", ahci + "2.0");
    disk("sdc", ahci + "1.0");
    disk("nvme0n1", "pci-0000:00:05.0-nvme-1");
    update();
    EXPECT_THAT(seen(), ElementsAre("0:1=nvme0n1", "0:2=sdc", "0:3=sdb", "0:4=sda"));
    EXPECT_EQ(root.read(conf), "# The channels.\nusb = no\n1 pci-0000:00:05.0-nvme-1\n2 " + ahci +
                                   "1.0\n3 " + ahci + "2.0\n4 " + ahci + "10.0\n");
}

// Three disks of one controller have the logical unit 0 each: that is no slot.
TEST_F(Slots, AreNotTheLogicalUnit) {
    for (const char* name : {"sda", "sdb", "sdc"}) {
        const std::string target = std::to_string(name[2] - 'a' + 1);
        disk(name, "pci-0000:00:04.0-scsi-0:0:" + target + ":0");
    }
    update();
    EXPECT_THAT(seen(), ElementsAre("0:1=sda", "0:2=sdb", "0:3=sdc"));
}

TEST_F(Slots, KeepTheirChannelsWhenTheKernelNamesChange) {
    disk("sda", ahci + "1.0");
    disk("sdb", ahci + "2.0");
    update();
    pull("sda");
    pull("sdb");
    root.remove(table); // a reboot
    disk("sdb", ahci + "1.0");
    disk("sda", ahci + "2.0");
    update();
    EXPECT_THAT(seen(), ElementsAre("0:1=sdb", "0:2=sda"));
}

TEST_F(Slots, GiveADisksReplacementItsChannel) {
    disk("sda", ahci + "1.0", "OLD");
    disk("sdb", ahci + "2.0");
    update();
    pull("sda");
    update();
    EXPECT_THAT(seen(), ElementsAre("0:2=sdb"));
    EXPECT_THAT(root.list(table), ElementsAre("1", "2")) << "a reader may have listed it";
    disk("sdc", ahci + "1.0", "NEW");
    update();
    EXPECT_THAT(seen(), ElementsAre("0:1=sdc", "0:2=sdb"));
}

TEST_F(Slots, AreListedWithPathAndSerialNumber) {
    disk("sda", ahci + "1.0", "SN1");
    disk("sdb", ahci + "2.0", "SN2");
    update();
    pull("sda");
    disk("sdc", ahci + "3.0", "SN3");
    EXPECT_EQ(run({"--list"}).out, "CHANNEL  DISK  SERIAL  PATH\n"
                                   "1        -     -       " +
                                       ahci +
                                       "1.0\n"
                                       "2        sdb   SN2     " +
                                       ahci +
                                       "2.0\n"
                                       "-        sdc   SN3     " +
                                       ahci + "3.0 (new)\n");
    EXPECT_THAT(root.read(conf), Not(HasSubstr("ata-3"))) << "listing changes nothing";
}

TEST_F(Slots, AreWhatTheAdministratorWrote) {
    root.file(conf, "7 " + ahci + "1.0\n1:16 " + ahci + "2.0 # the box below\nusb = no\n");
    disk("sda", ahci + "1.0");
    disk("sdb", ahci + "2.0");
    disk("sdc", ahci + "3.0");
    update();
    EXPECT_THAT(seen(), ElementsAre("0:1=sdc", "0:7=sda", "1:16=sdb"));
    EXPECT_EQ(root.read(conf), "7 " + ahci + "1.0\n1:16 " + ahci +
                                   "2.0 # the box below\nusb = no\n1 " + ahci + "3.0\n");
}

TEST_F(Slots, GoOnInTheBoxesWhenTheControllerIsFull) {
    for (int number = 1; number <= 80; ++number) {
        const auto letter = [](int value) { return static_cast<char>('a' + value); };
        disk({'s', 'd', letter(number / 26), letter(number % 26)}, ahci + std::to_string(number));
    }
    update();
    std::vector<std::string> places;
    for (const std::string& one : seen()) {
        places.push_back(one.substr(0, one.find('=')));
    }
    std::sort(places.begin(), places.end());
    std::vector<std::string> wanted;
    for (int device = 0; device < 5; ++device) {
        for (int channel = 1; channel <= 16; ++channel) {
            wanted.push_back(std::to_string(device) + ":" + std::to_string(channel));
        }
    }
    std::sort(wanted.begin(), wanted.end());
    EXPECT_EQ(places, wanted);

    disk("sdzz", ahci + "81");
    const Result result = run();
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_EQ(result.err, "zavbox-slots: sdzz: no channel is left\n");
}

TEST_F(Slots, AreTheBaysOfAnEnclosure) {
    disk("sda", "pci-0000:03:00.0-sas-exp0x5-phy3-lun-0", "S", "4:0:3:0");
    root.symlink("/sys/devices/4:0:9:0/enclosure/4:0:9:0/ArrayDevice 03",
                 "/sys/devices/4:0:3:0/enclosure_device:ArrayDevice 03");
    root.file("/sys/devices/4:0:9:0/enclosure/4:0:9:0/ArrayDevice 03/slot", "3\n");
    root.file("/sys/devices/4:0:9:0/enclosure/4:0:9:0/id", "0x500304801f5a3d3f\n");
    update();
    EXPECT_THAT(root.read(conf), HasSubstr("\n1 0x500304801f5a3d3f/3\n"));
}

TEST_F(Slots, AreNotTakenTwiceByTheTwoPathsOfADisk) {
    for (const char* name : {"sda", "sdb"}) {
        disk(name, std::string("pci-0000:03:00.0-sas-") + name, "S", name);
        root.symlink("/sys/devices/enclosure/E/03",
                     std::string("/sys/devices/") + name + "/enclosure_device:03");
    }
    root.file("/sys/devices/enclosure/E/03/slot", "3\n");
    root.file("/sys/devices/enclosure/E/id", "0x5\n");
    update();
    EXPECT_THAT(seen(), ElementsAre("0:1=sda"));
    EXPECT_THAT(run({"--list"}).out, HasSubstr("0x5/3 (same place as sda)\n"));
}

TEST_F(Slots, AreForUsbDisksOnlyIfWanted) {
    disk("sda", "pci-0000:00:14.0-usb-0:1:1.0-scsi-0:0:0:0", "S", "usb1/1-1/0:0:0:0");
    update();
    EXPECT_THAT(seen(), IsEmpty());
    root.file(conf, "usb = yes\n");
    update();
    EXPECT_THAT(seen(), ElementsAre("0:1=sda"));
}

TEST_F(Slots, AreNotForWhatIsNoDisk) {
    disk("sr0", ahci + "1.0");
    disk("md0", "x");
    disk("nvme0c0n1", "pci-0000:00:05.0-nvme-1");
    disk("sda", "ip-10.0.0.1:3260-iscsi-iqn.2026-01.org:t-lun-1");
    disk("sdb", ahci + "2.0");
    root.file("/sys/block/sdb/size", "0\n");
    disk("nvme10n1", "pci-0000:00:06.0-nvme-1"); // zavbox would cut the name
    update();
    EXPECT_THAT(seen(), IsEmpty());
}

TEST_F(Slots, AreNotForTheSystemsDisks) {
    // /boot on sda1, / on a volume on an array on sdb2, swap not on yet on sdc.
    for (const char* name : {"sda", "sdb", "sdc", "sdd"}) {
        disk(name, std::string("pci-0000:00:1f.2-ata-") + name[2]);
    }
    const auto partition = [&](const std::string& of, const std::string& name,
                               const std::string& number) {
        root.file("/sys/block/" + of + "/" + name + "/partition", "1\n");
        root.file("/sys/block/" + of + "/" + name + "/dev", number + "\n");
        root.symlink("/sys/block/" + of + "/" + name, "/sys/dev/block/" + number);
        root.symlink("/sys/block/" + of + "/" + name, "/sys/class/block/" + name);
        root.file("/dev/" + name, "");
    };
    partition("sda", "sda1", "8:101");
    partition("sdb", "sdb2", "8:102");
    partition("sdc", "sdc1", "8:103");
    const auto stacked = [&](const std::string& name, const std::string& number,
                             const std::string& below) {
        root.file("/sys/block/" + name + "/dev", number + "\n");
        root.symlink(below, "/sys/block/" + name + "/slaves/" + below.substr(below.rfind('/') + 1));
        root.symlink("/sys/block/" + name, "/sys/dev/block/" + number);
    };
    stacked("md0", "9:0", "/sys/block/sdb/sdb2");
    stacked("dm-0", "253:0", "/sys/block/md0");
    root.file("/etc/fstab", "# boot\n/dev/sda1 /boot ext4 defaults 0 2\nUUID=ab none swap sw 0 0\n"
                            "/dev/sdd /srv xfs defaults 0 0\n");
    root.symlink("../../sdc1", "/dev/disk/by-uuid/ab");
    root.file("/mountinfo", "22 1 253:0 / / rw - ext4 /dev/mapper/g-root rw\n"
                            "23 22 8:64 / /srv rw - xfs /dev/sdd rw\n");
    root.remove("/proc/self");
    root.symlink("/mountinfo", "/proc/self/mountinfo");
    update();
    EXPECT_THAT(seen(), ElementsAre("0:1=sdd"));
    EXPECT_THAT(run({"--list"}).out, HasSubstr("pci-0000:00:1f.2-ata-b (system)\n"));
}

// At the first events of a boot.
TEST_F(Slots, OfADiskThatUdevHasNotSeenYetWait) {
    disk("sda", ahci + "1.0");
    disk("sdb", ahci + "2.0");
    root.remove("/run/udev/data/b8:16");
    update();
    EXPECT_THAT(seen(), ElementsAre("0:1=sdb"));
}

TEST_F(Slots, ThatAreNewWaitUntilTheyCanBeKept) {
    root.file(conf, "1 " + ahci + "1.0\n");
    disk("sda", ahci + "1.0");
    disk("sdb", ahci + "2.0");
    root.read_only("/etc");
    const Result result = run();
    EXPECT_EQ(result.exit_status, 0);
    EXPECT_THAT(result.err, HasSubstr("Read-only file system: new places get no channel"));
    EXPECT_THAT(seen(), ElementsAre("0:1=sda"));
}

TEST_F(Slots, AreThoseOfTheBusWhereUdevDoesNotRun) {
    root.remove("/run/udev");
    for (const char* name : {"sda", "sdb"}) {
        disk(name, name, "S",
             std::string("pci0000:00/0000:00:04.0/0:0:") + (name[2] == 'a' ? "9" : "10") + ":0");
    }
    root.remove("/run/udev");
    disk("vda", "v", "S", "pci0000:00/0000:00:07.0/virtio3");
    root.remove("/run/udev");
    update();
    EXPECT_THAT(root.read(conf), HasSubstr("1 pci-0000:00:04.0-scsi-0:0:9:0\n"
                                           "2 pci-0000:00:04.0-scsi-0:0:10:0\n"
                                           "3 pci-0000:00:07.0\n"));
}

TEST_F(Slots, SayWhichLineIsWrong) {
    root.file(conf, "17 a\n1 b\n1 c\n2 b\nwhat is this\n");
    const Result result = run();
    EXPECT_EQ(result.err,
              "zavbox-slots: /etc/zavbox/slots.conf:1: neither CHANNEL PATH nor KEY = VALUE\n"
              "zavbox-slots: /etc/zavbox/slots.conf:3: the channel or the path is already above\n"
              "zavbox-slots: /etc/zavbox/slots.conf:4: the channel or the path is already above\n"
              "zavbox-slots: /etc/zavbox/slots.conf:5: neither CHANNEL PATH nor KEY = VALUE\n");
    EXPECT_EQ(result.exit_status, 0);
}

TEST_F(Slots, AreLitByTheirDisk) {
    root.file("/usr/sbin/ledctl", "#!/bin/sh\necho \"$@\" >>/lit\n", 0755);
    disk("sda", ahci + "1.0");
    update();
    EXPECT_EQ(run({"--identify", "1"}).exit_status, 0);
    EXPECT_EQ(run({"--identify", "1", "--off"}).exit_status, 0);
    EXPECT_EQ(root.read("/lit"),
              "--listed-only locate=/dev/sda\n--listed-only locate_off=/dev/sda\n");
    root.file("/usr/sbin/ledctl", "#!/bin/sh\nexit 19\n", 0755);
    EXPECT_EQ(run({"--identify", "1"}).exit_status, 19) << "a controller that ledctl cannot serve";
    EXPECT_EQ(run({"--identify", "2"}).err, "zavbox-slots: no disk in channel 2\n");
    EXPECT_EQ(run({"--identify", "0"}).err, "zavbox-slots: '0' is no channel\n");
    root.remove("/usr/sbin/ledctl");
    EXPECT_EQ(run({"--identify", "1"}).err,
              "zavbox-slots: /usr/sbin/ledctl: No such file or directory\n");
}

// Who has opened a file of the table reads on in the old one.
TEST_F(Slots, AreReplacedNotRewritten) {
    disk("sda", ahci + "1.0");
    update();
    const std::string before = root.read("/run/zavbox/mvSata/1");
    std::filesystem::create_hard_link(root.host_path("/run/zavbox/mvSata/1"),
                                      root.host_path("/opened"));
    pull("sda");
    update();
    EXPECT_THAT(seen(), IsEmpty());
    EXPECT_EQ(root.read("/opened"), before);
}

// Events come in crowds. A reader lists the directory and then reads its files: each is there, and
// whole, at any time.
TEST_F(Slots, AreWholeForAReaderWhileTheyChange) {
    for (const char letter : std::string("abcdef")) {
        disk(std::string("sd") + letter, ahci + letter);
    }
    update();
    const Result result =
        root.bare("for round in 1 2; do\n"
                  "    for disk in a b c; do\n"
                  "        (mv /sys/block/sd$disk /sys/pulled-$disk\n"
                  "        /tools/sbin/zavbox-slots\n"
                  "        mv /sys/pulled-$disk /sys/block/sd$disk\n"
                  "        /tools/sbin/zavbox-slots) &\n"
                  "    done\n"
                  "    wait\n"
                  "done &\n"
                  "writers=$!\n"
                  "while kill -0 $writers 2>/dev/null; do\n"
                  "    for file in $(ls /run/zavbox/mvSata); do\n"
                  "        text=$(cat /run/zavbox/mvSata/$file) || echo missing $file\n"
                  "        case $text in *'PCI location'*-----*) ;; *) echo half $file ;; esac\n"
                  "        case $file-$text in [56]-*' sde' | [56]-*' sdf' | [1-4]-*) ;; *) echo "
                  "lost $file ;; esac\n"
                  "    done\n"
                  "    echo read >>/reads\n"
                  "done\n"
                  "wait");
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_GT(root.read("/reads").size(), 5 * std::string("read\n").size());
    EXPECT_THAT(seen(),
                ElementsAre("0:1=sda", "0:2=sdb", "0:3=sdc", "0:4=sdd", "0:5=sde", "0:6=sdf"));
}

} // namespace
} // namespace zav::test
