/* SPDX-License-Identifier: MIT */
/**
 * \file
 * All that the appliance's other programs ask the library for: its identity and health, whether its
 * services run, the limits of the FTP server. A C program includes this header and links with the
 * library alone.
 */
#pragma once

#include "zav/ftp_limits.h"
#include "zav/service_state.h"
#include "zav/system_status.h"
