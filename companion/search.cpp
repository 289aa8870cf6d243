#include "companion/chatindexuse.h"
#include "companion/commands.h"
#include "companion/console.h"
#include "companion/filters.h"
#include "companion/jsonlines.h"
#include "companion/localtime.h"
#include "companion/terminal.h"

#include "platform/text/encoding.h"

#include <CLI/Validators.hpp>

#include <algorithm>
#include <chrono>
#include <memory>

namespace companion {

namespace {

using indexing::Chat;
using indexing::ChatIndex;
using indexing::Match;
using indexing::Question;

struct Options {
    Filters filters;
    qint64 context = 0;
    qint64 limit = 0; ///< 0: all
    bool newestFirst = false;
    bool countOnly = false;
    bool json = false;
    bool withoutIndex = false;
};

/// What is printed of the answers, for people.
class Listing {
public:
    Listing(ChatIndex &index, const Question &question, const Options &options)
        : m_index(index), m_question(question), m_options(options)
    {
    }

    void add(const Match &match)
    {
        if (m_chat != match.chat->id) {
            finishChat();
            m_chat = match.chat->id;
            printHeading(*match.chat);
            m_day = dayOf(match.chat->first);
        }
        if (m_options.context > 0)
            m_found.push_back(match);
        else
            print(match, true);
    }

    /// To be called at the end: what stands around messages is known only when all of a chat's are.
    void finishChat()
    {
        if (m_found.empty())
            return;
        const std::vector<Match> messages = m_index.messages(*m_found.front().chat);
        const auto isFound = [this](quint32 place) {
            return std::any_of(m_found.begin(), m_found.end(),
                               [place](const Match &found) { return found.place == place; });
        };
        std::vector<bool> isShown(messages.size());
        std::vector<bool> isMatch(messages.size());
        for (size_t position = 0; position < messages.size(); ++position) {
            if (!(isMatch[position] = isFound(messages[position].place)))
                continue;
            const auto context = size_t(m_options.context);
            const size_t first = position - std::min(context, position);
            const size_t last = std::min(position + context, messages.size() - 1);
            std::fill(isShown.begin() + std::ptrdiff_t(first), isShown.begin() + std::ptrdiff_t(last) + 1,
                      true);
        }
        bool isGap = false;
        for (size_t position = 0; position < messages.size(); ++position) {
            if (isShown[position]) {
                if (isGap)
                    OutputStyle::printLine(m_style.dim(QStringLiteral("  …")));
                print(messages[position], isMatch[position]);
            }
            isGap = !isShown[position] && position > 0 && isShown[position - 1] ? true
                                                                                : isGap && !isShown[position];
        }
        m_found.clear();
    }

private:
    void printHeading(const Chat &chat)
    {
        if (m_hasHeading)
            printLine(u"");
        m_hasHeading = true;
        const QString heading = m_style.bold(m_style.onOneLine(chat.otherParty)) + QStringLiteral("  ") +
                                dayOf(chat.first) + QStringLiteral("  ");
        if (m_style.isTerminal())
            OutputStyle::printLine(heading +
                                   m_style.dim(m_style.onOneLine(platform::displayPath(chat.path))));
        else
            printLine(QByteArrayView(platform::utf8FromString(heading) +
                                     QByteArray::fromStdString(chat.path.native())));
    }

    void print(const Match &match, bool isMatch)
    {
        const QString day = dayOf(match.milliseconds);
        if (match.milliseconds && day != m_day)
            OutputStyle::printLine(m_style.dim(QStringLiteral("  ") + day));
        m_day = match.milliseconds ? day : m_day;
        const QString before =
            QStringLiteral("  ") + timeOfDay(match.milliseconds) +
            (m_options.context > 0 && isMatch ? QStringLiteral(" > ") : QStringLiteral("   ")) +
            m_style.onOneLine(m_index.people()[match.person].displayName) + QStringLiteral(": ");
        const QString text = before + shown(match, isMatch, m_style.width() - cellsOf(before));
        OutputStyle::printLine(isMatch ? text : m_style.dim(text));
    }

    /// The text of a message on one line: whole in a pipe, on a terminal what fits around the first word
    /// found, with the words marked.
    [[nodiscard]] QString shown(const Match &match, bool isMatch, qsizetype room) const
    {
        const QString readable = indexing::readableText(match.text, match.fileNames);
        QString text = m_style.onOneLine(readable);
        if (!m_style.isTerminal())
            return text;
        std::vector<indexing::FoldedText::Range> words;
        if (isMatch)
            words = indexing::wordsIn(readable, m_question).value_or(words);
        constexpr qsizetype leastRoom = 30;
        const auto [start, end] =
            stretchAround(text, words.empty() ? 0 : words.front().position, std::max(room, leastRoom));
        QString result = start > 0 ? QStringLiteral("…") : QString();
        qsizetype position = start;
        for (const auto &word : words) {
            const qsizetype from = std::clamp(word.position, position, end);
            const qsizetype to = std::clamp(word.position + word.length, position, end);
            if (to > from)
                result += text.mid(position, from - position) + m_style.marked(text.mid(from, to - from));
            position = std::max(position, to);
        }
        return result + text.mid(position, end - position) +
               (end < text.size() ? QStringLiteral("…") : QString());
    }

    ChatIndex &m_index;
    const Question &m_question;
    const Options &m_options;
    OutputStyle m_style;
    bool m_hasHeading = false;
    qint64 m_chat = 0;
    QString m_day;
    std::vector<Match> m_found; // in the chat at hand
};

void printJson(const ChatIndex &index, const Match &match)
{
    const indexing::KnownPerson &person = index.people()[match.person];
    printJsonLine({{QStringLiteral("path"), platform::displayPath(match.chat->path)},
                   {QStringLiteral("index"), qint64(match.place)},
                   {QStringLiteral("time"), jsonTime(match.milliseconds)},
                   {QStringLiteral("speaker"), person.displayName},
                   {QStringLiteral("screenName"), jsonText(person.person.screenName)},
                   {QStringLiteral("text"), match.text}});
}

int search(const Options &options)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    const Question question = options.filters.question();
    const auto index = upToDateIndex(&question, options.withoutIndex);
    if (!index)
        return exitFailed;
    const auto upToDate = Clock::now();
    Listing listing(*index, question, options);
    qint64 found = 0;
    const auto failure = index->find(
        question, options.newestFirst ? ChatIndex::Order::NewestFirst : ChatIndex::Order::OldestFirst,
        [&](const Match &match) {
            ++found;
            if (options.json)
                printJson(*index, match);
            else if (!options.countOnly)
                listing.add(match);
            return found != options.limit;
        });
    if (failure) {
        printError(
            QByteArrayView("The search could not be finished: " + QByteArray::fromStdString(*failure)));
        return exitFailed;
    }
    listing.finishChat();
    if (options.countOnly)
        printLine(QString::number(found));
    if (verbosity() == Verbosity::Verbose) {
        const std::chrono::duration<double> asking = Clock::now() - upToDate;
        const std::chrono::duration<double> updating = upToDate - start;
        printError(QStringLiteral("%1 found in %2 chats in %3 s, after %4 s to bring the index up to date")
                       .arg(found)
                       .arg(index->chats().size())
                       .arg(asking.count(), 0, 'f', 4)
                       .arg(updating.count(), 0, 'f', 3));
    }
    return found > 0 && index->unreadFolders().empty() ? exitDone : exitFailed;
}

} // namespace

void addSearchCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = commands.add_subcommand("search", "Find messages in the transcript folder");
    options->filters.addTo(*command);
    command->add_option("--context", options->context, "Also show this many messages before and after each")
        ->type_name("N")
        ->check(CLI::Range(0, 1000));
    command->add_option("--limit", options->limit, "Stop after this many messages")
        ->type_name("N")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()));
    command->add_flag("--newest", options->newestFirst, "Start with the newest chats and messages");
    CLI::Option *count =
        command->add_flag("--count", options->countOnly, "Only print how many messages there are");
    command->add_flag("--json", options->json, "One JSON object for each message, a line each")
        ->excludes(count);
    command->add_flag("--no-index", options->withoutIndex,
                      "Read all transcripts instead of asking the index");
    command->footer(
        "Example: prattlebug search ferry\n"
        "         prattlebug search \"see you\" --from kim --since 2005-03 --context 3\n"
        "         prattlebug search --with kim --since 2005 --until 2005 --has picture\n"
        "Without words, any other option is enough. Messages are grouped by chat; the path in the "
        "heading is one that \"prattlebug show\" takes. Times are local.\n"
        "Exit code: 1 when nothing is found, or there is no transcript folder.");
    command->callback([options, &action] {
        const bool isAnyGiven = options->context > 0 || options->limit > 0 || options->newestFirst ||
                                options->countOnly || options->json;
        if (options->filters.words.empty() && options->filters.question().isEmpty() && !isAnyGiven)
            throw CLI::ValidationError("search",
                                       "say what to search for: words, or a filter such as --with kim");
        action = [options] { return search(*options); };
    });
}

} // namespace companion
