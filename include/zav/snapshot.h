/* SPDX-License-Identifier: MIT */
/**
 * \file
 * What is there: disks, arrays, groups, pools, file systems, network disks, shares, services, the
 * appliance's health, all read at one time and linked with each other.
 *
 * A snapshot owns all that its functions hand out: arrays, texts and lists live as long as it, and
 * never change. It is complete in itself: freeing the context does not affect it.
 *
 * Links: an index into another array of the same snapshot, or ZAV_NONE where there is none, where
 * it could not be found out, or where the other array was not asked for.
 *
 * Sizes are in bytes. How exact they are: those of disks, arrays and pools, and those of mounted
 * file systems, are the kernel's own and exact, as long as it gives them; all others, which come
 * from the tools' lists, are multiples of a GiB (of a MiB for file systems).
 */
#pragma once

#include "zav/context.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** No such link. */
#define ZAV_NONE (-1)

/** A temperature, slot or time that is not known. */
#define ZAV_UNKNOWN INT32_MIN

/** What a snapshot is to hold. Each costs the commands that it names, and each command is run once
 *  whatever is asked for together. */
typedef enum zav_what {
    /** cat of the controller's status files, hotspare --list; vexadm behind a RAID controller. */
    ZAV_DISKS = 1 << 0,
    ZAV_ARRAYS = 1 << 1,      /**< cat /proc/mdstat, mdadm --detail of each, and those of disks */
    ZAV_GROUPS = 1 << 2,      /**< vgdisplay, pvdisplay, and those of disks and arrays */
    ZAV_POOLS = 1 << 3,       /**< lvdisplay, and those of groups */
    ZAV_FILESYSTEMS = 1 << 4, /**< those of pools */
    ZAV_NETDISKS = 1 << 5,    /**< none */
    ZAV_SHARES = 1 << 6,      /**< cat of what the iSCSI target daemon exports and of its file */
    ZAV_SMART = 1 << 7,       /**< with ZAV_DISKS: smartctl of each disk, which may wake it */
    ZAV_HEALTH = 1 << 8,      /**< cat /proc/meminfo, vmstat, on some models the power tool */
    ZAV_SERVICES = 1 << 9,    /**< pidof of each service's processes */
    ZAV_ALL = (1 << 10) - 1
} zav_what;

/** A set of indices. */
typedef struct zav_links {
    const uint32_t* indices; /**< null when there are none */
    size_t count;
} zav_links;

/* ---- Disks ---- */

typedef enum zav_disk_state {
    ZAV_DISK_UNKNOWN, /**< the kernel tells nothing of it */
    ZAV_DISK_RUNNING,
    ZAV_DISK_OFFLINE, /**< the kernel has given it up */
    ZAV_DISK_OTHER    /**< as state_text tells */
} zav_disk_state;

typedef enum zav_verdict {
    ZAV_VERDICT_UNKNOWN, /**< the disk tells nothing, or was not asked */
    ZAV_VERDICT_PASSED,
    ZAV_VERDICT_FAILED
} zav_verdict;

/** One of the attributes that a disk keeps of its own health. */
typedef struct zav_smart_attribute {
    const char* name;
    uint32_t value; /**< normalised: less is worse */
    uint32_t worst;
    uint32_t threshold;      /**< at or below it the disk expects to fail */
    uint32_t raw;            /**< in the vendor's unit; the largest number when it is larger */
    const char* when_failed; /**< empty or "-": never */
} zav_smart_attribute;

typedef struct zav_disk {
    const char* name;    /**< of the kernel, such as "sda"; empty behind a RAID controller */
    int32_t channel;     /**< the number of its slot on the device, from 1 */
    const char* device;  /**< the tag of what the slot belongs to: "0" is the main controller */
    uint64_t size_bytes; /**< 0 when it is not known */
    const char* model;
    zav_disk_state state;
    const char* state_text; /**< as the kernel, or the controller's tool, words it */
    int is_hotspare;        /**< whether it is on the list of global hot spares */
    /** Whether it, or a partition of it, is in an array, a group or a mounted file system; of
     *  arrays and groups as far as they were asked for. */
    int is_used;
    int32_t array;    /**< the array that it is a member of */
    zav_links groups; /**< the groups with a volume on the disk itself or on its array */

    zav_verdict smart; /**< what the disk says of itself */
    const char* serial;
    const char* firmware;
    int32_t temperature_c; /**< ZAV_UNKNOWN without one */
    const zav_smart_attribute* attributes;
    size_t attribute_count;
} zav_disk;

/* ---- Arrays ---- */

typedef enum zav_array_state {
    ZAV_ARRAY_UNKNOWN,    /**< nothing tells it, or only state_text */
    ZAV_ARRAY_CLEAN,      /**< it runs with all its members */
    ZAV_ARRAY_DEGRADED,   /**< it runs, and lacks a member */
    ZAV_ARRAY_REBUILDING, /**< it runs, and a member, or all parity, is being made anew */
    ZAV_ARRAY_INACTIVE    /**< it does not run: it lacks more than its level can do without */
} zav_array_state;

typedef enum zav_member_state {
    ZAV_MEMBER_UNKNOWN,
    ZAV_MEMBER_ACTIVE,
    ZAV_MEMBER_FAULTY,
    ZAV_MEMBER_SPARE,
    ZAV_MEMBER_REBUILDING, /**< it has a slot, and does not hold its part yet */
    ZAV_MEMBER_MISSING     /**< a slot that no disk fills */
} zav_member_state;

typedef struct zav_member {
    const char* name; /**< of the kernel, such as "sda" or "sda1"; empty for a missing one */
    int32_t disk;
    zav_member_state state;
    int32_t slot; /**< from 0; ZAV_UNKNOWN for a spare or a faulty member, or when it is not told */
} zav_member;

typedef struct zav_rebuild {
    int is_running;       /**< or a check of the parity */
    double done;          /**< 0 to 1 */
    int64_t seconds_left; /**< as the kernel estimates; -1 when it does not */
} zav_rebuild;

typedef struct zav_array {
    const char* name;  /**< such as "md1" */
    const char* level; /**< "raid0", "raid1", "raid5", "raid6", "linear"; empty when not known */
    zav_array_state state;
    const char* state_text; /**< as mdadm words it */
    uint64_t size_bytes;
    const char* device; /**< the tag of its members' device */
    const zav_member* members;
    size_t member_count;
    zav_rebuild rebuild;
    int32_t group; /**< the group on it */
} zav_array;

/* ---- Groups and pools ---- */

typedef struct zav_volume {
    const char* name; /**< such as "md1"; of a disk its channel */
    int32_t array;
    int32_t disk;
    uint64_t size_bytes;
    uint64_t used_bytes;
} zav_volume;

typedef struct zav_group {
    const char* name;
    const char* state_text; /**< as LVM's list gives it, such as "resizable" */
    const char* device;     /**< the tag of its disks' device */
    uint64_t size_bytes;
    uint64_t used_bytes;
    const zav_volume* volumes;
    size_t volume_count;
    zav_links pools;
} zav_group;

typedef struct zav_pool {
    const char* name; /**< the last part of the path */
    const char* path; /**< such as "/dev/data/films" */
    int32_t group;
    uint64_t size_bytes;
    int is_available; /**< whether LVM has it switched on */
    int32_t filesystem;
    zav_links shares; /**< those on it */
} zav_pool;

/* ---- File systems and network disks ---- */

typedef enum zav_filesystem_state {
    ZAV_FILESYSTEM_AVAILABLE, /**< mounted */
    ZAV_FILESYSTEM_UNMOUNTED,
    /** Mounted, but its pool is gone or switched off, or it cannot be measured, or only read. */
    ZAV_FILESYSTEM_UNUSABLE
} zav_filesystem_state;

/** A registered file system, on a pool or on a network disk. */
typedef struct zav_filesystem {
    int is_netdisk;
    const char* name; /**< of a pool its path, of a network disk its label */
    int32_t pool;     /**< ZAV_NONE for a network disk */
    const char* mount_point;
    const char* type; /**< "xfs" or "reiserfs" */
    zav_filesystem_state state;
    uint64_t size_bytes; /**< of one that is not mounted that of its pool; 0 when not known */
    uint64_t used_bytes; /**< with what only root may use; 0 when it is not mounted */
    zav_links shares;
} zav_filesystem;

/* ---- Services and shares ---- */

typedef enum zav_service_kind {
    ZAV_SERVICE_NONE = 0, /**< of a share that no service has */
    ZAV_SERVICE_SAMBA,
    ZAV_SERVICE_NFS,
    ZAV_SERVICE_FTP,
    ZAV_SERVICE_ISCSI,
    ZAV_SERVICE_MANAGEMENT /**< the appliance's own daemon; it serves no shares */
} zav_service_kind;

typedef enum zav_running { ZAV_STOPPED = 0, ZAV_RUNNING = 1, ZAV_RUNNING_UNKNOWN = -1 } zav_running;

typedef struct zav_service {
    zav_service_kind kind;
    const char* name; /**< "samba", "nfs", "ftp", "iscsi", "management" */
    zav_running running;
} zav_service;

typedef enum zav_share_state {
    /** Registered, and in its service's file. The FTP server has no list of shares: with it, a
     *  registered one counts as served. */
    ZAV_SHARE_SERVED,
    ZAV_SHARE_FORBIDDEN,     /**< registered without a service: clients cannot reach it */
    ZAV_SHARE_NOT_SERVED,    /**< registered with a service whose file does not have it */
    ZAV_SHARE_NOT_REGISTERED /**< in a service's file, but not registered */
} zav_share_state;

typedef struct zav_share {
    const char* name;
    zav_service_kind service; /**< of several the first */
    const char* service_text; /**< all of them, separated by commas; empty for a forbidden share */
    zav_share_state state;
    const char* path; /**< the folder, or the device; empty when it is not known */
    const char* comment;
    const char* users; /**< users, or hosts for NFS, separated by blanks or commas */
    int is_read_only;
    int is_mounted; /**< whether its folder is mounted; always for a device */
    int32_t filesystem;
    int32_t pool;
    zav_links disks; /**< the disks that hold it */
} zav_share;

/* ---- The appliance ---- */

/** Texts are empty, and figures ZAV_UNKNOWN or negative, when they are not known. */
typedef struct zav_health {
    const char* host_name;
    const char* model;
    const char* software_version;
    const char* hardware_version;
    const char* start_time;       /**< as the appliance has written it at its start */
    const char* temperature_text; /**< as the status file has it */
    int32_t temperature_c;
    const char* fans;         /**< speeds in turns a minute, such as "fan1:2400,fan2:2380" */
    const char* power;        /**< the state of the power supplies as its source words it */
    double memory_percent;    /**< in use */
    double processor_percent; /**< in use */
} zav_health;

/** Something that could not be read. What does not depend on it is there all the same. */
typedef struct zav_failure {
    /** What was to be read: "disks", "arrays", "groups", "pools", "filesystems", "netdisks",
     *  "shares", "smart", "health" or "services". */
    const char* part;
    const char* command;  /**< the outside command that failed; empty when none did */
    int code;             /**< a zav_code */
    const char* sentence; /**< what the code means here */
} zav_failure;

/* ---- Functions ---- */

typedef struct zav_snapshot zav_snapshot;

/**
 * Takes a snapshot. `what` is a combination of zav_what. The caller owns it and frees it with
 * zav_snapshot_free(). `error` may be null.
 *
 * Runs only commands that read, each at most once, one after another; needs root. It waits for them
 * as long as the context lets it, and at most ten seconds for somebody who is changing the shares.
 * Temporary files are made in /tmp and removed.
 *
 * Nothing is logged unless something could not be read; then it is logged once, and listed by
 * zav_snapshot_failures(): that does not make the call fail. A service that does not run is no
 * failure.
 *
 * Null, with the code in `error`, only for ZAV_E_INVALID_ARGUMENT (a null context, an unknown or
 * empty `what`) and ZAV_E_NO_MEMORY.
 */
zav_snapshot* zav_snapshot_take(zav_ctx* ctx, unsigned what, zav_error* error);

/** Frees a snapshot with all that it has handed out; null is accepted. */
void zav_snapshot_free(zav_snapshot* snapshot);

/**
 * The records of one kind, and in `count`, unless it is null, how many there are. Null and 0 when
 * there are none, or for a null snapshot. Run nothing, cannot fail.
 */
const zav_disk* zav_snapshot_disks(const zav_snapshot* snapshot, size_t* count);
const zav_array* zav_snapshot_arrays(const zav_snapshot* snapshot, size_t* count);
const zav_group* zav_snapshot_groups(const zav_snapshot* snapshot, size_t* count);
const zav_pool* zav_snapshot_pools(const zav_snapshot* snapshot, size_t* count);
/** Those on pools first, then network disks. */
const zav_filesystem* zav_snapshot_filesystems(const zav_snapshot* snapshot, size_t* count);
const zav_share* zav_snapshot_shares(const zav_snapshot* snapshot, size_t* count);
const zav_service* zav_snapshot_services(const zav_snapshot* snapshot, size_t* count);
const zav_failure* zav_snapshot_failures(const zav_snapshot* snapshot, size_t* count);

/** The appliance's identity and health; null when it was not asked for, or for a null snapshot. */
const zav_health* zav_snapshot_health(const zav_snapshot* snapshot);

/**
 * A state as a text that does not change between versions, such as "running", "degraded",
 * "not_served"; "unknown" for a value that is none. Constants.
 */
const char* zav_disk_state_name(zav_disk_state state);
const char* zav_verdict_name(zav_verdict verdict);
const char* zav_array_state_name(zav_array_state state);
const char* zav_member_state_name(zav_member_state state);
const char* zav_filesystem_state_name(zav_filesystem_state state);
const char* zav_service_name(zav_service_kind kind);
const char* zav_running_name(zav_running running);
const char* zav_share_state_name(zav_share_state state);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
