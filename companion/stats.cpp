#include "companion/cardfiles.h"
#include "companion/commands.h"
#include "companion/console.h"
#include "companion/jsonwriter.h"

#include "galleries/propertylistfile.h"
#include "galleries/statistics.h"
#include "galleries/supportfolder.h"

#include "platform/date/calendar.h"
#include "platform/files/files.h"

#include <array>
#include <memory>

namespace companion {

namespace {

struct Totals {
    galleries::StatisticsCounts counts;
    platform::NSDate start;
    std::optional<platform::NSDate> end; ///< of the chat that came last, which may be before the start
};

struct Row {
    QStringView title;
    qint32 galleries::StatisticsCounts::*yours;
    qint32 galleries::StatisticsCounts::*theirs;
};

constexpr std::array<Row, 3> rows{{
    {u"Words", &galleries::StatisticsCounts::usertextcount, &galleries::StatisticsCounts::othertextcount},
    {u"Curses", &galleries::StatisticsCounts::cursecount, &galleries::StatisticsCounts::othercursecount},
    {u"Net slang", &galleries::StatisticsCounts::netspeakcount,
     &galleries::StatisticsCounts::othernetspeakcount},
}};

void printTable(const Totals &totals)
{
    constexpr int titleWidth = 10;
    constexpr int width = 12;
    const auto cell = [](qint64 number) { return QString::number(number).rightJustified(width); };
    const auto heading = [](const char *text) { return QString::fromLatin1(text).rightJustified(width); };
    printLine(QString(titleWidth, u' ') + heading("you") + heading("the others") + heading("together"));
    for (const Row &row : rows) {
        const qint64 yours = totals.counts.*row.yours;
        const qint64 theirs = totals.counts.*row.theirs;
        printLine(row.title.toString().leftJustified(titleWidth) + cell(yours) + cell(theirs) +
                  cell(yours + theirs));
    }
    const auto alone = [&](const char *title, qint32 count) {
        printLine(QString::fromLatin1(title).leftJustified(titleWidth) + QString(2 * width, u' ') +
                  cell(count));
    };
    alone("Links", totals.counts.linkcount);
    alone("Files", totals.counts.imagecount);
    alone("Chats", totals.counts.chatcount);
    const auto date = [](const platform::NSDate &moment) {
        return platform::descriptionWithCalendarFormat(moment, u"%B %e, %Y");
    };
    printLine(
        QStringLiteral("Since ") + date(totals.start) +
        (totals.end ? QStringLiteral("; the chat that came last ended on ") + date(*totals.end) : QString()));
}

/// The keys are those of the store.
void printJson(const Totals &totals)
{
    JsonWriter json;
    const auto integer = [&](QStringView key, qint32 count) {
        json.key(key);
        json.integer(count);
    };
    json.beginObject();
    integer(u"usertextcount", totals.counts.usertextcount);
    integer(u"othertextcount", totals.counts.othertextcount);
    integer(u"cursecount", totals.counts.cursecount);
    integer(u"othercursecount", totals.counts.othercursecount);
    integer(u"netspeakcount", totals.counts.netspeakcount);
    integer(u"othernetspeakcount", totals.counts.othernetspeakcount);
    integer(u"imagecount", totals.counts.imagecount);
    integer(u"linkcount", totals.counts.linkcount);
    integer(u"chatcount", totals.counts.chatcount);
    json.key(u"startDate");
    json.string(platform::utcDescription(totals.start));
    json.key(u"endDate");
    if (totals.end)
        json.string(platform::utcDescription(*totals.end));
    else
        json.null();
    json.endObject();
    printLine(QByteArrayView(json.document()));
}

int stats(bool asJson)
{
    const std::filesystem::path path = galleries::statisticsStorePath();
    const QByteArray name = QByteArray::fromStdString(path.native());
    if (!platform::fileExists(path)) {
        printError(
            QByteArrayView("There are no statistics yet, no " + name + ": prattlebug archive keeps them."));
        return exitFailed;
    }
    const platform::PropertyList store = galleries::readPropertyListFile(path);
    if (store.kind() != platform::PropertyListKind::Dictionary) {
        printError(QByteArrayView(name + " holds no statistics."));
        return exitFailed;
    }
    const galleries::Statistics loaded = galleries::Statistics::load(path);
    const Totals totals{loaded.counts, loaded.startDate, galleries::storedDate(store[u"endDate"])};
    if (asJson)
        printJson(totals);
    else
        printTable(totals);
    const bool hasCards = platform::fileExists(cardFilePath(CardRole::Contacts));
    if (!asJson && !hasCards && verbosity() != Verbosity::Quiet)
        printError(QByteArrayView(adviceOnCards));
    return exitDone;
}

} // namespace

void addStatsCommand(CLI::App &commands, Action &action)
{
    const auto asJson = std::make_shared<bool>(false);
    CLI::App *command =
        commands.add_subcommand("stats", "Show how much was said and sent in all archived chats");
    command->add_flag("--json", *asJson,
                      "Print JSON, with the names that are used in the store, and dates in UTC");
    command->footer("Example: prattlebug stats --json\n"
                    "The words of everybody whose name differs from the one in the transcript's file name "
                    "count as yours.\n"
                    "Without cards, people are shown by their screen names: see prattlebug setup --help.\n"
                    "Exit code: 1 when there are no statistics.");
    command->callback([asJson, &action] { action = [asJson] { return stats(*asJson); }; });
}

} // namespace companion
