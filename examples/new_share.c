/* SPDX-License-Identifier: MIT */
/* new_share GROUP NAME GIB - a Samba share for everybody, and beside it the pool NAME_copy of the
 * same size, for a copy of its pool. Tells each step, and after a failure what to do. */
#include "zav/zav.h"

#include <stdio.h>
#include <stdlib.h>

static void tell_step(void* user, const char* step, unsigned steps) {
    (void)user;
    printf("%u. %s\n", steps + 1, step);
}

/* Whether the call has worked; what came of it otherwise. */
static int has_worked(int code, const zav_error* error) {
    if (code == ZAV_OK) {
        return 1;
    }
    fprintf(stderr, "new_share: %s (%s).\n", error->sentence, error->name);
    if (error->command[0] != '\0') {
        fprintf(stderr, "'%s' failed: %s\n", error->command, error->command_output);
    }
    fprintf(stderr, "%s\n%s\n", error->left, error->next);
    return 0;
}

static int create(zav_ctx* ctx, const char* group, const char* name, uint32_t size_gib) {
    char copy[40];
    zav_error error;
    const zav_share_create_args share = {.struct_size = sizeof share,
                                         .name = name,
                                         .service = ZAV_SERVICE_SAMBA,
                                         .group = group,
                                         .size_gib = size_gib};
    const zav_pool_create_args pool = {
        .struct_size = sizeof pool, .name = copy, .group = group, .size_gib = size_gib};
    snprintf(copy, sizeof copy, "%s_copy", name); /* one that is too long is refused */
    return has_worked(zav_pool_create(ctx, &pool, &error), &error) &&
           has_worked(zav_share_create(ctx, &share, &error), &error);
}

int main(int argc, char** argv) {
    if (argc != 4) {
        fprintf(stderr, "Usage: new_share GROUP NAME GIB\n");
        return 2;
    }
    zav_ctx* ctx = zav_ctx_new();
    if (ctx == NULL) {
        return 2;
    }
    zav_ctx_set_progress(ctx, tell_step, NULL);
    const int is_made = create(ctx, argv[1], argv[2], (uint32_t)strtoul(argv[3], NULL, 10));
    zav_ctx_free(ctx);
    return is_made ? 0 : 1;
}
