/* SPDX-License-Identifier: MIT */
/** A status page as a C program of the appliance would print it: every getter, one line each. */
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Writes the page, truncated to `size` bytes. Returns how many getters failed. */
int make_status_page(char* page, size_t size);

#ifdef __cplusplus
}
#endif
