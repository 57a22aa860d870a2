/* SPDX-License-Identifier: MIT */
/**
 * \file
 * All that the appliance's other programs ask the library for: its identity and health, whether its
 * services run, the limits of the FTP server. A C program includes this header and links with the
 * library alone.
 */
#pragma once

#include "status/ftp_limits.h"
#include "status/service_state.h"
#include "status/system_status.h"
