# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# The appliance's own tools, and the wrappers around tools that have changed.

is_blank() {
    [ -z "$(wipefs --noheadings "$1")" ]
}

test_hotspare_keeps_a_list_of_disks() {
    run hotspare --list
    expect 0 "Global hotspare disk:"
    run hotspare -a /dev/sdb
    expect 0
    run hotspare -a /dev/sdc
    expect 0
    run hotspare --list
    expect 0 "Global hotspare disk: sdb sdc"
    run hotspare -r /dev/sdb
    expect 0
    run hotspare -r /dev/sdb
    expect 1 "hotspare: sdb is no hot spare"
    run hotspare --list
    expect 0 "Global hotspare disk: sdc"
}

test_hotspare_refuses_anything_but_a_free_disk() {
    run hotspare -a /dev/sdz
    expect 1 "hotspare: '/dev/sdz' is no disk"
    run hotspare -a /dev/ram2
    expect 1 "hotspare: '/dev/ram2' is no disk"
    create_array md1 1 1,2
    run hotspare -a /dev/sda
    expect 1 "hotspare: sda is in use"
    run hotspare --list
    expect 0 "Global hotspare disk:"
}

test_simultaneous_changes_of_the_hot_spare_list_are_not_lost() {
    local disk
    for disk in a b c d e f g h; do hotspare -a "/dev/sd$disk" & done
    wait
    run sort /etc/hotspare.list
    expect 0 "sda
sdb
sdc
sdd
sde
sdf
sdg
sdh"
}

test_diskformat_clears_whatever_was_on_a_disk() {
    local version
    for version in 0.90 1.0 1.1 1.2; do
        mdadm -q -C /dev/md1 -l 1 -n 2 -R --metadata=$version /dev/sda missing
        mdadm -q -S /dev/md1
        expect_that "a $version superblock is there" mdadm -E /dev/sda
        run diskformat /dev/sda
        expect 0
        run mdadm -E /dev/sda
        expect 1 "mdadm: No md superblock detected on /dev/sda."
    done
    pvcreate -qq /dev/sda
    run diskformat /dev/sda
    expect 0
    expect_that "no LVM label is left" is_blank /dev/sda
    mkfs.xfs -q -f /dev/sda
    run diskformat /dev/sda
    expect 0
    expect_that "no file system is left" is_blank /dev/sda
}

test_diskformat_zeroes_the_first_and_the_last_mib_only() {
    local mib places="0 1 1022 1023"
    for mib in $places; do
        tr '\0' x </dev/zero | dd of=/dev/sda bs=1M count=1 seek="$mib" iflag=fullblock status=none
    done
    run diskformat /dev/sda
    expect 0
    for mib in $places; do
        dd if=/dev/sda bs=1M count=1 skip="$mib" status=none | tr -d '\0' | wc -c
    done >/tmp/left
    run paste -sd' ' /tmp/left
    expect 0 "0 1048576 1048576 0"
}

test_diskformat_refuses_a_disk_in_use() {
    create_array md1 1 1,2
    run diskformat /dev/sda
    expect 1 "diskformat: /dev/sda is held by md1"
    mkfs.xfs -q -f /dev/md1
    mount /dev/md1 /mnt
    run diskformat /dev/md1
    expect 1 "diskformat: /dev/md1 is in use (/proc/mounts)"
    expect_that "the file system is whole" touch /mnt/file
    run diskformat /dev/nosuch
    expect 1 "diskformat: '/dev/nosuch' is no block device"
    run diskformat /dev/null
    expect 1 "diskformat: '/dev/null' is no block device"
}

test_the_save_tools_keep_a_copy_and_a_log() {
    local store=/var/lib/saved-config
    rm -rf $store
    run nasconf -s /etc/hostname
    expect 0
    run xconf -s /etc/lvm/lvmlocal.conf
    expect 0
    expect_that "the copy is the same" cmp /etc/hostname $store/etc/hostname
    expect_that "the copy is the same" cmp /etc/lvm/lvmlocal.conf $store/etc/lvm/lvmlocal.conf
    run cut -d' ' -f3- $store/log
    expect 0 "nasconf /etc/hostname
xconf /etc/lvm/lvmlocal.conf"
    run xconf -s /etc/nosuch
    expect 1 "xconf: no file '/etc/nosuch'"
    run nasconf -s /etc/../etc/hostname
    expect 1 "nasconf: '/etc/../etc/hostname' is no plain path"
}

test_vexadm_reports_the_machines_own_disks() {
    create_array md1 1 1,2
    hotspare -a /dev/sdc
    run vexadm --misc --scan
    expect_line '0 /UML-DISK-1/1/running/RAID md1'
    expect_line '2 /UML-DISK-3/1/running/Hot Spare'
    expect_line '9 /UML-DISK-10/1/running/Free'
    expect_line '10 /N\.A\./0/N\.A\./N\.A\.'
    run vexadm --display --scan
    expect_line 'md1 /1/2/clean/1/md1/ #1 #2'
    run vexadm --misc -s -i 12
    expect 1 "vexadm: no disk in slot 12"
}

test_fxml_adds_replaces_and_removes_users() {
    local list=/tmp/users.xml
    rm -f $list
    printf 'local_umask=000\nlocal_root=/home/ftpuser/a&b\n' >/tmp/anna
    printf 'write_enable=NO\n' >/tmp/annabel
    run fxml --merge -f $list -a /tmp/anna
    expect 0
    run fxml --merge -f $list -a /tmp/annabel
    expect 0
    run fxml --merge -f $list -a /tmp/anna
    expect 0
    run cat $list
    expect 0 '<?xml version="1.0" encoding="UTF-8"?>
<users>
  <user name="annabel">
    <option name="write_enable">NO</option>
  </user>
  <user name="anna">
    <option name="local_umask">000</option>
    <option name="local_root">/home/ftpuser/a&amp;b</option>
  </user>
</users>'
    run fxml --merge -f $list -d /tmp/anna
    expect 0
    run grep -c '<user ' $list
    expect 0 1
}

test_pwstate_says_that_the_machine_has_power() {
    run pwstate
    expect 0 "power state: on"
}

test_the_wrapped_pvcreate_takes_a_uuid_alone() {
    run pvcreate -q -u CDjztj-qvia-rOJR-kd3q-YCO7-ds4T-juaMyj /dev/ram2
    expect_status 0
    run pvs --noheadings -o pv_uuid /dev/ram2
    expect 0 "  CDjztj-qvia-rOJR-kd3q-YCO7-ds4T-juaMyj"
    pvremove -qq /dev/ram2
}

test_the_wrapped_mkfs_reiserfs_takes_a_label() {
    run mkfs.reiserfs -q -f -L nd2 /dev/sda
    expect_status 0
    run blkid -s LABEL -o value /dev/sda
    expect 0 nd2
}

test_the_wrapped_mdadm_passes_on_a_failed_creation() {
    run mdadm -C /dev/md1 --fg-init -l 1 -n 2 -R /dev/sda /dev/nosuch
    expect_that "mdadm's own status" test "$status" -ne 0
    expect_that "no array" test ! -e /sys/block/md1/md
}

test_smartctl_prints_what_the_disk_answers() {
    run /usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes /dev/sda
    expect_line 'User Capacity: +1,073,741,824 bytes \[1\.07 GB\]'
    expect_line 'SMART Health Status: OK'
}

test_vmstat_runs() {
    run /usr/bin/vmstat
    expect_line ' *[0-9]+( +[0-9]+){16}'
}
