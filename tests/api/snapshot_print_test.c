/* SPDX-License-Identifier: MIT */
/* Compiled as C99: what a C program does with a snapshot. */
#include "api/snapshot_print.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

struct messages {
    char* text;
    size_t size;
};

static void take_message(void* user, zav_severity severity, const char* text) {
    struct messages* messages = user;
    const size_t used = strlen(messages->text);
    snprintf(messages->text + used, messages->size - used, "%d %s\n", (int)severity, text);
}

static void print_links(zav_links links) {
    size_t i;
    printf("[");
    for (i = 0; i < links.count; ++i) {
        printf("%s%" PRIu32, i == 0 ? "" : ",", links.indices[i]);
    }
    printf("]");
}

static void print_number(int32_t number) {
    if (number == ZAV_UNKNOWN) {
        printf("|?");
    } else {
        printf("|%" PRId32, number);
    }
}

static void print_disks(const zav_snapshot* snapshot) {
    size_t count;
    size_t i;
    size_t j;
    const zav_disk* disks = zav_snapshot_disks(snapshot, &count);
    for (i = 0; i < count; ++i) {
        const zav_disk* disk = &disks[i];
        printf("disk %s|%" PRId32 "|%s|%" PRIu64 "|%s|%s|%s|%d|%d|%" PRId32 "|", disk->name,
               disk->channel, disk->device, disk->size_bytes, disk->model,
               zav_disk_state_name(disk->state), disk->state_text, disk->is_hotspare, disk->is_used,
               disk->array);
        print_links(disk->groups);
        printf("|%s|%s|%s", zav_verdict_name(disk->smart), disk->serial, disk->firmware);
        print_number(disk->temperature_c);
        printf("\n");
        for (j = 0; j < disk->attribute_count; ++j) {
            const zav_smart_attribute* attribute = &disk->attributes[j];
            printf("  attribute %s|%" PRIu32 "|%" PRIu32 "|%" PRIu32 "|%" PRIu32 "|%s\n",
                   attribute->name, attribute->value, attribute->worst, attribute->threshold,
                   attribute->raw, attribute->when_failed);
        }
    }
}

static void print_arrays(const zav_snapshot* snapshot) {
    size_t count;
    size_t i;
    size_t j;
    const zav_array* arrays = zav_snapshot_arrays(snapshot, &count);
    for (i = 0; i < count; ++i) {
        const zav_array* array = &arrays[i];
        printf("array %s|%s|%s|%s|%" PRIu64 "|%s|%d|%.3f|%" PRId64 "|%" PRId32 "\n", array->name,
               array->level, zav_array_state_name(array->state), array->state_text,
               array->size_bytes, array->device, array->rebuild.is_running, array->rebuild.done,
               array->rebuild.seconds_left, array->group);
        for (j = 0; j < array->member_count; ++j) {
            const zav_member* member = &array->members[j];
            printf("  member %s|%" PRId32 "|%s", member->name, member->disk,
                   zav_member_state_name(member->state));
            print_number(member->slot);
            printf("\n");
        }
    }
}

static void print_groups(const zav_snapshot* snapshot) {
    size_t count;
    size_t i;
    size_t j;
    const zav_group* groups = zav_snapshot_groups(snapshot, &count);
    for (i = 0; i < count; ++i) {
        const zav_group* group = &groups[i];
        printf("group %s|%s|%s|%" PRIu64 "|%" PRIu64 "|", group->name, group->state_text,
               group->device, group->size_bytes, group->used_bytes);
        print_links(group->pools);
        printf("\n");
        for (j = 0; j < group->volume_count; ++j) {
            const zav_volume* volume = &group->volumes[j];
            printf("  volume %s|%" PRId32 "|%" PRId32 "|%" PRIu64 "|%" PRIu64 "\n", volume->name,
                   volume->array, volume->disk, volume->size_bytes, volume->used_bytes);
        }
    }
}

static void print_pools(const zav_snapshot* snapshot) {
    size_t count;
    size_t i;
    const zav_pool* pools = zav_snapshot_pools(snapshot, &count);
    const zav_filesystem* filesystems;
    for (i = 0; i < count; ++i) {
        const zav_pool* pool = &pools[i];
        printf("pool %s|%s|%" PRId32 "|%" PRIu64 "|%d|%" PRId32 "|", pool->name, pool->path,
               pool->group, pool->size_bytes, pool->is_available, pool->filesystem);
        print_links(pool->shares);
        printf("\n");
    }
    filesystems = zav_snapshot_filesystems(snapshot, &count);
    for (i = 0; i < count; ++i) {
        const zav_filesystem* fs = &filesystems[i];
        printf("filesystem %d|%s|%" PRId32 "|%s|%s|%s|%" PRIu64 "|%" PRIu64 "|", fs->is_netdisk,
               fs->name, fs->pool, fs->mount_point, fs->type, zav_filesystem_state_name(fs->state),
               fs->size_bytes, fs->used_bytes);
        print_links(fs->shares);
        printf("\n");
    }
}

static void print_shares(const zav_snapshot* snapshot) {
    size_t count;
    size_t i;
    const zav_share* shares = zav_snapshot_shares(snapshot, &count);
    const zav_service* services;
    for (i = 0; i < count; ++i) {
        const zav_share* share = &shares[i];
        printf("share %s|%s|%s|%s|%s|%s|%s|%d|%d|%" PRId32 "|%" PRId32 "|", share->name,
               zav_service_name(share->service), share->service_text,
               zav_share_state_name(share->state), share->path, share->comment, share->users,
               share->is_read_only, share->is_mounted, share->filesystem, share->pool);
        print_links(share->disks);
        printf("\n");
    }
    services = zav_snapshot_services(snapshot, &count);
    for (i = 0; i < count; ++i) {
        printf("service %s|%s|%s\n", zav_service_name(services[i].kind), services[i].name,
               zav_running_name(services[i].running));
    }
}

static void print_machine(const zav_snapshot* snapshot) {
    size_t count;
    size_t i;
    const zav_health* health = zav_snapshot_health(snapshot);
    const zav_failure* failures = zav_snapshot_failures(snapshot, &count);
    if (health != NULL) {
        printf("health %s|%s|%s|%s|%s|%s", health->host_name, health->model,
               health->software_version, health->hardware_version, health->start_time,
               health->temperature_text);
        print_number(health->temperature_c);
        printf("|%s|%s|%.1f|%.1f\n", health->fans, health->power, health->memory_percent,
               health->processor_percent);
    }
    for (i = 0; i < count; ++i) {
        printf("failure %s|%s|%d|%s\n", failures[i].part, failures[i].command, failures[i].code,
               failures[i].sentence);
    }
}

int print_snapshot(unsigned what, char* messages, size_t size) {
    struct messages collected;
    zav_error error;
    zav_snapshot* snapshot;
    zav_ctx* ctx = zav_ctx_new();
    collected.text = messages;
    collected.size = size;
    messages[0] = '\0';
    zav_ctx_set_log(ctx, ZAV_LOG_FILE | ZAV_LOG_CALLBACK, take_message, &collected);
    snapshot = zav_snapshot_take(ctx, what, &error);
    zav_ctx_free(ctx); /* the snapshot does not need it */
    if (snapshot == NULL) {
        return error.code;
    }
    print_disks(snapshot);
    print_arrays(snapshot);
    print_groups(snapshot);
    print_pools(snapshot);
    print_shares(snapshot);
    print_machine(snapshot);
    zav_snapshot_free(snapshot);
    return error.code;
}
