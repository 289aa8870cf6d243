#include "companion/chatindexuse.h"
#include "companion/commands.h"
#include "companion/console.h"
#include "companion/filters.h"
#include "companion/jsonlines.h"
#include "companion/terminal.h"

#include "platform/date/calendar.h"
#include "platform/text/encoding.h"

#include <CLI/Validators.hpp>

#include <QJsonArray>

#include <limits>
#include <memory>

namespace companion {

namespace {

using indexing::Chat;
using indexing::ChatIndex;

struct Options {
    Filters filters;
    qint64 limit = 0; ///< 0: all
    bool newestFirst = false;
    bool json = false;
};

/// "50 s", "12 min", "1 h 05 min".
QString lengthOf(const Chat &chat)
{
    if (!chat.first || !chat.last)
        return {};
    constexpr qint64 millisecondsASecond = 1000;
    constexpr qint64 sixty = 60;
    const qint64 seconds = (*chat.last - *chat.first) / millisecondsASecond;
    if (seconds < sixty)
        return QString::number(seconds) + QStringLiteral(" s");
    const qint64 minutes = seconds / sixty;
    if (minutes < sixty)
        return QString::number(minutes) + QStringLiteral(" min");
    return QStringLiteral("%1 h %2 min").arg(minutes / sixty).arg(minutes % sixty, 2, 10, QLatin1Char('0'));
}

void printChat(const Chat &chat, const OutputStyle &style)
{
    constexpr int nameWidth = 20;
    constexpr int numberWidth = 6;
    constexpr int lengthWidth = 10;
    const QString date = chat.first
                             ? platform::descriptionWithCalendarFormat(dateOf(*chat.first), u"%Y-%m-%d %H:%M")
                             : QStringLiteral("no date         ");
    const QString name = style.onOneLine(chat.otherParty);
    const QString before = date + QStringLiteral("  ") + style.bold(paddedTo(name, nameWidth)) + u' ' +
                           QString::number(chat.messages).rightJustified(numberWidth) +
                           QStringLiteral(" messages ") + lengthOf(chat).rightJustified(lengthWidth) +
                           QStringLiteral("  ");
    QString beginning = style.onOneLine(chat.beginning);
    if (style.isTerminal()) {
        const qsizetype used = date.size() + 2 + std::max<qsizetype>(nameWidth, cellsOf(name)) + 1 +
                               numberWidth + 10 + lengthWidth + 2;
        beginning = cutTo(beginning, std::max<qsizetype>(style.width() - used, 0));
    }
    OutputStyle::printLine(before + beginning);
}

void printJson(const ChatIndex &index, const Chat &chat)
{
    QJsonArray participants;
    for (const quint32 participant : chat.participants)
        participants.append(QJsonObject{
            {QStringLiteral("name"), index.people()[participant].displayName},
            {QStringLiteral("screenName"), jsonText(index.people()[participant].person.screenName)},
            {QStringLiteral("service"), jsonText(index.people()[participant].person.service)}});
    printJsonLine({{QStringLiteral("path"), platform::displayPath(chat.path)},
                   {QStringLiteral("otherParty"), chat.otherParty},
                   {QStringLiteral("participants"), participants},
                   {QStringLiteral("first"), jsonTime(chat.first)},
                   {QStringLiteral("last"), jsonTime(chat.last)},
                   {QStringLiteral("messages"), chat.messages},
                   {QStringLiteral("words"), chat.words},
                   {QStringLiteral("links"), chat.links},
                   {QStringLiteral("files"), chat.files},
                   {QStringLiteral("pictures"), chat.pictures},
                   {QStringLiteral("beginning"), chat.beginning}});
}

int list(const Options &options)
{
    const indexing::Question question = options.filters.question();
    const auto index = upToDateIndex(&question);
    if (!index)
        return exitFailed;
    const OutputStyle style;
    qint64 found = 0;
    const auto failure = index->findChats(
        question, options.newestFirst ? ChatIndex::Order::NewestFirst : ChatIndex::Order::OldestFirst,
        [&](const Chat &chat) {
            ++found;
            if (options.json)
                printJson(*index, chat);
            else
                printChat(chat, style);
            return found != options.limit;
        });
    if (failure)
        printError(QByteArrayView("The list is not complete: " + QByteArray::fromStdString(*failure)));
    return found > 0 && !failure && index->unreadFolders().empty() ? exitDone : exitFailed;
}

} // namespace

void addListCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = commands.add_subcommand("list", "List the chats of the transcript folder by date");
    options->filters.addTo(*command);
    command->add_option("--limit", options->limit, "Stop after this many chats")
        ->type_name("N")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()));
    command->add_flag("--newest", options->newestFirst, "Start with the newest chats");
    command->add_flag("--json", options->json,
                      "Print one JSON object per chat and line, with the chat's path");
    command->footer("Example: prattlebug list --newest --limit 20\n"
                    "         prattlebug list ferry --with kim --since 2005\n"
                    "A chat is listed if any of its messages matches.\n"
                    "Exit code: 1 when no chat matches, or there is no transcript folder.");
    command->callback([options, &action] { action = [options] { return list(*options); }; });
}

} // namespace companion
