#include "companion/changes.h"
#include "companion/commands.h"
#include "companion/console.h"
#include "companion/shippedfiles.h"
#include "companion/transcriptcopies.h"

#include "archiver/PBArchiver.h"
#include "platform/mail/mailaddress.h"

#include "galleries/supportfolder.h"

#include "platform/addressbook/addressbook.h"
#include "platform/files/directorywalk.h"
#include "platform/preferences/preferences.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <memory>

namespace companion {

namespace {

constexpr char ownCardName[] = "me.vcf";
constexpr char contactsName[] = "contacts.vcf";

struct Options {
    std::optional<std::string> email;
    std::optional<std::string> ownCard;
    std::optional<std::string> contacts;
    std::vector<std::string> chats;
    bool resetTemplates = false;
};

/// A vCard file that the user has given; no bytes when they gave none.
struct CardFile {
    std::optional<QByteArray> bytes;
    qsizetype cards = 0;
    qsizetype withScreenName = 0;
};

/// The cards of the file at @p path, if there is to be one.
/// @throws Changes::Failure when it cannot be read or holds no card.
CardFile readCards(const std::optional<std::string> &path)
{
    if (!path)
        return {};
    const platform::FileContents file = platform::readWholeFile(*path);
    if (!file.bytes)
        throw Changes::Failure(*path + " cannot be read: " + file.error);
    CardFile result{file.bytes, 0, 0};
    for (const platform::ABPerson &person : platform::readVCards(*file.bytes)) {
        result.cards += person.firstName || person.lastName || !person.aimNames.isEmpty() ? 1 : 0;
        result.withScreenName += person.aimNames.isEmpty() ? 0 : 1;
    }
    if (result.cards == 0)
        throw Changes::Failure(*path + " is no vCard file: there is no card with a name in it.");
    return result;
}

/// What is told at the end, when everything has succeeded.
class Report {
public:
    void line(const QString &text) { m_lines += platform::utf8FromString(text) + '\n'; }
    void path(const QString &text, const std::filesystem::path &path)
    {
        m_lines += platform::utf8FromString(text) + ' ' + QByteArray::fromStdString(path.native()) + '\n';
    }
    void list(const QString &title, const std::vector<std::string> &entries)
    {
        if (entries.empty())
            return;
        line(title);
        for (const std::string &entry : entries)
            m_lines += "    " + QByteArray::fromStdString(entry) + '\n';
    }
    [[nodiscard]] QByteArray text() const { return m_lines.chopped(m_lines.isEmpty() ? 0 : 1); }

private:
    QByteArray m_lines;
};

QString counted(qsizetype count, const QString &one, const QString &many)
{
    return QString::number(count) + u' ' + (count == 1 ? one : many);
}

void makeFolder(const std::filesystem::path &path, Changes &changes, Report &report)
{
    const bool made = changes.makeFolder(path);
    report.path(made ? QStringLiteral("Made") : QStringLiteral("There already:"), path);
}

void placeFiles(bool reset, Changes &changes, Report &report)
{
    const ShippedFilesOutcome outcome = placeShippedFiles(galleries::supportFolder(), reset, changes);
    if (!outcome.placed.isEmpty())
        report.line(QStringLiteral("Put in place: ") + outcome.placed.join(QStringLiteral(", ")));
    if (!outcome.changed.isEmpty())
        report.line(QStringLiteral("Kept as you have changed it: ") +
                    outcome.changed.join(QStringLiteral(", ")) +
                    QStringLiteral(" (--reset-templates replaces)"));
}

void storeCards(const CardFile &file, const char *name, const QString &what, Changes &changes, Report &report)
{
    if (!file.bytes)
        return;
    const std::filesystem::path path = galleries::supportFolder() / name;
    if (platform::readWholeFile(path).bytes != file.bytes)
        changes.writeFile(path, *file.bytes);
    report.line(QStringLiteral("%1: %2, %3 with an AIM screen name")
                    .arg(what, counted(file.cards, QStringLiteral("card"), QStringLiteral("cards")),
                         QString::number(file.withScreenName)));
}

std::vector<std::filesystem::path> chatsToCopy(const Options &options)
{
    std::vector<std::filesystem::path> chats(options.chats.begin(), options.chats.end());
    if (!chats.empty())
        return chats;
    for (const std::filesystem::path &folder : TranscriptCopies::chatFolders()) {
        if (platform::fileExists(platform::homeDirectory() / folder))
            chats.push_back(platform::homeDirectory() / folder);
    }
    return chats;
}

/// @return what could not be read, each with the reason.
std::vector<std::string> copyTranscripts(const Options &options, Changes &changes, Report &report)
{
    const std::vector<std::filesystem::path> chats = chatsToCopy(options);
    TranscriptCopies copies(
        PBArchiver::transcriptFolder(), changes,
        [](const std::filesystem::path &from, const std::filesystem::path &to) {
            if (verbosity() == Verbosity::Verbose)
                printError(QByteArrayView(QByteArray::fromStdString(from.native() + " -> " + to.native())));
        });
    for (const std::filesystem::path &folder : chats)
        copies.copy(folder);
    copies.copyPassedOver();
    const TranscriptCopies::Outcome &outcome = copies.outcome();
    if (!chats.empty() || outcome.copied > 0) {
        QString text = counted(outcome.copied, QStringLiteral("transcript"), QStringLiteral("transcripts")) +
                       QStringLiteral(" copied");
        if (outcome.alreadyThere > 0)
            text += QStringLiteral(", %1 there already").arg(outcome.alreadyThere);
        report.line(text);
    }
    report.list(QStringLiteral("Under another name, so that no chat is left out:"), outcome.renamed);
    report.list(QStringLiteral("Left out, since they are no transcripts:"), outcome.leftOut);
    return outcome.unread;
}

/// Everything else has succeeded; when this does not, it is taken back.
void storeAddress(const std::optional<std::string> &email, Changes &changes, Report &report)
{
    if (!email)
        return;
    changes.makeFolder(platform::homeDirectory() / "Library" / "Preferences");
    const QString address = platform::stringFromUtf8(*email);
    platform::CFPreferencesSetAppValue(u"emailAddress", platform::PropertyList::fromString(address));
    if (!platform::CFPreferencesAppSynchronize())
        throw Changes::Failure("The preferences could not be written in " +
                               platform::preferencesFolder().native());
    report.line(QStringLiteral("Mails are from and to ") + address);
}

bool hasTranscripts()
{
    platform::DirectoryWalk walk(PBArchiver::transcriptFolder());
    while (const auto entry = walk.next()) {
        if (entry->extension() == ".chat" || entry->extension() == ".ichat")
            return true;
    }
    return false;
}

void reportMissing(Report &report)
{
    const std::filesystem::path support = galleries::supportFolder();
    std::vector<std::string> missing;
    if (!hasTranscripts())
        missing.emplace_back("transcripts: prattlebug setup FOLDER copies those below a folder");
    if (platform::CFPreferencesCopyAppValue(u"emailAddress").string().value_or(QString()).isEmpty())
        missing.emplace_back("your mail address: --email ADDRESS");
    if (!platform::fileExists(support / ownCardName))
        missing.emplace_back("your own name, else your screen name is shown: --me CARD.vcf");
    if (!platform::fileExists(support / contactsName))
        missing.emplace_back("other people's names, else their screen names are shown: --contacts FILE.vcf");
    report.list(QStringLiteral("Still missing:"), missing);
    if (hasTranscripts())
        report.line(QStringLiteral("Next: prattlebug archive ~/\"Prattlebug Archive\""));
}

/// @throws Changes::Failure; nothing has been changed then.
int setUp(const Options &options)
{
    const std::filesystem::path home = platform::homeDirectory();
    std::error_code error;
    if (!std::filesystem::is_directory(home, error))
        throw Changes::Failure("There is no home folder " + home.native());
    if (options.email && !platform::isBareAddress(platform::stringFromUtf8(*options.email)))
        throw Changes::Failure('"' + *options.email + '"' +
                               " is no mail address: it should look like kim@example.org");
    const CardFile ownCard = readCards(options.ownCard);
    const CardFile contacts = readCards(options.contacts);

    Changes changes;
    Report report;
    makeFolder(PBArchiver::transcriptFolder(), changes, report);
    makeFolder(galleries::supportFolder(), changes, report);
    makeFolder(galleries::imagesFolder(), changes, report);
    placeFiles(options.resetTemplates, changes, report);
    storeCards(ownCard, ownCardName, QStringLiteral("Your own card"), changes, report);
    storeCards(contacts, contactsName, QStringLiteral("Contacts"), changes, report);
    const std::vector<std::string> unread = copyTranscripts(options, changes, report);
    storeAddress(options.email, changes, report);
    changes.keep();

    reportMissing(report);
    if (verbosity() != Verbosity::Quiet)
        printLine(QByteArrayView(report.text()));
    for (const std::string &entry : unread)
        printError(QByteArrayView("Could not be read: " + QByteArray::fromStdString(entry)));
    return unread.empty() ? exitDone : exitFailed;
}

int setup(const Options &options)
{
    try {
        return setUp(options);
    } catch (const Changes::Failure &failure) {
        printError(QByteArrayView(failure.what()));
        return exitFailed;
    }
}

} // namespace

void addSetupCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = commands.add_subcommand(
        "setup",
        "Make the folders, put templates in place, copy transcripts: everything before the first archive");
    command->add_option(
        "CHATS", options->chats,
        "Folders with transcripts at any depth, or the home folder of a Mac; without any, where "
        "iChat keeps them in this home");
    command->add_option("--email", options->email, "Address that the mails are from and to")
        ->type_name("ADDRESS");
    command->add_option("--me", options->ownCard, "vCard file with your own card")->type_name("CARD.vcf");
    command->add_option("--contacts", options->contacts, "vCard file with everybody else")
        ->type_name("FILE.vcf");
    command->add_flag("--reset-templates", options->resetTemplates,
                      "Also replace templates and word lists that you have changed");
    command->footer(
        "Example: prattlebug setup --email sam@example.org --me me.vcf /media/sam/Backup\n"
        "With --verbose every transcript that is copied is named.\n"
        "It can be repeated: nothing of yours is ever overwritten or copied twice.\n"
        "Transcripts without \" on \" in their names, which the archiver passes over, get copies that have "
        "it.\n"
        "Exit code: 1 when something is wrong with what was given, or with the disk (then nothing "
        "has been changed),\nor when some transcripts could not be read; they are named.");
    command->callback([options, &action] { action = [options] { return setup(*options); }; });
}

} // namespace companion
