/* SPDX-License-Identifier: MIT */
/**
 * \file
 * All that the appliance's other programs ask the library for: its identity and health, whether its
 * services run, the limits of the FTP server. A C program includes this header and links with the
 * library alone. Any of its threads may call any function at any time; its environment, signals and
 * other children stay its own, and when memory runs out a function fails with a code of its own.
 */
#pragma once

#include "zav/ftp_limits.h"
#include "zav/service_state.h"
#include "zav/system_status.h"
