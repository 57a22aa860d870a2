# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# Requests that are refused and change nothing.

test_a_disk_of_another_array_is_refused() {
    create_array md1 1 1,2
    run zavbox mdmanage --create -n md2 -l 0 -d 0 2,3
    expect_code -2030
    expect_log "'sdb,sdc' or '' includes used disk in md1"
    expect_that "md2 is not there" test ! -e /sys/block/md2/md
    run wipefs --noheadings /dev/sdc
    expect 0
}

test_a_name_in_use_is_refused() {
    create_array md1 1 1,2
    run zavbox mdmanage --create -n md1 -l 1 -d 0 3,4
    expect_code -2031
    expect_log "'md1' used"
}

test_a_reserved_name_is_refused_and_stays_reserved() {
    echo md1 >/tmp/mdname.test
    run zavbox mdmanage --create -n md1 -l 1 -d 0 1,2
    expect_code -412
    run cat /tmp/mdname.test
    expect 0 md1
    expect_that "md1 is not there" test ! -e /sys/block/md1/md
}

test_a_creation_releases_its_reservation() {
    create_array md1 1 1,2
    run cat /tmp/mdname.test
    expect 0
}

test_the_number_of_disks_must_fit_the_level() {
    run zavbox mdmanage --create -n md1 -l 1 -d 0 1,2,3
    expect_code -2034
    expect_log "disks num 3 exceed [2, 2] in raid1"
    run zavbox mdmanage --create -n md1 -l 6 -d 0 1,2,3
    expect_code -2034
    expect_log "disks num 3 exceed [4, 16] in raid6"
    run zavbox mdmanage --create -n md1 -l 5 -d 0 1,2
    expect_code -2034
    expect_log "disks num 2 exceed [3, 16] in raid5"
}

test_levels_that_do_not_exist() {
    run zavbox mdmanage --create -n md1 -l 10 -d 0 1,2
    expect_code -2032
    run zavbox mdmanage --create -n md1 -l 2 -d 0 1,2
    expect_code -130
}

test_channels_that_no_disk_of_the_controller_has() {
    run zavbox mdmanage --create -n md1 -l 1 -d 0 1,77
    expect_code -2033
    expect_log "'1,77 in 0' includes invalid channelIDs"
    run zavbox mdmanage --create -n md1 -l 1 -d 3 1,2
    expect_code -2033
    run zavbox mdmanage --create -n md1 -l 1 -d 0 1,1
    expect_code -2033
}

test_a_hot_spare_is_refused() {
    run hotspare -a /dev/sdb
    expect 0
    run zavbox mdmanage --create -n md1 -l 1 -d 0 1,2
    expect_code -2030
    expect_log "'sda,sdb' or '' includes global hotspare disk"
    run hotspare -r /dev/sdb
    expect 0
    create_array md1 1 1,2
}

test_a_creation_that_mdadm_refuses_leaves_no_array() {
    run zavbox mdmanage --create -n data -l 1 -d 0 1,2
    expect_code -416
    expect_no_arrays
}

test_no_array_is_made_of_a_mounted_disk() {
    mkfs.xfs -q -f /dev/sda
    mount /dev/sda /mnt
    run zavbox mdmanage --create -n md1 -l 1 -d 0 1,2
    expect_code -2030
    expect_log "'sda' is held by the kernel"
    expect_that "md1 is not there" test ! -e /sys/block/md1/md
    expect_that "the mounted file system is whole" touch /mnt/file
}

test_an_array_in_use_cannot_be_deleted() {
    create_array md1 1 1,2
    mkfs.xfs -q -f /dev/md1
    mount /dev/md1 /mnt
    run zavbox mdmanage --delete -n md1
    expect_code -415
    expect_that "it is still there" is_listed md1
    umount /mnt
    run zavbox mdmanage --delete -n md1
    expect_status 0
}

test_an_unknown_array_is_neither_shown_nor_deleted() {
    run zavbox mdmanage --display -n md5
    expect_code -423
    run zavbox mdmanage --delete -n md5
    expect_code -423
    run zavbox mdmanage --recover -n md5
    expect_code -127
}

test_without_the_controllers_directory_the_table_comes_with_an_error() {
    create_array md1 0 1,2
    mv /proc/scsi/mvSata /proc/scsi/gone
    run zavbox mdmanage --display
    mv /proc/scsi/gone /proc/scsi/mvSata
    expect_status $((-205 & 255))
    expect_line 'md1	raid0	clean	100%	N.A.	2GB	0GB	(sda,sdb|sdb,sda)	None'
    expect_line "for errno '-205'"
}
