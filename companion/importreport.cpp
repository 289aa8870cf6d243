#include "companion/importreport.h"

#include "platform/files/files.h"

#include <algorithm>
#include <map>

namespace companion {

namespace {

QByteArray bytesOf(const std::filesystem::path &path)
{
    return QByteArray::fromStdString(path.native());
}

QByteArray counted(qsizetype count, const char *one, const char *many)
{
    return QByteArray::number(count) + ' ' + (count == 1 ? one : many);
}

} // namespace

std::vector<SetupReport::Entry> entriesOf(const std::vector<importing::NotedPath> &paths,
                                          QLatin1StringView noteKey)
{
    std::vector<SetupReport::Entry> entries;
    for (const importing::NotedPath &noted : paths) {
        entries.push_back({bytesOf(noted.path) + ": " + QByteArray::fromStdString(noted.note),
                           {{QStringLiteral("path"), platform::displayPath(noted.path)},
                            {noteKey, QString::fromStdString(noted.note)}}});
    }
    return entries;
}

void ImportReport::tell(SetupReport &report) const
{
    tellSummary(report);
    tellHomes(report);
    std::vector<SetupReport::Entry> renamed;
    for (const importing::Renaming &renaming : plan.renamed) {
        renamed.push_back({bytesOf(renaming.from) + (renaming.fromStays ? " is now also " : " is now ") +
                               bytesOf(renaming.to),
                           {{QStringLiteral("from"), platform::displayPath(renaming.from)},
                            {QStringLiteral("to"), platform::displayPath(renaming.to)},
                            {QStringLiteral("fromStays"), renaming.fromStays}}});
    }
    report.list(QLatin1StringView("renamed"), "Under another name, so that no chat is left out:", renamed);
    report.list(QLatin1StringView("leftOut"),
                "Left out, since they are no transcripts:", entriesOf(plan.leftOut));
    report.list(QLatin1StringView("notLookedInto"), "Not looked into, and perhaps there are chats inside:",
                entriesOf(findings.notLookedInto, QLatin1StringView("what")));
    report.list(QLatin1StringView("damaged"), "Damaged, and copied all the same:", entriesOf(plan.damaged));
}

void ImportReport::tellSummary(SetupReport &report) const
{
    if (plan.found == 0 && findings.homes.empty())
        return; // nothing was named, and iChat has left nothing here
    const qsizetype copied = outcome ? outcome->copied : std::ssize(plan.copies);
    const qsizetype notReadable = std::ssize(unread());
    QByteArray text = counted(plan.found, "transcript", "transcripts") +
                      " found: " + QByteArray::number(copied) + (outcome ? " copied" : " to be copied");
    const auto add = [&](qsizetype count, const char *what) {
        if (count > 0)
            text += ", " + QByteArray::number(count) + what;
    };
    add(plan.replacing(), " of them in place of shorter copies");
    add(plan.same, " the same as others");
    add(plan.superseded, " superseded by longer ones");
    add(std::ssize(plan.leftOut), " left out");
    add(plan.datesMended, plan.datesMended == 1 ? " date mended" : " dates mended");
    add(std::ssize(plan.renamed), " renamed");
    add(std::ssize(plan.damaged), " damaged");
    add(notReadable, " not readable");
    report.line(QLatin1StringView("summary"), text,
                {{QStringLiteral("found"), plan.found},
                 {QStringLiteral("copied"), copied},
                 {QStringLiteral("replaced"), plan.replacing()},
                 {QStringLiteral("same"), plan.same},
                 {QStringLiteral("superseded"), plan.superseded},
                 {QStringLiteral("leftOut"), qsizetype(std::ssize(plan.leftOut))},
                 {QStringLiteral("datesMended"), plan.datesMended},
                 {QStringLiteral("renamed"), qsizetype(std::ssize(plan.renamed))},
                 {QStringLiteral("damaged"), qsizetype(std::ssize(plan.damaged))},
                 {QStringLiteral("notReadable"), notReadable},
                 {QStringLiteral("people"), people},
                 {QStringLiteral("dryRun"), !outcome},
                 {QStringLiteral("stopped"), outcome && outcome->isStopped}});
}

/// Whose chats came from where: a line for each name, and the homes that bear it, backups of them too.
void ImportReport::tellHomes(SetupReport &report) const
{
    struct Person {
        std::map<std::filesystem::path, qsizetype> homes; ///< with the number of transcripts found
        qsizetype found = 0;
        qsizetype copied = 0;
    };
    std::map<std::filesystem::path, Person> persons;
    for (const importing::FoundTranscript &transcript : findings.transcripts) {
        if (transcript.home.empty())
            continue;
        Person &person = persons[transcript.home.filename()];
        ++person.homes[transcript.home];
        ++person.found;
    }
    for (const auto &[home, copied] : plan.copiedByHome) {
        if (const auto person = persons.find(home.filename()); person != persons.end())
            person->second.copied += copied;
    }
    std::vector<SetupReport::Entry> entries;
    for (const auto &[name, person] : persons) {
        QByteArray text = bytesOf(name) + ": " + QByteArray::number(person.found) + " found, " +
                          QByteArray::number(person.copied) +
                          (outcome ? " copied, from " : " to be copied, from ");
        QJsonObject homes;
        for (const auto &[home, found] : person.homes)
            homes.insert(platform::displayPath(home), found);
        // The shortest path is that of the home itself rather than of a backup.
        const auto first = std::ranges::min_element(person.homes, {}, [](const auto &home) {
            return std::pair(home.first.native().size(), home.first);
        });
        text += bytesOf(first->first);
        if (person.homes.size() > 1)
            text += " and " + counted(std::ssize(person.homes) - 1, "more place", "more places");
        entries.push_back({text,
                           {{QStringLiteral("name"), platform::displayPath(name)},
                            {QStringLiteral("found"), person.found},
                            {QStringLiteral("copied"), person.copied},
                            {QStringLiteral("homes"), homes}}});
    }
    report.list(QLatin1StringView("home"),
                entries.size() > 1 ? "Whose they are (prattlebug setup HOME takes those of one of them):"
                                   : "Whose they are:",
                entries);
}

/// Each path once, with the first reason.
std::vector<importing::NotedPath> ImportReport::unread() const
{
    std::map<std::filesystem::path, std::string> all;
    const auto add = [&](const std::vector<importing::NotedPath> &paths) {
        for (const importing::NotedPath &noted : paths)
            all.try_emplace(noted.path, noted.note);
    };
    add(findings.unread);
    add(plan.unread);
    add(plan.unreadOwn);
    if (outcome)
        add(outcome->failed);
    std::vector<importing::NotedPath> unread;
    for (const auto &[path, note] : all)
        unread.push_back({path, note});
    return unread;
}

bool ImportReport::tellUnread(SetupReport &report) const
{
    for (const SetupReport::Entry &entry : entriesOf(unread()))
        report.error("Could not be read: " + entry.text);
    return unread().empty();
}

} // namespace companion
