# bash completion for hciload: options and their files.

# Adds folders, and files with one of the given extensions in upper or lower case, to COMPREPLY.
_hciload_files() {
    local name ending
    compopt -o filenames 2>/dev/null
    while IFS= read -r name; do
        if [[ -d $name ]]; then
            COMPREPLY+=("$name")
            continue
        fi
        for ending in "$@"; do
            [[ ${name,,} == *".$ending" ]] && COMPREPLY+=("$name")
        done
    done < <(compgen -f -- "$cur")
}

# The options that may come next: none that was given already, and not its opposite.
_hciload_options() {
    local word options=" $1 " IFS=$' \t\n'
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        word=${word^^}
        word=${word/#\//-}
        case $word in
            -FIRMWARE | -CONFIG) ;; # may be repeated
            -WRITE | -ERASE | -VERIFY) options=${options/" -NO${word#-} "/ } ;;&
            -NOWRITE | -NOERASE | -NOVERIFY) options=${options/" -${word#-NO} "/ } ;;&
            *) options=${options/" $word "/ } ;;
        esac
    done
    # In lower case if that is what the user types.
    [[ $cur == *[a-z]* ]] && options=${options,,}
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
}

_hciload() {
    local cur=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]^^}
    local common="-PORT -BAUDRATE -CONFIG -LOGTO -CAPTURETO -RECORDDLTIME"
    COMPREPLY=()
    case ${previous/#\//-} in
        -RULES | -VNP)
            _hciload_files vnp
            return
            ;;
        -MINIDRIVER)
            _hciload_files hex hcd
            return
            ;;
        -FIRMWARE)
            _hciload_files hex
            return
            ;;
        -CONFIG)
            _hciload_files hex hcd ncd
            return
            ;;
        -PORT)
            # Not the virtual consoles such as /dev/tty1.
            COMPREPLY=($(compgen -W "/dev/tty $(compgen -G '/dev/tty[A-Za-z]*')" -- "$cur"))
            return
            ;;
        -BAUDRATE)
            COMPREPLY=($(compgen -W "115200 3000000NFC" -- "$cur"))
            return
            ;;
        -LOGTO | -CAPTURETO)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$cur")
            return
            ;;
        -DLMINIDRIVERCHUNKSIZE)
            return
            ;;
    esac
    local standard="$common -VNP -MINIDRIVER -FIRMWARE -NODLMINIDRIVER -DLMINIDRIVERCHUNKSIZE
        -ERASE -NOERASE -WRITE -NOWRITE -VERIFY -NOVERIFY -CHECKCRC"
    standard=${standard//$'\n'/ }
    if ((COMP_CWORD == 1)); then
        _hciload_options "-VINTORMODE -RULES $common"
    elif [[ ${COMP_WORDS[1]^^} == [-/]VINTORMODE ]]; then
        _hciload_options "$standard"
    else
        _hciload_options "-RULES $common"
    fi
}

complete -F _hciload hciload
