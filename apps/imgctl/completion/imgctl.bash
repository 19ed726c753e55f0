# Completion of imgctl in bash: source this file, or put it into /etc/bash_completion.d.
# Nothing here starts a camera: what it knows comes from the key table.
_imgctl() {
    local line=${COMP_LINE:0:COMP_POINT} word=${COMP_WORDS[COMP_CWORD]} help
    line=${line#*[[:space:]]}
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --device | --trace | --token-file)
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
        ;;
    esac
    # What stands before the command is of no interest to it: options with their values.
    while [[ $line == -* ]]; do
        if [[ $line != *[[:space:]]* ]]; then
            help=$("${COMP_WORDS[0]}" --help | sed -n 's/^  \(--[a-z-]*\).*/\1/p')
            mapfile -t COMPREPLY < <(compgen -W "$help" -- "$word")
            return
        fi
        case ${line%%[[:space:]]*} in
        --json | --abort | --keep | --convert | --make-device | --no-day-night | *=*) ;;
        *) line=${line#*[[:space:]]} ;;
        esac
        line=${line#*[[:space:]]}
    done
    mapfile -t COMPREPLY < <("${COMP_WORDS[0]}" --complete "$line"
        [[ $line == *[[:space:]]* ]] ||
            compgen -W 'cameras make-device user token onvif tls' -- "$word")
}
complete -o nospace -o filenames -F _imgctl imgctl
