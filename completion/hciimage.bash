# bash completion for hciimage: commands, options and their files.

_hciimage() {
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]} IFS=$' \t\n'
    local options="--as --at --help"
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "info check diff map convert --help --version" -- "$cur"))
        return
    fi
    case $previous in
        --as)
            COMPREPLY=($(compgen -W "hex hcd ncd raw" -- "$cur"))
            return
            ;;
        --at | --fill | --launch | --limit | --record-size) return ;;
    esac
    case ${COMP_WORDS[1]} in
        info | check) options+=" --json" ;;
        diff) options+=" --limit" ;;
        map) options+=" --output" ;;
        convert) options+=" --fill --launch --record-size" ;;
    esac
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$options" -- "$cur"))
        return
    fi
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$cur")
}

complete -F _hciimage hciimage
