# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# The actions that the power is cut in.
#   power_action NAME REMEDY COMMAND [PREPARATION...]
# COMMAND changes files below /etc, on a machine on which each PREPARATION was run.  REMEDY: what the
# manual has the administrator give, before COMMAND once more, when COMMAND given again says that
# the name is taken and its work is not all there.

share="zavbox sharemanage"
create="$share --create -n pub -s 1"
delete="$share --delete -n pub"

for service in samba nfs iscsi ftp; do
    user=anna other=bert
    [ $service != nfs ] || user=10.0.0.1 other=10.0.0.2
    in_use="$create -f $service -u $user vg1"
    forbid="$share --edit -n pub -f $service -u $user -b 0"
    power_action create-$service "$delete" "$in_use"
    power_action edit-$service "" "$share --edit -n pub -f $service -u $other -x ro -b 1" "$in_use"
    power_action delete-$service "" "$delete" "$in_use"
    power_action restore-$service "" "$share --restore -n pub -f $service -s 0 -u $user vg1" \
        "zavbox fsmanage --create -n pub -s 1 -g vg1"
    [ $service != iscsi ] || continue
    power_action forbid-$service "" "$forbid" "$in_use"
    power_action edit-forbidden-$service "" "$share --edit -n pub -f $service -u $other -b 0" \
        "$in_use" "$forbid"
    power_action use-$service "" "$share --edit -n pub -f $service -u $user -b 1" \
        "$in_use" "$forbid"
    power_action delete-forbidden-$service "" "$delete" "$in_use" "$forbid"
done

# A second pool: the register has another line to lose.
pool="zavbox fsmanage --create -n other -s 1 -g vg1"
power_action fs-create "zavbox lvmanage --delete -n pool -g vg1" \
    "zavbox fsmanage --create -n pool -s 1 -g vg1" "$pool"
power_action fs-delete "" "zavbox fsmanage --delete -n other -g vg1" "$pool" \
    "zavbox fsmanage --create -n pool -s 1 -g vg1"
power_action net-create "" "zavbox netmanage --create -n disk -g sdb" "vgremove -qq vg1"
power_action net-delete "" "zavbox netmanage --delete -n disk" "vgremove -qq vg1" \
    "zavbox netmanage --create -n disk -g sdb"
