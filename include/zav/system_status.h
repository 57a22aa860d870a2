/* SPDX-License-Identifier: MIT */
/**
 * \file
 * The appliance's identity and health, for its other programs: a C interface. Each getter fills
 * the caller's buffer of `size` bytes (the text is cut to fit and ends in NUL) and returns 0 or a
 * negative code, as error_codes.h names them; each failure is logged. A null buffer or a size of 0
 * gives the getter's code where there is something to put into it.
 */
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** First line of /etc/hostname. 0 or -1006. */
int hostname_get(char* buffer, size_t size);

/** First line of /etc/nas_start_time.conf. 0 or -1004. */
int starttime_get(char* buffer, size_t size);

/**
 * The three below read /etc/sys_info, and /etc/nas_base.conf when that gives an empty text; the
 * last file read decides the result.
 * Software version: section "version", key "software". 0 or -1008.
 */
int softversion_get(char* buffer, size_t size);

/** Hardware version: section "version", key "hardware". 0 or -1007. */
int hardversion_get(char* buffer, size_t size);

/** Product model: section "product", key "type". 0 or -1001. */
int devmodel_get(char* buffer, size_t size);

/** Temperature as the status file has it, from /var/run/sys_state (server family) or
 *  /tmp/nas_state.conf. 0, -1010, or devmodel_get()'s code. */
int tmp_get(char* buffer, size_t size);

/** The size that fan_speed_get() needs at most. */
#define ZAV_FAN_SPEED_SIZE 128

/** Fan speeds, "fan1:2400,fan2:2380": fans that give none are left out. `buffer` has at least
 *  ZAV_FAN_SPEED_SIZE bytes. 0, -1009 for a model of unknown fans, or devmodel_get()'s code. */
int fan_speed_get(char* buffer);

/** Local time, "2026-11-20 10:00:00". 0, or -1005 and an empty text when it does not fit. */
int systime_get(char* buffer, size_t size);

/** State of the power supplies, from the model's source: a status file or /usr/local/bin/pwstate.
 *  0 (buffer untouched for a model without a source), -1002 no state in the file, -1003 the tool's
 *  output cannot be read, -11000 the tool failed, or devmodel_get()'s code. */
int pwstate_get(char* buffer, size_t size);

/** Percent of the memory in use, from /proc/meminfo. 0, or -1 and 0.0. */
int get_mem_utility(float* percent);

/** Percent of the processor in use, from /usr/bin/vmstat. 0, or -1 and 0.0. */
int get_cpu_utility(float* percent);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
