complete -c corvid -f
complete -c corvid -l show -d 'Show the panel'
complete -c corvid -l toggle -d 'Show the panel, or hide it when it is shown'
complete -c corvid -l settings -d 'Open the settings'
complete -c corvid -l sticky -d 'Keep the panel when it loses the keyboard'
complete -c corvid -l query -x -d 'Print the rows that a text yields'
complete -c corvid -l bench -d 'Measure the query pipeline'
complete -c corvid -l help -d 'Print a summary of the options'
complete -c corvid -l version -d 'Print the version'
