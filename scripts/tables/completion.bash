# SPDX-License-Identifier: MIT
# Completion of zavbox for bash. Written by scripts/manuals.
# shellcheck shell=bash disable=SC2034 # columns that nothing is made of

# @TABLES@

# @COMMON@

# Offers words; of a list with commas only the last item is completed, and none is offered twice.
_zavbox_offer() { # KIND
    local current=${COMP_WORDS[COMP_CWORD]} before='' word
    case $1 in
    free_channels | volumes | users) [[ $current == *,* ]] && before=${current%,*}, ;;
    esac
    while IFS= read -r word; do
        [[ $word == "${current#"$before"}"* && ,$before != *",$word,"* ]] || continue
        [[ " ${COMPREPLY[*]} " == *" $before$word "* ]] || COMPREPLY+=("$before$word")
    done < <(_zavbox_values "$1")
}

_zavbox() {
    local current=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} mode='' seen=' ' word before i
    local _zavbox_device='' takers operand=''
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W '@COMMANDS@ --help --version --install' -- "$current")
        return
    fi
    if [ "$command" = --install ]; then
        mapfile -t COMPREPLY < <(compgen -W '-s' -- "$current")
        return
    fi
    takers=" $(_zavbox_kind "$command" takers) "
    for ((i = 2; i < ${#COMP_WORDS[@]}; i++)); do
        word=${COMP_WORDS[i]} before=${COMP_WORDS[i - 1]}
        [ "$before" = -d ] && _zavbox_device=$word
        [ "$i" -eq "$COMP_CWORD" ] && continue
        seen+="$word "
        if [ -z "$mode" ] && _zavbox_with "$command" "$word" >/dev/null; then
            mode=$word
        elif [[ $word != -* && $takers != *" $before "* ]]; then
            operand=given
        fi
    done
    before=${COMP_WORDS[COMP_CWORD - 1]}
    if [[ $takers == *" $before "* ]]; then
        _zavbox_offer "$(_zavbox_kind "$command" "${mode:-$before}" "$before")"
    elif [[ -z $mode ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_zavbox_modes "$command")" -- "$current")
    else
        for word in $(_zavbox_with "$command" "$mode"); do
            [[ $word != "$current"* || $seen == *" $word "* ]] || COMPREPLY+=("$word")
        done
        [ -n "$operand" ] || _zavbox_offer "$(_zavbox_operand "$command" "$mode")"
    fi
}

complete -F _zavbox zavbox
