/* SPDX-License-Identifier: MIT */
/** A status page as one of the appliance's C programs makes it: every getter, one line each. */
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Writes the page, cut to `size` bytes. Returns how many getters failed. */
int make_status_page(char* page, size_t size);

#ifdef __cplusplus
}
#endif
