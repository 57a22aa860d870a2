/* SPDX-License-Identifier: MIT */
/**
 * \file
 * Whether the services run: a C interface. Each probe runs busybox's pidof and returns 0 for a
 * service that runs. Everything else counts as stopped: -11000 no such process, -1011 the tool's
 * output cannot be read, -1 it is no process number. Failures of the tool are logged; that a
 * service does not run is none.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/** Samba: both smbd and nmbd. */
int samba_status_get(void);

/** The appliance's management daemon. */
int zav_status_get(void);

/** The NFS server. */
int nfs_status_get(void);

/** The FTP server. */
int ftp_status_get(void);

/** The iSCSI target daemon. */
int iscsi_status_get(void);

/** Reads a file that pidof wrote. 0, -1011 or -1. */
int share_status_get(const char* path);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif
