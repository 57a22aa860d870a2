/* SPDX-License-Identifier: MIT */
/**
 * \file
 * What changes the appliance's storage: one call for each action of the commands, which does what
 * the command does, with the same checks, locks, outside commands and lines of the log. The rules
 * that hold for all calls stand in zav/zav.h; these hold for all actions:
 *
 * It takes a context, and the arguments in a struct whose first member is the struct's size, as the
 * program was compiled with:
 *
 *     const zav_pool_create_args args = {
 *         .struct_size = sizeof args, .name = "films", .group = "data", .size_gib = 100};
 *     if (zav_pool_create(ctx, &args, &error) != ZAV_OK) {
 *         fprintf(stderr, "%s. %s\n", error.sentence, error.next);
 *     }
 *
 * A struct may grow at its end; members that a program does not know are taken as zero. Texts are
 * the caller's, are read during the call, and count as not given when they are null. Nothing is
 * handed out that must be freed.
 *
 * It gives ZAV_OK or a code, which `error`, unless it is null, explains in the words that hold for
 * the command; error->left tells what is left behind of an action that failed. The calls name the
 * codes of their arguments; the other ones are those of the command's manual page (diskmanage(8)
 * and so on), and zav_error_advice_for() has what to do after each. Beside them:
 * ZAV_E_INVALID_ARGUMENT for a null context or struct, a struct whose size is too small, or one
 * that has members unknown to this version which are not zero; a callback that calls an action gets
 * it too. ZAV_E_NO_MEMORY, then what was done before stays.
 *
 * It needs root, and blocks until it is done: a minute or more where disks are cleared or a large
 * file system is made or repaired. The context's progress callback hears of each outside command
 * before it is run; its time limit ends one that hangs. Whoever else is changing the same things is
 * waited for as the command does, at most ten seconds. Within a process one action runs at a time,
 * whatever the contexts: another thread's waits for it. A change of files that was cut short
 * earlier is finished first.
 *
 * Files are made with the commands' modes, less the program's umask(2): one stricter than 022 can
 * keep services from reading them.
 *
 * Nothing asks for confirmation. Read the WARNINGS of the command's manual page.
 *
 * Names of arrays, groups, pools, shares and labels are 1 to 32 letters, digits, "_" and "-". A
 * disk is given by its channel, as zav_disk has it, and its device: null is the main controller's,
 * "0".
 */
#pragma once

#include "zav/context.h"
#include "zav/snapshot.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* ---- Disks: diskmanage(8) ---- */

typedef struct zav_disk_init_args {
    size_t struct_size;
    int32_t channel;
    const char* device;
} zav_disk_init_args;

/**
 * Clears a disk, whatever it is used for; one in an array is marked faulty first. Runs mdadm -f and
 * diskformat, and it is no failure when they fail. ZAV_E_BAD_DEVICE, ZAV_E_BAD_CHANNEL (a negative
 * one), ZAV_E_NO_SUCH_DISK.
 */
int zav_disk_init(zav_ctx* ctx, const zav_disk_init_args* args, zav_error* error);

typedef struct zav_hotspare_add_args {
    size_t struct_size;
    int32_t channel;
    const char* device;
} zav_hotspare_add_args;

/** Makes a disk a global hot spare, which clears it. Runs hotspare and diskformat. Codes as
 *  zav_disk_init(), ZAV_E_DISK_IN_USE, ZAV_E_ALREADY_HOTSPARE. */
int zav_hotspare_add(zav_ctx* ctx, const zav_hotspare_add_args* args, zav_error* error);

typedef struct zav_hotspare_remove_args {
    size_t struct_size;
    int32_t channel;
    const char* device;
} zav_hotspare_remove_args;

/** Makes a hot spare an ordinary disk again. Runs hotspare. Codes as zav_disk_init(),
 *  ZAV_E_NO_HOTSPARE. */
int zav_hotspare_remove(zav_ctx* ctx, const zav_hotspare_remove_args* args, zav_error* error);

/* ---- Arrays: mdmanage(8) ---- */

typedef enum zav_raid_level {
    ZAV_LEVEL_NONE = 0, /**< not given: refused */
    ZAV_LEVEL_RAID0,    /**< 2 to 16 disks */
    ZAV_LEVEL_RAID1,    /**< 2 disks */
    ZAV_LEVEL_RAID5,    /**< 3 to 16 disks */
    ZAV_LEVEL_RAID6,    /**< 4 to 16 disks */
    ZAV_LEVEL_LINEAR    /**< 2 to 16 disks; the commands' JBOD */
} zav_raid_level;

typedef struct zav_array_create_args {
    size_t struct_size;
    const char* name; /**< md and a number */
    zav_raid_level level;
    const char* channels; /**< separated by commas */
    const char* device;   /**< of all channels; must be given */
    int in_foreground;    /**< whether mdadm is to initialise the array before it ends */
} zav_array_create_args;

/**
 * Creates an array; its disks are cleared first. The name is reserved meanwhile. Runs diskformat on
 * each disk and mdadm -C. ZAV_E_BAD_ARRAY_NAME, ZAV_E_BAD_RAID_LEVEL, ZAV_E_BAD_DEVICE,
 * ZAV_E_BAD_CHANNEL. ZAV_E_ARRAY_MADE_WITH_ERROR, where the command ends with the status 1: an
 * outside command failed, and an array of that name is there.
 */
int zav_array_create(zav_ctx* ctx, const zav_array_create_args* args, zav_error* error);

typedef struct zav_array_delete_args {
    size_t struct_size;
    const char* name;
} zav_array_delete_args;

/** Stops an array without a group on it and clears its disks. Runs mdadm -S, and diskformat on each
 *  disk. ZAV_E_BAD_ARRAY_NAME, ZAV_E_UNKNOWN_ARRAY. */
int zav_array_delete(zav_ctx* ctx, const zav_array_delete_args* args, zav_error* error);

typedef struct zav_array_recover_args {
    size_t struct_size;
    const char* name;
} zav_array_recover_args;

/** Stops an array that has lost a member and creates it anew on the disks that it finds. Runs mdadm
 *  -S and -C, vgscan. ZAV_E_BAD_ARRAY_NAME. */
int zav_array_recover(zav_ctx* ctx, const zav_array_recover_args* args, zav_error* error);

typedef struct zav_array_add_disk_args {
    size_t struct_size;
    const char* array;
    int32_t channel; /**< on the array's device */
} zav_array_add_disk_args;

/** Adds a disk to an array. Runs mdadm --add. ZAV_E_BAD_ARRAY_NAME, ZAV_E_BAD_CHANNEL,
 *  ZAV_E_UNKNOWN_ARRAY, ZAV_E_WRONG_DISK. */
int zav_array_add_disk(zav_ctx* ctx, const zav_array_add_disk_args* args, zav_error* error);

typedef struct zav_array_remove_disk_args {
    size_t struct_size;
    const char* array;
    int32_t channel; /**< on the array's device */
} zav_array_remove_disk_args;

/** Removes a faulty disk from an array. Runs mdadm -r. Codes as zav_array_add_disk(). */
int zav_array_remove_disk(zav_ctx* ctx, const zav_array_remove_disk_args* args, zav_error* error);

/* ---- Volume groups: vgmanage(8) ---- */

typedef struct zav_group_create_args {
    size_t struct_size;
    const char* name;
    const char* volumes; /**< arrays, channels, or names of disks as "sda", separated by commas */
    const char* device;  /**< of the channels */
} zav_group_create_args;

/** Creates a group; single disks are cleared first. Runs diskformat, pvcreate and vgcreate.
 *  ZAV_E_BAD_GROUP_NAME, ZAV_E_BAD_VOLUME_LIST, ZAV_E_BAD_DEVICE. Fails with
 *  ZAV_E_GROUP_NOT_CREATED where the command's status is 0 all the same. */
int zav_group_create(zav_ctx* ctx, const zav_group_create_args* args, zav_error* error);

typedef struct zav_group_delete_args {
    size_t struct_size;
    const char* name;
} zav_group_delete_args;

/** Deletes a group without pools, brought back from LVM's backup where its volumes are missing.
 * Runs pvcreate and vgcfgrestore for that, vgremove and pvremove. ZAV_E_BAD_GROUP_NAME,
 *  ZAV_E_UNKNOWN_GROUP. */
int zav_group_delete(zav_ctx* ctx, const zav_group_delete_args* args, zav_error* error);

/* ---- Pools: lvmanage(8) ---- */

typedef struct zav_pool_create_args {
    size_t struct_size;
    const char* name;
    const char* group;
    uint32_t size_gib; /**< in GiB, at most 99,999,999 */
} zav_pool_create_args;

/** Creates a pool without a file system. Runs lvcreate. ZAV_E_BAD_POOL_NAME, ZAV_E_BAD_SIZE,
 *  ZAV_E_BAD_GROUP_NAME. */
int zav_pool_create(zav_ctx* ctx, const zav_pool_create_args* args, zav_error* error);

typedef struct zav_pool_delete_args {
    size_t struct_size;
    const char* name;
    const char* group;
} zav_pool_delete_args;

/** Deletes a pool with all its data; its group is brought back first, as by zav_group_delete().
 * Runs lvremove. ZAV_E_BAD_POOL_NAME, ZAV_E_BAD_GROUP_NAME. */
int zav_pool_delete(zav_ctx* ctx, const zav_pool_delete_args* args, zav_error* error);

/* ---- File systems: fsmanage(8) ---- */

typedef struct zav_fs_create_args {
    size_t struct_size;
    const char* name; /**< of the pool */
    const char* group;
    uint32_t size_gib; /**< in GiB, at most 99,999,999 */
} zav_fs_create_args;

/** Creates a pool with a file system, mounts it on /mnt/GROUP/NAME and registers it. Runs lvcreate,
 *  mkfs, mkdir, chattr, mount, chmod. ZAV_E_BAD_GROUP_NAME (also for the pool's name),
 *  ZAV_E_BAD_SIZE. */
int zav_fs_create(zav_ctx* ctx, const zav_fs_create_args* args, zav_error* error);

typedef struct zav_fs_delete_args {
    size_t struct_size;
    const char* name; /**< of the pool */
    const char* group;
} zav_fs_delete_args;

/** Unmounts a registered file system and deletes it with its pool; its group is brought back first.
 *  Runs umount, chattr, rm, lvremove. ZAV_OK, too, for one that is not registered. Codes as
 *  zav_fs_create(). */
int zav_fs_delete(zav_ctx* ctx, const zav_fs_delete_args* args, zav_error* error);

typedef struct zav_fs_repair_args {
    size_t struct_size;
    const char* name; /**< of the pool */
    const char* group;
} zav_fs_repair_args;

/** Unmounts a registered file system, repairs it and mounts it again. Runs umount, xfs_repair -L or
 *  reiserfsck, mount. ZAV_E_BAD_POOL_NAME, ZAV_E_BAD_GROUP_NAME. */
int zav_fs_repair(zav_ctx* ctx, const zav_fs_repair_args* args, zav_error* error);

/* ---- Network disks: netmanage(8) ---- */

typedef struct zav_netdisk_create_args {
    size_t struct_size;
    const char* label;
    const char* disk; /**< as under /dev, such as "sdf" */
} zav_netdisk_create_args;

/** Makes a file system on a disk, mounts it on /mnt/netdisk/LABEL and registers it; what was on the
 *  disk is lost. Runs mkfs, mkdir, chattr, mount, chmod. ZAV_E_BAD_GROUP_NAME (for both names). */
int zav_netdisk_create(zav_ctx* ctx, const zav_netdisk_create_args* args, zav_error* error);

typedef struct zav_netdisk_delete_args {
    size_t struct_size;
    const char* label;
} zav_netdisk_delete_args;

/** Unmounts a registered network disk and clears it. Runs umount, chattr, rm, diskformat. ZAV_OK,
 *  too, for one that is not registered. ZAV_E_BAD_GROUP_NAME. */
int zav_netdisk_delete(zav_ctx* ctx, const zav_netdisk_delete_args* args, zav_error* error);

typedef struct zav_netdisk_repair_args {
    size_t struct_size;
    const char* label;
} zav_netdisk_repair_args;

/** Unmounts a registered network disk, repairs it and mounts it again. Runs umount, xfs_repair -L
 * or reiserfsck, mount. ZAV_E_BAD_POOL_NAME. */
int zav_netdisk_repair(zav_ctx* ctx, const zav_netdisk_repair_args* args, zav_error* error);

/* ---- Shares: sharemanage(8) ---- */

typedef struct zav_share_create_args {
    size_t struct_size;
    const char* name;
    zav_service_kind service;
    const char* group;
    uint32_t size_gib;   /**< in GiB, at most 99,999,999 */
    const char* users;   /**< accounts, for NFS hosts, separated by commas; null: everybody */
    int is_read_only;    /**< otherwise clients may write */
    const char* comment; /**< 1 to 128 bytes */
} zav_share_create_args;

/**
 * Registers a share, makes its pool with a file system, mounts it and restarts its service. Runs
 * lvcreate, mkfs, mkdir, chattr, mount, chmod, the service's init script; for FTP fxml.
 * ZAV_E_BAD_SHARE_NAME, ZAV_E_BAD_SHARE_MODE for a service without shares, ZAV_E_BAD_SIZE,
 * ZAV_E_BAD_COMMENT, ZAV_E_BAD_HOST, ZAV_E_UNKNOWN_USER, ZAV_E_BAD_GROUP_NAME.
 */
int zav_share_create(zav_ctx* ctx, const zav_share_create_args* args, zav_error* error);

typedef struct zav_share_delete_args {
    size_t struct_size;
    const char* name;
} zav_share_delete_args;

/** Deletes a share with its pool and all its data; the group is brought back first, as by
 *  zav_group_delete(). Runs umount, chattr, rm, lvremove. ZAV_E_BAD_SHARE_NAME. */
int zav_share_delete(zav_ctx* ctx, const zav_share_delete_args* args, zav_error* error);

typedef struct zav_share_edit_args {
    size_t struct_size;
    const char* name;
    zav_service_kind service; /**< that of a share in use cannot be changed */
    int is_in_use;            /**< otherwise it is forbidden: clients cannot reach it */
    const char* users;        /**< null: as they were; for FTP the default account */
    int is_read_only;         /**< otherwise clients may write, whatever was before */
    const char* comment;      /**< null: as it was */
} zav_share_edit_args;

/**
 * Gives a share new texts and access, and forbids it or puts it in use; one of iSCSI is always in
 * use. No service is told: it is the caller's to restart it. Runs mount or umount, for FTP fxml.
 * ZAV_E_BAD_SHARE_NAME, ZAV_E_EDIT_MODE_INVALID for a service without shares or another one than
 * the share's, ZAV_E_BAD_COMMENT, ZAV_E_BAD_HOST, ZAV_E_UNKNOWN_USER. ZAV_E_SHARE_NOT_LISTED, which
 * the command tells by its status alone: the share was not where it should have been, and is now.
 */
int zav_share_edit(zav_ctx* ctx, const zav_share_edit_args* args, zav_error* error);

typedef struct zav_share_repair_args {
    size_t struct_size;
    const char* name;
    zav_service_kind service;
    const char* group;
} zav_share_repair_args;

/** Unmounts a share, repairs its file system and mounts it again. Nothing is done, with ZAV_OK, for
 *  iSCSI. Runs umount, xfs_repair -L or reiserfsck, mount; the tool's failure is only logged.
 *  ZAV_E_BAD_SHARE_NAME, ZAV_E_BAD_GROUP_NAME, ZAV_E_BAD_SHARE_MODE. */
int zav_share_repair(zav_ctx* ctx, const zav_share_repair_args* args, zav_error* error);

typedef struct zav_share_restore_args {
    size_t struct_size;
    const char* name;
    zav_service_kind service;
    const char* group;
    uint32_t size_gib; /**< 0, unless as much is to be free in the group once more */
    const char* users;
    int is_read_only;
    const char* comment;
} zav_share_restore_args;

/** Registers a share whose pool exists, and mounts it; the members mean what they do in
 *  zav_share_create(). No service is told. Runs mount. Codes as zav_share_create(). */
int zav_share_restore(zav_ctx* ctx, const zav_share_restore_args* args, zav_error* error);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
