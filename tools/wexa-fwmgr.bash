# SPDX-License-Identifier: Apache-2.0
# Completion of wexa-fwmgr for bash.

# Offers the words that begin with the first one, which is what was typed. Words
# are compared and never expanded: some come from the bus.
_wexa_fwmgr_offer() {
    local typed=$1 each
    shift
    for each; do
        [[ $each != "$typed"* ]] || COMPREPLY+=("$each")
    done
}

# Offers files (-f) or directories (-d) that begin with what was typed.
_wexa_fwmgr_offer_paths() {
    # Readline then quotes the names. It fails where no line is completed.
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "$1" -- "$2")
}

# Sets components to the names of the CPLD components of the board on a bus. A
# name with any other character is left out: a shell could take it for something
# else.
_wexa_fwmgr_components() {
    local line entry='^      "([A-Za-z0-9:_.@][A-Za-z0-9:_.@-]*)": \{$'
    components=()
    while IFS= read -r line; do
        [[ ! $line =~ $entry ]] || components+=("${BASH_REMATCH[1]}")
    done < <(timeout 3 wexa-fwmgr components --json --bus="$1" 2>/dev/null)
}

_wexa_fwmgr() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local verbs=(upload verify update components monitor doctor)
    local kinds=(bmc bios cpld)
    local options=(--bus --json --trace --verbose --help --version)
    local verb="" kind="" given bus=system i components

    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        given=${COMP_WORDS[i]}
        case "$given" in
            upload | verify | update | components | monitor | doctor)
                [ -n "$verb" ] || verb=$given
                ;;
            bmc | bios | cpld) [ -n "$kind" ] || kind=$given ;;
        esac
    done
    # Bash takes words apart at "=" and ":", which every address of a bus has.
    given="[[:blank:]]--bus[=[:blank:]][[:blank:]]*([^[:blank:]]+)"
    [[ ! $COMP_LINE =~ $given ]] || bus=${BASH_REMATCH[1]}
    if [ "$word" = = ]; then
        word=""
    elif [ "$before" = = ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case "$verb" in
        upload | verify) options+=(--component) ;;
        update) options+=(--component --dry-run --no-verify --no-wait --timeout) ;;
        doctor) options+=(--daemon --images) ;;
    esac

    case "$before" in
        --daemon)
            _wexa_fwmgr_offer_paths -f "$word"
            return
            ;;
        --images)
            _wexa_fwmgr_offer_paths -d "$word"
            return
            ;;
        --component)
            _wexa_fwmgr_components "$bus"
            _wexa_fwmgr_offer "$word" "${components[@]}"
            return
            ;;
        --bus)
            _wexa_fwmgr_offer "$word" system
            return
            ;;
        --timeout) return ;;
    esac
    if [[ $word == -* ]]; then
        _wexa_fwmgr_offer "$word" "${options[@]}"
    elif [ -z "$verb" ]; then
        _wexa_fwmgr_offer "$word" "${verbs[@]}"
    elif [ -z "$kind" ]; then
        case "$verb" in
            upload | verify | update | doctor)
                _wexa_fwmgr_offer "$word" "${kinds[@]}"
                ;;
        esac
    elif [ "$verb" != doctor ]; then
        _wexa_fwmgr_offer_paths -f "$word"
    fi
}
complete -F _wexa_fwmgr wexa-fwmgr
