/* SPDX-License-Identifier: MIT */
/**
 * \file
 * The status functions under names of the library's own, which no function of a program can have:
 * each does what the one does that is named like it without "zav_". zav/system_status.h,
 * zav/service_state.h and zav/ftp_limits.h say what that is. zav_status_get() has always had such a
 * name.
 */
#pragma once

#include "zav/zav_status.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

int zav_hostname_get(char* buffer, size_t size);
int zav_starttime_get(char* buffer, size_t size);
int zav_softversion_get(char* buffer, size_t size);
int zav_hardversion_get(char* buffer, size_t size);
int zav_devmodel_get(char* buffer, size_t size);
int zav_tmp_get(char* buffer, size_t size);
int zav_fan_speed_get(char* buffer);
int zav_systime_get(char* buffer, size_t size);
int zav_pwstate_get(char* buffer, size_t size);
int zav_get_mem_utility(float* percent);
int zav_get_cpu_utility(float* percent);
int zav_samba_status_get(void);
int zav_nfs_status_get(void);
int zav_ftp_status_get(void);
int zav_iscsi_status_get(void);
int zav_share_status_get(const char* path);
int zav_ftp_limits_get(unsigned long* local_max_rate, unsigned long* max_clients,
                       unsigned long* max_per_ip);
int zav_ftp_limits_set(int local_max_rate, int max_clients, int max_per_ip);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
