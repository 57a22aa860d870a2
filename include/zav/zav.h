/* SPDX-License-Identifier: MIT */
/**
 * \file
 * The appliance's storage, for programs: what there is (zav/snapshot.h), what changes it
 * (zav/actions.h), and what went wrong; and what status pages show (zav/status.h). C99, and C++
 * too.
 *
 * A program makes a context, asks, and frees what it got:
 *
 *     zav_ctx* ctx = zav_ctx_new();
 *     zav_error error;
 *     zav_snapshot* snapshot = zav_snapshot_take(ctx, ZAV_ALL, &error);
 *     if (snapshot == NULL) {
 *         fprintf(stderr, "%s\n", error.sentence);
 *     }
 *     zav_snapshot_free(snapshot);
 *     zav_ctx_free(ctx);
 *
 * Threads: a context, and what was made with it, is used by one thread at a time; threads with a
 * context each may call any function at the same time. Functions without a context may be called by
 * any thread at any time.
 *
 * Nothing is printed: neither standard output nor standard error of the program is written to,
 * except that a line of the log goes to the console, or else to standard error, when the log file
 * cannot be written and the context logs to it. The program's environment, signals and other
 * children stay its own. No exception leaves a function, and no function ends the process.
 *
 * Texts are never null, end in NUL, and hold whatever bytes the system's files do. Sizes are in
 * bytes, times in seconds, temperatures in degrees Celsius.
 */
#pragma once

#include "zav/actions.h"
#include "zav/codes.h"
#include "zav/context.h"
#include "zav/snapshot.h"
#include "zav/status.h"
#include "zav/version.h"
