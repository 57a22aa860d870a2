# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# sharemanage with real NFS and FTP servers.

share_header='sharename	type	path	user	access	allsize	usedsize	comment	device
************************************************'

mount_nfs() {
    mkdir -p /tmp/nfs
    exportfs -ra
    run mount -t nfs -o vers=3,nolock,tcp,soft,timeo=20,retrans=1 localhost:/mnt/vg1/pub /tmp/nfs
}

ftp_as() { # USER FILE
    echo "from $1" >/tmp/up
    run busybox ftpput -u "$1" -p secret 127.0.0.1 "$2" /tmp/up
}

test_an_nfs_share_is_exported() {
    create_group
    run zavbox sharemanage --create -n pub -f nfs -s 1 -u 127.0.0.0/8 vg1
    expect 0 "ip:127.0.0.0 8"
    expect_no_log
    run exportfs -v
    expect_status 0
    grep -q '127.0.0.0/8(.*rw.*no_root_squash' <<<"$output" || fail "not exported to 127.0.0.0/8"
    mount_nfs
    expect_status 0
    echo over >/tmp/nfs/file
    expect_that "written through" grep -qx over /mnt/vg1/pub/file
    umount /tmp/nfs
    expect_listed nfs /mnt/vg1/pub 127.0.0.0/8 rw '\(Null\)'
    run zavbox sharemanage --edit -n pub -f nfs -b 0
    expect 0
    mount_nfs
    expect_status 32
    expect_listed "" /mnt/vg1/pub 127.0.0.0/8 rw '\(Null\)'
    run zavbox sharemanage --edit -n pub -f nfs -b 1
    expect 0
    mount_nfs
    expect_status 0
    umount /tmp/nfs
    run zavbox sharemanage --edit -n pub -f nfs -u 10.0.0.1 -x ro -b 1
    expect 0
    mount_nfs
    expect_status 32
    expect_listed nfs /mnt/vg1/pub 10.0.0.1 ro '\(Null\)'
    # The server keeps a pool busy that was mounted by a client.
    /etc/init.d/nfs stop
    run zavbox sharemanage --delete -n pub
    expect 0 "vg restore: no"
    expect_that "no export" test ! -s /etc/exports
}

test_an_ftp_share_belongs_to_its_user() {
    create_group
    create_users
    run zavbox sharemanage --create -n pub -f ftp -s 1 -u anna vg1
    expect 0
    expect_that "her home" grep -q '^anna:.*:/home/ftpuser:' /etc/passwd
    expect_that "passwd is readable" test "$(stat -c %a /etc/passwd)" = 644
    expect_that "the server's list" grep -q '<user name="anna">' /etc/vsftpd_user.xml
    sleep 0.3
    ftp_as anna file
    expect 0
    expect_that "it is there" grep -qx "from anna" /home/ftpuser/pub/file
    expect_listed ftp /home/ftpuser/pub anna rw '\(Null\)'
    run zavbox sharemanage --edit -n pub -f ftp -u bert -x ro -b 1
    expect 0
    expect_that "anna's own home" grep -q '^anna:.*:/home/anna:' /etc/passwd
    expect_that "bert's home" grep -q '^bert:.*:/home/ftpuser:' /etc/passwd
    restart vsftpd
    sleep 0.3
    ftp_as bert two
    expect_status 1
    run busybox ftpget -u bert -p secret 127.0.0.1 /tmp/down file
    expect 0
    expect_that "he may read" grep -qx "from anna" /tmp/down
    run zavbox sharemanage --edit -n pub -f ftp -u bert -b 0
    expect 0
    expect_that "not mounted" test -z "$(grep ftpuser /proc/mounts)"
    expect_that "no file of his" test ! -e /etc/vsftpd/bert
    run zavbox sharemanage --edit -n pub -f ftp -u bert -b 1
    expect 0
    expect_listed ftp /home/ftpuser/pub bert rw '\(Null\)'
    run zavbox sharemanage --delete -n pub
    expect 0 "vg restore: no"
    expect_that "bert's own home" grep -q '^bert:.*:/home/bert:' /etc/passwd
    expect_that "no pool" test -z "$(lvs --noheadings)"
    /etc/init.d/vsftpd stop
}

test_a_share_moves_from_samba_to_ftp() {
    create_group
    create_users
    run zavbox sharemanage --create -n pub -f samba -s 1 -u anna vg1
    expect 0
    run zavbox sharemanage --edit -n pub -f samba -b 0
    expect 0
    run zavbox sharemanage --edit -n pub -f ftp -u anna -b 1
    expect 0
    expect_that "mounted there" grep -q " /home/ftpuser/pub " /proc/mounts
    expect_that "and nowhere else" test ! -e /mnt/vg1/pub
    expect_that "registered there" test "$(cut -f 2 /etc/mdfstab)" = /home/ftpuser/pub
    expect_that "in no recycle file" test ! -s /etc/samba/smb_recy.conf
    expect_listed ftp /home/ftpuser/pub anna rw '\(Null\)'
    /etc/init.d/samba stop
}

test_a_share_without_its_configuration_is_restored_and_repaired() {
    create_group
    create_users
    run zavbox sharemanage --create -n pub -f samba -s 1 -u anna vg1
    expect 0
    echo kept >/mnt/vg1/pub/file
    umount /mnt/vg1/pub
    : >/etc/sharefolder.conf
    : >/etc/mdfstab
    run zavbox sharemanage --display
    expect 0 "$share_header"
    # The pool exists, so no free space is needed.
    run zavbox sharemanage --restore -n pub -f samba -s 0 -u anna vg1
    expect 0
    expect_that "the data" grep -qx kept /mnt/vg1/pub/file
    expect_listed samba /mnt/vg1/pub anna rw '\(Null\)'
    umount /mnt/vg1/pub
    run zavbox sharemanage --display
    expect_line 'pub	samba	/mnt/vg1/pub	anna	rw	0GB	0.00GB	Filesystem umounted	md1'
    run zavbox sharemanage --repair -n pub -f samba vg1
    expect 0
    expect_that "the data" grep -qx kept /mnt/vg1/pub/file
    expect_listed samba /mnt/vg1/pub anna rw '\(Null\)'
    /etc/init.d/samba stop
}

test_an_iscsi_share_has_a_pool_and_a_target() {
    create_group
    create_users
    run zavbox sharemanage --create -n pub -f iscsi -s 1 vg1
    expect 0
    expect_that "a pool" test -e /dev/vg1/pub
    expect_that "not mounted" test ! -s /etc/mdfstab
    expect_that "a target" grep -Eq '^Target iqn\.2006-05\..*:pub\.[0-9]{14}$' /etc/ietd.conf
    expect_that "its device" grep -q 'Lun 0 Path=/dev/vg1/pub,Type=fileio,IOMode=wb' /etc/ietd.conf
    run zavbox sharemanage --delete -n pub
    expect 0 "vg restore: no"
    expect_that "no target" test ! -s /etc/ietd.conf
    expect_that "no pool" test -z "$(lvs --noheadings)"
}

test_a_refused_share_leaves_nothing() {
    create_group
    run zavbox sharemanage --create -n pub -f samba -s 5 vg1
    expect_code -2053
    run zavbox sharemanage --create -n pub -f samba -s 1 -c "a = b" vg1
    expect_code -118
    run zavbox sharemanage --create -n pub -f samba -s 1 -u nobody7 vg1
    expect_code -613
    run zavbox sharemanage --create -n global -f samba -s 1 vg1
    expect_code -114
    run zavbox sharemanage --create -n pub -f nfs -s 1 -u 10.0.0.300 vg1
    expect_code -116
    expect_that "nothing" test -z "$(cat /etc/sharefolder.conf)$(lvs --noheadings)"
}
