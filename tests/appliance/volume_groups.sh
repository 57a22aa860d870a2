# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# Disks and arrays with a physical volume of the real LVM.

test_a_disk_in_a_physical_volume_is_refused() {
    pvcreate -qq /dev/sdb
    vgcreate -qq vg1 /dev/sdb
    run zavbox mdmanage --create -n md1 -l 1 -d 0 1,2
    expect_code -2030
    expect_log "'sda,sdb' or '' includes used disk in pv"
    create_array md1 1 3,4
    run zavbox mdmanage -a 2 md1
    expect_code -2030
    expect_log "'2' used in pv"
    run vgdisplay -c
    expect_line ' *vg1:.*'
}

test_an_array_with_a_volume_group_is_not_deleted() {
    create_array md1 1 1,2
    pvcreate -qq /dev/md1
    vgcreate -qq vg1 /dev/md1
    run zavbox mdmanage --delete -n md1
    expect_code -2035
    expect_that "it still runs" is_listed md1
    vgremove -qq vg1
    pvremove -qq /dev/md1
    run zavbox mdmanage --delete -n md1
    expect_status 0
    expect_no_arrays
}

test_an_active_volume_keeps_its_array_and_its_data() {
    create_array md1 5 1,2,3
    # During a rebuild the kernel releases a failed disk only after a while.
    finish_rebuild md1
    pvcreate -qq /dev/md1
    vgcreate -qq vg1 /dev/md1
    lvcreate -qq -L 512M -n pool vg1
    mkfs.xfs -q /dev/vg1/pool
    mount /dev/vg1/pool /mnt
    echo kept >/mnt/file
    run zavbox mdmanage --delete -n md1
    expect_code -2035
    run mdadm /dev/md1 -f /dev/sdc
    run zavbox mdmanage -r 3 md1
    expect 0
    run zavbox mdmanage -a 4 md1
    expect 0
    run cat /mnt/file
    expect 0 kept
}
