# Completions of velmoranctl for fish.

set -l commands watch replay stop unmute status history reports trust settings
set -l settings retentionDays language warningSoundOn standardNoticesStay speakerAutoMute monitorSpeakerUse \
    hideSystemSounds ignoreSystemListening floatingStopButton stopShortcutOn confirmClosingBrowser \
    ignoreOwnReturn awayWatchOnLock
set -l none "not __fish_seen_subcommand_from $commands"
# Behind the name of a setting, and no further.
set -l change "__fish_seen_subcommand_from settings; and __fish_seen_subcommand_from set; and test (count (commandline -opc)) -eq 4"

complete -c velmoranctl -f
complete -c velmoranctl -s h -l help -d "Print a help"
complete -c velmoranctl -n "$none" -l version -d "Print the version"
complete -c velmoranctl -n "$none" -a watch -d "Print a line whenever an app turns something on or off"
complete -c velmoranctl -n "$none" -a replay -d "Print what would have been told of a recording"
complete -c velmoranctl -n "$none" -a stop -d "Mute the microphones and close the apps"
complete -c velmoranctl -n "$none" -a unmute -d "Unmute the microphones that a stop has muted"
complete -c velmoranctl -n "$none" -a status -d "Print what is on"
complete -c velmoranctl -n "$none" -a history -d "Print what was in use"
complete -c velmoranctl -n "$none" -a reports -d "Print what happened while the screen was locked"
complete -c velmoranctl -n "$none" -a trust -d "Print which apps are trusted, or take trust back"
complete -c velmoranctl -n "$none" -a settings -d "Print the settings, or change one"

complete -c velmoranctl -n "__fish_seen_subcommand_from watch status history reports" -l json -d "Print JSON"
complete -c velmoranctl -n "__fish_seen_subcommand_from trust settings; and not __fish_seen_subcommand_from remove get set" -l json -d "Print JSON"
complete -c velmoranctl -n "__fish_seen_subcommand_from watch" -l demo -F -d "Play a recording instead"
complete -c velmoranctl -n "__fish_seen_subcommand_from watch" -l device-folder -x -a "(__fish_complete_directories)" -d "Look for cameras there"
complete -c velmoranctl -n "__fish_seen_subcommand_from replay" -F
complete -c velmoranctl -n "__fish_seen_subcommand_from history" -l device -x -a "camera microphone speaker" -d "Only this device"
complete -c velmoranctl -n "__fish_seen_subcommand_from history" -l app -x -d "Only this app"
complete -c velmoranctl -n "__fish_seen_subcommand_from history" -l since -x -a "now today yesterday" -d "Only what was on then or later"
complete -c velmoranctl -n "__fish_seen_subcommand_from history" -l until -x -a "now today yesterday" -d "Only what began before"
complete -c velmoranctl -n "__fish_seen_subcommand_from history" -l csv -d "Print CSV for spreadsheets"
complete -c velmoranctl -n "__fish_seen_subcommand_from trust; and not __fish_seen_subcommand_from list remove" -a "list remove"
complete -c velmoranctl -n "__fish_seen_subcommand_from trust; and __fish_seen_subcommand_from remove" -l device -x -a "camera microphone" -d "Only with this device"
complete -c velmoranctl -n "__fish_seen_subcommand_from settings; and not __fish_seen_subcommand_from list get set" -a "list get set"
complete -c velmoranctl -n "__fish_seen_subcommand_from settings; and __fish_seen_subcommand_from get set; and not __fish_seen_subcommand_from $settings" -a "$settings"
complete -c velmoranctl -n "$change; and __fish_seen_subcommand_from language" -a "system en de"
complete -c velmoranctl -n "$change; and __fish_seen_subcommand_from retentionDays" -a "30 90 365"
complete -c velmoranctl -n "$change; and __fish_seen_subcommand_from $settings[3..-1]" -a "true false"
