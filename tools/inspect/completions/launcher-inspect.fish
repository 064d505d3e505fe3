# Completion of launcher-inspect for fish.

function __launcher_inspect_copies
    set -l folder "$HOME/Library/Application Support/VantuOrlixVDILauncher"
    for copy in $folder/*/
        basename $copy
    end
end

complete -c launcher-inspect -f
complete -c launcher-inspect -l client-version -x -d 'Version that the host passes'
complete -c launcher-inspect -l home -x -a '(__fish_complete_directories)' \
    -d 'Home folder to look into, or a copy of one'
complete -c launcher-inspect -l working-directory -x -a '(__fish_complete_directories)' \
    -d 'Working folder of the host'
complete -c launcher-inspect -l explain -x -a '(__launcher_inspect_copies)' \
    -d 'Print every rule that this copy passed or failed'
complete -c launcher-inspect -l brief -d 'Print one line per copy, the chosen one first'
complete -c launcher-inspect -l json -d 'Print one JSON object'
complete -c launcher-inspect -l check -d 'Print one line for a monitoring system'
complete -c launcher-inspect -l mask -d 'Replace the login name by stars'
complete -c launcher-inspect -l version -d 'Print the version'
complete -c launcher-inspect -s h -l help -d 'Print the help'
