# Completion of prattlebug's commands, options and values for fish.

# The people in the index of the home folder that is worked in.
function __prattlebug_names
    set -l words (string replace -r '^~(?=/|$)' -- $HOME (commandline -opc))
    set -l home
    if set -l option (contains -i -- --home $words)
        set home --home $words[(math $option + 1)]
    end
    $words[1] $home people --names 2>/dev/null
end

set -l commands setup archive export search list people index show stats pages link-log image-log check inspect prefs status help
# Only with send.
set -a commands send
# End of send.
set -l keys emailAddress forceUniqueSubjects subjectNumber emailNeedsUsername emailUsername emailPassword imageEntry \
    bookmarkEntry errorStatus reportThis emailFails

complete -c prattlebug -s h -l help -d 'Show help'
complete -c prattlebug -l home -x -a '(__fish_complete_directories)' -d 'Home folder to work in'
complete -c prattlebug -s q -l quiet -d 'Only results and failures'
complete -c prattlebug -s v -l verbose -d 'Also what is done on the way'

set -l none "not __fish_seen_subcommand_from $commands"
complete -c prattlebug -n $none -f
complete -c prattlebug -n $none -l version -d 'Show the version'
complete -c prattlebug -n $none -a setup -d 'Make the folders, put templates in place, copy transcripts'
complete -c prattlebug -n $none -a archive -d 'Write every chat into one mbox file'
complete -c prattlebug -n $none -a export -d 'Write chats as web pages, text, tables and more'
complete -c prattlebug -n $none -a search -d 'Find messages in the transcript folder'
complete -c prattlebug -n $none -a list -d 'List the chats by date'
complete -c prattlebug -n $none -a people -d 'List everybody who wrote anything'
complete -c prattlebug -n $none -a index -d 'Bring the index up to date'
complete -c prattlebug -n $none -a show -d 'Print one chat'
complete -c prattlebug -n $none -a stats -d 'Show how much was said and sent'
complete -c prattlebug -n $none -a pages -d 'Make the pages of links and images anew'
complete -c prattlebug -n $none -a link-log -d "Add one chat's links to a text file"
complete -c prattlebug -n $none -a image-log -d "Save one chat's files, and add them to a text file"
complete -c prattlebug -n $none -a check -d 'List transcripts that cannot be read'
complete -c prattlebug -n $none -a inspect -d 'Print what an archive holds, as JSON'
complete -c prattlebug -n $none -a prefs -d 'Show or change the preferences'
complete -c prattlebug -n $none -a status -d 'Show the latest failure and how many there were'
complete -c prattlebug -n $none -a help -d 'Tell more of a command'
# Only with send.
complete -c prattlebug -n $none -a send -d 'Send one chat by mail'
# End of send.

complete -c prattlebug -n '__fish_seen_subcommand_from setup' -l email -x -d 'Address of the mails'
complete -c prattlebug -n '__fish_seen_subcommand_from setup' -l me -r -F -d 'Your own card, or an address book'
complete -c prattlebug -n '__fish_seen_subcommand_from setup' -l contacts -r -F -d 'Everybody else\'s cards, or an address book'
complete -c prattlebug -n '__fish_seen_subcommand_from setup' -s n -l dry-run -d 'Only tell what would be done'
complete -c prattlebug -n '__fish_seen_subcommand_from setup' -l json -d 'Tell it as JSON, an object a line'
complete -c prattlebug -n '__fish_seen_subcommand_from setup' -l reset-templates -d 'Also replace changed templates'
complete -c prattlebug -n '__fish_seen_subcommand_from archive' -l skip-new -d 'Leave out newer chats'
complete -c prattlebug -n '__fish_seen_subcommand_from archive' -l fresh -d 'Set the stores of earlier runs aside'
complete -c prattlebug -n '__fish_seen_subcommand_from export' -l words -x -d 'What a message must contain'
complete -c prattlebug -n '__fish_seen_subcommand_from export' -l as -x -a 'html text markdown json jsonl csv eml maildir' -d 'Format'
complete -c prattlebug -n '__fish_seen_subcommand_from export' -l by -x -a 'chat person month year' -d 'What shares a file'
complete -c prattlebug -n '__fish_seen_subcommand_from export' -l attachments -x -a 'inside beside none' -d 'Where attached files go'
complete -c prattlebug -n '__fish_seen_subcommand_from export' -l mirror -d 'Remove what no longer belongs'
complete -c prattlebug -n '__fish_seen_subcommand_from help' -f -a "$commands"
complete -c prattlebug -n '__fish_seen_subcommand_from search list people index' -f
complete -c prattlebug -n '__fish_seen_subcommand_from search list export' -l from -x -a '(__prattlebug_names)' -d 'Only messages by this person'
complete -c prattlebug -n '__fish_seen_subcommand_from search list export' -l with -x -a '(__prattlebug_names)' -d 'Only chats with this person'
complete -c prattlebug -n '__fish_seen_subcommand_from search list export' -l since -x -d 'From this date on'
complete -c prattlebug -n '__fish_seen_subcommand_from search list export' -l until -x -d 'Up to this date'
complete -c prattlebug -n '__fish_seen_subcommand_from search list export' -l has -x -a 'link file picture' -d 'Only messages with this'
complete -c prattlebug -n '__fish_seen_subcommand_from search list export' -l word -d 'Whole words only'
complete -c prattlebug -n '__fish_seen_subcommand_from search list' -l limit -x -d 'Stop after this many'
complete -c prattlebug -n '__fish_seen_subcommand_from search list' -l newest -d 'Start with the newest'
complete -c prattlebug -n '__fish_seen_subcommand_from search list people' -l json -d 'A JSON object a line'
complete -c prattlebug -n '__fish_seen_subcommand_from people' -l names -d 'Only the names that the index has'
complete -c prattlebug -n '__fish_seen_subcommand_from search' -l context -x -d 'Messages around each'
complete -c prattlebug -n '__fish_seen_subcommand_from search' -l count -d 'Only how many there are'
complete -c prattlebug -n '__fish_seen_subcommand_from search' -l no-index -d 'Read all transcripts'
complete -c prattlebug -n '__fish_seen_subcommand_from index' -l rebuild -d 'Read all transcripts again'
complete -c prattlebug -n '__fish_seen_subcommand_from show' -l times -d 'A time before each message'
complete -c prattlebug -n '__fish_seen_subcommand_from show' -l as -x -a 'plain html subject json' -d 'Form of the output'
complete -c prattlebug -n '__fish_seen_subcommand_from stats' -f
complete -c prattlebug -n '__fish_seen_subcommand_from stats' -l json -d 'As JSON'
complete -c prattlebug -n '__fish_seen_subcommand_from pages' -f
complete -c prattlebug -n '__fish_seen_subcommand_from status' -f
complete -c prattlebug -n '__fish_seen_subcommand_from status' -l clear -d 'Start the count of failures anew'
complete -c prattlebug -n '__fish_seen_subcommand_from prefs' -f
complete -c prattlebug -n "__fish_seen_subcommand_from prefs; and not __fish_seen_subcommand_from $keys" -a "$keys"
complete -c prattlebug -n '__fish_seen_subcommand_from prefs' -l delete -x -a "$keys" -d 'Preference to remove'
# Only with send.
complete -c prattlebug -n '__fish_seen_subcommand_from send' -l server -x -d 'Mail server'
complete -c prattlebug -n '__fish_seen_subcommand_from send' -l to -x -d 'Recipient'
complete -c prattlebug -n '__fish_seen_subcommand_from send' -l from -x -d 'Sender'
complete -c prattlebug -n '__fish_seen_subcommand_from send' -l starttls -d 'Over an encrypted connection only'
complete -c prattlebug -n '__fish_seen_subcommand_from send' -l ca-file -r -F -d 'Authorities to trust'
complete -c prattlebug -n '__fish_seen_subcommand_from send' -l timeout -x -d 'How long the server may be silent'
# End of send.
