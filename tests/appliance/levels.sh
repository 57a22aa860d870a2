# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# The five levels: created by the real mdadm, listed, deleted.

test_a_raid5_has_a_bitmap_and_shows_its_progress_until_it_is_clean() {
    run zavbox mdmanage --create -n md1 -l 5 -d 0 1,2,3
    expect 0
    expect_row md1 raid5 "clean, degraded, recovering" "$progress" 2GB "1,2,3(S)" 3
    run mdadm --detail /dev/md1
    expect_line ' *Raid Devices : 3'
    expect_line ' *Intent Bitmap : Internal'
    run mdadm --examine-bitmap /dev/sda
    expect_line ' *Chunksize : 16 MB'
    finish_rebuild md1
    expect_row md1 raid5 clean '100%' 2GB 1,2,3 None
    run zavbox mdmanage --delete -n md1
    expect_status 0
    expect_no_arrays
    expect_no_log
}

test_a_raid0_of_two_disks() {
    run zavbox mdmanage --create -n md0 -l 0 -d 0 1,2
    expect 0
    expect_row md0 raid0 clean '100%' 2GB 1,2 None
    run zavbox mdmanage --delete -n md0
    expect_status 0
    expect_no_arrays
    expect_no_log
}

test_a_raid1_of_two_disks_resyncs() {
    run zavbox mdmanage --create -n md3 -l 1 -d 0 4,5
    expect 0
    expect_row md3 raid1 "clean, resyncing" "$progress" 1GB 4,5 None
    run zavbox mdmanage --delete -n md3
    expect_status 0
    expect_no_arrays
    expect_no_log
}

test_a_raid6_of_four_disks_has_no_bitmap() {
    run zavbox mdmanage --create -n md4 -l 6 -d 0 1,2,3,4
    expect 0
    expect_row md4 raid6 "clean, resyncing" "$progress" 2GB 1,2,3,4 None
    run mdadm --examine-bitmap /dev/sda
    expect_that "there is no bitmap" test "$status" -ne 0
    run zavbox mdmanage --delete -n md4
    expect_status 0
    expect_no_arrays
    expect_no_log
}

test_a_linear_array_is_listed_as_jbod() {
    run zavbox mdmanage --create -n data -l jbod -d 0 1,2
    # Array devices must be named md...: mdadm refuses the name.
    expect_code -416
    run zavbox mdmanage --create -n md2 -l JBOD -d 0 1,2
    expect 0
    expect_row md2 JBOD clean '100%' 2GB 1,2 None
    run zavbox mdmanage --delete -n md2
    expect_status 0
    expect_no_arrays
}

test_channels_9_and_10_are_disks_of_the_second_box() {
    run zavbox mdmanage --create -n md1 -l 0 -d 0 9,10
    expect 0
    run cat /sys/block/md1/slaves/sdi/size /sys/block/md1/slaves/sdj/size
    expect_status 0
    run zavbox mdmanage --display -n md1
    expect_line 'md1	raid0	clean	100%	0	2GB	0GB	(9,10|10,9)	None'
}

test_the_most_disks_of_the_machine_in_one_array() {
    run zavbox mdmanage --create -n md1 -l 6 -d 0 1,2,3,4,5,6,7,8,9,10
    expect 0
    run mdadm --detail /dev/md1
    expect_line ' *Raid Devices : 10'
}

test_foreground_initialisation_ends_when_the_array_is_in_sync() {
    release_rebuild
    run zavbox mdmanage --create --fg-init -n md1 -l 1 -d 0 1,2
    expect 0
    expect_that "nothing is left to sync" redundant md1
    run zavbox mdmanage --create --fg-init -n md2 -l 5 -d 0 3,4,5
    expect 0
    expect_that "nothing is left to sync" redundant md2
    wait_until_clean md2
    expect_row md2 raid5 clean '100%' 2GB 3,4,5 None
    run zavbox mdmanage --create --fg-init -n md3 -l 0 -d 0 6,7
    expect 0
}

test_deleting_clears_the_former_members() {
    create_array md1 5 1,2,3
    run zavbox mdmanage --delete -n md1
    expect_status 0
    expect_line 'disk : ch = 1, devcie = 0, name = sda'
    expect_line 'disk : ch = 2, devcie = 0, name = sdb'
    expect_line 'disk : ch = 3, devcie = 0, name = sdc'
    run wipefs --noheadings /dev/sda /dev/sdb /dev/sdc
    expect 0
}
