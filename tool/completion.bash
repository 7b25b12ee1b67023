# Completion of walletcaller for bash. The words come from the help of the program itself.
_walletcaller() {
    local program=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]} command=
    case ${COMP_WORDS[1]-} in
        doctor | explain | why | version) [ "$COMP_CWORD" -gt 1 ] && command=${COMP_WORDS[1]} ;;
    esac
    local words
    if [ "${COMP_WORDS[COMP_CWORD - 1]}" = --depth ]; then
        words="files load open call"
    else
        words=$("$program" $command --help 2> /dev/null |
            sed -nE 's/^  (-h,)?(--[a-z]+).*/\2/p; /^Subcommands:/,/^$/s/^  ([a-z]+) .*/\1/p')
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o default -F _walletcaller walletcaller
