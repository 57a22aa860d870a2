# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# Groups on arrays that have lost more disks than their level tolerates: RAM disks replace the
# arrays, so that LVM can delete the groups.

lose_array() {
    mdadm --quiet /dev/md1 -f /dev/sda
    # mdadm says "busy" but marks the member nevertheless.
    mdadm --quiet /dev/md1 -f /dev/sdb || true
}

test_a_pool_on_a_lost_array_is_deleted() {
    create_group 5 1,2,3
    finish_rebuild md1
    create_fs
    sync
    lose_array
    run zavbox fsmanage --display
    expect_line '/dev/vg1/pool	/mnt/vg1/pool	not available	.*'
    run zavbox fsmanage --delete -n pool -g vg1
    expect_status 0
    expect_line "vg restore: yes"
    expect_that "no pool" test -z "$(lvs --noheadings)"
    expect_that "not registered" test ! -s /etc/mdfstab
    expect_that "not mounted" test -z "$(grep vg1 /proc/mounts)"
    run zavbox vgmanage --display
    expect_line 'vg1	resizable		1G	0G	ram2'
    # LVM refuses a second substitute of the same volume: the first one serves.
    run zavbox vgmanage --delete -n vg1
    expect_status 0
    expect_that "nothing is left" test -z "$(vgs --noheadings)$(pvs --noheadings)"
    run zavbox mdmanage --delete -n md1
    expect_status 0
}

test_an_empty_group_on_a_lost_array_is_deleted() {
    create_group 5 1,2,3
    finish_rebuild md1
    lose_array
    run zavbox vgmanage --delete -n vg1
    expect_status 0
    expect_line "vg restore: yes"
    expect_that "nothing is left" test -z "$(vgs --noheadings)$(pvs --noheadings)"
}
