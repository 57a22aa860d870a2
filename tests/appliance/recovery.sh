# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# Recovering an array.  Only superblocks of version 0.90 have the table of members by which a lost
# member is found.

use_old_superblocks() {
    mkdir -p /etc/mdadm
    echo 'CREATE metadata=0.90' >/etc/mdadm/mdadm.conf
}

write_pattern() {
    seq 1 200000 | dd of=/dev/md1 bs=64k conv=fsync status=none iflag=fullblock
}

pattern_is_there() {
    echo 3 >/proc/sys/vm/drop_caches
    dd if=/dev/md1 bs=64k count=19 status=none | head -c 1000000 |
        cmp - <(seq 1 200000 | head -c 1000000)
}

recovered_row() {
    expect_row md1 raid5 "clean, degraded, recovering" "$progress" 2GB "$1" "$2"
}

test_a_disk_that_came_back_under_another_name_is_found_by_its_superblock() {
    use_old_superblocks
    create_array md1 5 1,2,3
    finish_rebuild md1
    write_pattern
    # An array that was just assembled has nothing to write, so it does not notice the loss.
    mdadm -q -S /dev/md1
    mdadm -q -A /dev/md1 /dev/sda /dev/sdb /dev/sdc
    pull_disk sdb
    plug_disk 1
    run mdadm --detail /dev/md1
    expect_line ' *1 +8 +16 +1 +active sync +missing'
    run zavbox mdmanage --recover -n md1
    expect 0 "disk: /dev/sda
disk: /dev/sdc"
    recovered_row "1,2,3(S)" 3
    expect_that "the disk is in its old slot" grep -q "$plugged\[1\]" /proc/mdstat
    expect_that "the data is intact" pattern_is_there
}

test_an_array_with_a_failed_member_is_recreated_with_its_data() {
    create_array md1 5 1,2,3
    finish_rebuild md1
    write_pattern
    run mdadm /dev/md1 -f /dev/sdb
    expect_status 0
    run zavbox mdmanage --recover -n md1
    expect 0 "disk: /dev/sda
disk: /dev/sdb
disk: /dev/sdc"
    recovered_row "1,2,3(S)" 3
    expect_that "the data is intact" pattern_is_there
}

test_an_array_that_lost_a_disk_for_good_goes_on_running() {
    create_array md1 5 1,2,3
    finish_rebuild md1
    mdadm -q /dev/md1 -f /dev/sdb
    mdadm -q --manage /dev/md1 -r /dev/sdb
    run zavbox mdmanage --recover -n md1
    expect $((-411 & 255)) "disk: /dev/sda
disk: /dev/sdc
for errno '-411'"
    expect_log "'md1' is not recovered: it has 3 slots, and 2 disks are found"
    expect_row md1 raid5 "clean, degraded" '100%' 2GB 1,3 None
}

test_a_new_superblock_does_not_show_where_the_lost_disk_was() {
    create_array md1 6 1,2,3,4
    finish_rebuild md1
    mdadm -q -S /dev/md1
    mdadm -q -A /dev/md1 /dev/sda /dev/sdb /dev/sdc /dev/sdd
    pull_disk sdb
    plug_disk 1
    run zavbox mdmanage --recover -n md1
    expect_status $((-410 & 255))
    expect_line "for errno '-410'"
    expect_that "the array still runs" is_listed md1
}

test_recovering_a_mirror_turns_it_into_a_stripe() {
    create_array md1 1 1,2
    finish_rebuild md1
    mdadm -q /dev/md1 -f /dev/sdb
    run zavbox mdmanage --recover -n md1
    expect_status 0
    expect_row md1 raid0 clean '100%' 2GB 1,2 None
}
