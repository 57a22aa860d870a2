// SPDX-License-Identifier: MIT
// An appliance that has something of everything, all of it well, and a snapshot of it.
#pragma once

#include "api/snapshot_print.h"
#include "fixtures/share_machine.h"
#include "sources/smart_outputs.h"

#include <algorithm>
#include <cstdio>
#include <gmock/gmock.h>
#include <map>
#include <string>
#include <vector>

namespace zav::test {

// A snapshot as its printed lines.
struct Picture {
    Result run;
    std::string messages; // the callback's

    // The lines that begin with one of the kinds.
    Texts lines(const std::string& kind) const {
        Texts found;
        for (const auto line : split(run.out, "\n")) {
            if (line.starts_with(kind + " ")) {
                found.emplace_back(line.substr(kind.size() + 1));
            }
        }
        return found;
    }
    Texts failures() const { return lines("failure"); }

    // How often each outside command ran, without its output's file.
    std::map<std::string, int> counts() const {
        std::map<std::string, int> counts;
        for (const std::string& command : run.commands_without_redirection()) {
            std::string bare;
            for (const auto word : split(command, " ")) {
                bare.append(bare.empty() ? "" : " ").append(word);
            }
            ++counts[bare];
        }
        return counts;
    }
};

// sda and sdb in md0 (RAID 1) below group "data" with pools films, block and music; sdc to sde in
// md1 (RAID 5), which is being rebuilt on sde, below group "more" together with sdf; sdg is a hot
// spare. films and music are mounted; "usb" is a network disk. Shares: films over Samba, music over
// NFS and forbidden "old", block over iSCSI, "guest" over FTP.
class SnapshotMachine : public ShareMachine {
  public:
    SnapshotMachine() : ShareMachine("KOR7206H") {
        constexpr std::uint64_t gib = std::uint64_t{1} << 20; // in KiB
        disk({.name = "sde"}).disk({.name = "sdf"}).disk({.name = "sdg", .state = "offline"});
        hotspares({"sdg"});
        array(
            {.name = "md0", .level = "raid1", .size_kb = 100 * gib, .members = {{"sda"}, {"sdb"}}});
        array({.name = "md1",
               .level = "raid5",
               .state = "clean, degraded, recovering",
               .size_kb = 200 * gib,
               .members = {{"sdc"}, {"sdd"}, {"sde", "spare"}},
               .progress = "[=>...]  recovery = 12.6% (37043392/292945152) finish=127.5min "
                           "speed=33440K/sec"});
        slots("md0", {{"sda", "0"}, {"sdb", "1"}});
        slots("md1", {{"sdc", "0"}, {"sdd", "1"}, {"sde", "2"}});
        file("/sys/block/md0/size", "209715200\n"); // 100 GiB
        group_lines("", "");
        group({.name = "data",
               .volumes = {{.device = "/dev/md0", .size_kb = 100 * gib, .allocated = 1536}}});
        group({.name = "more",
               .volumes = {{.device = "/dev/md1", .size_kb = 10 * gib},
                           {.device = "/dev/sdf", .size_kb = 5 * gib}}});
        pools({"/dev/data/films", "/dev/data/block", "/dev/more/music"});
        symlink("../dm-3", "/dev/data/films").file("/dev/dm-3", "");
        file("/sys/block/dm-3/size", "4194312\n"); // a little more than 2 GiB
        registered({"/dev/data/films\t/mnt/data/films\txfs\tdefaults\t0 0",
                    "/dev/more/music\t/mnt/more/music\txfs\tdefaults\t0 0"});
        registered({"LABEL=usb\t/mnt/netdisk/usb\txfs\tdefaults\t0 0"}, netfstab);
        directory("/mnt/data/films").directory("/mnt/netdisk/usb");
        mounts({"/dev/mapper/data-films /mnt/data/films", "/dev/sdh /mnt/netdisk/usb"});
        symlink("../dm-3", "/dev/mapper/data-films");
        add_shares();
        add_health();
    }

    Picture picture(unsigned what = ZAV_ALL, const RunOptions& options = {}) {
        Picture taken;
        taken.run = operation(
            [what] {
                char messages[8192];
                const int code = print_snapshot(what, messages, sizeof messages);
                std::fputs("messages:\n", stdout);
                std::fputs(messages, stdout);
                return code;
            },
            options);
        const std::string mark = "messages:\n";
        const std::size_t at = taken.run.out.find(mark);
        if (at != std::string::npos) {
            taken.messages = taken.run.out.substr(at + mark.size());
            taken.run.out.resize(at);
        }
        return taken;
    }

  private:
    void slots(const std::string& array, const std::map<std::string, std::string>& slots_of) {
        for (const auto& [member, slot] : slots_of) {
            file("/sys/block/" + array + "/md/dev-" + member + "/slot", slot + "\n");
        }
    }
    void add_shares() {
        shares({{.name = "films", .path = "/mnt/data/films", .comment = "all films"},
                {.name = "music", .service = "nfs", .path = "/mnt/more/music", .comment = "songs"},
                {.name = "old", .service = "", .path = "/mnt/data/old"},
                {.name = "block", .service = "iscsi", .path = "/dev/data/block"},
                {.name = "guest", .service = "ftp", .path = "/home/ftpuser/guest"}});
        file(smb_conf, samba_global + samba_section("films", "/mnt/data/films", "anna,bert",
                                                    "all films", "writable = no"));
        file(exports, "/mnt/more/music 10.0.0.0/8(ro,sync,no_root_squash)\n");
        file(targets, "Target iqn.2006-05.com.nas:block.20261120100000\n"
                      "\tIncomingUser anna annasecret\n"
                      "\tLun 0 Path=/dev/data/block,Type=fileio,IOMode=wb\n");
    }
    void add_health() {
        tool("/usr/local/sbin/smartctl").any().prints(smart_output("sata_healthy_attributes"));
        tool("/usr/bin/vmstat").any().prints("a\nb\n0 0 0 0 0 0 0 0 0 0 0 0 0 0 80\n");
        file("/etc/hostname", "nas\n").file("/etc/nas_start_time.conf", "2026-11-20 10:00\n");
        file("/var/run/sys_state", "[status]\n\ttemp(cpu) = 41\n\tfan1 = 2400\n\tpower = normal\n");
        file("/proc/meminfo", "MemTotal: 100 kB\nMemFree: 40 kB\nBuffers: 5 kB\nCached: 5 kB\n");
        for (const char* process : {"smbd", "nmbd", "nfsd"}) {
            tool("/bin/busybox").on(std::string("/bin/busybox pidof ") + process).prints("812\n");
        }
        tool("/bin/busybox").on_prefix("/bin/busybox pidof ").exits(1);
    }
};

} // namespace zav::test
