# SPDX-License-Identifier: Apache-2.0
# Completion of wexa-fwmgr for bash.

_wexa_fwmgr() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local verbs="upload verify update components monitor doctor"
    local kinds="bmc bios cpld"
    local options="--bus --json --trace --verbose --help --version"
    local verb="" kind="" given i

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
    case "$verb" in
        upload | verify) options+=" --component" ;;
        update) options+=" --component --dry-run --no-wait --timeout" ;;
        doctor) options+=" --images" ;;
    esac

    case "$before" in
        --images)
            mapfile -t COMPREPLY < <(compgen -d -- "$word")
            return
            ;;
        --component)
            # Those of this board; none where nobody can tell.
            mapfile -t COMPREPLY < <(compgen -W "$(wexa-fwmgr components 2>/dev/null |
                sed -n 's/^\([^ ]*\) .*/\1/p')" -- "$word")
            return
            ;;
        --bus)
            mapfile -t COMPREPLY < <(compgen -W "system" -- "$word")
            return
            ;;
        --timeout) return ;;
    esac
    if [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
    elif [ -z "$verb" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$verbs" -- "$word")
    else
        case "$verb" in
            upload | verify | update)
                if [ -z "$kind" ]; then
                    mapfile -t COMPREPLY < <(compgen -W "$kinds" -- "$word")
                else
                    mapfile -t COMPREPLY < <(compgen -f -- "$word")
                fi
                ;;
            doctor)
                [ -n "$kind" ] ||
                    mapfile -t COMPREPLY < <(compgen -W "$kinds" -- "$word")
                ;;
        esac
    fi
}
complete -o filenames -F _wexa_fwmgr wexa-fwmgr
