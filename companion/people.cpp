#include "companion/chatindexuse.h"
#include "companion/commands.h"
#include "companion/console.h"
#include "companion/jsonlines.h"
#include "companion/terminal.h"

#include "platform/addressbook/addressbook.h"
#include "platform/date/calendar.h"

#include <QJsonArray>
#include <QStringList>

#include <algorithm>
#include <map>
#include <memory>

namespace companion {

namespace {

using indexing::KnownPerson;

/// Everybody who is shown by one name.
struct Somebody {
    QString name;
    std::vector<const KnownPerson *> identities;
    qint64 chats = 0;
    qint64 messages = 0;
    std::optional<qint64> first;
    std::optional<qint64> last;

    void add(const KnownPerson &person)
    {
        identities.push_back(&person);
        chats += person.chats;
        messages += person.messages;
        if (person.first)
            first = std::min(first.value_or(*person.first), *person.first);
        if (person.last)
            last = std::max(last.value_or(*person.last), *person.last);
    }

    [[nodiscard]] QStringList screenNames() const
    {
        QStringList names;
        for (const KnownPerson *person : identities)
            names += person->person.screenName.value_or(QString());
        names.removeDuplicates();
        return names;
    }
};

std::vector<Somebody> everybody(const std::vector<KnownPerson> &people)
{
    std::map<QString, Somebody> byName;
    for (const KnownPerson &person : people) {
        if (person.chats == 0)
            continue;
        Somebody &somebody = byName[person.displayName];
        somebody.name = person.displayName;
        somebody.add(person);
    }
    std::vector<Somebody> result;
    for (auto &[name, somebody] : byName)
        result.push_back(std::move(somebody));
    std::stable_sort(result.begin(), result.end(),
                     [](const Somebody &a, const Somebody &b) { return a.messages > b.messages; });
    return result;
}

void print(const Somebody &somebody, const OutputStyle &style)
{
    constexpr int nameWidth = 24;
    const auto counted = [](qint64 number, QStringView ofOne, QStringView ofMany) {
        constexpr int numberWidth = 7;
        return QString::number(number).rightJustified(numberWidth) +
               (number == 1 ? ofOne : ofMany).toString();
    };
    const auto day = [](const std::optional<qint64> &milliseconds) {
        return milliseconds ? platform::descriptionWithCalendarFormat(dateOf(*milliseconds), u"%Y-%m-%d")
                            : QStringLiteral("no date   ");
    };
    QStringList others = somebody.screenNames();
    others.removeAll(somebody.name);
    printLine(style.bold(paddedTo(style.onOneLine(somebody.name), nameWidth)) +
              counted(somebody.chats, u" chat  ", u" chats ") +
              counted(somebody.messages, u" message   ", u" messages  ") + day(somebody.first) +
              QStringLiteral(" to ") + day(somebody.last) +
              (others.isEmpty()
                   ? QString()
                   : style.dim(QStringLiteral("  ") + style.onOneLine(others.join(QStringLiteral(", "))))));
}

void printJson(const Somebody &somebody)
{
    QJsonArray identities;
    for (const KnownPerson *person : somebody.identities)
        identities.append(QJsonObject{{QStringLiteral("service"), jsonText(person->person.service)},
                                      {QStringLiteral("screenName"), jsonText(person->person.screenName)}});
    printJsonLine({{QStringLiteral("name"), somebody.name},
                   {QStringLiteral("identities"), identities},
                   {QStringLiteral("chats"), somebody.chats},
                   {QStringLiteral("messages"), somebody.messages},
                   {QStringLiteral("first"), jsonTime(somebody.first)},
                   {QStringLiteral("last"), jsonTime(somebody.last)}});
}

/// Prints every name and screen name that the index knows, for shells to complete.
int printNames()
{
    const platform::ABAddressBook::Reading oneReading;
    QStringList names;
    for (const KnownPerson &person : indexing::ChatIndex::peopleIn(indexing::ChatIndex::fileInHome())) {
        if (person.chats > 0)
            names << person.displayName << person.person.screenName.value_or(QString());
    }
    names.removeDuplicates();
    names.sort(Qt::CaseInsensitive);
    for (const QString &name : names) {
        // What begins or ends with a blank, or would not stay on its line, is no name that anybody types.
        if (!name.isEmpty() && name == name.trimmed() && std::none_of(name.begin(), name.end(), [](QChar c) {
                return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line ||
                       c.category() == QChar::Separator_Paragraph;
            }))
            printLine(name);
    }
    return exitDone;
}

int people(bool json)
{
    const auto index = upToDateIndex();
    if (!index)
        return exitFailed;
    const OutputStyle style;
    const std::vector<Somebody> all = everybody(index->people());
    for (const Somebody &somebody : all) {
        if (json)
            printJson(somebody);
        else
            print(somebody, style);
    }
    return !all.empty() && index->unreadFolders().empty() ? exitDone : exitFailed;
}

} // namespace

void addPeopleCommand(CLI::App &commands, Action &action)
{
    const auto json = std::make_shared<bool>(false);
    const auto namesOnly = std::make_shared<bool>(false);
    CLI::App *command =
        commands.add_subcommand("people", "List everybody who wrote anything, most messages first");
    CLI::Option *asJson = command->add_flag("--json", *json, "One JSON object for each person, a line each");
    command
        ->add_flag("--names", *namesOnly,
                   "Only names and screen names, as the index has them without a look at the transcripts: "
                   "what shells complete")
        ->excludes(asJson);
    command->footer("Example: prattlebug people\n"
                    "Screen names that the address book gives one name are one person.\n"
                    "Exit code: 1 when there is nobody, or no transcript folder.");
    command->callback([json, namesOnly, &action] {
        action = [json, namesOnly] { return *namesOnly ? printNames() : people(*json); };
    });
}

} // namespace companion
