# Completion of corvid's options in bash.

_corvid() {
    # What follows --query is any text.
    [[ ${COMP_WORDS[COMP_CWORD - 1]} == --query ]] && return
    mapfile -t COMPREPLY < <(compgen -W '--show --toggle --settings --sticky --query --bench
        --forget --yes --help --version' -- "${COMP_WORDS[COMP_CWORD]}")
}
complete -F _corvid corvid
