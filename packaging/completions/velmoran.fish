# Completions of velmoran for fish.

complete -c velmoran -f
complete -c velmoran -s h -l help -d "Print a help"
complete -c velmoran -s v -l version -d "Print the version"
complete -c velmoran -l show -x -a "main history settings" -d "Show a window"
complete -c velmoran -l demo -F -d "Play a recording instead"
