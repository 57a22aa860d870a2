# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# Unexpected behaviour of today's kernel and mdadm.

test_failing_beyond_the_redundancy_is_reported_but_done() {
    create_array md1 5 1,2,3
    finish_rebuild md1
    run mdadm /dev/md1 -f /dev/sda
    expect_status 0
    run mdadm /dev/md1 -f /dev/sdb
    expect_status 2
    run member_state md1 sdb
    expect 0 faulty,blocked
    # Such a member counts neither as faulty nor as in sync.
    expect_row md1 raid5 inactive '100%' 2GB "1(F),2,3" None
    run zavbox mdmanage -r 2 md1
    expect_code -2036
}

test_a_stripe_whose_member_fails_keeps_it_in_sync() {
    create_array md1 0 1,2
    run mdadm /dev/md1 -f /dev/sda
    expect_status 2
    run member_state md1 sda
    expect 0 in_sync
    run zavbox mdmanage --display -n md1
    expect_line 'md1	raid0	(broken|clean|clean, FAILED|FAILED)	100%	0	2GB	0GB	(1,2|2,1)	None'
}

test_only_old_superblocks_have_a_table_of_members() {
    run mdadm -C /dev/md1 -l 1 -n 2 -R --metadata=1.2 /dev/sda /dev/sdb
    run mdadm -E /dev/sda
    expect_that "no table in version 1.2" test -z "$(grep 'RaidDevice State' <<<"$output")"
    run mdadm -C /dev/md2 -l 1 -n 2 -R --metadata=0.90 /dev/sdc /dev/sdd
    run mdadm -E /dev/sdc
    expect_line ' *Number +Major +Minor +RaidDevice State'
    expect_line ' *0 +0 +8 +32 +0 +active sync +/dev/sdc'
}

test_arrays_that_cannot_start_come_from_incremental_assembly() {
    create_array md1 5 1,2,3
    mdadm -q -S /dev/md1
    # Assembling too few members leaves no array.
    run mdadm -A /dev/md1 /dev/sda
    expect_that "it fails" test "$status" -ne 0
    expect_that "no array is left" test ! -e /sys/block/md1/md
    run mdadm -I /dev/sda
    expect_status 0
    local array
    array=$(sed -n 's/^\(md[0-9]*\) : inactive.*/\1/p' /proc/mdstat)
    run zavbox mdmanage --display -n "$array"
    expect_line "$array	raid5	inactive	100%	0	0GB	0GB	1\\(S\\)	1"
    run zavbox mdmanage -a 4 "$array"
    expect_code -421
}

test_removing_needs_the_long_option() {
    create_array md1 1 1,2
    finish_rebuild md1
    mdadm -q /dev/md1 -f /dev/sda
    run /usr/local/lib/real/mdadm --manage /dev/md1 -r /dev/sda
    expect_status 0
    expect_that "it removed nothing" test -e /sys/block/md1/md/dev-sda
    run mdadm --manage /dev/md1 -r /dev/sda
    expect_status 0
    expect_that "through the wrapper it is gone" test ! -e /sys/block/md1/md/dev-sda
}

test_an_old_superblock_lists_a_failed_member_after_the_others() {
    # Recovery takes the members in the order of this list, which would scramble the data here.
    mkdir -p /etc/mdadm
    echo 'CREATE metadata=0.90' >/etc/mdadm/mdadm.conf
    create_array md1 5 1,2,3
    finish_rebuild md1
    mdadm -q /dev/md1 -f /dev/sdb
    run mdadm --detail /dev/md1
    expect_line ' *- +0 +0 +1 +removed'
    expect_line ' *3 +8 +16 +- +faulty +/dev/sdb'
}
