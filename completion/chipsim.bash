# bash completion for chipsim: options and their values, then the command to run and its arguments.

_chipsim() {
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} i IFS=$' \t\n'
    COMPREPLY=()
    # After "--", the command completes as if it stood alone.
    for ((i = 1; i < COMP_CWORD; ++i)); do
        [[ ${COMP_WORDS[i]} == -- ]] || continue
        if declare -F _command_offset >/dev/null; then
            _command_offset $((i + 1))
        elif ((COMP_CWORD == i + 1)); then
            COMPREPLY=($(compgen -c -- "$cur"))
        else
            _chipsim_command_arguments $((i + 1))
        fi
        return
    done
    case $previous in
        --load | --dump | --dump-records | --capture | --faults)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            ;;
        --link)
            COMPREPLY=($(compgen -W /dev/ttySIM0 -- "$cur"))
            ;;
        --baud)
            COMPREPLY=($(compgen -W "0 115200" -- "$cur"))
            ;;
        --fault)
            compopt -o nospace 2>/dev/null
            COMPREPLY=($(compgen -S : -W "reset minidriver write read launch crc erase patch
                signature secure resetntf other any" -- "$cur"))
            ;;
        --ram | --erase-time | --erase-markers | --reset-ntf-delay | --seed) ;;
        *)
            COMPREPLY=($(compgen -W "--link --baud --ram --erase-time --erase-markers --load --dump
                --dump-records --capture --reset-ntf --reset-ntf-delay --fault --faults --seed --trace
                --help --version --" -- "$cur"))
            ;;
    esac
}

# Without the bash-completion package: hands over to the completion function that the
# command at word $1 has, if any.
_chipsim_command_arguments() {
    local words=("${COMP_WORDS[@]:$1}") function
    function=$(complete -p "${words[0]##*/}" 2>/dev/null) || return
    [[ $function == *" -F "* ]] || return
    function=${function##* -F }
    local COMP_CWORD=$((COMP_CWORD - $1)) COMP_WORDS=("${words[@]}")
    "${function%% *}"
}

complete -F _chipsim chipsim
