# bash completion for marrowkit-cli                                        -*- shell-script -*-

# The names of the library's databases, one a line.
_marrowkit_cli_databases() {
    local -a library=()
    local i
    for ((i = 1; i < COMP_CWORD; ++i)); do
        [[ ${COMP_WORDS[i]} == --library ]] && library=(--library "${COMP_WORDS[i + 1]}")
    done
    "${COMP_WORDS[0]}" "${library[@]}" --quiet list 2>/dev/null | sed -n '2,$ s/^"\([^"]*\)",.*/\1/p'
}

# Adds the databases and files that begin with the current word.
_marrowkit_cli_offer_databases() {
    local name
    while IFS= read -r name; do
        [[ -n $name && ${name,,} == "${current,,}"* ]] && COMPREPLY+=("$name")
    done < <(_marrowkit_cli_databases)
    _marrowkit_cli_offer_files
}

_marrowkit_cli_offer_files() {
    local file
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do COMPREPLY+=("$file"); done < <(compgen -f -- "$current")
}

_marrowkit_cli_offer_words() {
    local word
    for word in $1; do
        [[ $word == "$current"* ]] && COMPREPLY+=("$word")
    done
}

_marrowkit_cli() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command= arguments=0 i
    COMPREPLY=()

    # The command is the first word that is neither an option nor an option's value; arguments follow it.
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
            --library | --name | --into | --name-column | --file-column | --roms | --report | --replace-with | --max | \
                --schema-version) ((++i)) ;;
            -*) ;;
            *) if [[ -z $command ]]; then command=${COMP_WORDS[i]}; else ((++arguments)); fi ;;
        esac
    done

    case $previous in
        --library | --roms)
            compopt -o filenames 2>/dev/null
            while IFS= read -r i; do COMPREPLY+=("$i"); done < <(compgen -d -- "$current")
            return
            ;;
        --report) _marrowkit_cli_offer_files; return ;;
        --into) _marrowkit_cli_offer_databases; return ;;
        --name-column) _marrowkit_cli_offer_words "1 2 3 4 5 8"; return ;;
        --file-column) _marrowkit_cli_offer_words "1 3 5 7"; return ;;
        --name | --replace-with | --max | --schema-version) return ;;
    esac

    local global="--help --library --json --quiet --yes"
    if [[ $current == -* ]]; then
        case $command in
            "") _marrowkit_cli_offer_words "$global --version" ;;
            import)
                _marrowkit_cli_offer_words "$global --name --into --name-column --file-column --skip-duplicates --tosec
                    --no-tosec --add-zip --roms --match-extensions --report --dry-run"
                ;;
            delete-record) _marrowkit_cli_offer_words "$global --replace-with" ;;
            check) _marrowkit_cli_offer_words "$global --max" ;;
            tables) _marrowkit_cli_offer_words "$global --system" ;;
            create-template) _marrowkit_cli_offer_words "$global --jet3 --jet4 --schema-version" ;;
            crc) _marrowkit_cli_offer_words "$global --crc16" ;;
            *) _marrowkit_cli_offer_words "$global" ;;
        esac
        return
    fi

    case $command in
        "")
            _marrowkit_cli_offer_words "list show new import fix compact clear-extras remove-views records
                delete-record delete check tables schema export sql create-template crc tosec"
            ;;
        show | fix | compact | clear-extras | remove-views | delete | tables | schema | export | sql)
            ((arguments == 0)) && _marrowkit_cli_offer_databases
            ;;
        records | delete-record)
            case $arguments in
                0) _marrowkit_cli_offer_databases ;;
                1) _marrowkit_cli_offer_words "Publishers Musicians Programmers Languages Crackers" ;;
            esac
            ;;
        import | create-template) ((arguments == 0)) && _marrowkit_cli_offer_files ;;
        check) _marrowkit_cli_offer_databases ;;
        crc) _marrowkit_cli_offer_files ;;
    esac
    return 0
}

complete -F _marrowkit_cli marrowkit-cli
