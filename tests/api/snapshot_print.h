/* SPDX-License-Identifier: MIT */
/* A snapshot as text: one line for each record, with all its fields. */
#pragma once

#include "zav/zav.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Takes and prints one on standard output, then frees everything; messages are collected in
 * `messages`, one a line. Returns the code. */
int print_snapshot(unsigned what, char* messages, size_t size);

#ifdef __cplusplus
}
#endif
