#include "index/search.h"

#include "index/grams.h"
#include "index/tables.h"

#include <QHash>
#include <QStringList>

#include <algorithm>

namespace indexing {

namespace {

using platform::Statement;

/// Below this number of blocks, looking at all of them is quicker than asking the table of texts.
constexpr qint64 fewBlocks = 256;

/// The query for the documents that may hold all words.
QString queryFor(const std::vector<QString> &words)
{
    QStringList queries;
    for (const QString &word : words)
        queries += indexing::candidateQuery(QStringView(word));
    return queries.join(QStringLiteral(" AND "));
}

/// @p elements in their order, or from the last to the first.
template <class Element, class Take>
bool inOrder(const std::vector<Element> &elements, ChatIndex::Order order, Take take)
{
    if (order == ChatIndex::Order::OldestFirst)
        return std::all_of(elements.begin(), elements.end(), take);
    return std::all_of(elements.rbegin(), elements.rend(), take);
}

} // namespace

Search::Search(ChatIndex &index, const Question &question)
    : m_index(index), m_question(question),
      m_blockData(*index.m_database, "SELECT data FROM block WHERE id = ?")
{
    const auto whoIs = [&](const QString &given) {
        std::vector<bool> result;
        for (const KnownPerson &person : m_index.m_people)
            result.push_back(given.isEmpty() ||
                             isCalled(given, person.displayName, person.person.screenName));
        return result;
    };
    m_isSpeaker = whoIs(question.from);
    m_isWith = whoIs(question.with);
    for (const Chat &chat : m_index.m_chats)
        m_mayHold.push_back(mayHold(chat));
    lookForPeople();
}

/// By what a list knows of it; the people aside.
bool Search::mayHold(const Chat &chat) const
{
    const Contents &has = m_question.has;
    if ((has.link && chat.links == 0) || (has.file && chat.files == 0) || (has.picture && chat.pictures == 0))
        return false;
    if (m_question.since && (!chat.last || *chat.last < m_question.since->earliest()))
        return false;
    return !m_question.until || (chat.first && *chat.first <= m_question.until->latest());
}

/// Leaves out the chats without the people that the question asks for.
void Search::lookForPeople()
{
    if (m_question.from.isEmpty() && m_question.with.isEmpty())
        return;
    const std::vector<Chat> &chats = m_index.m_chats;
    std::vector<size_t> positions; // of chats, by their ids
    for (size_t chat = 0; chat < chats.size(); ++chat) {
        positions.resize(std::max(positions.size(), size_t(chats[chat].id) + 1), chats.size());
        positions[size_t(chats[chat].id)] = chat;
    }
    std::vector<bool> hasSpeaker(chats.size(), m_question.from.isEmpty());
    std::vector<bool> isWith(chats.size(), m_question.with.isEmpty());
    Statement rows(*m_index.m_database, "SELECT chat FROM speaker WHERE person = ?");
    for (size_t person = 0; person < m_index.m_positions.size(); ++person) {
        const quint32 position = m_index.m_positions[person];
        if ((m_question.from.isEmpty() || !m_isSpeaker[position]) &&
            (m_question.with.isEmpty() || !m_isWith[position]))
            continue;
        rows.bind(qint64(person));
        while (rows.step()) {
            const auto id = size_t(rows.integer(0));
            const size_t chat = id < positions.size() ? positions[id] : chats.size();
            if (chat == chats.size())
                continue;
            hasSpeaker[chat] = hasSpeaker[chat] || m_isSpeaker[position];
            isWith[chat] = isWith[chat] || m_isWith[position];
        }
    }
    QHash<QString, bool> isOtherParty;
    for (size_t chat = 0; chat < chats.size(); ++chat) {
        const Chat &known = chats[chat];
        if (!isWith[chat]) {
            auto otherParty = isOtherParty.constFind(known.otherParty);
            if (otherParty == isOtherParty.cend())
                otherParty = isOtherParty.insert(known.otherParty,
                                                 isCalled(m_question.with, known.otherParty, std::nullopt));
            isWith[chat] = *otherParty || std::any_of(known.participants.begin(), known.participants.end(),
                                                      [this](quint32 person) { return m_isWith[person]; });
        }
        m_mayHold[chat] = m_mayHold[chat] && hasSpeaker[chat] && isWith[chat];
    }
}

void Search::candidates(ChatIndex::Order order, const std::function<bool(size_t, const Blocks &)> &take)
{
    std::vector<size_t> looked; // the chats to be looked at whole
    qint64 listedBlocks = 0;
    const bool hasTable = m_index.m_file && !m_question.words.empty();
    for (size_t chat = 0; chat < m_mayHold.size(); ++chat) {
        const bool isListed = m_index.m_places[chat].firstDocument != 0;
        if (m_mayHold[chat])
            listedBlocks += isListed ? m_index.m_places[chat].blocks : 0;
        if (m_mayHold[chat] && !(hasTable && isListed))
            looked.push_back(chat);
    }
    const auto takeWhole = [&](size_t chat) { return take(chat, {}); };
    if (!hasTable || listedBlocks < fewBlocks) {
        looked.clear();
        for (size_t chat = 0; chat < m_mayHold.size(); ++chat) {
            if (m_mayHold[chat])
                looked.push_back(chat);
        }
        inOrder(looked, order, takeWhole);
        return;
    }

    const bool rises = order == ChatIndex::Order::OldestFirst;
    if (!rises)
        std::reverse(looked.begin(), looked.end());
    auto next = looked.begin();
    const auto takeUpTo = [&](std::optional<size_t> chat) {
        while (next != looked.end() && (!chat || (rises ? *next < *chat : *next > *chat))) {
            if (!takeWhole(*next++))
                return false;
        }
        return true;
    };

    // Listed chats follow each other in the order of their documents.
    std::vector<std::pair<qint64, size_t>> firstDocuments;
    for (size_t chat = 0; chat < m_index.m_places.size(); ++chat) {
        if (m_index.m_places[chat].firstDocument != 0)
            firstDocuments.emplace_back(m_index.m_places[chat].firstDocument, chat);
    }
    Statement documents(*m_index.m_database,
                        std::string("SELECT rowid FROM text WHERE text MATCH ? ORDER BY rowid ") +
                            (rises ? "ASC" : "DESC"));
    documents.bind(QStringView(queryFor(m_question.words)));
    std::optional<size_t> chatAtHand;
    Blocks blocks;
    const auto takeChatAtHand = [&] {
        if (!chatAtHand)
            return true;
        if (!rises)
            std::reverse(blocks.begin(), blocks.end());
        const bool goesOn = !m_mayHold[*chatAtHand] || (takeUpTo(*chatAtHand) && take(*chatAtHand, blocks));
        blocks.clear();
        return goesOn;
    };
    while (documents.step()) {
        const qint64 document = documents.integer(0);
        auto place = std::upper_bound(firstDocuments.begin(), firstDocuments.end(),
                                      std::pair(document, std::numeric_limits<size_t>::max()));
        if (place == firstDocuments.begin())
            continue;
        --place;
        if (chatAtHand != place->second) {
            if (!takeChatAtHand())
                return;
            chatAtHand = place->second;
        }
        blocks.push_back(document - place->first);
    }
    if (takeChatAtHand())
        takeUpTo(std::nullopt);
}

Block Search::block(qint64 chat, qint64 position)
{
    Block result;
    if (m_blockData.bind(blockId(chat, position)).step())
        result = blockFrom(m_blockData.bytes(0));
    m_blockData.reset();
    return result;
}

/// All but the words.
bool Search::holds(const StoredMessage &message) const
{
    return message.person < m_index.m_positions.size() && m_isSpeaker[m_index.m_positions[message.person]] &&
           hasContents(message.contents, m_question) && isInPeriod(message.milliseconds, m_question);
}

bool Search::matchesIn(size_t chat, const Blocks &blocks, ChatIndex::Order order,
                       const std::function<bool(const Match &)> &take)
{
    const Chat &known = m_index.m_chats[chat];
    const ChatIndex::Place &place = m_index.m_places[chat];
    const auto takeMessage = [&](const StoredMessage &message, const StoredMessage &withText) {
        return take({&known, message.place, message.milliseconds, m_index.m_positions[message.person],
                     message.contents, withText.text, withText.fileNames});
    };

    if (place.hasRepeats) { // each text is looked at once, however many messages have it
        QHash<quint32, StoredMessage> found;
        std::vector<StoredMessage> messages;
        for (qint64 position = 0; position < place.blocks; ++position) {
            for (StoredMessage &message : block(known.id, position)) {
                if (!message.textOfPlace && hasWords(message.text, m_question))
                    found.insert(message.place, message);
                if (holds(message) && found.contains(message.textOfPlace.value_or(message.place)))
                    messages.push_back(std::move(message));
            }
        }
        return inOrder(messages, order, [&](const StoredMessage &message) {
            return takeMessage(message, found.value(message.textOfPlace.value_or(message.place)));
        });
    }

    const auto takeBlock = [&](qint64 position) {
        return inOrder(block(known.id, position), order, [&](const StoredMessage &message) {
            return !holds(message) || !hasWords(message.text, m_question) || takeMessage(message, message);
        });
    };
    if (!blocks.empty())
        return inOrder(blocks, order, takeBlock);
    Blocks all;
    for (qint64 position = 0; position < place.blocks; ++position)
        all.push_back(position);
    return inOrder(all, order, takeBlock);
}

void Search::run(ChatIndex::Order order, const std::function<bool(const Match &)> &take)
{
    candidates(order,
               [&](size_t chat, const Blocks &blocks) { return matchesIn(chat, blocks, order, take); });
}

void Search::messages(const Chat &chat, const std::function<bool(const Match &)> &take)
{
    const auto known = std::find_if(m_index.m_chats.begin(), m_index.m_chats.end(),
                                    [&chat](const Chat &other) { return other.id == chat.id; });
    if (known != m_index.m_chats.end())
        matchesIn(size_t(known - m_index.m_chats.begin()), {}, ChatIndex::Order::OldestFirst, take);
}

void Search::chats(ChatIndex::Order order, const std::function<bool(const Chat &)> &take)
{
    const bool isAboutMessages = !m_question.words.empty() || !m_question.from.isEmpty() ||
                                 m_question.since || m_question.until || m_question.has != Contents();
    candidates(order, [&](size_t chat, const Blocks &blocks) {
        bool isFound = !isAboutMessages;
        if (isAboutMessages)
            matchesIn(chat, blocks, order, [&](const Match &) {
                isFound = true;
                return false;
            });
        return !isFound || take(m_index.m_chats[chat]);
    });
}

} // namespace indexing
