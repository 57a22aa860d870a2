// SPDX-License-Identifier: MIT
// Machines on which something is wrong, and one whose names are meant to do harm.
#include "machines.h"

namespace zavinfo::test {

MadeMachine degraded_machine() {
    constexpr std::uint64_t tib = MadeMachine::tib;
    MadeMachine machine;
    for (int at = 0; at < 8; ++at) {
        machine.disk(at + 1, std::string("sd") + static_cast<char>('a' + at));
    }
    machine.disk_at(3).smart = ZAV_VERDICT_FAILED;
    machine.disk_at(6).is_hotspare = 1;
    machine.disk_at(6).state = ZAV_DISK_OFFLINE;
    machine.array("md0", "raid5", {0, 1, 2, 3}, ZAV_ARRAY_DEGRADED).size_bytes = 12 * tib;
    machine.member(0, 2, ZAV_MEMBER_FAULTY);
    machine.array("md1", "raid1", {4, 5}, ZAV_ARRAY_REBUILDING).rebuild = {1, 0.126, 7650};
    machine.member(1, 1, ZAV_MEMBER_REBUILDING);
    machine.group("data", {0}, 12 * tib);
    machine.pool("films", 6 * tib, 0.985);
    machine.share("films", ZAV_SERVICE_SAMBA).comment = "All films";
    machine.share("archive", ZAV_SERVICE_NFS, ZAV_SHARE_NOT_SERVED).users = "10.0.0.0/8";
    machine.pool("music", 2 * tib, 0.92);
    machine.share("music", ZAV_SERVICE_SAMBA).users = "anna,bert";
    machine.pool("disk1", tib, -1);
    machine.share("disk1", ZAV_SERVICE_ISCSI).users = "anna";
    machine.group("office", {1}, 4 * tib);
    machine.pool("letters", tib, 0.18);
    machine.filesystem().state = ZAV_FILESYSTEM_UNMOUNTED;
    machine.share("letters", ZAV_SERVICE_SAMBA).is_mounted = 0;
    machine.pool("guest", tib / 2, 0.07);
    machine.share("guest", ZAV_SERVICE_FTP).is_read_only = 1;
    machine.share("old", ZAV_SERVICE_SAMBA, ZAV_SHARE_FORBIDDEN);
    machine.share("stray", ZAV_SERVICE_NFS, ZAV_SHARE_NOT_REGISTERED);
    machine.netdisk("usb", 2 * tib, 0.41);
    machine.service(ZAV_SERVICE_SAMBA, ZAV_RUNNING);
    machine.service(ZAV_SERVICE_NFS, ZAV_RUNNING);
    machine.service(ZAV_SERVICE_FTP, ZAV_STOPPED);
    machine.service(ZAV_SERVICE_ISCSI, ZAV_RUNNING_UNKNOWN);
    machine.failure("health", ZAV_E_FAN_SPEED_UNREAD);
    machine.health().fans = "";
    return machine;
}

MadeMachine hostile_machine() {
    const std::string script = "<script>document.title='taken'</script>";
    const std::string quotes = "\"><img src=x onerror=\"document.title='taken'\">'";
    const std::string entity = "&lt;b&gt; {name} --> ]]> </style></svg></title>";
    const std::string bytes = "\xff\x1b[31m\x07 \xe2\x80\xae"
                              "gnp.exe \xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d";
    const std::string length(300, 'w');
    MadeMachine machine;
    zav_disk& disk = machine.disk(1, "sda");
    disk.model = "<i>DISK</i>";
    disk.serial = "<u>\"'&";
    disk.state = ZAV_DISK_OTHER;
    disk.state_text = "<b>odd</b>";
    machine.array(script, "<raid5>", {0});
    machine.group(quotes, {0}, MadeMachine::tib);
    machine.pool(entity, MadeMachine::gib, 0.5);
    for (const std::string& name : {script, quotes, entity, bytes, length}) {
        zav_share& share = machine.share(name, ZAV_SERVICE_SAMBA);
        share.comment = share.users = share.path = share.name;
    }
    machine.health().host_name = "<script>document.title='taken'</script>";
    machine.health().model = "\"><b>";
    machine.health().power = "<b>normal";
    return machine;
}

} // namespace zavinfo::test
