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

# Adds the sets of VNP file $1 whose names start with $3 to COMPREPLY, each after $2.
_hciload_sets() {
    local file=${1#[\"\']} prefix=${2#[\"\']} start=${3//\\/} name
    file=${file/#\~/$HOME}
    # As a file name, "@set" would get a backslash before the @.
    [[ $prefix == @ ]] || compopt -o filenames 2>/dev/null
    while IFS= read -r name; do
        [[ $name == "$start"* ]] || continue
        [[ $prefix == @ ]] && printf -v name %q "$name"
        COMPREPLY+=("$prefix$name")
    done < <(sed -n 's/^DevicePreset[^"]*"\([^"]*\)".*/\1/p' "${file//\\/}" 2>/dev/null)
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
    local common="-PORT -BAUDRATE -CONFIG -LOGTO -CAPTURETO -REPORTTO -RECORDDLTIME"
    local alone="--check --read --crc --help --version --list-ports" word
    # What follows is completed as the run that is to be checked.
    for word in --check --json; do
        if [[ ${COMP_WORDS[1]} == "$word" ]] && ((COMP_CWORD > 1)); then
            COMP_WORDS=("${COMP_WORDS[0]}" "${COMP_WORDS[@]:2}")
            COMP_CWORD=$((COMP_CWORD - 1))
            previous=${COMP_WORDS[COMP_CWORD-1]^^}
            [[ $word == --check ]] && alone=--json || alone=""
        fi
    done
    local -i readout=0 # words of its own
    case ${COMP_WORDS[1]} in
        --read) readout=3 ;;
        --crc) readout=2 ;;
    esac
    if ((readout > 0 && COMP_CWORD > 1 && COMP_CWORD <= readout)); then
        COMPREPLY=()
        ((COMP_CWORD < 3)) || mapfile -t COMPREPLY < <(compgen -f -- "$cur")
        return
    fi
    # Outside quotes, bash takes the @ of "board.vnp@set" for a word of its own, but replaces "@set".
    local -i file=COMP_CWORD-2
    [[ $cur == @ ]] && file=COMP_CWORD-1 previous=@ cur=""
    COMPREPLY=()
    if ((file > 1)) && [[ $previous == @ && ${COMP_WORDS[file-1]^^} == [-/]@(RULES|VNP) ]]; then
        _hciload_sets "${COMP_WORDS[file]}" @ "$cur"
        return
    fi
    case ${previous/#\//-} in
        -RULES | -VNP)
            if [[ $cur == *@* ]]; then
                _hciload_sets "${cur%%@*}" "${cur%%@*}@" "${cur#*@}"
            else
                _hciload_files vnp
            fi
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
        -LOGTO | -CAPTURETO | -REPORTTO)
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
        _hciload_options "-VINTORMODE -RULES $common $alone"
    elif ((readout > 0)); then
        _hciload_options "-PORT -BAUDRATE -VNP -MINIDRIVER -NODLMINIDRIVER -DLMINIDRIVERCHUNKSIZE -LOGTO -CAPTURETO -REPORTTO"
    elif [[ ${COMP_WORDS[1]^^} == [-/]VINTORMODE ]]; then
        _hciload_options "$standard"
    else
        _hciload_options "-RULES $common"
    fi
}

complete -F _hciload hciload
