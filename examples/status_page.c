/* SPDX-License-Identifier: MIT */
/* status_page - prints the appliance's status page, as a front end would show it first. Uses only
 * the library's C interface; a value that cannot be read is shown as its code. */
#include "zav/zav_status.h"

#include <stdio.h>

static void print_text(const char* name, int (*get)(char*, size_t)) {
    char text[256] = "";
    const int result = get(text, sizeof text);
    if (result == 0) {
        printf("%-18s%s\n", name, text);
    } else {
        printf("%-18s(%d)\n", name, result);
    }
}

static void print_percent(const char* name, int (*get)(float*)) {
    float percent = 0;
    const int result = get(&percent);
    if (result == 0) {
        printf("%-18s%.1f %%\n", name, (double)percent);
    } else {
        printf("%-18s(%d)\n", name, result);
    }
}

static int get_fans(char* buffer, size_t size) {
    return size >= ZAV_FAN_SPEED_SIZE ? fan_speed_get(buffer) : -1;
}

static void print_service(const char* name, int (*probe)(void)) {
    printf("%-18s%s\n", name, probe() == 0 ? "running" : "stopped");
}

static void print_ftp_limits(void) {
    unsigned long rate = 0;
    unsigned long clients = 0;
    unsigned long per_address = 0;
    const int result = ftp_limits_get(&rate, &clients, &per_address);
    if (result == 0) {
        printf("%-18s%lu bytes/s, %lu clients, %lu from one address\n", "FTP limits", rate, clients,
               per_address);
    } else {
        printf("%-18s(%d)\n", "FTP limits", result);
    }
}

int main(void) {
    print_text("host", hostname_get);
    print_text("model", devmodel_get);
    print_text("software", softversion_get);
    print_text("hardware", hardversion_get);
    print_text("started", starttime_get);
    print_text("time", systime_get);
    print_text("temperature", tmp_get);
    print_text("fans", get_fans);
    print_text("power", pwstate_get);
    print_percent("memory", get_mem_utility);
    print_percent("processor", get_cpu_utility);
    print_service("Samba", samba_status_get);
    print_service("NFS", nfs_status_get);
    print_service("FTP", ftp_status_get);
    print_service("iSCSI", iscsi_status_get);
    print_service("management", zav_status_get);
    print_ftp_limits();
    return 0;
}
