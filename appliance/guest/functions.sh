# SPDX-License-Identifier: MIT
# shellcheck shell=sh
# What scripts inside the appliance share; they read it from /usr/local/lib/appliance.sh.

# throttle_rebuild, release_rebuild: hold rebuilds back so that they can be looked at, let them run.
throttle_rebuild() {
    echo 100 >/proc/sys/dev/raid/speed_limit_min
    echo "${1:-2000}" >/proc/sys/dev/raid/speed_limit_max
}

release_rebuild() {
    echo 2000000 >/proc/sys/dev/raid/speed_limit_max
    echo 2000000 >/proc/sys/dev/raid/speed_limit_min
}

# rebuild_of ARRAY: set "rebuild" to how far its rebuild is, as /proc/mdstat says it, or to nothing.
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
                rebuild=${rest#*= }
                rebuild=${rebuild%%\%*}%
                ;;
            yes*resync=*) rebuild=waiting ;;
        esac
    done </proc/mdstat
}

# redundant ARRAY: true when no member is missing and no rebuild is to be done.
redundant() {
    read -r degraded <"/sys/block/$1/md/degraded" || return 1
    read -r resync <"/sys/block/$1/md/resync_start" || return 1
    read -r action <"/sys/block/$1/md/sync_action" || return 1
    [ "$degraded $resync $action" = "0 none idle" ]
}

# wait_until_redundant ARRAY SECONDS: false when that takes longer.
wait_until_redundant() {
    pauses=$(($2 * 5))
    until redundant "$1"; do
        [ "$pauses" -gt 0 ] || return 1
        pauses=$((pauses - 1))
        sleep 0.2
    done
}
