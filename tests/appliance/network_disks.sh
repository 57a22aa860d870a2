# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# netmanage with real XFS and ReiserFS.

test_a_network_disk_is_known_by_its_label() {
    empty_registers
    run zavbox netmanage --create -n disk -g sdd
    expect 0
    expect_no_log
    expect_that "the register" test "$(cat /etc/netfstab)" \
        = "LABEL=disk	/mnt/netdisk/disk	xfs	defaults	0 0"
    expect_that "mounted" grep -q "^/dev/sdd /mnt/netdisk/disk xfs " /proc/mounts
    run zavbox netmanage --display
    expect_status $((-1 & 255))
    expect_line 'disk	/mnt/netdisk/disk	available	9[0-9]{2}M	[0-9]{2}M	netdisk	5'
    run zavbox netmanage --create -n disk -g sde
    expect_code -327
    rm "$log_file"
    run zavbox netmanage --repair -n disk
    expect 0
    umount /mnt/netdisk/disk
    run zavbox netmanage --display
    expect_line 'disk	/mnt/netdisk/disk	umount	.*	netdisk	N.A.'
    # The link that udev creates elsewhere.
    mkdir -p /dev/disk/by-label
    ln -s ../../sdd /dev/disk/by-label/disk
    run zavbox netmanage --repair -n disk
    expect 0
    rm -r /dev/disk
    expect_no_log
    run zavbox netmanage --delete -n disk
    expect 0
    expect_that "an empty register" test ! -s /etc/netfstab
    expect_that "no mount point" test ! -e /mnt/netdisk/disk
    expect_that "the disk is clear" test -z "$(wipefs --noheadings /dev/sdd)"
}

test_a_network_disk_of_another_model_has_reiserfs() {
    set_model VEL7206P
    empty_registers
    run zavbox netmanage --create -n disk -g sdd
    expect 0
    expect_that "mounted" grep -q "^/dev/sdd /mnt/netdisk/disk reiserfs " /proc/mounts
    umount /mnt/netdisk/disk
    # Its device is no longer known, so it is not cleared.
    run zavbox netmanage --delete -n disk
    expect 0
    expect_log "network disk 'disk' is not mounted: its device is not cleared"
    expect_that "the data is there" test -n "$(wipefs --noheadings /dev/sdd)"
}

test_a_disk_in_use_is_refused_as_a_network_disk() {
    local model
    empty_registers
    create_array md1 1 1,2
    for model in KOR7206H KOR7206LB; do
        set_model "$model"
        run zavbox netmanage --create -n disk -g sda
        expect_code -603
        expect_that "the array is whole" grep -q "UU" /proc/mdstat
        run zavbox netmanage --create -n disk -g sdd
        expect 0
        run zavbox netmanage --create -n other -g sdd
        expect_code -603
        echo kept >/mnt/netdisk/disk/file
        umount /mnt/netdisk/disk
        run zavbox netmanage --repair -n disk
        mount /dev/sdd /mnt
        expect_that "the file" grep -qx kept /mnt/file
        umount /mnt /mnt/netdisk/disk
        run zavbox netmanage --delete -n disk
        expect 0
    done
}
