// SPDX-License-Identifier: MIT
// A private root that looks like a healthy appliance: model, disk controller, arrays, volume groups
// and all outside tools, which succeed. The answers are defaults: expect_all_used() does not
// require them, and a test's own rule for the same text takes precedence. Tools only do what their
// rules say: creating or stopping an array changes no file.
#pragma once

#include "private_root.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zav::test {

struct MachineDisk {
    std::string name = {};              // sda, ...
    int channel = 0;                    // 0: one more than the number of disks so far
    std::string device = "0";           // "1" to "4": in an expansion box, channel 1 to 16
    std::uint64_t sectors = 3907029168; // of 512 bytes
    std::string state = "running";
    std::string model = "DISK-2000";
};

struct MachineMember {
    std::string name = {};
    std::string state = "in_sync"; // the kernel's state file
};

struct MachineArray {
    std::string name = {};
    std::string level = "raid5";
    std::string state = "clean"; // mdadm's "State"
    std::uint64_t size_kb = 3906764800;
    int raid_disks = 0; // 0: the number of members
    std::vector<MachineMember> members = {};
    std::string progress =
        {}; // third line in /proc/mdstat, such as "[=>...]  recovery = 12.6% ..."
};

struct MachineVolume {
    std::string device = {}; // /dev/md1
    std::uint64_t size_kb = 3906764800;
    std::uint64_t allocated = 0; // extents
};

struct MachineGroup {
    std::string name = {};
    std::vector<MachineVolume> volumes = {};
    int status = 772; // bits: 2 exported, 4 resizable
    std::uint64_t extent_kb = 4096;
};

class Machine : public PrivateRoot {
  public:
    explicit Machine(const std::string& model = "KOR7206H");

    Machine& model(const std::string& text); // rewrites /etc/sys_info
    Machine& disk(MachineDisk disk);         // controller status file, /sys/block/NAME
    Machine& disks(int count);               // sda, sdb, ... (at most 26) with channels 1, 2, ...
    Machine& hotspares(const std::vector<std::string>& names);

    // Adds or replaces an array: /proc/mdstat, /sys/block/NAME/md, the answer of mdadm --detail.
    Machine& array(const MachineArray& array);
    Machine& remove_array(const std::string& name);
    // A recorded array: PREFIX_mdstat, PREFIX_detail, PREFIX_sysfs in tests/captures. Its mdstat
    // becomes the machine's.
    Machine& recorded_array(const std::string& prefix);

    Machine& group(const MachineGroup& group); // one more volume group
    // Sets the lines of "vgdisplay -c" and "pvdisplay -c".
    Machine& group_lines(const std::string& vgdisplay, const std::string& pvdisplay);
    // Further lines of /bin/df, such as "/dev/sdf1 100 50 50 50% /mnt/usb".
    Machine& mounted(const std::vector<std::string>& lines);

  private:
    void declare_tools();
    void write_mdstat();
    void write_array_attributes(const MachineArray& array);

    std::vector<MachineDisk> disks_;
    std::vector<MachineArray> arrays_;
    std::string vgdisplay_;
    std::string pvdisplay_;
};

} // namespace zav::test
