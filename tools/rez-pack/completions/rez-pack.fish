# Completion of rez-pack for fish.
complete -c rez-pack -n __fish_is_first_token -f -a make -d 'Make a resource file from a description'
complete -c rez-pack -n __fish_is_first_token -f -a show -d 'Show a resource file as a description'
complete -c rez-pack -l fork -d 'The resource fork of the file, in its companion'
complete -c rez-pack -l encoding -x -a 'utf-8 mac-roman' -d 'Encoding of the texts in the file'
complete -c rez-pack -s V -l version -d 'Print the version'
complete -c rez-pack -s h -l help -d 'Print a summary of the options'
