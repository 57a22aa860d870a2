# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# lvmanage and fsmanage with real LVM, XFS and ReiserFS.

fs_header='name	mntpoint	status	allsize	usedsize	ownername	device
***********************************************************'
lv_header='lvname	status	allsize	usedsize	vgname	device
*****************************************************'

# expect_fs_list TEXT: the last command printed the list and ended with -1, as displays always do.
expect_fs_list() {
    expect $((-1 & 255)) "$1"
}

is_mounted() {
    grep -q "^/dev/mapper/vg1-pool /mnt/vg1/pool $1 " /proc/mounts
}

test_a_pool_is_created_listed_and_deleted() {
    create_group
    run zavbox lvmanage --create -n pool -L 1 vg1
    expect 0
    run zavbox lvmanage --display
    expect 0 "$lv_header
/dev/vg1/pool	available	1G	0G	vg1	0"
    run zavbox lvmanage --create -n pool -L 1 vg1
    expect_code -327
    run zavbox lvmanage --create -n other -L 5 vg1
    expect_code -2053
    run zavbox lvmanage --create -n other -L 1 vg2
    expect_code -2052
    lvchange -qq -an vg1/pool
    run zavbox lvmanage --display -n /dev/vg1/pool
    expect 0 "$lv_header
/dev/vg1/pool	not available	1G	0G	vg1	0"
    run zavbox lvmanage --delete -n pool vg1
    expect 0 "vg restore: no"
    expect_that "LVM has no pool any more" test -z "$(lvs --noheadings)"
    run zavbox lvmanage --delete -n pool vg1
    expect $((-2055 & 255)) "vg restore: no
for errno '-2055'"
}

test_a_pool_with_xfs_is_mounted_listed_and_deleted() {
    create_group
    create_fs
    expect_no_log
    expect_that "the register" test "$(cat /etc/mdfstab)" \
        = "/dev/vg1/pool	/mnt/vg1/pool	xfs	defaults	0 0"
    expect_that "XFS is mounted" is_mounted xfs
    expect_that "everybody may write" test "$(stat -c %a /mnt/vg1/pool)" = 777
    run zavbox fsmanage --display
    expect_status $((-1 & 255))
    expect_line '/dev/vg1/pool	/mnt/vg1/pool	available	9[0-9]{2}M	[0-9]{2}M	vg1	0'
    head -c 100M /dev/zero >/mnt/vg1/pool/file
    run zavbox fsmanage --display
    expect_line '/dev/vg1/pool	/mnt/vg1/pool	available	9[0-9]{2}M	1[0-9]{2}M	vg1	0'
    run zavbox fsmanage --delete -n pool -g vg1
    expect 0 "vg restore: no"
    expect_no_log
    expect_that "no mount point" test ! -e /mnt/vg1/pool
    expect_that "an empty register" test ! -s /etc/mdfstab
    expect_that "no pool" test -z "$(lvs --noheadings)"
    run zavbox fsmanage --display
    expect_fs_list "$fs_header"
}

test_a_pool_of_another_model_has_reiserfs() {
    set_model KOR7206LB
    create_group
    create_fs
    expect_no_log
    expect_that "ReiserFS is mounted" is_mounted reiserfs
    run zavbox fsmanage --display
    expect_fs_list "$fs_header
/dev/vg1/pool	/mnt/vg1/pool	available	1023M	32M	vg1	0"
    echo kept >/mnt/vg1/pool/file
    # Today's reiserfsck exits with 1 on a healthy file system.
    run zavbox fsmanage --repair -n pool -g vg1
    expect_code -509
    expect_that "mounted again" is_mounted reiserfs
    expect_that "the file" grep -qx kept /mnt/vg1/pool/file
    run zavbox fsmanage --delete -n pool -g vg1
    expect 0 "vg restore: no"
}

test_xfs_with_a_dirty_log_is_repaired() {
    create_group
    create_fs
    echo kept >/mnt/vg1/pool/file
    umount /mnt/vg1/pool
    mount /dev/vg1/pool /mnt/vg1/pool
    echo lost >/mnt/vg1/pool/late
    sync /mnt/vg1/pool/late
    xfs_io -x -c "shutdown" /mnt/vg1/pool
    run zavbox fsmanage --display
    expect_status $((-1 & 255))
    expect_line '/dev/vg1/pool	/mnt/vg1/pool	not available	.*'
    run zavbox fsmanage --repair -n pool -g vg1
    expect 0
    expect_no_log
    expect_that "the file" grep -qx kept /mnt/vg1/pool/file
    expect_that "what was in the log is gone" test ! -e /mnt/vg1/pool/late
    run zavbox fsmanage --display
    expect_line '/dev/vg1/pool	/mnt/vg1/pool	available	.*'
    expect_that "one line" test "$(wc -l </etc/mdfstab)" -eq 1
}

test_an_unmounted_pool_is_listed_and_its_mount_point_is_protected() {
    create_group
    create_fs
    umount /mnt/vg1/pool
    run zavbox fsmanage --display
    expect_status $((-1 & 255))
    expect_line '/dev/vg1/pool	/mnt/vg1/pool	umount	.*	vg1	0'
    run touch /mnt/vg1/pool/file
    expect_status 1
    run zavbox fsmanage --repair -n pool -g vg1
    expect 0
    expect_that "mounted" is_mounted xfs
}

test_a_pool_in_use_is_not_deleted() {
    create_group
    create_fs
    exec 9</mnt/vg1/pool
    run zavbox fsmanage --delete -n pool -g vg1
    exec 9<&-
    expect $((-602 & 255)) "vg restore: no
for errno '-602'"
    expect_that "still mounted" is_mounted xfs
    expect_that "still registered" grep -q pool /etc/mdfstab
}

test_files_named_test_are_left_alone() {
    create_group
    create_fs
    echo mine >/mnt/vg1/pool/test
    run zavbox fsmanage --display
    expect_line '/dev/vg1/pool	/mnt/vg1/pool	available	.*'
    expect_that "the file" grep -qx mine /mnt/vg1/pool/test
    expect_that "no other" test "$(ls /mnt/vg1/pool)" = test
}

test_the_register_keeps_its_comments_until_a_line_goes() {
    create_group
    printf '# by hand\n\n/dev/vg9/other /mnt/vg9/other xfs' >/etc/mdfstab
    chmod 640 /etc/mdfstab
    chown 3:4 /etc/mdfstab
    create_fs
    expect_that "one more line" test "$(cat /etc/mdfstab)" = "# by hand

/dev/vg9/other /mnt/vg9/other xfs
/dev/vg1/pool	/mnt/vg1/pool	xfs	defaults	0 0"
    run zavbox fsmanage --delete -n pool -g vg1
    expect_status 0
    expect_that "the other line" test "$(cat /etc/mdfstab)" = "/dev/vg9/other /mnt/vg9/other xfs"
    expect_that "mode and owner" test "$(stat -c '%a %u %g' /etc/mdfstab)" = "640 3 4"
}

test_nothing_is_created_without_a_register() {
    create_group
    rm /etc/mdfstab
    run zavbox fsmanage --create -n pool -s 1 -g vg1
    expect_code -327
    run zavbox netmanage --create -n disk -g sdd
    expect_code -327
    expect_that "no pool" test -z "$(lvs --noheadings)"
}

test_old_file_systems_do_not_stop_new_pools() {
    create_group
    create_fs
    run zavbox fsmanage --delete -n pool -g vg1
    expect_status 0
    create_fs
    expect_that "XFS is mounted" is_mounted xfs
}

test_a_file_outlives_a_disk_of_the_array() {
    create_group 5 1,2,3
    create_fs
    head -c 40M /dev/urandom >/mnt/vg1/pool/file
    local before
    before=$(sha256sum </mnt/vg1/pool/file)
    finish_rebuild md1
    mdadm --quiet /dev/md1 -f /dev/sdb
    run zavbox mdmanage -r 2 md1
    expect 0
    run zavbox mdmanage -a 4 md1
    expect 0
    finish_rebuild md1
    umount /mnt/vg1/pool
    mount /dev/vg1/pool /mnt/vg1/pool
    echo 3 >/proc/sys/vm/drop_caches
    expect_that "the same file" test "$(sha256sum </mnt/vg1/pool/file)" = "$before"
}
