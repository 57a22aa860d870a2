/* SPDX-License-Identifier: MIT */
/* disk_shares - which shares hang on which disk: what to tell people before one is pulled. A disk
 * that a RAID level can do without takes no share with it: its array's state stands there too. */
#include "zav/zav.h"

#include <stdio.h>

/* Whether a share has the disk with that index among those that hold it. */
static int is_on(const zav_share* share, uint32_t disk) {
    for (size_t i = 0; i < share->disks.count; ++i) {
        if (share->disks.indices[i] == disk) {
            return 1;
        }
    }
    return 0;
}

static void print_disk(const zav_snapshot* snapshot, const zav_disk* disk, uint32_t index) {
    size_t count = 0;
    const zav_share* shares = zav_snapshot_shares(snapshot, &count);
    printf("slot %d  %s", (int)disk->channel, disk->name);
    if (disk->array != ZAV_NONE) {
        const zav_array* array = &zav_snapshot_arrays(snapshot, NULL)[disk->array];
        printf("  %s %s %s", array->name, array->level, zav_array_state_name(array->state));
    }
    printf(":");
    for (size_t i = 0; i < count; ++i) {
        if (is_on(&shares[i], index)) {
            printf(" %s", shares[i].name);
        }
    }
    printf("\n");
}

int main(void) {
    zav_ctx* ctx = zav_ctx_new();
    zav_ctx_set_log(ctx, ZAV_LOG_NOWHERE, NULL, NULL); /* failures are told below */
    zav_ctx_set_command_time_limit(ctx, 30 * 1000);    /* a tool that hangs is a failure */
    zav_error error;
    zav_snapshot* snapshot = zav_snapshot_take(ctx, ZAV_ALL & ~(unsigned)ZAV_SMART, &error);
    zav_ctx_free(ctx);
    if (snapshot == NULL) {
        fprintf(stderr, "disk_shares: %s. %s\n", error.sentence, error.next);
        return 1;
    }
    size_t count = 0;
    const zav_disk* disks = zav_snapshot_disks(snapshot, &count);
    for (size_t i = 0; i < count; ++i) {
        print_disk(snapshot, &disks[i], (uint32_t)i);
    }
    const zav_failure* failures = zav_snapshot_failures(snapshot, &count);
    for (size_t i = 0; i < count; ++i) {
        fprintf(stderr, "disk_shares: %s: %s\n", failures[i].part, failures[i].sentence);
    }
    zav_snapshot_free(snapshot);
    return count == 0 ? 0 : 3;
}
