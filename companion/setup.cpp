#include "companion/cardfiles.h"
#include "companion/changes.h"
#include "companion/commands.h"
#include "companion/console.h"
#include "companion/importreport.h"
#include "companion/setupreport.h"
#include "companion/shippedfiles.h"

#include "archiver/PBArchiver.h"
#include "platform/mail/mailaddress.h"

#include "importing/chatfolders.h"
#include "importing/copying.h"

#include "galleries/supportfolder.h"

#include "platform/files/files.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <iterator>
#include <memory>

namespace companion {

namespace {

struct Options {
    std::optional<std::string> email;
    std::optional<std::string> ownCard;
    std::optional<std::string> contacts;
    std::vector<std::string> chats;
    bool resetTemplates = false;
    bool dryRun = false;
    bool asJson = false;
};

void makeFolder(const std::filesystem::path &path, Changes &changes, SetupReport &report)
{
    const bool isNew = changes.makeFolder(path);
    report.line(QLatin1StringView("folder"),
                (isNew ? "Made " : "There already: ") + QByteArray::fromStdString(path.native()),
                {{QStringLiteral("path"), platform::displayPath(path)}, {QStringLiteral("new"), isNew}});
}

void placeFiles(bool reset, Changes &changes, SetupReport &report)
{
    const ShippedFilesOutcome outcome = placeShippedFiles(galleries::supportFolder(), reset, changes);
    const auto line = [&](const char *event, const char *text, const QStringList &files, const char *end) {
        if (!files.isEmpty())
            report.line(QLatin1StringView(event),
                        text + platform::utf8FromString(files.join(QStringLiteral(", "))) + end);
    };
    line("templates", "Put in place: ", outcome.placed, "");
    line("templatesKept", "Kept as you have changed it: ", outcome.changed, " (--reset-templates replaces)");
}

/// Everything else has succeeded; when this does not, it is taken back.
void storeAddress(const std::optional<std::string> &email, bool dryRun, Changes &changes, SetupReport &report)
{
    if (!email)
        return;
    changes.makeFolder(platform::homeDirectory() / "Library" / "Preferences");
    if (!dryRun) {
        platform::CFPreferencesSetAppValue(
            u"emailAddress", platform::PropertyList::fromString(platform::stringFromUtf8(*email)));
        if (!platform::CFPreferencesAppSynchronize())
            throw Changes::Failure("The preferences could not be written in " +
                                   platform::preferencesFolder().native());
    }
    report.line(QLatin1StringView("email"), "Mails are from and to " + QByteArray::fromStdString(*email));
}

void reportBook(CardRole role, const Cards &cards, const importing::MacAddressBook &book, bool isTaken,
                SetupReport &report)
{
    const bool isOwn = role == CardRole::Own;
    QByteArray text = isOwn ? "The Mac's address book has your own card"
                            : "The Mac's address book has " + QByteArray::number(cards.count) +
                                  (cards.count == 1 ? " person" : " people") + " with AIM screen names";
    const QByteArray path = QByteArray::fromStdString(book.books.front().native());
    text += ": " + path;
    if (book.books.size() > 1)
        text += " and " + QByteArray::number(qsizetype(book.books.size()) - 1) + " more";
    if (!isTaken)
        text += QByteArray("\n    There is a file of cards already; to take it instead: ") +
                (isOwn ? "--me" : "--contacts") + " \"" + path + '"';
    report.line(QLatin1StringView(isOwn ? "ownCard" : "addressBook"), text,
                {{QStringLiteral("path"), platform::displayPath(book.books.front())},
                 {QStringLiteral("people"), cards.count},
                 {QStringLiteral("taken"), isTaken}});
}

/// Stores what the user has named for a role, or else what the disk's address book has, when there is nothing
/// yet.
/// @return how many people there are with an AIM screen name in what is stored.
qsizetype storeCards(CardRole role, const std::optional<Cards> &named, const importing::MacAddressBook &book,
                     Changes &changes, SetupReport &report)
{
    const std::optional<Cards> found = cardsOf(book, role);
    const auto there = platform::readWholeFile(cardFilePath(role));
    const std::optional<Cards> &stored = named ? named : found;
    const bool isTaken = named || (!there && there.error().kind == platform::FailureKind::Missing) ||
                         (found && there == found->bytes);
    if (found && !named)
        reportBook(role, *found, book, isTaken, report);
    if (!stored || !isTaken)
        return 0;
    storeCards(role, *stored, changes, report);
    return stored->withScreenName;
}

std::vector<std::filesystem::path> chatsToCopy(const Options &options)
{
    std::vector<std::filesystem::path> chats(options.chats.begin(), options.chats.end());
    if (!chats.empty())
        return chats;
    for (const std::filesystem::path &folder : importing::chatFolders()) {
        if (const std::filesystem::path path = platform::homeDirectory() / folder; platform::fileExists(path))
            chats.push_back(path);
    }
    return chats;
}

/// What is not there yet, after a setup.
void reportMissing(bool hasTranscripts, const Options &options, SetupReport &report)
{
    std::vector<SetupReport::Entry> missing;
    if (!hasTranscripts)
        missing.push_back({"transcripts: prattlebug setup FOLDER copies those below a folder or a disk"});
    if (!options.email && platform::CFPreferencesCopyAppValue(platform::preference::emailAddress)
                              .string()
                              .value_or(QString())
                              .isEmpty())
        missing.push_back({"your mail address: --email ADDRESS"});
    if (!platform::fileExists(cardFilePath(CardRole::Own)))
        missing.push_back({"your own name, else your screen name is shown: --me CARD.vcf"});
    if (!platform::fileExists(cardFilePath(CardRole::Contacts)))
        missing.push_back({"other people's names, else their screen names are shown: --contacts FILE.vcf"});
    report.list(QLatin1StringView("missing"), "Still missing:", missing);
    if (!platform::fileExists(cardFilePath(CardRole::Contacts)))
        report.line(QLatin1StringView("advice"), adviceOnCards);
    if (hasTranscripts)
        report.line(QLatin1StringView("next"), "Next: prattlebug archive ~/\"Prattlebug Archive\"");
}

int setUp(const Options &options, SetupReport &report, SetupProgress &progress)
{
    const std::filesystem::path home = platform::homeDirectory();
    std::error_code error;
    if (!std::filesystem::is_directory(home, error))
        throw Changes::Failure("There is no home folder " + home.native());
    if (options.email && !platform::isBareAddress(platform::stringFromUtf8(*options.email)))
        throw Changes::Failure('"' + *options.email + '"' +
                               " is no mail address: it should look like kim@example.org");
    std::optional<Cards> ownCard;
    std::optional<Cards> contacts;
    if (options.ownCard)
        ownCard = cardsAt(*options.ownCard, CardRole::Own);
    if (options.contacts)
        contacts = cardsAt(*options.contacts, CardRole::Contacts);

    // Everything is read before anything is changed.
    const std::filesystem::path folder = PBArchiver::transcriptFolder();
    const std::vector<std::filesystem::path> chats = chatsToCopy(options);
    importing::Findings findings = importing::findChats(chats, folder, progress);
    const importing::MacAddressBook book = importing::readMacAddressBooks(findings.homes);
    std::ranges::copy(book.notLookedInto, std::back_inserter(findings.notLookedInto));
    std::ranges::copy(book.unread, std::back_inserter(findings.unread));
    importing::CopyLedger ledger;
    const importing::ImportPlan plan = importing::planImport(findings.transcripts, folder, ledger, progress);

    if (options.dryRun)
        report.line(QLatin1StringView("dryRun"), "Nothing has been changed. This is what would be done:");
    Changes changes(options.dryRun);
    makeFolder(folder, changes, report);
    makeFolder(galleries::supportFolder(), changes, report);
    makeFolder(galleries::imagesFolder(), changes, report);
    placeFiles(options.resetTemplates, changes, report);
    storeCards(CardRole::Own, ownCard, book, changes, report);
    const qsizetype people = storeCards(CardRole::Contacts, contacts, book, changes, report);
    std::vector<importing::NotedPath> damagedBooks = book.damaged;
    for (const std::optional<Cards> *named : {&ownCard, &contacts}) {
        if (*named)
            std::ranges::copy((*named)->damaged, std::back_inserter(damagedBooks));
    }
    report.list(QLatin1StringView("damagedBook"),
                "Address books that could not be read whole:", entriesOf(damagedBooks));
    storeAddress(options.email, options.dryRun, changes, report);
    changes.keep();

    importing::Copying copying(folder, ledger, progress);
    std::optional<std::string> failure;
    try {
        if (!options.dryRun)
            copying.run(plan);
    } catch (const importing::Failure &thrown) {
        failure = thrown.what(); // what was copied stays, and is told
    }
    progress.end();
    const ImportReport importReport{findings, plan, options.dryRun ? nullptr : &copying.outcome(), people};
    importReport.tell(report);
    const bool isEnded = !failure && !copying.outcome().isStopped;
    if (isEnded && !options.dryRun)
        reportMissing(plan.archived > 0 || !plan.copies.empty(), options, report);
    report.print();
    const bool isWhole = importReport.tellUnread(report);
    if (failure)
        report.error(QByteArray::fromStdString(*failure));
    if (!isEnded)
        report.error("Stopped after " + QByteArray::number(copying.outcome().copied) + " of " +
                     QByteArray::number(plan.copies.size()) + " transcripts copied: the next setup goes on.");
    if (copying.outcome().isStopped)
        return exitSignalled + progress.signal();
    return isEnded && isWhole ? exitDone : exitFailed;
}

int setup(const Options &options)
{
    ConsoleHost host(verbosity() == Verbosity::Quiet);
    SetupReport report(options.asJson);
    SetupProgress progress(host, options.asJson);
    try {
        return setUp(options, report, progress);
    } catch (const Changes::Failure &failure) {
        progress.end();
        report.error(failure.what());
    } catch (const importing::Stopped &) {
        progress.end();
        report.error("Stopped after " + progress.reached() + ": nothing has been changed.");
        return exitSignalled + progress.signal();
    }
    return exitFailed;
}

} // namespace

void addSetupCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = commands.add_subcommand(
        "setup",
        "Create the folders and templates and copy the transcripts: everything before the first archive");
    command->add_option(
        "CHATS", options->chats,
        "Folders with transcripts at any depth, such as a whole disk, a home folder or a backup; "
        "by default where iChat keeps them in this home folder");
    command->add_option("--email", options->email, "Address that the mails are from and to")
        ->type_name("ADDRESS");
    command
        ->add_option("--me", options->ownCard, "vCard file with your own card, or an address book of a Mac")
        ->type_name("CARDS");
    command
        ->add_option("--contacts", options->contacts,
                     "vCard file with everybody else, or an address book of a Mac")
        ->type_name("CARDS");
    command->add_flag("--dry-run,-n", options->dryRun, "Only print what would be done");
    command->add_flag("--json", options->asJson,
                      "Print the report and the progress as JSON, one object per line");
    command->add_flag("--reset-templates", options->resetTemplates,
                      "Also replace templates and word lists that you have changed");
    command->footer(R"(Example: prattlebug setup --email sam@example.org /media/sam/Backup
Each chat is copied once: files with the same bytes are not copied again, and neither is the beginning of a
longer transcript. A copy has the date of its file, or of the last message if the file has lost its date, and a
name that the archiver accepts. You can stop setup with ^C and run it again at any time: it continues where it
stopped. None of your files are overwritten, and replaced cards are kept beside the new ones.
Without --me and --contacts, the address book in the home folders of the chats is used, if there are no cards yet.
Without cards, people are shown by their screen names, and the statistics count the words of everybody as yours
whose name differs from the one in the transcript's file name.
With --verbose, every transcript that is copied is named.
Exit code: 1 when an argument is wrong, or when a file or folder cannot be read; all of these are named. Damaged
transcripts are copied, and named too. 128 plus the signal's number when interrupted.)");
    command->callback([options, &action] { action = [options] { return setup(*options); }; });
}

} // namespace companion
