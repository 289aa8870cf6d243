#include "companion/commands.h"
#include "companion/console.h"

#include "archiver/PBArchiver.h"

#include "VORAChatLog.h"

#include "platform/addressbook/addressbook.h"
#include "platform/date/calendar.h"
#include "platform/files/directorywalk.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <QStringMatcher>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <unordered_map>

namespace companion {

namespace {

/// A date as a user gives it, from the year on and as exact as they like: a period of local time.
class Period {
public:
    /// Of "2005", "2005-03", "2005-03-01", "2005-03-01 21" or "2005-03-01 21:07"; nothing of anything else.
    [[nodiscard]] static std::optional<Period> fromText(QStringView text)
    {
        constexpr std::array<qsizetype, 5> lengths{4, 2, 2, 2, 2};
        constexpr std::array<char16_t, 4> between{u'-', u'-', u' ', u':'};
        constexpr std::array<std::pair<int, int>, 5> ranges{{{1, 9999}, {1, 12}, {1, 31}, {0, 23}, {0, 59}}};
        Period period;
        while (period.m_count < lengths.size()) {
            const size_t field = period.m_count;
            const QStringView digits = text.first(std::min(lengths.at(field), text.size()));
            const bool areDigits =
                std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
            const int value = digits.toInt();
            if (digits.size() < lengths.at(field) || !areDigits || value < ranges.at(field).first ||
                value > ranges.at(field).second)
                return std::nullopt;
            period.m_fields.at(period.m_count++) = value;
            text = text.sliced(digits.size());
            if (text.isEmpty())
                return period;
            if (field >= between.size() || text.front() != between.at(field))
                return std::nullopt;
            text = text.sliced(1);
        }
        return std::nullopt;
    }

    /// Less than 0 when @p date is before the period, 0 when in it, more when after it.
    [[nodiscard]] int place(const platform::CalendarDate &date) const
    {
        const std::array<int, 5> fields{date.year, date.month, date.day, date.hour, date.minute};
        for (size_t field = 0; field < m_count; ++field) {
            if (fields.at(field) != m_fields.at(field))
                return fields.at(field) < m_fields.at(field) ? -1 : 1;
        }
        return 0;
    }

private:
    std::array<int, 5> m_fields{};
    size_t m_count = 0;
};

/// Composed characters: both spellings of an accented letter are found by either.
QString composed(const QString &text)
{
    return text.normalized(QString::NormalizationForm_C);
}

struct Query {
    std::vector<QStringMatcher> words; ///< all of them
    QString from;                      ///< empty: anybody
    std::optional<Period> since;
    std::optional<Period> until;

    /// Where in @p text the first of the words stands; nothing unless all of them stand there.
    [[nodiscard]] std::optional<qsizetype> placeIn(const QString &text) const
    {
        qsizetype first = text.size();
        for (const QStringMatcher &word : words) {
            const qsizetype place = word.indexIn(text);
            if (place < 0)
                return std::nullopt;
            first = std::min(first, place);
        }
        return first;
    }

    [[nodiscard]] bool matchesSender(const VORAPresentity &sender) const
    {
        return from.isEmpty() ||
               composed(sender.Name().value_or(QString())).contains(from, Qt::CaseInsensitive) ||
               sender.rawName().value_or(QString()).compare(from, Qt::CaseInsensitive) == 0;
    }

    [[nodiscard]] bool matchesTime(const std::optional<platform::NSDate> &time) const
    {
        if (!since && !until)
            return true;
        if (!time)
            return false;
        const platform::CalendarDate date = platform::calendarDate(*time);
        return (!since || since->place(date) >= 0) && (!until || until->place(date) <= 0);
    }
};

QString onOneLine(QString text)
{
    std::replace_if(text.begin(), text.end(), [](QChar c) { return c.isSpace(); }, QChar(u' '));
    return text;
}

/// What a person reads of @p text: some of it from shortly before @p place on, or all of it.
QString excerpt(const QString &text, qsizetype place)
{
    constexpr qsizetype longest = 400;
    if (text.size() <= longest)
        return text;
    const auto boundary = [&text](qsizetype at) { // not within a surrogate pair
        return at > 0 && at < text.size() && text[at].isLowSurrogate() ? at - 1 : at;
    };
    const qsizetype start = place < longest / 2 ? 0 : boundary(place - longest / 4);
    const qsizetype end = boundary(std::min(start + longest, text.size()));
    const QString more(u'…');
    return (start > 0 ? more : QString()) + text.sliced(start, end - start) +
           (end < text.size() ? more : QString());
}

/// Looks through the messages of one chat. Each text and each sender is looked at once, however often the
/// chat names it.
class ChatSearch {
public:
    ChatSearch(const Query &query, QByteArray chatName) : m_query(query), m_name(std::move(chatName)) {}

    /// The line that shows @p message, if it matches.
    [[nodiscard]] std::optional<QByteArray> line(const VORAInstantMessage &message)
    {
        if (message.isStatusMessage() || !m_query.matchesTime(message.TimeStamp()))
            return std::nullopt;
        const std::optional<QByteArray> &sender = shownSender(*message.sender());
        const std::optional<QByteArray> &text = sender ? shownText(*message.string()) : sender;
        if (!text)
            return std::nullopt;
        const QString time =
            message.TimeStamp()
                ? platform::descriptionWithCalendarFormat(*message.TimeStamp(), u"%Y-%m-%d %H:%M")
                : QStringLiteral("(without a time)");
        return m_name + ": " + platform::utf8FromString(time) + ' ' + *sender + ": " + *text;
    }

private:
    /// What is shown of a part of a message; nothing where it does not match.
    using Shown = std::optional<QByteArray>;

    const Shown &shownSender(const VORAPresentity &sender)
    {
        const auto [found, isNew] = m_senders.try_emplace(&sender);
        if (isNew && m_query.matchesSender(sender))
            found->second = shown(sender.Name().value_or(QString()), 0);
        return found->second;
    }

    const Shown &shownText(const platform::NSAttributedString &text)
    {
        const auto [found, isNew] = m_texts.try_emplace(&text);
        if (isNew) {
            const QString normal = composed(text.string());
            if (const auto place = m_query.placeIn(normal))
                found->second = shown(m_isForTerminal ? normal : text.string(), *place);
        }
        return found->second;
    }

    [[nodiscard]] QByteArray shown(const QString &text, qsizetype place) const
    {
        return platform::utf8FromString(onOneLine(m_isForTerminal ? excerpt(text, place) : text));
    }

    const Query &m_query;
    QByteArray m_name;
    bool m_isForTerminal = outputIsTerminal();
    std::unordered_map<const VORAPresentity *, Shown> m_senders;
    std::unordered_map<const platform::NSAttributedString *, Shown> m_texts;
};

int search(const Query &query)
{
    const auto start = std::chrono::steady_clock::now();
    const std::filesystem::path folder = PBArchiver::transcriptFolder();
    if (!platform::fileExists(folder)) {
        printError(
            QByteArrayView("There is no transcript folder: " + QByteArray::fromStdString(folder.native()) +
                           "; prattlebug setup makes it."));
        return exitFailed;
    }
    std::vector<std::filesystem::path> entries;
    platform::DirectoryWalk walk(folder);
    while (auto entry = walk.next())
        entries.push_back(std::move(*entry));
    std::sort(entries.begin(), entries.end());

    const platform::ABAddressBook::Reading oneReading;
    qint64 chats = 0;
    qint64 bytes = 0;
    qint64 matches = 0;
    for (const std::filesystem::path &entry : entries) {
        const VORAChatLog::Loading loading = VORAChatLog::load(folder / entry);
        if (loading.outcome == VORAChatLog::Outcome::Unreadable && verbosity() != Verbosity::Quiet)
            printError(QByteArrayView(QByteArray::fromStdString(entry.native()) + ": " +
                                      platform::utf8FromString(loading.reason)));
        if (!loading.chatLog)
            continue;
        ++chats;
        if (const auto identity = platform::fileIdentity(folder / entry))
            bytes += identity->size;
        ChatSearch chat(query, QByteArray::fromStdString(entry.native()));
        for (const auto &message : loading.chatLog->messages()) {
            if (const auto line = chat.line(*message)) {
                ++matches;
                printLine(QByteArrayView(*line));
            }
        }
    }
    if (verbosity() == Verbosity::Verbose) {
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        constexpr double megabyte = 1e6;
        printError(QStringLiteral("%1 found in %2 chats, %3 MB, in %4 s")
                       .arg(matches)
                       .arg(chats)
                       .arg(double(bytes) / megabyte, 0, 'f', 1)
                       .arg(seconds.count(), 0, 'f', 2));
    }
    return matches > 0 ? exitDone : exitFailed;
}

struct Options {
    std::vector<std::string> words;
    std::string from;
    std::string since;
    std::string until;
};

/// What CLI11 is told of a wrong date; nothing when it is right.
std::string checkedPeriod(const std::string &text)
{
    return Period::fromText(platform::stringFromUtf8(text))
               ? std::string()
               : "\"" + text +
                     "\" is no date: it should look like 2005, 2005-03, 2005-03-01 or \"2005-03-01 21:07\"";
}

Query queryFrom(const Options &options)
{
    Query query;
    for (const std::string &word : options.words)
        query.words.emplace_back(composed(platform::stringFromUtf8(word)), Qt::CaseInsensitive);
    query.from = composed(platform::stringFromUtf8(options.from));
    query.since = Period::fromText(platform::stringFromUtf8(options.since));
    query.until = Period::fromText(platform::stringFromUtf8(options.until));
    return query;
}

} // namespace

void addSearchCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = commands.add_subcommand("search", "Find messages in the transcript folder");
    command
        ->add_option("WORDS", options->words,
                     "What a message must hold, all of it, in any letter case, also inside of words")
        ->required();
    command
        ->add_option("--from", options->from, "Only of this person: a part of the name, or the screen name")
        ->type_name("NAME");
    command
        ->add_option("--since", options->since,
                     "Only from this local date on: 2005, 2005-03, 2005-03-01 or "
                     "\"2005-03-01 21:07\"")
        ->type_name("DATE")
        ->check(checkedPeriod);
    command
        ->add_option("--until", options->until,
                     "Only up to this date, all of that day, month or year included")
        ->type_name("DATE")
        ->check(checkedPeriod);
    command->footer("Example: prattlebug search holiday photos --from kim --since 2005-03\n"
                    "Each message is one line: the transcript, the local time, who wrote it, and the text.\n"
                    "With --verbose the last line, on standard error, tells how much was searched.\n"
                    "Exit code: 1 when nothing is found, or there is no transcript folder.");
    command->callback(
        [options, &action] { action = [query = queryFrom(*options)] { return search(query); }; });
}

} // namespace companion
