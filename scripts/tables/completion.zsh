#compdef zavbox
# SPDX-License-Identifier: MIT
# Completion of zavbox for zsh. Written by scripts/manuals.

# @TABLES@

# @COMMON@

# Offers the values of a kind; of a list with commas only the last item is completed, and none is
# offered twice.
_zavbox_offer() { # KIND
    local -a values given
    [[ -n $1 ]] || return 1
    values=(${(fu)"$(_zavbox_values $1)"})
    case $1 in
    free_channels | volumes | users)
        if [[ $PREFIX == *,* ]]; then
            given=(${(s:,:)PREFIX%,*})
            compset -P '*,'
            values=(${values:|given})
        fi
        ;;
    esac
    compadd -a values
}

# Offers options, with what the manual page says of them.
_zavbox_describe() { # COMMAND OPTION...
    local command=$1 word
    local -a rows
    shift
    for word; do
        rows+=("$word:$(_zavbox_text $command $word)")
    done
    (( $#rows )) && _describe option rows
}

_zavbox() {
    local command=$words[2] mode word previous operand _zavbox_device
    local -a rows takers unused
    local -i i
    if (( CURRENT == 2 )); then
        for word in @COMMANDS@; do
            rows+=("$word:$(_zavbox_text $word)")
        done
        _describe command rows
        _zavbox_describe zavbox --help --version --install
        return
    fi
    if [[ $command == --install ]]; then
        compadd -- -s
        return
    fi
    takers=(${=$(_zavbox_kind $command takers)})
    for (( i = 3; i <= $#words; i++ )); do
        word=$words[i] previous=$words[i-1]
        [[ $previous == -d ]] && _zavbox_device=$word
        (( i == CURRENT )) && continue
        if [[ -z $mode ]] && _zavbox_with $command $word >/dev/null; then
            mode=$word
        elif [[ $word != -* ]] && (( ! takers[(Ie)$previous] )); then
            operand=given
        fi
    done
    previous=$words[CURRENT-1]
    if (( takers[(Ie)$previous] )); then
        _zavbox_offer "$(_zavbox_kind $command ${mode:-$previous} $previous)"
    elif [[ -z $mode ]]; then
        _zavbox_describe $command ${=$(_zavbox_modes $command)}
    else
        unused=(${=$(_zavbox_with $command $mode)})
        unused=(${unused:|words})
        _zavbox_describe $command $unused
        [[ -n $operand ]] || _zavbox_offer "$(_zavbox_operand $command $mode)"
    fi
}

_zavbox "$@"
