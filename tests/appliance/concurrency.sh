# SPDX-License-Identifier: MIT
# shellcheck shell=bash disable=SC2154  # run sets output and status
# Several instances of zavbox at once.

test_two_creations_never_take_one_name() {
    local first=0 second=0
    zavbox mdmanage --create -n md1 -l 1 -d 0 1,2 >/tmp/first &
    local one=$!
    zavbox mdmanage --create -n md1 -l 1 -d 0 3,4 >/tmp/second &
    local two=$!
    wait "$one" || first=$?
    wait "$two" || second=$?
    run echo "first: $first $(cat /tmp/first), second: $second $(cat /tmp/second)"
    # The other one finds the name reserved (-412), or taken if it comes later (-2031).
    expect_line "first: 0 , second: (100|17) for errno '-(412|2031)'|first: (100|17) for errno '-(412|2031)', second: 0 "
    run grep -c '^md' /proc/mdstat
    expect 0 1
    run cat /tmp/mdname.test
    expect 0
}

test_creations_of_different_names_run_side_by_side() {
    local array jobs=()
    for array in 1 2 3 4; do
        zavbox mdmanage --create -n "md$array" -l 1 -d 0 "$((2 * array - 1)),$((2 * array))" &
        jobs+=($!)
    done
    for array in "${jobs[@]}"; do
        wait "$array" || fail "a creation ended with $?"
    done
    run grep -c '^md' /proc/mdstat
    expect 0 4
}

test_log_lines_of_many_processes_are_whole() {
    for _ in 1 2 3 4 5 6 7 8; do
        zavbox mdmanage --create -n md1 -l 2 -d 0 1,2 >/dev/null &
    done
    wait
    run cat "$log_file"
    [ "$(grep -Ecx '[A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} 0\.1\.2 ERROR zavbox\[[0-9]+\]:mdmanage_main\[[0-9]+\]: return with -130' <<<"$output")" -eq 8 ] ||
        fail "not eight whole lines"
    passed "eight lines"
}
