# Completion of aac2wav for bash.
_aac2wav() {
    local current=${COMP_WORDS[COMP_CWORD]}
    local previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    case $previous in
        --start | --duration) return ;;
    esac
    case $current in
        -*)
            mapfile -t COMPREPLY < <(compgen -W "--start --duration --length --probe --json --rf64 --keep-going
                --force --quiet --version --help" -- "$current")
            ;;
        *)
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            ;;
    esac
}
complete -F _aac2wav aac2wav
