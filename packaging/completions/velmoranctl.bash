# Completions of velmoranctl for bash.

_velmoranctl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local command="" part="" name="" word words="" i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        word=${COMP_WORDS[i]}
        case $word in
            -*) ;;
            *)
                if [ -z "$command" ]; then
                    command=$word
                elif [ -z "$part" ]; then
                    part=$word
                elif [ -z "$name" ]; then
                    name=$word
                fi
                ;;
        esac
    done
    COMPREPLY=()
    case $previous in
        --device)
            words="camera microphone"
            [ "$command" != history ] || words+=" speaker"
            ;;
        --since | --until) words="now today yesterday" ;;
        --app) return ;;
        --device-folder)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            compopt -o filenames 2>/dev/null
            return
            ;;
    esac
    if [ -z "$words" ]; then
        case $command in
            "") words="watch replay stop unmute status history reports trust settings --help --version" ;;
            watch) words="--json --demo --device-folder --help" ;;
            status | reports) words="--json --help" ;;
            stop | unmute) words="--help" ;;
            history) words="--device --app --since --until --json --csv --help" ;;
            trust)
                case $part in
                    "") words="list remove --json --help" ;;
                    list) words="--json --help" ;;
                    remove) words="--device --help" ;;
                esac
                ;;
            settings)
                case $part/$previous in
                    /*) words="list get set --json --help" ;;
                    list/*) words="--json --help" ;;
                    get/get | set/set) words=$(_velmoranctl_settings) ;;
                    set/language) words="system en de" ;;
                    set/retentionDays) words="30 90 365" ;;
                    set/"$name") words="true false" ;;
                    get/*) words="--help" ;;
                esac
                ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    case $command/$previous in
        replay/* | watch/--demo)
            mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current")
            compopt -o filenames 2>/dev/null
            ;;
    esac
}

_velmoranctl_settings() {
    echo retentionDays language warningSoundOn standardNoticesStay speakerAutoMute monitorSpeakerUse \
        hideSystemSounds ignoreSystemListening floatingStopButton stopShortcutOn confirmClosingBrowser \
        ignoreOwnReturn awayWatchOnLock
}

complete -F _velmoranctl velmoranctl
