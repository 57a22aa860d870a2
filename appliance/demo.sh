#!/bin/sh
# SPDX-License-Identifier: MIT
# demo.sh - the demonstration's story, told inside the virtual appliance: every command's real
# output under a caption, and a check of everything that the captions claim.
# shellcheck source-path=SCRIPTDIR source=guest/functions.sh
. /usr/local/lib/appliance.sh

checks=0
failures=0
output=/tmp/demo.output

caption() {
    echo
    echo "== $*"
}

# show COMMAND...: show it and what it prints; its status is left in "status".
show() {
    echo "\$ $*"
    "$@" >"$output" 2>&1
    status=$?
    cat "$output"
    [ "$status" -eq 0 ] || echo "(exit status $status)"
}

# check CLAIM COMMAND...: the claim holds when the command succeeds.
check() {
    claim=$1
    shift
    checks=$((checks + 1))
    if "$@" >/dev/null 2>&1; then
        echo "   ok: $claim"
    else
        echo "   FAILED: $claim"
        failures=$((failures + 1))
    fi
}

exits_with() {
    [ "$status" -eq "$1" ]
}

# refused CODE: an exit status is the code's lowest byte.
refused() {
    [ "$status" -eq $(($1 & 255)) ] && [ "$(cat "$output")" = "for errno '$1'" ]
}

logged() {
    grep -qF "$1" /var/log/log.libzav
}

# column N: that column of the one array in the last table.
column() {
    awk -F'\t' -v n="$1" 'NR == 3 { print $n }' "$output"
}

# has_channels LIST: the table's channels are these, in whatever order.
has_channels() {
    [ "$(column 8 | tr , '\n' | sort | paste -sd, -)" = "$1" ]
}

status_is() {
    [ "$(column 3)" = "$1" ]
}

is_rebuilding() {
    column 4 | grep -qx '[0-9.]*%([0-9]*\.00MB/s)'
}

table_is_empty() {
    [ "$(wc -l <"$output")" -eq 2 ]
}

# disk_row_ends CHANNEL TEXT: the disk's row in the last listing ends so.
disk_row_ends() {
    awk -F'\t' -v channel="'$1'" '$2 == channel' "$output" | grep -q "$2\$"
}

kernel_has() {
    grep -q "^md1 : active raid5 .*$1" /proc/mdstat
}

is_blank() {
    [ -z "$(wipefs --noheadings "$1")" ]
}

# The data: the same bytes for the same seed, at the array's start and near its end.
pattern() {
    awk -v seed="$1" 'BEGIN {
        srand(seed)
        for (i = 0; i < 400000; i++) printf "%010d", rand() * 1e10
    }' | head -c 3145728
}

write_data() {
    end=$(($(cat /sys/block/md1/size) / 2048 - 4))
    pattern 1 | dd of=/dev/md1 bs=64k iflag=fullblock conv=fsync status=none
    pattern 2 | dd of=/dev/md1 bs=1M iflag=fullblock seek="$end" conv=fsync status=none
}

checksum() {
    # From the disks, not from memory.
    echo 3 >/proc/sys/vm/drop_caches
    {
        dd if=/dev/md1 bs=1M count=3 status=none
        dd if=/dev/md1 bs=1M count=3 skip="$end" status=none
    } | sha256sum | cut -d' ' -f1
}

check_data() {
    read_back=$(checksum)
    echo "   sha256 $read_back"
    check "$1" test "$read_back" = "$written"
}

# await_sync: let the kernel finish, and say how far it is.
await_sync() {
    release_rebuild
    uptime_seconds
    begin=$now
    printf '   now at full speed:'
    until redundant md1; do
        rebuild_of md1
        [ -z "$rebuild" ] || printf ' %s' "$rebuild"
        uptime_seconds
        [ "$now" -lt $((begin + 180)) ] || break
        sleep 1
    done
    echo " (after $((now - begin)) s)"
    # The superblocks are marked clean a moment after the last write.
    sleep 0.5
    throttle_rebuild
}

throttle_rebuild
release=$(uname -r)
caption "A virtual appliance: Linux $release with md, six disks and the controller's status files"
show lsblk --nodeps --output NAME,SIZE,MODEL /dev/sda /dev/sdb /dev/sdc /dev/sdd /dev/sde /dev/sdf
show tail -n 3 /proc/scsi/mvSata/0

caption "The same disks by their channels, the numbers of their slots: none is used yet"
show zavbox diskmanage --display
check "six disks, exit status 0" exits_with 0
for channel in 1 2 3 4 5 6; do
    check "the disk in slot $channel is free" disk_row_ends "$channel" "''	'0'	'NH'"
done

caption "No arrays yet"
show zavbox mdmanage --display
check "the list is empty, exit status 0" exits_with 0
check "header and rule only" table_is_empty

caption "A RAID-5 array from the disks in slots 1, 2 and 3 of controller 0"
show zavbox mdmanage --create -n md1 -l 5 -d 0 1,2,3
check "created, exit status 0" exits_with 0
check "the kernel runs it" kernel_has 'sda\[0\]'

caption "The list shows it with its channels while the kernel computes the parity"
show zavbox mdmanage --display
check "it is being rebuilt, with progress and speed" is_rebuilding
check "the third disk is its spare until then" has_channels "1,2,3(S)"
await_sync
check "the parity is complete" redundant md1
show zavbox mdmanage --display -n md1
check "clean" status_is clean
check "three members in sync" has_channels "1,2,3"

caption "Data is written to the array"
echo "\$ (6 MiB from a seeded generator) | dd of=/dev/md1"
write_data
written=$(checksum)
echo "   sha256 $written"

caption "What would do harm is refused, and the log says why"
show zavbox mdmanage --create -n md2 -l 1 -d 0 1,4
check "a disk that is in use: -2030" refused -2030
check "logged" logged "'sda,sdd' or '' includes used disk in md1"
show zavbox mdmanage --create -n md2 -l 1 -d 0 4,5,6
check "a mirror of three disks: -2034" refused -2034
check "logged" logged "disks num 3 exceed [2, 2] in raid1"
show zavbox mdmanage -r 1 md1
check "removing a healthy member: -2036" refused -2036
check "logged" logged "'1' in md1 is not fauty"
show tail -n 6 /var/log/log.libzav

caption "The disk in slot 6 becomes a hot spare; one that is in use does not"
show zavbox diskmanage --hotspare -a 6
check "made a hot spare, exit status 0" exits_with 0
show zavbox diskmanage --hotspare -a 1
check "the disk in slot 1 is in use: -201" refused -201
show zavbox diskmanage --hotspare -r 4
check "the disk in slot 4 is no hot spare: -204" refused -204
show zavbox diskmanage --display
check "the list shows the hot spare" disk_row_ends 6 "''	'0'	'H'"
check "and the array of the first disk" disk_row_ends 1 "'md1'	'1'	'NH'"
show zavbox diskmanage --hotspare -r 6
check "taken back, exit status 0" exits_with 0
show zavbox diskmanage --display -n 6
check "an ordinary disk again" disk_row_ends 6 "''	'0'	'NH'"

caption "The disk in slot 2 fails"
show mdadm /dev/md1 -f /dev/sdb
show zavbox mdmanage --display
check "degraded" status_is "clean, degraded"
check "the list marks the disk" has_channels "1,2(F),3"
check_data "the data is still whole"

caption "It is taken out of the array"
show zavbox mdmanage -r 2 md1
check "removed, exit status 0" exits_with 0
show zavbox mdmanage --display
check "two members are left" has_channels "1,3"

caption "The disk in slot 4 takes its place"
show zavbox mdmanage -a 4 md1
check "added, exit status 0" exits_with 0
sleep 2
show zavbox mdmanage --display
check "the rebuild is under way" is_rebuilding
check "onto the new disk" has_channels "1,3,4(S)"
await_sync
check "the rebuild is complete" redundant md1
show zavbox mdmanage --display
check "clean" status_is clean
check "three members in sync" has_channels "1,3,4"
check_data "the data is whole"

caption "A second disk fails: now the data depends on the new one"
show mdadm /dev/md1 -f /dev/sda
show zavbox mdmanage --display
check "degraded" status_is "clean, degraded"
check_data "the data is whole"

caption "The array is deleted and its disks are prepared for a new use"
show zavbox mdmanage --delete -n md1
check "deleted, exit status 0" exits_with 0
show zavbox mdmanage --display
check "the list is empty again" table_is_empty
for disk in sda sdc sdd; do
    check "$disk carries no trace of it" is_blank "/dev/$disk"
done

caption "A disk that comes from elsewhere is cleared"
mkfs.xfs -q /dev/sdf
check "it carries a file system" test ! "$(wipefs --noheadings /dev/sdf | wc -l)" -eq 0
show zavbox diskmanage --init -n 6
check "cleared, exit status 0" exits_with 0
check "nothing is left of it" is_blank /dev/sdf
show zavbox disksmart --display -n 6
check "exit status 0" exits_with 0
check "what it says about its health" grep -q "^SMART support is: ." "$output"

echo
if [ "$failures" -eq 0 ]; then
    echo "demo: all $checks checks passed"
else
    echo "demo: $failures of $checks checks FAILED"
    exit 1
fi
