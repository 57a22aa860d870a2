# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# sharemanage with a real Samba server.

share_header='sharename	type	path	user	access	allsize	usedsize	comment	device
************************************************'

samba_as() { # USER COMMANDS
    run smbclient -U "$1%secret" //localhost/pub -c "$2"
}

test_a_samba_share_is_open_to_its_users_only() {
    create_group
    create_users
    run zavbox sharemanage --create -n pub -f samba -s 1 -u anna -c "for anna" vg1
    expect 0
    expect_no_log
    run testparm -s
    expect_status 0
    expect_line '	valid users = anna'
    expect_listed samba /mnt/vg1/pub anna rw "for anna"
    echo up >/tmp/up
    samba_as anna "put /tmp/up up; get up /tmp/down"
    expect_status 0
    expect_that "the file came back" cmp /tmp/up /tmp/down
    samba_as bert "ls"
    expect_status 1
    expect_line 'tree connect failed: NT_STATUS_ACCESS_DENIED'
    run zavbox sharemanage --edit -n pub -f samba -u anna,bert -x ro -b 1
    expect 0
    restart samba
    samba_as bert "get up /tmp/down"
    expect_status 0
    samba_as bert "put /tmp/up two"
    expect_status 1
    expect_listed samba /mnt/vg1/pub anna,bert ro "for anna"
    run zavbox sharemanage --delete -n pub
    expect 0 "vg restore: no"
    expect_that "no pool" test -z "$(lvs --noheadings)"
    expect_that "no trace" test -z "$(cat /etc/sharefolder.conf /etc/mdfstab)"
    run testparm -s
    expect_status 0
    restart samba
    samba_as anna "ls"
    expect_status 1
    run zavbox sharemanage --display
    expect 0 "$share_header"
    /etc/init.d/samba stop
}

test_a_forbidden_samba_share_comes_back_as_it_was() {
    create_group
    create_users
    run zavbox sharemanage --create -n pub -f cifs -s 1 -u anna -c "for anna" vg1
    expect 0
    run zavbox sharemanage --edit -n pub -f samba -b 0
    expect 0
    expect_that "not in smb.conf" test "$(grep -c '^\[' /etc/samba/smb.conf)" -eq 1
    expect_that "in the recycle file" grep -q '^\[pub\]' /etc/samba/smb_recy.conf
    expect_listed "" /mnt/vg1/pub anna rw "for anna"
    restart samba
    samba_as anna "ls"
    expect_status 1
    expect_line 'tree connect failed: NT_STATUS_BAD_NETWORK_NAME'
    umount /mnt/vg1/pub
    run zavbox sharemanage --edit -n pub -f samba -b 1
    expect 0
    expect_that "mounted" grep -q " /mnt/vg1/pub " /proc/mounts
    expect_that "no longer in the recycle file" test ! -s /etc/samba/smb_recy.conf
    restart samba
    samba_as anna "ls"
    expect_status 0
    samba_as bert "ls"
    expect_status 1
    expect_listed samba /mnt/vg1/pub anna rw "for anna"
    run zavbox sharemanage --edit -n pub -f samba -b 0
    expect 0
    run zavbox sharemanage --delete -n pub
    expect 0 "vg restore: no"
    expect_that "no trace" test -z "$(cat /etc/sharefolder.conf /etc/samba/smb_recy.conf)"
    /etc/init.d/samba stop
}
