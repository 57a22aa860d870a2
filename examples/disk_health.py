#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""disk_health - what each disk says of its own health, from libzav.so.0 by ctypes alone. Asking wakes
a disk that sleeps. Needs root. Status 1 when a disk expects to fail, 3 when not all could be read."""
import ctypes
import sys

UNKNOWN = -(2**31)  # ZAV_UNKNOWN
DISKS, SMART = 1 << 0, 1 << 7  # zav_what
FAILED = 2  # ZAV_VERDICT_FAILED


class Disk(ctypes.Structure):  # zav_disk: each member, in its order; "groups" is a zav_links
    _fields_ = [("name", ctypes.c_char_p), ("channel", ctypes.c_int32), ("device", ctypes.c_char_p)]
    _fields_ += [("size_bytes", ctypes.c_uint64), ("model", ctypes.c_char_p)]
    _fields_ += [("state", ctypes.c_int), ("state_text", ctypes.c_char_p)]
    _fields_ += [("is_hotspare", ctypes.c_int), ("is_used", ctypes.c_int)]
    _fields_ += [("array", ctypes.c_int32), ("groups", ctypes.c_void_p * 2), ("smart", ctypes.c_int)]
    _fields_ += [("serial", ctypes.c_char_p), ("firmware", ctypes.c_char_p)]
    _fields_ += [("temperature_c", ctypes.c_int32)]
    _fields_ += [("attributes", ctypes.c_void_p), ("attribute_count", ctypes.c_size_t)]


def library():
    """Pointers would be cut to an int without the types of what functions give."""
    zav = ctypes.CDLL("libzav.so.0")
    for name in "zav_version", "zav_verdict_name":
        getattr(zav, name).restype = ctypes.c_char_p
    for name in "zav_ctx_new", "zav_snapshot_take":
        getattr(zav, name).restype = ctypes.c_void_p
    zav.zav_snapshot_disks.restype = ctypes.POINTER(Disk)
    zav.zav_snapshot_disks.argtypes = [ctypes.c_void_p, ctypes.POINTER(ctypes.c_size_t)]
    zav.zav_snapshot_take.argtypes = [ctypes.c_void_p, ctypes.c_uint, ctypes.c_void_p]
    zav.zav_snapshot_failures.argtypes = zav.zav_snapshot_disks.argtypes
    for name in "zav_ctx_free", "zav_snapshot_free":
        getattr(zav, name).argtypes = [ctypes.c_void_p]
    return zav


def main():
    zav, count, is_failing = library(), ctypes.c_size_t(), False
    ctx = zav.zav_ctx_new()
    snapshot = zav.zav_snapshot_take(ctx, DISKS | SMART, None)
    disks = zav.zav_snapshot_disks(snapshot, ctypes.byref(count))
    for disk in disks[: count.value]:
        verdict = zav.zav_verdict_name(disk.smart).decode()
        heat = "" if disk.temperature_c == UNKNOWN else f"  {disk.temperature_c} C"
        name, serial = disk.name.decode(errors="replace"), disk.serial.decode(errors="replace")
        print(f"slot {disk.channel}  {name}  {serial}  {verdict}{heat}")
        is_failing = is_failing or disk.smart == FAILED
    zav.zav_snapshot_failures(snapshot, ctypes.byref(count))
    zav.zav_snapshot_free(snapshot)
    zav.zav_ctx_free(ctx)
    if not snapshot or count.value:
        print("disk_health: see /var/log/log.libzav for what could not be read", file=sys.stderr)
    return 1 if is_failing else 3 if not snapshot or count.value else 0


if __name__ == "__main__":
    sys.exit(main())
