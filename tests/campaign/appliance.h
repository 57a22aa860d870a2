// SPDX-License-Identifier: MIT
// An appliance on which the tools do what they say: what is created is listed afterwards, what is
// mounted stands in the mount table, what is removed is gone. An action can be given again after a
// fault, and the state that it has left can be compared.
#pragma once

#include "fixtures/share_machine.h"

#include <map>
#include <string>

namespace zav::test {

// What a file or a directory of the appliance holds, by its path.
using State = std::map<std::string, std::string>;

// sda to sdh are channels 1 to 8 of device "0": md0 has sda and sdb, md1 sdc and sdd, the others
// are free. Group "data" is on md0 and "more" on md1. There are LVM backups of none.
class Appliance : public ShareMachine {
  public:
    explicit Appliance(const std::string& model = "KOR7206H");

    // An array of more disks, as `mdadm -C` makes it. The last `faulty` of them have failed.
    Appliance& has_array(const std::string& name, const std::string& level, const Texts& disks,
                         int faulty = 0);
    // The array does not run: mdadm and the kernel have it as it was before a reboot.
    Appliance& is_stopped(const std::string& name, const Texts& disks, int slots);
    Appliance& has_group(const std::string& name, const std::string& device);
    // A pool, as `lvcreate` makes it.
    Appliance& has_pool(const std::string& group, const std::string& pool);
    Appliance& has_hotspare(const std::string& disk);
    // A pool of group "data" with its file system, registered and mounted.
    Appliance& has_file_system(const std::string& pool, const std::string& type = "xfs");
    Appliance& has_network_disk(const std::string& label, const std::string& disk,
                                const std::string& type = "xfs");
    // A mount, as `mount` makes it.
    Appliance& is_mounted(const std::string& device, const std::string& directory,
                          const std::string& type = "xfs");
    // The share "pub" of a service, in use, with its pool, mounted except for iSCSI.
    Appliance& has_share(const std::string& service, const std::string& users = "");
    // The forbidden share "pub", which belonged to the service.
    Appliance& has_forbidden_share(const std::string& service);
    // LVM's backup of a group with its pools on a device, whose volume is gone when it is not
    // listed.
    Appliance& has_backup(const std::string& group, const Texts& pools, const std::string& device,
                          const std::string& id);

    // All that an action can change: /etc, mount points, mounts, arrays, groups, pools. The date in
    // the names of iSCSI targets is left out.
    State state() const;
    // What must be gone at the end of every run: temporary files, journals, locks.
    Texts leftovers() const;

  private:
    void declare_lvm();
    void declare_arrays();
    void declare_file_systems();
    void declare_disks();
};

// The paths that differ.
Texts differences(const State& one, const State& other);

} // namespace zav::test
