# Completion of orvane for bash, 3.2 included.
_orvane() {
    local word words=("${COMP_WORDS[@]:1:COMP_CWORD}") IFS=$'\n'
    COMPREPLY=()
    for word in $(orvane complete -- "${words[@]}" 2>/dev/null); do
        COMPREPLY[${#COMPREPLY[@]}]=$(printf '%q' "${word%%$'\t'*}")
    done
    # Without an answer of orvane's: files.
    if [[ ${#COMPREPLY[@]} == 0 ]]; then
        # shellcheck disable=SC2207 # bash 3.2 has no mapfile, and IFS is a newline
        COMPREPLY=($(compgen -f -- "${COMP_WORDS[COMP_CWORD]}"))
    fi
}
complete -F _orvane orvane
