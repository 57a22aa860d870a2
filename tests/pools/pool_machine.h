// SPDX-License-Identifier: MIT
// An appliance with volume groups, pools, file systems and network disks, all of whose tools answer
// as they do on a good day.
#pragma once

#include "frame/text.h"
#include "machine.h"

#include <gmock/gmock.h>
#include <string>
#include <sys/utsname.h>
#include <vector>

namespace zav::test {

using Texts = std::vector<std::string>;

namespace pool_tool {
inline constexpr auto chattr = "/usr/bin/chattr";
inline constexpr auto chmod = "/bin/chmod";
inline constexpr auto diskformat = "/usr/local/bin/diskformat";
inline constexpr auto lvcreate = "/sbin/lvcreate";
inline constexpr auto lvdisplay = "/sbin/lvdisplay";
inline constexpr auto lvextend = "/sbin/lvextend";
inline constexpr auto lvremove = "/sbin/lvremove";
inline constexpr auto mkdir = "/bin/mkdir";
inline constexpr auto mkfs_reiserfs = "/sbin/mkfs.reiserfs";
inline constexpr auto mkfs_xfs = "/sbin/mkfs.xfs";
inline constexpr auto mount = "/bin/mount";
inline constexpr auto mv = "/bin/mv";
inline constexpr auto nasconf = "/usr/local/bin/nasconf";
inline constexpr auto rm = "/bin/rm";
inline constexpr auto umount = "/bin/umount";
inline constexpr auto xconf = "/usr/local/bin/xconf";
} // namespace pool_tool

inline constexpr auto mdfstab = "/etc/mdfstab";
inline constexpr auto netfstab = "/etc/netfstab";

// sda to sdd are channels 1 to 4. Group "data" of 100 GiB on md0 (sda, sdb), group "more" of 10 GiB
// on md1 (sdc, sdd), both on device "0"; no pools; empty registers; nothing mounted; no backups of
// LVM's. Tools succeed without doing anything, but mv, which moves.
class PoolMachine : public Machine {
  public:
    explicit PoolMachine(const std::string& model = "KOR7206H") : Machine(model) {
        constexpr std::uint64_t gib = std::uint64_t{1} << 20; // in KiB
        disks(4);
        array({.name = "md0", .level = "raid1", .members = {{"sda"}, {"sdb"}}});
        array({.name = "md1", .level = "raid1", .members = {{"sdc"}, {"sdd"}}});
        group({.name = "data", .volumes = {{.device = "/dev/md0", .size_kb = 100 * gib}}});
        group({.name = "more", .volumes = {{.device = "/dev/md1", .size_kb = 10 * gib}}});
        for (const char* path :
             {pool_tool::chattr, pool_tool::chmod, pool_tool::diskformat, pool_tool::lvcreate,
              pool_tool::lvextend, pool_tool::lvremove, pool_tool::mkdir, pool_tool::mkfs_reiserfs,
              pool_tool::mkfs_xfs, pool_tool::mount, pool_tool::nasconf, pool_tool::rm,
              pool_tool::umount, pool_tool::xconf}) {
            tool(path).any().as_default();
        }
        for (const char* directory : {"/sbin", "/usr/local/bin"}) {
            for (const char* name : {"/reiserfsck", "/xfs_repair"}) {
                tool(std::string(directory) + name).any().as_default();
            }
        }
        tool(pool_tool::mv).any().does("mv \"$1\" \"$2\"").as_default();
        pools({});
        file(mdfstab, "");
        file(netfstab, "");
        mounts({});
    }

    // The pools of now, each as "/dev/data/pool", available and of 2 GiB.
    PoolMachine& pools(const Texts& paths) {
        std::string lines;
        for (const std::string& path : paths) {
            const auto group = std::string(field(path, "/", 1));
            lines += "  " + path + ":" + group + ":3:1:-1:0:4194304:512:-1:0:-1:254:0\n";
        }
        return pool_lines(lines);
    }
    // The output of lvdisplay -c, for all and for every single pool.
    PoolMachine& pool_lines(const std::string& lines) {
        tool(pool_tool::lvdisplay).on("/sbin/lvdisplay -c").prints(lines).as_default();
        tool(pool_tool::lvdisplay).on_prefix("/sbin/lvdisplay -c ").prints(lines).as_default();
        return *this;
    }
    PoolMachine& registered(const Texts& lines, const char* path = mdfstab) {
        file(path, joined(lines));
        return *this;
    }
    // The mount table, each as "/dev/data/pool /mnt/data/pool".
    PoolMachine& mounts(const Texts& devices_and_directories) {
        std::string table = "proc /proc proc rw 0 0\n";
        for (const std::string& mount : devices_and_directories) {
            table += mount + " xfs rw,relatime 0 0\n";
        }
        file("/proc/mounts", table);
        return *this;
    }
    // A backup of LVM's that knows the pools of a group on md0 or md1.
    PoolMachine& backup(const std::string& group, const Texts& pools) {
        std::string text = group + " {\n\tphysical_volumes {\n\t}\n\n\tlogical_volumes {\n";
        for (const std::string& pool : pools) {
            text += "\n\t\t" + pool + " {\n\t\t\tid = \"0\"\n\t\t}\n";
        }
        file("/etc/lvm/backup/" + group, text + "\t}\n}\n");
        return *this;
    }

    // Runs a command. Nothing may stay in /tmp.
    Result manage(const Texts& arguments, const RunOptions& options = {}) {
        Result result = run(arguments, options);
        EXPECT_THAT(tmp(), testing::IsEmpty());
        return result;
    }
    // Runs an operation of the library, under the same condition.
    Result operation(const std::function<int()>& function, const RunOptions& options = {}) {
        Result result = call(function, options);
        EXPECT_THAT(tmp(), testing::IsEmpty());
        return result;
    }

    // Messages of the log.
    Texts logged() const {
        Texts texts;
        for (const LogLine& line : log()) {
            texts.push_back(line.text);
        }
        return texts;
    }

  private:
    static std::string joined(const Texts& lines) {
        std::string text;
        for (const std::string& line : lines) {
            text += line + "\n";
        }
        return text;
    }
};

// The outside commands of a run, temporary files by their templates, without the redirection of the
// error output that each must end in.
inline Texts outside(const Result& result) {
    const std::string redirection = " 2>> /dev/null";
    Texts commands = result.commands_with_templates();
    for (std::string& command : commands) {
        EXPECT_TRUE(command.ends_with(redirection)) << command;
        command.resize(command.size() - redirection.size());
    }
    return commands;
}

// Those of a run's commands that do not only read: the lists of disks, arrays, groups and pools are
// made of reading ones.
inline Texts changes(const Result& result) {
    Texts commands = outside(result);
    std::erase_if(commands, [](const std::string& command) {
        return command.starts_with("cat ") || command.find("--list") != std::string::npos ||
               command.find("--scan") != std::string::npos ||
               command.find("--detail") != std::string::npos ||
               command.find("display -c") != std::string::npos;
    });
    return commands;
}

// The command that mounts XFS under the kernel that runs the test. Releases are compared as texts.
inline std::string xfs_mount(const std::string& source, const std::string& directory) {
    utsname kernel = {};
    ::uname(&kernel);
    const std::string option = std::string(kernel.release) < "2.6.30" ? "" : "-o inode64 ";
    return "mount -t xfs " + option + source + " " + directory + " > /dev/null";
}

// The log's line about a command that failed.
inline auto failed(const std::string& command, const std::string& end,
                   const std::string& before_return = " ") {
    return testing::AllOf(testing::StartsWith("system(\"" + command + "\")" + before_return +
                                              "return " + end + " for '"),
                          testing::EndsWith("'"));
}

// The log's line of a function that returns a code.
inline auto returned(const std::string& function, int code) {
    return testing::MatchesRegex(function + "\\[[0-9]+\\]: return with " + std::to_string(code));
}

} // namespace zav::test
