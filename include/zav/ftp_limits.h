/* SPDX-License-Identifier: MIT */
/**
 * \file
 * The limits of the FTP server, in /etc/vsftpd.conf: a C interface. Failures are logged.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** Reads the limits; one that the file does not have stays as it is, and a null pointer is passed
 *  over. 0, or -1063 when the file cannot be read. */
int ftp_limits_get(unsigned long* local_max_rate, unsigned long* max_clients,
                   unsigned long* max_per_ip);

/** Rewrites the limits that the file has; comments and empty lines are lost, mode and owner stay.
 *  Runs mv, and the configuration tool even when that fails. 0 when the new file is whole and
 *  durable; any other result leaves the old one: -1 a limit is negative, -1063 the file cannot be
 *  read, or another program of this library has been changing it for ten seconds, -1067 its copies
 *  cannot be written, -11000 mv failed, or left something else than the copy. */
int ftp_limits_set(int local_max_rate, int max_clients, int max_per_ip);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
