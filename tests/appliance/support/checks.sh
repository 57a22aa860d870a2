# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Functions for the tests inside the virtual appliance.  A test is a function whose name begins with
# "test_"; each runs in its own process on blank disks.  The first check that fails ends the test,
# and everything that was run so far is shown.
# shellcheck source-path=SCRIPTDIR source=../../../appliance/guest/functions.sh
. /usr/local/lib/appliance.sh

log_file=/var/log/log.libzav
transcript=/tmp/test.transcript
checks_file=/tmp/test.checks
output=
status=0

# run COMMAND...: run it; its output is left in "output", its exit status in "status".
run() {
    status=0
    output=$("$@" 2>&1 </dev/null) || status=$?
    {
        echo "\$ $*"
        [ -z "$output" ] || echo "$output"
        [ "$status" = 0 ] || echo "(exit status $status)"
    } >>"$transcript"
}

fail() {
    echo "! $*" >>"$transcript"
    exit 1
}

# Count a check that passed.
passed() {
    echo "$*" >>"$checks_file"
}

# expect STATUS [TEXT]: the last command had this exit status and printed exactly this, or nothing.
expect() {
    [ "$status" -eq "$1" ] || fail "exit status $status instead of $1"
    [ "$output" = "${2-}" ] || fail "printed '$output' instead of '${2-}'"
    passed "$@"
}

# expect_status STATUS: the last command had this exit status, whatever it printed.
expect_status() {
    [ "$status" -eq "$1" ] || fail "exit status $status instead of $1"
    passed "$@"
}

# expect_code CODE: the last command printed the code and exited with its lowest byte.
expect_code() {
    expect $(($1 & 255)) "for errno '$1'"
}

# expect_line PATTERN: a whole line of the output matches the extended regular expression.
expect_line() {
    grep -Eqx -- "$1" <<<"$output" || fail "no line '$1'"
    passed "$@"
}

# expect_log TEXT: the log has a line that ends with the text.
expect_log() {
    [ -f "$log_file" ] || fail "no log, expected '$1'"
    while IFS= read -r line; do
        case $line in
            *"$1") passed "$@"; return ;;
        esac
    done <"$log_file"
    fail "not logged: '$1'"
}

expect_no_log() {
    [ ! -s "$log_file" ] || fail "the log is not empty"
    passed "$@"
}

# expect_that CLAIM COMMAND...: the command succeeds.
expect_that() {
    local claim=$1
    shift
    "$@" >/dev/null 2>&1 || fail "does not hold: $claim"
    passed "$claim"
}

# expect_row NAME TYPE STATUS PROGRESS SIZE CHANNELS SPARE: "mdmanage --display" shows exactly one
# such array on device 0.  Status and progress are extended regular expressions.  The order in which
# the kernel lists members varies, so the channels are sorted before they are compared.
expect_row() {
    local header='raidname	type	status	progress	device	allsize	usedsize	channel	spare'
    local rule='*******************************************************'
    local name type state progress device size used channels spare lines
    run zavbox mdmanage --display -n "$1"
    expect_status 0
    mapfile -t lines <<<"$output"
    [ "${#lines[@]}" -eq 3 ] || fail "${#lines[@]} lines instead of 3"
    [ "${lines[0]}" = "$header" ] || fail "another header"
    [ "${lines[1]}" = "$rule" ] || fail "another rule"
    # read treats successive tabs as one separator: no column may be empty here.
    IFS=$'\t' read -r name type state progress device size used channels spare <<<"${lines[2]}"
    channels=$(tr , '\n' <<<"$channels" | sort | paste -sd,)
    [[ $state =~ ^($3)$ ]] || fail "status '$state' instead of '$3'"
    [[ $progress =~ ^($4)$ ]] || fail "progress '$progress' instead of '$4'"
    local found="$name $type $device $size $used $channels $spare"
    local wanted="$1 $2 0 $5 0GB $6 $7"
    [ "$found" = "$wanted" ] || fail "'$found' instead of '$wanted'"
    passed "$@"
}

# expect_no_arrays: the list has only its header and rule.
expect_no_arrays() {
    run zavbox mdmanage --display
    expect_status 0
    [ "$(wc -l <<<"$output")" -eq 2 ] || fail "there are arrays"
    passed "$@"
}

# create_array NAME LEVEL CHANNELS: create an array that a test needs.
create_array() {
    run zavbox mdmanage --create -n "$1" -l "$2" -d 0 "$3"
    expect 0
}

empty_registers() {
    : >/etc/mdfstab
    : >/etc/netfstab
}

set_model() {
    sed -i "s/^type = .*/type = $1/" /etc/sys_info
}

# create_group [LEVEL CHANNELS]: create a group on an array, and empty registers.
create_group() {
    empty_registers
    create_array md1 "${1-0}" "${2-1,2}"
    run zavbox vgmanage --create -n vg1 -c md1
    expect 0
}

# Create a mounted pool of 1 GiB in that group.
create_fs() {
    run zavbox fsmanage --create -n pool -s 1 -g vg1
    expect 0
}

# Add the users anna and bert, with the password "secret", to the system and to Samba.
create_users() {
    local user
    mkdir -p /run/samba /var/lib/samba/private
    for user in anna bert; do
        id "$user" >/dev/null 2>&1 || useradd --create-home "$user"
        echo "$user:secret" | chpasswd
        printf 'secret\nsecret\n' | smbpasswd -as "$user" >/dev/null
    done
}

# expect_listed TYPE PATH USER ACCESS COMMENT: the share "pub" is listed with these values, on a
# mounted pool.
expect_listed() {
    run zavbox sharemanage --display
    expect_status 0
    expect_line "pub	$1	$2	$3	$4	1GB	0\.[0-9]{2}GB	$5	md1"
}

restart() {
    "/etc/init.d/$1" stop
    "/etc/init.d/$1" start
}

# finish_rebuild ARRAY: finish the rebuild at full speed.
finish_rebuild() {
    release_rebuild
    wait_until_redundant "$1" 120 || fail "$1 was not rebuilt in 120 s"
    throttle_rebuild
    wait_until_clean "$1"
}

# wait_until_clean ARRAY: the kernel marks an array clean a moment after the last write.
wait_until_clean() {
    local pauses=50
    until grep -qx clean "/sys/block/$1/md/array_state"; do
        [ $((pauses--)) -gt 0 ] || fail "$1 is not clean"
        sleep 0.1
    done
}

member_state() {
    cat "/sys/block/$1/md/dev-$2/state"
}

is_listed() {
    grep -q "^$1 :" /proc/mdstat
}

# The progress column during a rebuild.
progress='[0-9.]+%\([0-9]+\.00MB/s\)'

# --- the machine between two tests ---------------------------------------------------------------

first_disks=$(cd /sys/block && echo sd*)

# Restore the sharing services to their initial state, with none of them running.
restore_services() {
    local service
    if busybox pidof smbd nmbd vsftpd nfsd rpc.mountd >/dev/null; then
        for service in samba nfs vsftpd; do
            "/etc/init.d/$service" stop
        done
    fi
    cp -a /run/etc.first/. /etc/
    rm -f /etc/vsftpd_user.xml
    find /etc/vsftpd -type f ! -name ftpuser -delete
    find /home/ftpuser -xdev -mindepth 1 -delete
}

blank_machine() {
    local device mount
    while read -r device mount _; do
        case $device in
            /dev/sd* | /dev/md* | /dev/mapper/*) umount "$mount" ;;
        esac
    done </proc/mounts
    [ ! -e /sys/block/dm-0 ] || vgchange -qq --activate n
    release_rebuild
    local array
    for array in /sys/block/md*; do
        [ ! -d "$array/md" ] || /usr/local/lib/real/mdadm --quiet --stop "/dev/${array##*/}"
    done
    # A disk that a test inserted again under another name gets its own name back.
    local disk unit slot=0
    for disk in $first_disks; do
        unit=$(readlink "/sys/block/$disk/device") || unit=gone
        if [ "${unit##*:}" != "$slot" ]; then
            for device in /sys/class/scsi_device/*:"$slot"/device/block/sd*; do
                [ ! -e "$device" ] || pull_disk "${device##*/}"
            done
            plug_disk "$slot"
        fi
        slot=$((slot + 1))
    done
    wipefs --quiet --all /dev/sd?
    # Data inside an array would be visible in the next array of the same disks.
    for device in /dev/sd? /dev/ram2 /dev/ram3; do
        dd if=/dev/zero of="$device" bs=1M count=8 status=none
    done
    rm -rf /var/log/* /tmp/mdname.test /etc/hotspare.list /etc/lvm/backup/* /etc/lvm/archive/*
    rm -f /etc/mdadm/mdadm.conf /etc/mdfstab /etc/netfstab
    chattr -fR -i /mnt /home/ftpuser
    find /mnt -xdev -mindepth 1 -delete
    cp /run/sys_info.first /etc/sys_info
    restore_services
    throttle_rebuild
}

# run_test NAME: run the test, print one line, and the transcript if it failed.
run_test() {
    local start end result title=${1#test_}
    rm -f "$transcript" "$checks_file"
    echo "begin $title"
    blank_machine >"$transcript" 2>&1
    start=$(date +%s%N)
    (
        set -eu
        "$1"
        [ -s "$checks_file" ] || fail "it checked nothing"
    ) 2>>"$transcript"
    result=$?
    end=$(date +%s%N)
    if [ "$result" -eq 0 ]; then
        printf 'ok      %s (%d checks, %d.%d s)\n' "${title//_/ }" "$(wc -l <"$checks_file")" \
            $(((end - start) / 1000000000)) $(((end - start) / 100000000 % 10))
    else
        echo "FAILED  ${title//_/ }"
        {
            cat "$transcript"
            echo "--- /proc/mdstat"
            cat /proc/mdstat
            [ ! -f "$log_file" ] || { echo "--- $log_file"; cat "$log_file"; }
        } | sed 's/^/        /'
    fi
}
