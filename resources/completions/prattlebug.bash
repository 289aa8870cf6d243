# Completion of prattlebug's commands, options and values for bash.

# Offers the people in the index of a home folder ("" for the user's own) whose names begin as what is typed does.
_prattlebug_names() {
    local program=${COMP_WORDS[0]/#\~/$HOME} home=${1//[\\\"\']/} begun=${2//[\\\"\']/} name
    local -a names
    mapfile -t names < <("$program" ${home:+--home "${home/#\~/$HOME}"} people --names 2>/dev/null)
    for name in "${names[@]}"; do
        [[ ${name,,} == "${begun,,}"* ]] && COMPREPLY+=("$name")
    done
    compopt -o filenames # so that blanks are quoted
}

_prattlebug() {
    local current=$2 previous=$3
    local everywhere="--help --home --quiet --verbose"
    local commands="setup archive export search list people index show stats pages link-log image-log check inspect prefs status help"
    # Only with send.
    commands+=" send"
    # End of send.
    local filters="--from --with --since --until --has --word"
    local keys="emailAddress forceUniqueSubjects subjectNumber emailNeedsUsername emailUsername emailPassword imageEntry
        bookmarkEntry errorStatus reportThis emailFails"
    local command= home= word skip=
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $skip ]]; then
            home=$word
            skip=
        elif [[ $word == --home ]]; then
            skip=yes
        elif [[ $word != -* && ! $command ]]; then
            command=$word
        fi
    done
    COMPREPLY=()

    case $previous in
    --home)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        return ;;
    --me | --contacts | --ca-file)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return ;;
    --as)
        local forms="plain html subject json"
        [[ $command == export ]] && forms="html text markdown json jsonl csv eml maildir"
        mapfile -t COMPREPLY < <(compgen -W "$forms" -- "$current")
        return ;;
    --by)
        mapfile -t COMPREPLY < <(compgen -W "chat person month year" -- "$current")
        return ;;
    --attachments)
        mapfile -t COMPREPLY < <(compgen -W "inside beside none" -- "$current")
        return ;;
    --delete)
        mapfile -t COMPREPLY < <(compgen -W "$keys" -- "$current")
        return ;;
    --has)
        mapfile -t COMPREPLY < <(compgen -W "link file picture" -- "$current")
        return ;;
    --from | --with)
        [[ $command == search || $command == list || $command == export ]] && _prattlebug_names "$home" "$current"
        return ;;
    --email | --words | --limit | --context | --to | --since | --until | --server | --timeout)
        return ;;
    esac

    local options= files=
    case $command in
    "") options="$commands --version" ;;
    setup) options="--email --me --contacts --dry-run --json --reset-templates" files=yes ;;
    archive) options="--skip-new --fresh" files=yes ;;
    export) options="$filters --words --as --by --attachments --mirror" files=yes ;;
    search) options="$filters --context --limit --newest --count --json --no-index" ;;
    list) options="$filters --limit --newest --json" ;;
    people) options="--json --names" ;;
    index) options="--rebuild" ;;
    show) options="--as --times" files=yes ;;
    help) options=$commands ;;
    stats) options="--json" ;;
    status) options="--clear" ;;
    # Only with send.
    send) options="--server --to --from --starttls --ca-file --timeout" files=yes ;;
    # End of send.
    prefs)
        options="--delete"
        [[ $previous == prefs ]] && options+=" $keys"
        [[ $previous == forceUniqueSubjects ]] && options="YES NO" ;;
    link-log | image-log | check | inspect) files=yes ;;
    esac
    if [[ $current == -* || -z $files ]]; then
        [[ $current == -* ]] && options+=" $everywhere"
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
    [[ $files ]] && compopt -o filenames
    return 0
}
complete -F _prattlebug prattlebug
