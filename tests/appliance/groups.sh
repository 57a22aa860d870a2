# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# vgmanage with real LVM.

vg_header='vgname	status	device	allsize	usedsize	pvname
*****************************************************'

test_a_group_on_an_array_is_listed_and_deleted() {
    create_array md1 5 1,2,3
    run zavbox vgmanage --create -n vg1 -c md1
    expect 0
    run zavbox vgmanage --display
    expect 0 "$vg_header
vg1	resizable	0	1G	0G	md1"
    expect_that "LVM has it" vgs vg1
    run zavbox mdmanage --delete -n md1
    expect_code -2035
    run zavbox vgmanage --delete -n vg1
    expect 0 "vg restore: no"
    expect_that "LVM has no volume any more" test -z "$(pvs --noheadings)"
    run zavbox vgmanage --display
    expect 0 "$vg_header"
    run zavbox mdmanage --delete -n md1
    expect_status 0
}

test_a_group_on_single_disks_clears_them() {
    mkfs.xfs -q /dev/sda
    run zavbox vgmanage --create -n vg1 -c 1,sdb -d 0
    expect 0
    run zavbox vgmanage --display -n vg1
    expect_line 'vg1	resizable	0	1G	0G	(1,2|2,1)'
    run zavbox diskmanage --display -n 1
    expect_line "'sda'	'1'	'1'	'running'	'.*'	''	'0'	''	'1'	'NH'"
}

test_disks_and_arrays_in_use_are_refused_as_volumes() {
    create_array md1 1 1,2
    run zavbox vgmanage --create -n vg1 -c md1
    expect 0
    run zavbox vgmanage --create -n vg2 -c md1
    expect_code -2045
    run zavbox vgmanage --create -n vg1 -c 3
    expect_code -2041
    run zavbox vgmanage --create -n vg2 -c 1
    expect_code -2043
    run zavbox diskmanage --hotspare -a 3
    expect 0
    run zavbox vgmanage --create -n vg2 -c 3
    expect_code -2043
    run zavbox vgmanage --create -n vg2 -c 15
    expect_code -2042
    run zavbox vgmanage --create -n vg2 -c md7
    expect_code -2044
    run zavbox vgmanage --display
    expect 0 "$vg_header
vg1	resizable	0	0G	0G	md1"
}

test_a_group_with_pools_is_not_deleted() {
    create_array md1 0 1,2
    run zavbox vgmanage --create -n vg1 -c md1
    expect 0
    lvcreate -qq -y -L 1200M -n pool vg1
    run zavbox vgmanage --delete -n vg1
    expect $((-2047 & 255)) "vg restore: no
for errno '-2047'"
    expect_that "the pool is there" test -e /dev/vg1/pool
}

# A substitute gets the UUID of its volume, which today's LVM refuses while the volume exists.
test_a_group_on_single_disks_is_not_restored_by_todays_lvm() {
    run zavbox vgmanage --create -n vg1 -c 1
    expect 0
    run zavbox vgmanage --delete -n vg1
    expect $((-301 & 255)) "raid restore 'vg1' fail
for errno '-301'"
    expect_that "the reason is logged" grep -q "vg_raid_resume.*return with -3" "$log_file"
    rm /etc/lvm/backup/vg1
    run zavbox vgmanage --delete -n vg1
    expect 0 "file '/etc/lvm/backup/vg1' cannot open"
    expect_that "it is gone" test -z "$(vgs --noheadings)"
}
