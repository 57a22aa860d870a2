// SPDX-License-Identifier: MIT
// Disks, arrays, groups, pools, file systems and network disks: a call does what the command does.
#include "api/actions/action_case.h"

namespace zav::test {
namespace {

class StorageAction : public testing::TestWithParam<ActionCase> {};

TEST_P(StorageAction, DoesWhatTheCommandDoes) {
    expect_alike(GetParam());
}

void with_hotspare(ActionMachine& machine) {
    machine.hotspares({"sde"});
}

void with_free_array(ActionMachine& machine) {
    machine.array(
        {.name = "md2", .level = "raid5", .members = {{"sde"}, {"sdf"}, {"sdg", "faulty"}}});
}

void with_members_to_mark(ActionMachine& machine) {
    machine.tool("/sbin/mdadm").on("/sbin/mdadm /dev/md0 -f /dev/sda");
}

const std::vector<ActionCase> disk_actions = {
    {"InitialisesADisk", {}, {"diskmanage", "-I", "-n", "5"}, calls(zav_disk_init, {.channel = 5})},
    {"InitialisesAMember",
     with_members_to_mark,
     {"diskmanage", "-I", "-n", "1", "-d", "0"},
     calls(zav_disk_init, {.channel = 1, .device = "0"})},
    {"FindsNoSuchDisk",
     {},
     {"diskmanage", "-I", "-n", "9"},
     calls(zav_disk_init, {.channel = 9}),
     ZAV_E_NO_SUCH_DISK},
    {"RefusesAChannelOfADisk",
     {},
     {"diskmanage", "-I", "-n", "-1"},
     calls(zav_disk_init, {.channel = -1}),
     ZAV_E_BAD_CHANNEL},
    {"RefusesADeviceOfADisk",
     {},
     {"diskmanage", "-I", "-n", "5", "-d", "a b"},
     calls(zav_disk_init, {.channel = 5, .device = "a b"}),
     ZAV_E_BAD_DEVICE},
    {"AddsAHotspare", {}, {"diskmanage", "-H", "-a", "5"}, calls(zav_hotspare_add, {.channel = 5})},
    {"AddsNoDiskInUse",
     {},
     {"diskmanage", "-H", "-a", "1", "-d", "0"},
     calls(zav_hotspare_add, {.channel = 1, .device = "0"}),
     ZAV_E_DISK_IN_USE},
    {"AddsNoHotspareTwice",
     with_hotspare,
     {"diskmanage", "-H", "-a", "5"},
     calls(zav_hotspare_add, {.channel = 5}),
     ZAV_E_ALREADY_HOTSPARE},
    {"RemovesAHotspare",
     with_hotspare,
     {"diskmanage", "-H", "-r", "5"},
     calls(zav_hotspare_remove, {.channel = 5})},
    {"RemovesNoOrdinaryDisk",
     {},
     {"diskmanage", "-H", "-r", "5"},
     calls(zav_hotspare_remove, {.channel = 5}),
     ZAV_E_NO_HOTSPARE},
};
INSTANTIATE_TEST_SUITE_P(Disks, StorageAction, testing::ValuesIn(disk_actions), name_of);

void with_mdadm_that_fails(ActionMachine& machine) {
    machine.tool("/sbin/mdadm").on_prefix("/sbin/mdadm -C").exits(1);
}

void with_mdadm_that_fails_too_late(ActionMachine& machine) {
    machine.file("/var/mdstat", machine.read("/proc/mdstat") + "md5 : active raid1 sde[0] sdf[1]\n"
                                                               "      1 blocks [2/2] [UU]\n\n");
    machine.tool("/sbin/mdadm")
        .on_prefix("/sbin/mdadm -C")
        .does("/.harness/busybox cat /var/mdstat > /proc/mdstat")
        .exits(1);
}

void with_details(ActionMachine& machine) {
    machine.tool("/sbin/mdadm")
        .on("/sbin/mdadm -D /dev/md1")
        .prints(
            "   Raid Devices : 2\n 0 8 0 0 active sync /dev/sdc\n 1 8 0 1 active sync /dev/sdd\n");
}

const std::vector<ActionCase> array_actions = {
    {"CreatesAMirror",
     {},
     {"mdmanage", "-C", "-n", "md5", "-l", "1", "-d", "0", "5,6"},
     calls(zav_array_create,
           {.name = "md5", .level = ZAV_LEVEL_RAID1, .channels = "5,6", .device = "0"})},
    {"CreatesAStripe",
     {},
     {"mdmanage", "-C", "-n", "md5", "-l", "0", "-d", "0", "5,6"},
     calls(zav_array_create,
           {.name = "md5", .level = ZAV_LEVEL_RAID0, .channels = "5,6", .device = "0"})},
    {"CreatesWithParity",
     {},
     {"mdmanage", "-C", "-n", "md5", "-l", "5", "-d", "0", "5,6,7"},
     calls(zav_array_create,
           {.name = "md5", .level = ZAV_LEVEL_RAID5, .channels = "5,6,7", .device = "0"})},
    {"CreatesInTheForeground",
     {},
     {"mdmanage", "-C", "-g", "-n", "md5", "-l", "6", "-d", "0", "5,6,7,8"},
     calls(zav_array_create, {.name = "md5",
                              .level = ZAV_LEVEL_RAID6,
                              .channels = "5,6,7,8",
                              .device = "0",
                              .in_foreground = 1})},
    {"CreatesALinearArray",
     {},
     {"mdmanage", "-C", "-n", "md5", "-l", "JBOD", "-d", "0", "5,6"},
     calls(zav_array_create,
           {.name = "md5", .level = ZAV_LEVEL_LINEAR, .channels = "5,6", .device = "0"})},
    {"CreatesNothingWithoutADevice",
     {},
     {"mdmanage", "-C", "-n", "md5", "-l", "1", "5,6"},
     calls(zav_array_create, {.name = "md5", .level = ZAV_LEVEL_RAID1, .channels = "5,6"}),
     ZAV_E_WRONG_DISK},
    {"CreatesNothingOfAUsedDisk",
     {},
     {"mdmanage", "-C", "-n", "md5", "-l", "1", "-d", "0", "1,5"},
     calls(zav_array_create,
           {.name = "md5", .level = ZAV_LEVEL_RAID1, .channels = "1,5", .device = "0"}),
     ZAV_E_DISK_USED},
    {"CreatesNothingWhenMdadmFails",
     with_mdadm_that_fails,
     {"mdmanage", "-C", "-n", "md5", "-l", "1", "-d", "0", "5,6"},
     calls(zav_array_create,
           {.name = "md5", .level = ZAV_LEVEL_RAID1, .channels = "5,6", .device = "0"}),
     ZAV_E_ARRAY_NOT_CREATED},
    {"RefusesANameOfAnArray",
     {},
     {"mdmanage", "-C", "-n", "m d", "-l", "1", "5,6"},
     calls(zav_array_create, {.name = "m d", .level = ZAV_LEVEL_RAID1, .channels = "5,6"}),
     ZAV_E_BAD_ARRAY_NAME},
    {"RefusesALevel",
     {},
     {"mdmanage", "-C", "-n", "md5", "5,6"},
     calls(zav_array_create, {.name = "md5", .channels = "5,6"}),
     ZAV_E_BAD_RAID_LEVEL},
    {"RefusesTheDeviceOfAnArray",
     {},
     {"mdmanage", "-C", "-n", "md5", "-l", "1", "-d", "", "5,6"},
     calls(zav_array_create,
           {.name = "md5", .level = ZAV_LEVEL_RAID1, .channels = "5,6", .device = ""}),
     ZAV_E_BAD_DEVICE},
    {"RefusesMissingChannels",
     {},
     {"mdmanage", "-C", "-n", "md5", "-l", "1"},
     calls(zav_array_create, {.name = "md5", .level = ZAV_LEVEL_RAID1}),
     ZAV_E_BAD_CHANNEL},
    {"DeletesAnArray",
     with_free_array,
     {"mdmanage", "-D", "-n", "md2"},
     calls(zav_array_delete, {.name = "md2"})},
    {"DeletesNoArrayWithAGroup",
     {},
     {"mdmanage", "-D", "-n", "md1"},
     calls(zav_array_delete, {.name = "md1"}),
     ZAV_E_ARRAY_CARRIES_GROUP},
    {"RecoversAnArray",
     with_details,
     {"mdmanage", "-R", "-n", "md1"},
     calls(zav_array_recover, {.name = "md1"})},
    {"RecoversNoUnknownArray",
     {},
     {"mdmanage", "-R", "-n", "md9"},
     calls(zav_array_recover, {.name = "md9"}),
     ZAV_E_BAD_ARRAY_NAME},
    {"AddsADisk",
     with_free_array,
     {"mdmanage", "-a", "8", "md2"},
     calls(zav_array_add_disk, {.array = "md2", .channel = 8})},
    {"AddsNoUsedDisk",
     with_free_array,
     {"mdmanage", "-a", "5", "md2"},
     calls(zav_array_add_disk, {.array = "md2", .channel = 5}),
     ZAV_E_DISK_USED},
    {"RemovesAFaultyDisk",
     with_free_array,
     {"mdmanage", "-r", "7", "md2"},
     calls(zav_array_remove_disk, {.array = "md2", .channel = 7})},
    {"RemovesNoGoodDisk",
     with_free_array,
     {"mdmanage", "-r", "5", "md2"},
     calls(zav_array_remove_disk, {.array = "md2", .channel = 5}),
     ZAV_E_DISK_NOT_FAULTY},
};
INSTANTIATE_TEST_SUITE_P(Arrays, StorageAction, testing::ValuesIn(array_actions), name_of);

// The command says so by a status of its own, which is in no table of codes.
TEST(ArrayAction, TellsOfAnArrayThatIsThereAlthoughMdadmFailed) {
    const auto create =
        calls(zav_array_create,
              {.name = "md5", .level = ZAV_LEVEL_RAID1, .channels = "5,6", .device = "0"});
    ActionMachine of_command;
    with_mdadm_that_fails_too_late(of_command);
    const Result command =
        of_command.run({"mdmanage", "-C", "-n", "md5", "-l", "1", "-d", "0", "5,6"});
    EXPECT_EQ(command.exit_status, 1);

    ActionMachine machine;
    with_mdadm_that_fails_too_late(machine);
    const Result call = machine.call([create] {
        zav_ctx* ctx = zav_ctx_new();
        zav_error error;
        const int code = create(ctx, &error);
        EXPECT_EQ(error.code, code);
        EXPECT_STREQ(error.name, "array_made_with_error");
        EXPECT_STREQ(error.sentence, "a command failed, and an array of that name is there");
        EXPECT_THAT(error.command, testing::StartsWith("/sbin/mdadm -C"));
        EXPECT_EQ(error.command_status, 1 << 8);
        zav_ctx_free(ctx);
        return code;
    });
    EXPECT_EQ(call.returned, ZAV_E_ARRAY_MADE_WITH_ERROR);
    EXPECT_EQ(trace_of(machine, call).commands, trace_of(of_command, command).commands);
}

void with_vgcreate_that_fails(ActionMachine& machine) {
    machine.tool("/sbin/vgcreate").any().exits(5);
}

void with_pool(ActionMachine& machine) {
    machine.pools({"/dev/data/films"});
}

const std::vector<ActionCase> group_actions = {
    {"CreatesAGroupOfDisks",
     {},
     {"vgmanage", "-C", "-n", "new", "-c", "5,sdf", "-d", "0"},
     calls(zav_group_create, {.name = "new", .volumes = "5,sdf", .device = "0"})},
    {"CreatesAGroupOfAnArray",
     with_free_array,
     {"vgmanage", "-C", "-n", "new", "-c", "md2"},
     calls(zav_group_create, {.name = "new", .volumes = "md2"})},
    {"CreatesNoGroupWhenLvmFails",
     with_vgcreate_that_fails,
     {"vgmanage", "-C", "-n", "new", "-c", "5"},
     calls(zav_group_create, {.name = "new", .volumes = "5"}),
     ZAV_E_GROUP_NOT_CREATED,
     0},
    {"RefusesAListOfVolumes",
     {},
     {"vgmanage", "-C", "-n", "new", "-c", ",5"},
     calls(zav_group_create, {.name = "new", .volumes = ",5"}),
     ZAV_E_BAD_VOLUME_LIST},
    {"RefusesTheNameOfAGroup",
     {},
     {"vgmanage", "-C", "-c", "5"},
     calls(zav_group_create, {.volumes = "5"}),
     ZAV_E_BAD_GROUP_NAME},
    {"DeletesAGroup",
     {},
     {"vgmanage", "-D", "-n", "more"},
     calls(zav_group_delete, {.name = "more"})},
    {"DeletesNoUnknownGroup",
     {},
     {"vgmanage", "-D", "-n", "other"},
     calls(zav_group_delete, {.name = "other"}),
     ZAV_E_UNKNOWN_GROUP},
};
INSTANTIATE_TEST_SUITE_P(Groups, StorageAction, testing::ValuesIn(group_actions), name_of);

const std::vector<ActionCase> pool_actions = {
    {"CreatesAPool",
     {},
     {"lvmanage", "-C", "-n", "films", "-L", "5", "data"},
     calls(zav_pool_create, {.name = "films", .group = "data", .size_gib = 5})},
    {"CreatesNoSecondPool",
     with_pool,
     {"lvmanage", "-C", "-n", "films", "-L", "5", "data"},
     calls(zav_pool_create, {.name = "films", .group = "data", .size_gib = 5}),
     ZAV_E_POOL_NAME_TAKEN},
    {"RefusesASize",
     {},
     {"lvmanage", "-C", "-n", "films", "-L", "100000000", "data"},
     calls(zav_pool_create, {.name = "films", .group = "data", .size_gib = 100000000}),
     ZAV_E_BAD_SIZE},
    {"RefusesTheNameOfAPool",
     {},
     {"lvmanage", "-C", "-n", "a/b", "-L", "5", "data"},
     calls(zav_pool_create, {.name = "a/b", .group = "data", .size_gib = 5}),
     ZAV_E_BAD_POOL_NAME},
    {"DeletesAPool",
     with_pool,
     {"lvmanage", "-D", "-n", "films", "data"},
     calls(zav_pool_delete, {.name = "films", .group = "data"})},
    {"DeletesNoPoolWithoutAGroup",
     with_pool,
     {"lvmanage", "-D", "-n", "films"},
     calls(zav_pool_delete, {.name = "films"}),
     ZAV_E_BAD_GROUP_NAME},
};
INSTANTIATE_TEST_SUITE_P(Pools, StorageAction, testing::ValuesIn(pool_actions), name_of);

void with_filesystem(ActionMachine& machine) {
    machine.pools({"/dev/data/films"})
        .registered({"/dev/data/films\t/mnt/data/films\txfs\tdefaults\t0 0"})
        .mounts({"/dev/data/films /mnt/data/films"})
        .backup("data", {"films"})
        .directory("/mnt/data/films");
}

void with_mkfs_that_fails(ActionMachine& machine) {
    machine.tool(pool_tool::mkfs_xfs).any().exits(1);
}

const std::vector<ActionCase> filesystem_actions = {
    {"CreatesAFilesystem",
     {},
     {"fsmanage", "-C", "-n", "films", "-s", "5", "-g", "data"},
     calls(zav_fs_create, {.name = "films", .group = "data", .size_gib = 5})},
    {"CreatesNoneWhenMkfsFails",
     with_mkfs_that_fails,
     {"fsmanage", "-C", "-n", "films", "-s", "5", "-g", "data"},
     calls(zav_fs_create, {.name = "films", .group = "data", .size_gib = 5}),
     ZAV_E_FS_NOT_MADE},
    {"CreatesNoSecondFilesystem",
     with_filesystem,
     {"fsmanage", "-C", "-n", "films", "-s", "5", "-g", "data"},
     calls(zav_fs_create, {.name = "films", .group = "data", .size_gib = 5}),
     ZAV_E_POOL_NAME_TAKEN},
    {"DeletesAFilesystem",
     with_filesystem,
     {"fsmanage", "-D", "-n", "films", "-g", "data"},
     calls(zav_fs_delete, {.name = "films", .group = "data"})},
    {"DeletesNothingUnregistered",
     {},
     {"fsmanage", "-D", "-n", "films", "-g", "data"},
     calls(zav_fs_delete, {.name = "films", .group = "data"})},
    {"RepairsAFilesystem",
     with_filesystem,
     {"fsmanage", "-R", "-n", "films", "-g", "data"},
     calls(zav_fs_repair, {.name = "films", .group = "data"})},
    {"RepairsNothingUnregistered",
     {},
     {"fsmanage", "-R", "-n", "films", "-g", "data"},
     calls(zav_fs_repair, {.name = "films", .group = "data"}),
     ZAV_E_FS_NOT_REPAIRED},
};
INSTANTIATE_TEST_SUITE_P(Filesystems, StorageAction, testing::ValuesIn(filesystem_actions),
                         name_of);

void with_netdisk(ActionMachine& machine) {
    machine.registered({"LABEL=usb\t/mnt/netdisk/usb\txfs\tdefaults\t0 0"}, netfstab)
        .mounts({"/dev/sdh /mnt/netdisk/usb"})
        .directory("/mnt/netdisk/usb");
}

const std::vector<ActionCase> netdisk_actions = {
    {"CreatesANetdisk",
     {},
     {"netmanage", "-C", "-n", "usb", "-g", "sdh"},
     calls(zav_netdisk_create, {.label = "usb", .disk = "sdh"})},
    {"CreatesNoSecondNetdisk",
     with_netdisk,
     {"netmanage", "-C", "-n", "usb", "-g", "sdg"},
     calls(zav_netdisk_create, {.label = "usb", .disk = "sdg"}),
     ZAV_E_POOL_NAME_TAKEN},
    {"RefusesTheNameOfADisk",
     {},
     {"netmanage", "-C", "-n", "usb", "-g", "../sdh"},
     calls(zav_netdisk_create, {.label = "usb", .disk = "../sdh"}),
     ZAV_E_BAD_GROUP_NAME},
    {"DeletesANetdisk",
     with_netdisk,
     {"netmanage", "-D", "-n", "usb"},
     calls(zav_netdisk_delete, {.label = "usb"})},
    {"DeletesNoUnknownNetdisk",
     {},
     {"netmanage", "-D", "-n", "usb"},
     calls(zav_netdisk_delete, {.label = "usb"})},
    {"RepairsANetdisk",
     with_netdisk,
     {"netmanage", "-R", "-n", "usb"},
     calls(zav_netdisk_repair, {.label = "usb"})},
    {"RepairsNoNetdiskWithoutALabel",
     {},
     {"netmanage", "-R"},
     calls(zav_netdisk_repair, {}),
     ZAV_E_BAD_POOL_NAME},
};
INSTANTIATE_TEST_SUITE_P(Netdisks, StorageAction, testing::ValuesIn(netdisk_actions), name_of);

} // namespace
} // namespace zav::test
