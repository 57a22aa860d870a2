# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# The product whose disks and arrays come from the RAID controller's tool.

use_model() {
    sed -i "s/^type = .*/type = $1/" /etc/sys_info
}

test_a_vel7205u_lists_what_the_controller_tool_reports() {
    create_array md1 5 1,2,3
    finish_rebuild md1
    use_model VEL7205U
    run zavbox mdmanage --display
    expect_status 0
    # This product's disks have no kernel names, so the members have no channels.
    expect_line 'md1	raid5	clean	100%	md1	2GB	0GB		None'
    mdadm -q /dev/md1 -f /dev/sda
    run zavbox mdmanage --display -n md1
    expect_line 'md1	raid5	degraded	100%	md1	2GB	0GB		None'
}

test_a_vel7205u_without_arrays() {
    use_model VEL7205U
    expect_no_arrays
}

test_a_vel7205u_fails_when_the_controller_tool_does() {
    use_model VEL7205U
    chmod -x /usr/local/bin/vexadm
    run zavbox mdmanage --display
    chmod +x /usr/local/bin/vexadm
    expect_code -422
}

test_other_products_use_the_kernels_files() {
    create_array md1 0 1,2
    for model in KOR7206LB VEL7205P unheard-of; do
        use_model "$model"
        expect_row md1 raid0 clean '100%' 2GB 1,2 None
    done
}
