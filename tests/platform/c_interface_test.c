/* SPDX-License-Identifier: MIT */
/* Compiled as C: C programs use the getters with nothing but their header. */
#include "platform/status_page.h"
#include "zav/system_status.h"

#include <stdio.h>
#include <string.h>

typedef int (*text_getter)(char* buffer, size_t size);

static int read_fans(char* buffer, size_t size) {
    return size < ZAV_FAN_SPEED_SIZE ? -1 : fan_speed_get(buffer);
}

static int add_text(char* page, size_t size, const char* name, text_getter getter) {
    char text[ZAV_FAN_SPEED_SIZE] = "";
    const int code = getter(text, sizeof text);
    const size_t used = strlen(page);
    snprintf(page + used, size - used, "%s: %s (%d)\n", name, text, code);
    return code != 0;
}

static int add_percentage(char* page, size_t size, const char* name, int (*getter)(float*)) {
    float percent = -1.0F;
    const int code = getter(&percent);
    const size_t used = strlen(page);
    snprintf(page + used, size - used, "%s: %.1f (%d)\n", name, (double)percent, code);
    return code != 0;
}

int make_status_page(char* page, size_t size) {
    int failures = 0;
    page[0] = '\0';
    failures += add_text(page, size, "host", hostname_get);
    failures += add_text(page, size, "start", starttime_get);
    failures += add_text(page, size, "software", softversion_get);
    failures += add_text(page, size, "hardware", hardversion_get);
    failures += add_text(page, size, "model", devmodel_get);
    failures += add_text(page, size, "temperature", tmp_get);
    failures += add_text(page, size, "fans", read_fans);
    failures += add_text(page, size, "power", pwstate_get);
    failures += add_percentage(page, size, "memory", get_mem_utility);
    failures += add_percentage(page, size, "processor", get_cpu_utility);
    failures += add_text(page, size, "time", systime_get);
    return failures;
}
