# SPDX-License-Identifier: Apache-2.0
# Completion of wexa-bmcsim for bash.

# Offers the words that begin with the first one, which is what was typed.
_wexa_bmcsim_offer() {
    local typed=$1 each
    shift
    for each; do
        [[ $each != "$typed"* ]] || COMPREPLY+=("$each")
    done
}

# Offers what compgen knows (-f, -d, -c) that begins with what was typed.
_wexa_bmcsim_offer_known() {
    # Readline then quotes the names. It fails where no line is completed.
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "$1" -- "$2")
}

# Sets values to those that a setting has, as far as they have names.
_wexa_bmcsim_values() {
    values=()
    case "$1" in
        security | fwinfo | host | settings | cpld | manager)
            values=(normal absent refuse error wrong-type silent slow)
            ;;
        security-offers) values=(verifyBmc verifyBios verifyCapsule) ;;
        fwinfo-offers) values=(stagingBMC stagingBIOS stagingCapsuleMCU) ;;
        cpld-bound) values=(MB_CPLD SCM_CPLD FAN_CPLD) ;;
        apply-time) values=(OnReset Immediate OnStartUpdateRequest) ;;
        cpld-registry)
            values=(normal wrong-type missing-member other-member
                duplicate-component duplicate-property empty-path
                malformed-path)
            ;;
        cpld-device) values=(normal absent error silent) ;;
        cpld-version) values=(normal missing empty wrong-type) ;;
        flash) values=(normal fail corrupt crash hang) ;;
        flash-unit)
            values=(honest condition ignored-failure simple no-timeout)
            ;;
        bus) values=(gone) ;;
    esac
}

_wexa_bmcsim() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local options=(--help) settings names values given verb="" what="" i
    settings=(security fwinfo host settings cpld manager security-offers
        fwinfo-offers board-id apply-time cpld-bound cpld-registry cpld-device
        cpld-version flash flash-unit flash-time flash-timeout bus)

    COMPREPLY=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        given=${COMP_WORDS[i]}
        case "$given" in
            --) # the command's own words
                if ((i == COMP_CWORD - 1)); then
                    _wexa_bmcsim_offer_known -c "$word"
                else
                    _wexa_bmcsim_offer_known -f "$word"
                fi
                return
                ;;
            --manager | --bus | --scenario | --set | --dir) ((i++)) ;;
            -*) ;;
            *)
                if [ -z "$verb" ]; then verb=$given; else what=${what:-$given}; fi
                ;;
        esac
    done
    case "$verb" in
        "") options+=(--version) ;;
        run) options+=(--manager --bus --scenario --set) ;;
        set) options+=(--dir) ;;
        state) options+=(--dir --json) ;;
    esac

    case "$before" in
        --manager)
            _wexa_bmcsim_offer "$word" auto systemd builtin
            return
            ;;
        --scenario)
            mapfile -t names < <(wexa-bmcsim scenarios 2>/dev/null)
            _wexa_bmcsim_offer "$word" "${names[@]%% *}"
            return
            ;;
        --set)
            compopt -o nospace 2>/dev/null
            _wexa_bmcsim_offer "$word" "${settings[@]/%/=}"
            return
            ;;
        --dir)
            _wexa_bmcsim_offer_known -d "$word"
            return
            ;;
        --bus) return ;;
    esac
    if [[ $word == -* ]]; then
        _wexa_bmcsim_offer "$word" "${options[@]}"
        return
    fi
    case "$verb" in
        "") _wexa_bmcsim_offer "$word" run set state scenarios ;;
        run) _wexa_bmcsim_offer_known -c "$word" ;;
        set)
            if [ -z "$what" ]; then
                _wexa_bmcsim_offer "$word" "${settings[@]}"
            elif [ "$before" = "$what" ]; then
                _wexa_bmcsim_values "$what"
                _wexa_bmcsim_offer "$word" "${values[@]}"
            fi
            ;;
    esac
}
complete -F _wexa_bmcsim wexa-bmcsim
