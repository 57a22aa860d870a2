# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# Groups whose array has lost more disks than it can do without: LVM lets go of them by RAM disks.

lose_array() {
    mdadm --quiet /dev/md1 -f /dev/sda
    # It says "busy" and marks the member all the same.
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
    # A second substitute for the same volume is what today's LVM refuses.
    run zavbox vgmanage --delete -n vg1
    expect_status $((-301 & 255))
    mv /etc/lvm/backup/vg1 /etc/lvm/backup.vg1
    run zavbox vgmanage --delete -n vg1
    rm /etc/lvm/backup.vg1
    expect 0 "file '/etc/lvm/backup/vg1' cannot open"
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
