# SPDX-License-Identifier: Apache-2.0
# Completion of wexa-mkimage for bash.
_wexa_mkimage() {
    local word=${COMP_WORDS[COMP_CWORD]} each offered

    COMPREPLY=()
    case "${COMP_WORDS[COMP_CWORD - 1]}" in
        --kind) offered=(bmc bios capsule cpld) ;;
        --capsule-kind) offered=(1 2 3) ;;
        --broken)
            offered=(empty header-only truncated trailing magic kind no-version
                unprintable-version version-length payload-length digest)
            ;;
        --version | --date | --board | --size | --seed) return ;;
        *)
            if [[ $word != -* ]]; then
                # Readline then quotes the names. It fails where no line is
                # completed.
                compopt -o filenames 2>/dev/null
                mapfile -t COMPREPLY < <(compgen -f -- "$word")
                return
            fi
            offered=(--kind --version --date --board --capsule-kind --payload
                --size --seed --broken --force --help)
            ;;
    esac
    # Compared, and never expanded.
    for each in "${offered[@]}"; do
        [[ $each != "$word"* ]] || COMPREPLY+=("$each")
    done
}
complete -F _wexa_mkimage wexa-mkimage
