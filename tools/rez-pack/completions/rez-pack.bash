# Completion of rez-pack for bash.
_rez_pack() {
    local current=${COMP_WORDS[COMP_CWORD]}
    local previous=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    if [[ $previous == --encoding ]]; then
        mapfile -t COMPREPLY < <(compgen -W "utf-8 mac-roman" -- "$current")
    elif [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "--fork --encoding --version --help" -- "$current")
    elif ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W "make show" -- "$current")
    else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -F _rez_pack rez-pack
