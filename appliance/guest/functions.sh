# SPDX-License-Identifier: MIT
# shellcheck shell=sh
# Functions for scripts inside the appliance, installed as /usr/local/lib/appliance.sh.

# throttle_rebuild, release_rebuild: slow rebuilds down so that they can be observed; let them run.
throttle_rebuild() {
    echo 100 >/proc/sys/dev/raid/speed_limit_min
    echo 2000 >/proc/sys/dev/raid/speed_limit_max
}

release_rebuild() {
    echo 2000000 >/proc/sys/dev/raid/speed_limit_max
    echo 2000000 >/proc/sys/dev/raid/speed_limit_min
}

# rebuild_of ARRAY: set "rebuild" to the progress in /proc/mdstat, or to nothing.
rebuild_of() {
    rebuild=
    found=
    while read -r word rest; do
        case $word in
            "$1") found=yes ;;
            md*) found= ;;
        esac
        case $found$rest in
            yes*recovery\ =*%* | yes*resync\ =*%*)
                rebuild=${rest%%\%*}%
                rebuild=${rebuild##*[ =]}
                ;;
            yes*resync=*) rebuild=waiting ;;
        esac
    done </proc/mdstat
}

# redundant ARRAY: true if no member is missing and no rebuild is pending.
redundant() {
    [ -r "/sys/block/$1/md/degraded" ] || return 1
    read -r degraded <"/sys/block/$1/md/degraded"
    read -r resync <"/sys/block/$1/md/resync_start"
    read -r action <"/sys/block/$1/md/sync_action"
    [ "$degraded $resync $action" = "0 none idle" ]
}

# uptime_seconds: set "now" to the uptime in seconds.
uptime_seconds() {
    read -r now _ </proc/uptime
    now=${now%.*}
}

# wait_until_redundant ARRAY SECONDS: false if that takes longer.
wait_until_redundant() {
    uptime_seconds
    deadline=$((now + $2))
    until redundant "$1"; do
        uptime_seconds
        [ "$now" -lt "$deadline" ] || return 1
        sleep 0.1
    done
}

# pull_disk DISK: remove the disk while the machine runs.
pull_disk() {
    echo 1 >"/sys/block/$1/device/delete"
    while [ -b "/dev/$1" ]; do sleep 0.02; done
    mvsata-status
}

# plug_disk SLOT: insert the disk of that slot (0, 1, ...) again, and set "plugged" to its name,
# which is a new one as long as an array still holds the old one.
plug_disk() {
    logical_unit=/sys/kernel/config/target/loopback/naa.6001405000000001/tpgt_1/lun/lun_$1
    rm "$logical_unit/disk"
    ln -s "/sys/kernel/config/target/core/iblock_$1/disk" "$logical_unit/disk"
    plugged=
    while [ -z "$plugged" ]; do
        sleep 0.02
        for device in /sys/class/scsi_device/*:"$1"/device/block/sd*; do
            [ ! -b "/dev/${device##*/}" ] || plugged=${device##*/}
        done
    done
    mvsata-status
}
