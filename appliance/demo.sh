#!/bin/sh
# SPDX-License-Identifier: MIT
# demo.sh - the demonstration inside the virtual appliance: the real output of every command under a
# caption, and a check of everything that the captions claim.
# shellcheck source-path=SCRIPTDIR source=guest/functions.sh
. /usr/local/lib/appliance.sh

checks=0
failures=0
output=/tmp/demo.output

caption() {
    echo
    echo "== $*"
}

# show COMMAND...: print the command and its output, and leave its exit status in "status".
show() {
    echo "\$ $*"
    "$@" >"$output" 2>&1
    status=$?
    cat "$output"
    [ "$status" -eq 0 ] || echo "(exit status $status)"
}

# check CLAIM COMMAND...: the claim holds if the command succeeds.
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

# refused CODE: the command printed the code, and its exit status is the code's lowest byte.
refused() {
    [ "$status" -eq $(($1 & 255)) ] && [ "$(cat "$output")" = "for errno '$1'" ]
}

logged() {
    grep -qF "$1" /var/log/log.libzav
}

# column N: that column of the only row in the last table.
column() {
    awk -F'\t' -v n="$1" 'NR == 3 { print $n }' "$output"
}

# has_channels LIST: the table shows these channels, in any order.
has_channels() {
    [ "$(column 8 | tr , '\n' | sort | paste -sd, -)" = "$1" ]
}

# prints TEXT: a line of the last output begins with the text.
prints() {
    awk -v text="$1" 'index($0, text) == 1 { found = 1 } END { exit !found }' "$output"
}

file_checksum() {
    echo 3 >/proc/sys/vm/drop_caches
    sha256sum </mnt/data/pub/file | cut -d' ' -f1
}

# add_user NAME: add a user to the system and to Samba, with the password "secret".
add_user() {
    mkdir -p /run/samba /var/lib/samba/private
    useradd --create-home "$1"
    echo "$1:secret" | chpasswd
    printf 'secret\nsecret\n' | smbpasswd -as "$1" >/dev/null
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

# disk_row_ends CHANNEL TEXT: the disk's row in the last listing ends with the text.
disk_row_ends() {
    awk -F'\t' -v channel="'$1'" '$2 == channel' "$output" | grep -q "$2\$"
}

kernel_has() {
    grep -q "^md1 : active raid5 .*$1" /proc/mdstat
}

is_blank() {
    [ -z "$(wipefs --noheadings "$1")" ]
}

# The test data: the same bytes for the same seed, at the array's start and near its end.
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
    # From the disks, not from the page cache.
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

# await_sync [ARRAY]: let the kernel finish the sync, and print the progress.
await_sync() {
    array=${1-md1}
    release_rebuild
    uptime_seconds
    begin=$now
    printf '   now at full speed:'
    until redundant "$array"; do
        rebuild_of "$array"
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

caption "The same disks by channel, the number of the slot: none is in use yet"
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

caption "Harmful requests are refused, and the log says why"
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

caption "The disk in slot 6 becomes a hot spare; a disk in use is refused"
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
check "no longer a hot spare, exit status 0" exits_with 0
show zavbox diskmanage --display -n 6
check "an ordinary disk again" disk_row_ends 6 "''	'0'	'NH'"

caption "The disk in slot 2 fails"
show mdadm /dev/md1 -f /dev/sdb
show zavbox mdmanage --display
check "degraded" status_is "clean, degraded"
check "the list marks the disk" has_channels "1,2(F),3"
check_data "the data is intact"

caption "It is removed from the array"
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
check_data "the data is intact"

caption "A second disk fails: now the data depends on the new one"
show mdadm /dev/md1 -f /dev/sda
show zavbox mdmanage --display
check "degraded" status_is "clean, degraded"
check_data "the data is intact"

caption "The array is deleted and its disks are cleared for reuse"
show zavbox mdmanage --delete -n md1
check "deleted, exit status 0" exits_with 0
show zavbox mdmanage --display
check "the list is empty again" table_is_empty
for disk in sda sdc sdd; do
    check "$disk carries no trace of it" is_blank "/dev/$disk"
done

caption "A disk with an old file system is cleared"
mkfs.xfs -q /dev/sdf
check "it holds a file system" test ! "$(wipefs --noheadings /dev/sdf | wc -l)" -eq 0
show zavbox diskmanage --init -n 6
check "cleared, exit status 0" exits_with 0
check "nothing is left of it" is_blank /dev/sdf
show zavbox disksmart --display -n 6
check "exit status 0" exits_with 0
check "it reports its health" grep -q "^SMART support is: ." "$output"

caption "A new array with a volume group, and in the group a pool with a mounted file system"
: >/etc/mdfstab
: >/etc/netfstab
show zavbox mdmanage --create -n md2 -l 5 -d 0 1,2,3
check "the array is created, exit status 0" exits_with 0
show zavbox vgmanage --create -n data -c md2
check "the group is created, exit status 0" exits_with 0
show zavbox vgmanage --display
check "it lies on the array" prints "data	resizable	0	1G	0G	md2"
show zavbox fsmanage --create -n pub -s 1 -g data
check "the pool is created, exit status 0" exits_with 0
show zavbox lvmanage --display
check "LVM has it" prints "/dev/data/pub	available	1G	0G	data	0"
show cat /etc/mdfstab
check "it is registered" prints "/dev/data/pub	/mnt/data/pub	xfs	defaults	0 0"
head -c 20M /dev/urandom >/mnt/data/pub/file
written=$(file_checksum)
echo "   a file of 20 MiB, sha256 $written"
show zavbox fsmanage --display
check "the file system is available" prints "/dev/data/pub	/mnt/data/pub	available"

caption "A disk under the pool fails, is removed and replaced"
await_sync md2
show mdadm /dev/md2 -f /dev/sdb
show zavbox mdmanage -r 2 md2
check "removed, exit status 0" exits_with 0
show zavbox mdmanage -a 5 md2
check "replaced, exit status 0" exits_with 0
await_sync md2
check "the rebuild is complete" redundant md2
umount /mnt/data/pub
mount /dev/data/pub /mnt/data/pub
check "the file is intact" test "$(file_checksum)" = "$written"

caption "The file system shuts down with a dirty log and is repaired"
echo "a change that only the log has" >/mnt/data/pub/late
sync /mnt/data/pub/late
xfs_io -x -c shutdown /mnt/data/pub
show zavbox fsmanage --display
check "not available" prints "/dev/data/pub	/mnt/data/pub	not available"
show zavbox fsmanage --repair -n pub -g data
check "repaired, exit status 0" exits_with 0
show zavbox fsmanage --display
check "available again" prints "/dev/data/pub	/mnt/data/pub	available"
check "the file is intact" test "$(file_checksum)" = "$written"

caption "A network disk, found by its label"
show zavbox netmanage --create -n shelf -g sdf
check "created, exit status 0" exits_with 0
show zavbox netmanage --display
check "mounted and available" prints "shelf	/mnt/netdisk/shelf	available"
show zavbox netmanage --delete -n shelf
check "deleted, exit status 0" exits_with 0
check "the disk is clear" is_blank /dev/sdf

caption "Two disks of the array fail: the pool is lost and is deleted with the help of LVM's backup"
show mdadm /dev/md2 -f /dev/sda
show mdadm /dev/md2 -f /dev/sdc
show zavbox mdmanage --display
check "the array is inactive" status_is inactive
show zavbox fsmanage --display
check "not available" prints "/dev/data/pub	/mnt/data/pub	not available"
show zavbox fsmanage --delete -n pub -g data
check "deleted, exit status 0" exits_with 0
check "a RAM disk took the array's place" prints "vg restore: yes"
check "no longer registered" test ! -s /etc/mdfstab
show zavbox vgmanage --display
check "the group is empty, on a RAM disk" prints "data	resizable		1G	0G	ram2"

caption "The group is deleted, then the array"
show zavbox vgmanage --delete -n data
check "deleted, exit status 0" exits_with 0
show zavbox mdmanage --delete -n md2
check "deleted, exit status 0" exits_with 0

caption "Some product models use ReiserFS"
sed -i 's/^type = .*/type = KOR7206LB/' /etc/sys_info
show zavbox mdmanage --create -n md3 -l 0 -d 0 4,6
show zavbox vgmanage --create -n more -c md3
show zavbox fsmanage --create -n pub -s 5 -g more
check "larger than the space left in the group: -2053" refused -2053
show zavbox fsmanage --create -n pub -s 1 -g more
check "created, exit status 0" exits_with 0
check "ReiserFS is mounted" grep -q "^/dev/mapper/more-pub /mnt/more/pub reiserfs" /proc/mounts
show zavbox fsmanage --display
check "available" prints "/dev/more/pub	/mnt/more/pub	available	1023M	32M	more	0"

caption "Shares: a folder for anna over Samba"
show zavbox fsmanage --delete -n pub -g more
check "the pool is gone, exit status 0" exits_with 0
sed -i 's/^type = .*/type = KOR7206H/' /etc/sys_info
add_user anna
add_user bert
show zavbox sharemanage --create -n docs -f samba -s 1 -u anna -c "for anna" more
check "created, exit status 0" exits_with 0
show zavbox sharemanage --display
check "in use" prints "docs	samba	/mnt/more/docs	anna	rw	1GB	0.04GB	for anna	md3"
show testparm -s --section-name docs
check "Samba accepts the configuration" exits_with 0
echo "hello" >/tmp/up
show smbclient -U anna%secret //localhost/docs -c "put /tmp/up letter; get letter /tmp/down"
check "anna's file comes back" cmp /tmp/up /tmp/down
show smbclient -U bert%secret //localhost/docs -c ls
check "bert is refused" prints "tree connect failed: NT_STATUS_ACCESS_DENIED"

caption "Services and state of the appliance: a C program asks the library"
show /run/share/status_page
check "exit status 0" exits_with 0
check "Samba runs" grep -Eqx 'Samba +running' "$output"
check "the FTP server does not" grep -Eqx 'FTP +stopped' "$output"

caption "The share is forbidden, then put in use again unchanged"
show zavbox sharemanage --edit -n docs -f samba -b 0
check "forbidden, exit status 0" exits_with 0
/etc/init.d/samba stop
/etc/init.d/samba start
show smbclient -U anna%secret //localhost/docs -c ls
check "nobody can connect" prints "tree connect failed: NT_STATUS_BAD_NETWORK_NAME"
show zavbox sharemanage --edit -n docs -f samba -b 1
/etc/init.d/samba stop
/etc/init.d/samba start
show smbclient -U anna%secret //localhost/docs -c "get letter /tmp/again"
check "anna's file is there" cmp /tmp/up /tmp/again
/etc/init.d/samba stop
show zavbox sharemanage --delete -n docs
check "deleted, exit status 0" exits_with 0

caption "A folder for this machine over NFS, and one for bert over FTP"
show zavbox sharemanage --create -n docs -f nfs -s 1 -u 127.0.0.1 more
check "exported, exit status 0" exits_with 0
mkdir /tmp/nfs
show mount -t nfs -o vers=3,nolock,tcp localhost:/mnt/more/docs /tmp/nfs
cp /tmp/up /tmp/nfs/letter
check "a file written over NFS is in the pool" cmp /tmp/up /mnt/more/docs/letter
umount /tmp/nfs
/etc/init.d/nfs stop
show zavbox sharemanage --delete -n docs
check "deleted, exit status 0" exits_with 0
show zavbox sharemanage --create -n docs -f ftp -s 1 -u bert more
check "created, exit status 0" exits_with 0
sleep 0.5
show busybox ftpput -u bert -p secret 127.0.0.1 letter /tmp/up
check "a file sent by FTP is in the pool" cmp /tmp/up /home/ftpuser/docs/letter
show zavbox sharemanage --display
check "bert's" prints "docs	ftp	/home/ftpuser/docs	bert	rw"
show zavbox sharemanage --delete -n docs
check "deleted, exit status 0" exits_with 0

echo
if [ "$failures" -eq 0 ]; then
    echo "demo: all $checks checks passed"
else
    echo "demo: $failures of $checks checks FAILED"
    exit 1
fi
