# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# diskmanage and disksmart on real disks.

disk_row() {
    printf "'%s'\t'%s'\t'1'\t'running'\t'%s'\t''\t'0'\t%s" "$1" "$2" "$3" "$4"
}

# expect_disk NAME CHANNEL END: "diskmanage --display" shows the disk in a row with that end.
expect_disk() {
    local model
    model=$(sed 's/ *$//' "/sys/block/$1/device/model")
    run zavbox diskmanage --display -n "$2"
    expect 0 "diskname	channel	space	status	model	state	device	raid	use	hotspare
*****************************************************
$(disk_row "$1" "$2" "$model" "$3")"
}

test_every_disk_is_listed_with_its_channel() {
    run zavbox diskmanage --display
    expect_status 0
    local disk channel=1
    for disk in /sys/block/sd*; do
        expect_line "'${disk##*/}'	'$channel'	'1'	'running'	'.*'	''	'0'	''	'0'	'NH'"
        channel=$((channel + 1))
    done
    [ "$(wc -l <<<"$output")" -eq $((channel + 1)) ] || fail "another number of lines"
    expect_no_log
}

test_the_list_shows_arrays_groups_and_mounts() {
    create_array md1 1 1,2
    pvcreate -qq /dev/sdc
    vgcreate -qq vg1 /dev/sdc
    mkfs.xfs -q -f /dev/sdd
    mount /dev/sdd /mnt
    expect_disk sda 1 "'md1'	'1'	'NH'"
    expect_disk sdb 2 "'md1'	'1'	'NH'"
    expect_disk sdc 3 "''	'1'	'NH'"
    expect_disk sdd 4 "''	'1'	'NH'"
    expect_disk sde 5 "''	'0'	'NH'"
    umount /mnt
    vgremove -qq -f vg1
    pvremove -qq /dev/sdc
}

test_a_disk_becomes_a_hot_spare_and_an_ordinary_disk_again() {
    mkfs.xfs -q /dev/sda
    run zavbox diskmanage --hotspare -a 1
    expect 0
    expect_that "it was cleared" test -z "$(wipefs --noheadings /dev/sda)"
    expect_disk sda 1 "''	'0'	'H'"
    run zavbox diskmanage --hotspare -a 1
    expect_code -203
    run zavbox mdmanage --create -n md1 -l 1 -d 0 1,2
    expect_code -2030
    run zavbox diskmanage --hotspare -r 1
    expect 0
    expect_disk sda 1 "''	'0'	'NH'"
    run zavbox diskmanage --hotspare -r 1
    expect_code -204
}

test_a_disk_in_use_is_refused_as_a_hot_spare() {
    create_array md1 1 1,2
    run zavbox diskmanage --hotspare -a 1
    expect_code -201
    expect_log "zav_set_hotspare[587]: return with -201"
    expect_that "the array is whole" is_listed md1
}

test_init_clears_a_disk() {
    mkfs.xfs -q /dev/sda
    run zavbox diskmanage --init -n 1
    expect 0 "disk : ch = 1, devcie = 0, name = sda"
    expect_that "it is blank" test -z "$(wipefs --noheadings /dev/sda)"
}

test_init_marks_a_member_faulty_and_leaves_the_array_its_disk() {
    create_array md1 1 1,2
    finish_rebuild md1
    run zavbox diskmanage --init -n 1
    expect 0 "disk : ch = 1, devcie = 0, name = sda"
    run member_state md1 sda
    expect 0 faulty
    # The appliance's diskformat refuses a disk that an array holds; this is logged.
    expect_that "this is logged" grep -qF "system(\"/usr/local/bin/diskformat /dev/sda\") return normal with exit(1)" "$log_file"
    run zavbox mdmanage -r 1 md1
    expect 0
    run zavbox diskmanage --init -n 1
    expect 0 "disk : ch = 1, devcie = 0, name = sda"
    expect_that "it is blank" test -z "$(wipefs --noheadings /dev/sda)"
}

test_disks_without_health_data_have_empty_fields() {
    local model
    model=$(sed 's/ *$//' /sys/block/sda/device/model)
    run zavbox disksmart --display --detail -n 1
    expect_status 0
    expect_line "diskname	channel	space	status	model	state	device	hotspare"
    expect_line "'sda'	'1'	'1'	'running'	'$model'	''	'0'	'0'"
    expect_line "Device Model:     "
    expect_line "Serial Number:    "
    expect_line "=== START OF READ SMART DATA SECTION ==="
    [ "$(wc -l <<<"$output")" -eq 14 ] || fail "there are attributes"
    expect_no_log
}
