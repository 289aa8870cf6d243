# Completion of prattlebug's commands, options and values for bash.

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
    local command= word skip=
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ $skip ]]; then
            skip=
        elif [[ $word == --home ]]; then
            skip=yes
        elif [[ $word != -* ]]; then
            command=$word
            break
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
        [[ $command == export ]] && forms="html text markdown json jsonl csv"
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
    --email | --words | --from | --with | --limit | --context | --to | --since | --until | --server | --timeout)
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
    people) options="--json" ;;
    index) options="--rebuild" ;;
    show) options="--as" files=yes ;;
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
