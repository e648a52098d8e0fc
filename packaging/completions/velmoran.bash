# Completions of velmoran for bash.

_velmoran() {
    local current=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    case ${COMP_WORDS[COMP_CWORD - 1]} in
        --show) mapfile -t COMPREPLY < <(compgen -W "main history settings" -- "$current") ;;
        --demo)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            compopt -o filenames 2>/dev/null
            ;;
        *) mapfile -t COMPREPLY < <(compgen -W "--demo --show --help --version" -- "$current") ;;
    esac
}

complete -F _velmoran velmoran
