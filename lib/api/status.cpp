// SPDX-License-Identifier: MIT
// The status functions under the names that a new program uses.
#include "zav/status.h"

int zav_hostname_get(char* buffer, size_t size) {
    return hostname_get(buffer, size);
}

int zav_starttime_get(char* buffer, size_t size) {
    return starttime_get(buffer, size);
}

int zav_softversion_get(char* buffer, size_t size) {
    return softversion_get(buffer, size);
}

int zav_hardversion_get(char* buffer, size_t size) {
    return hardversion_get(buffer, size);
}

int zav_devmodel_get(char* buffer, size_t size) {
    return devmodel_get(buffer, size);
}

int zav_tmp_get(char* buffer, size_t size) {
    return tmp_get(buffer, size);
}

int zav_fan_speed_get(char* buffer) {
    return fan_speed_get(buffer);
}

int zav_systime_get(char* buffer, size_t size) {
    return systime_get(buffer, size);
}

int zav_pwstate_get(char* buffer, size_t size) {
    return pwstate_get(buffer, size);
}

int zav_get_mem_utility(float* percent) {
    return get_mem_utility(percent);
}

int zav_get_cpu_utility(float* percent) {
    return get_cpu_utility(percent);
}

int zav_samba_status_get() {
    return samba_status_get();
}

int zav_nfs_status_get() {
    return nfs_status_get();
}

int zav_ftp_status_get() {
    return ftp_status_get();
}

int zav_iscsi_status_get() {
    return iscsi_status_get();
}

int zav_share_status_get(const char* path) {
    return share_status_get(path);
}

int zav_ftp_limits_get(unsigned long* local_max_rate, unsigned long* max_clients,
                       unsigned long* max_per_ip) {
    return ftp_limits_get(local_max_rate, max_clients, max_per_ip);
}

int zav_ftp_limits_set(int local_max_rate, int max_clients, int max_per_ip) {
    return ftp_limits_set(local_max_rate, max_clients, max_per_ip);
}
