#include "VORAChatLog.h"

#include "VORAHostFlags.h"

#include "platform/addressbook/addressbook.h"
#include "platform/log/nslog.h"
#include "platform/scripting/nsapplescript.h"

#include <algorithm>
#include <unordered_map>

namespace {

constexpr QStringView documentCountScript = u"tell application \"iChat\" to get the number of documents";

/// Whether iChat has a window for the chat with %1: yes or no.
constexpr QStringView openWindowScript =
    u"tell application \"iChat\"\n copy documents to foo\n\trepeat with i from 1 to number of items in foo\n"
    u" if name of item i of foo is \"Chatting with %1 et al.\""
    u" or name of item i of foo is \"Instant Messages with %1\""
    u" or name of item i of foo is \"Chatting with %1\""
    u" or name of item i of foo is \"Chat with %1\" then \n"
    u" return yes\nend if\nend repeat\nreturn no\nend tell";

/// Counts the words of messages, those of each text once: a small file can name one large text many times.
class WordCounter {
public:
    explicit WordCounter(std::span<const WordSet *const> sets) : m_sets(sets) {}

    /// One count for each set.
    const std::vector<qint64> &counts(const VORAInstantMessage &message)
    {
        const auto [entry, isNew] = m_counted.try_emplace(message.string()->string().constData());
        if (isNew) {
            entry->second.resize(m_sets.size());
            message.countWords(m_sets, entry->second);
        }
        return entry->second;
    }

private:
    std::span<const WordSet *const> m_sets;
    std::unordered_map<const QChar *, std::vector<qint64>> m_counted; // by the text, which copies share
};

/// Tells the sides by the senders' names, each sender's looked up once: it may be very long, and a small file
/// can name one sender in very many messages.
class SideFinder {
public:
    using Side = qint64 VORAChatLog::WordCounts::*;

    explicit SideFinder(const QString &otherParty) : m_otherParty(otherParty) {}

    /// Null for a sender without a name.
    [[nodiscard]] Side of(const VORAPresentity &sender)
    {
        const auto [entry, isNew] = m_sides.try_emplace(&sender, nullptr);
        if (!isNew)
            return entry->second;
        m_namesLength += sender.rawName() ? sender.rawName()->size() : 0;
        if (const std::optional<QString> name = sender.Name())
            entry->second = *name == m_otherParty ? &VORAChatLog::WordCounts::byOtherParty
                                                  : &VORAChatLog::WordCounts::byUsersSide;
        return entry->second;
    }
    /// In UTF-16 units, of all senders so far.
    [[nodiscard]] qsizetype namesLength() const { return m_namesLength; }

private:
    const QString &m_otherParty;
    std::unordered_map<const VORAPresentity *, Side> m_sides;
    qsizetype m_namesLength = 0;
};

} // namespace

qint64 VORAChatLog::NumberOfSpeakers() const
{
    return m_participantCount + 1;
}

bool VORAChatLog::NameInSpeakerList(const QString &name) const
{
    return std::any_of(m_participants.begin(), m_participants.end(),
                       [&name](const auto &participant) { return participant->rawName() == name; });
}

std::vector<VORAChatLog::WordCounts> VORAChatLog::countWords(std::span<const WordSet *const> inSets) const
{
    const platform::ABAddressBook::Reading reading;
    std::vector<WordCounts> totals(inSets.size());
    WordCounter counter(inSets);
    SideFinder sides(m_primaryOtherParty);
    for (const auto &message : m_messages) {
        if (message->isStatusMessage())
            continue; // it has no words, and its name need not be looked up
        const auto side = sides.of(*message->sender());
        if (sides.namesLength() > largestGathering) {
            platform::NSLog(QStringLiteral("The chat with %1 is too large for its words to be counted.")
                                .arg(m_primaryOtherParty));
            return std::vector<WordCounts>(inSets.size());
        }
        if (!side)
            continue;
        const std::vector<qint64> &counts = counter.counts(*message);
        for (size_t i = 0; i < totals.size(); ++i)
            totals[i].*side += counts[i];
    }
    return totals;
}

qint64 VORAChatLog::CountWordsForUserInSet(const WordSet *set) const
{
    return countWords({&set, 1}).front().byUsersSide;
}

qint64 VORAChatLog::CountWordsForOthersInSet(const WordSet *set) const
{
    return countWords({&set, 1}).front().byOtherParty;
}

bool VORAChatLog::isLikelyEndOfChat() const
{
    if (!VORAHostFlags::iChatRunning)
        return true;
    if (NumberOfSpeakers() > 2) {
        platform::NSLog(u"multiparty chat, checking documents");
        const auto reply =
            platform::NSAppleScript::initWithSource(documentCountScript.toString()).executeAndReturnError();
        bool isNumber = false;
        const int documents = reply ? reply->toInt(&isNumber) : 0;
        return isNumber && documents == 0;
    }
    QString name = m_primaryOtherParty;
    name.replace(u'"', QStringLiteral("\\\""));
    const auto reply = platform::NSAppleScript::initWithSource(openWindowScript.toString().arg(name))
                           .executeAndReturnError();
    return reply && reply->startsWith(u'n');
}
