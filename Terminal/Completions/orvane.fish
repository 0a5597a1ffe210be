# Completion of orvane for fish.
function __orvane_complete
    set -l words (commandline -opc) (commandline -ct)
    orvane complete -- $words[2..-1] 2>/dev/null
end
complete -c orvane -a '(__orvane_complete)'
