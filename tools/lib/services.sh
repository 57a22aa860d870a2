# SPDX-License-Identifier: MIT
# shellcheck shell=sh
# Functions of the tools that deal with services, arrays and what is made once.

# report MESSAGE...: for whoever runs the tool, and for the system's log.
report() {
    echo "${0##*/}: $*" >&2
    logger -t "${0##*/}" -- "$*" 2>/dev/null || :
}

# take_lock NAME: held until the caller ends, and by nobody else. The directory is not that of
# zavbox's own locks, which goes away with the last of them.
take_lock() {
    mkdir -p /run/zavbox-tools
    exec 9>>"/run/zavbox-tools/$1"
    flock 9
}

# put_file FILE: replaces the file by standard input as a whole; its owner and mode stay, a new one
# is readable by all.
put_file() {
    new=$1.new.$$
    cat >"$new"
    if [ -e "$1" ]; then
        chmod --reference="$1" "$new"
        chown --reference="$1" "$new"
    else
        chmod 0644 "$new"
    fi
    sync "$new"
    mv -f "$new" "$1"
}

# control_units ACTION UNIT...: what an init script does, over systemd. zavbox restarts a service
# for every share: the limit on starts within a short time is there for services that crash.
control_units() {
    action=$1
    shift
    case $action in
    start)
        systemctl reset-failed "$@" 2>/dev/null || :
        systemctl start "$@"
        ;;
    stop) systemctl stop "$@" ;;
    *)
        echo "usage: ${0##*/} {start|stop}" >&2
        return 2
        ;;
    esac
}
