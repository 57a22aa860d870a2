# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# Members that fail, are removed and added.

test_a_failed_member_is_removed_and_replaced() {
    create_array md1 5 1,2,3
    finish_rebuild md1
    run mdadm /dev/md1 -f /dev/sdb
    expect_status 0
    expect_row md1 raid5 "clean, degraded" '100%' 2GB "1,2(F),3" None
    run zavbox mdmanage -r 2 md1
    expect 0
    expect_row md1 raid5 "clean, degraded" '100%' 2GB 1,3 None
    run zavbox mdmanage -a 4 md1
    expect 0
    expect_row md1 raid5 "clean, degraded, recovering" "$progress" 2GB "1,3,4(S)" 4
    finish_rebuild md1
    expect_row md1 raid5 clean '100%' 2GB 1,3,4 None
    expect_no_log
}

test_an_extra_disk_is_a_spare() {
    create_array md1 1 1,2
    run zavbox mdmanage -a 3 md1
    expect 0
    expect_row md1 raid1 "clean, resyncing" "$progress" 1GB "1,2,3(S)" 3
}

test_a_mirror_that_lost_a_disk_keeps_running() {
    create_array md1 1 1,2
    finish_rebuild md1
    run mdadm /dev/md1 -f /dev/sda
    expect_status 0
    run zavbox mdmanage -r 1 md1
    expect 0
    expect_row md1 raid1 "clean, degraded" '100%' 1GB 2 None
    run zavbox mdmanage -a 3 md1
    expect 0
}

test_a_raid6_survives_two_failures() {
    create_array md1 6 1,2,3,4
    finish_rebuild md1
    run mdadm /dev/md1 -f /dev/sda
    expect_status 0
    run mdadm /dev/md1 -f /dev/sdb
    expect_status 0
    expect_row md1 raid6 "clean, degraded" '100%' 2GB "1(F),2(F),3,4" None
    run zavbox mdmanage -r 1 md1
    expect 0
    run zavbox mdmanage -r 2 md1
    expect 0
    expect_row md1 raid6 "clean, degraded" '100%' 2GB 3,4 None
}

test_removing_a_member_in_sync_is_refused() {
    create_array md1 6 1,2,3,4
    run zavbox mdmanage -r 1 md1
    expect_code -2036
    expect_log "'1' in md1 is not fauty"
    expect_row md1 raid6 "clean, resyncing" "$progress" 2GB 1,2,3,4 None
}

test_removing_a_disk_that_is_not_a_member_is_refused() {
    create_array md1 1 1,2
    run zavbox mdmanage -r 5 md1
    expect_code -2033
    expect_log "'5' is not in md1"
    run zavbox mdmanage -r 77 md1
    expect_code -2033
    expect_log "'77' is not invalid disk"
    run zavbox mdmanage -r 1 md9
    expect_code -2038
}

test_a_stripe_neither_takes_nor_gives_up_disks() {
    create_array md1 0 1,2
    run zavbox mdmanage -a 3 md1
    expect_code -2037
    expect_log "'md1' is not support add disk"
    run zavbox mdmanage -r 1 md1
    expect_code -2037
    expect_log "'md1' is not support remove disk"
}

test_adding_a_member_twice_is_refused() {
    create_array md1 1 1,2
    run zavbox mdmanage -a 2 md1
    expect_code -2030
    expect_log "'2' used in md1"
    run zavbox mdmanage -a 3 md7
    expect_code -127
}

test_mdadm_refuses_to_grow_a_linear_array_this_way() {
    create_array md1 JBOD 1,2
    run zavbox mdmanage -a 3 md1
    expect_code -417
}

test_an_array_without_redundancy_left_takes_no_disk() {
    create_array md1 5 1,2,3
    finish_rebuild md1
    run mdadm /dev/md1 -f /dev/sda
    run mdadm /dev/md1 -f /dev/sdb
    expect_row md1 raid5 inactive '100%' 2GB "1(F),2,3" None
    run zavbox mdmanage -a 4 md1
    expect_code -421
}
