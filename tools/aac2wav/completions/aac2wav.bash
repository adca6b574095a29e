# Completion of aac2wav for bash.
_aac2wav() {
    local current=${COMP_WORDS[COMP_CWORD]}
    local previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $previous in
        --from | --to | --for | --start | --duration | --track | --spool-limit) return ;;
    esac
    case $current in
        -*)
            mapfile -t COMPREPLY < <(compgen -W "--output --from --to --for --start --duration --track --raw --rf64 --tags
                --length --probe --json --recursive --force --no-clobber --keep-going --preserve --sync
                --spool-limit --quiet --version --help" -- "$current")
            ;;
        *)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            ;;
    esac
}
complete -F _aac2wav aac2wav
