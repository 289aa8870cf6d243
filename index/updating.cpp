#include "index/updating.h"

#include "index/blocks.h"
#include "index/chatrecord.h"
#include "index/tables.h"
#include "index/workerprocesses.h"

#include "platform/files/directorywalk.h"
#include "platform/foundation/valuestream.h"
#include "platform/text/encoding.h"

#include <QDataStream>
#include <QIODevice>

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace indexing {

using platform::Statement;
using platform::Transaction;
using Clock = std::chrono::steady_clock;

/// What a worker has found out about a transcript.
struct Answer {
    bool isReadable = false;
    QByteArray reason; ///< why it, or messages in it, cannot be read; empty when all can
    QByteArray record; ///< empty when the chat is not kept
};

static constexpr auto membersOf(const Answer * /*unused*/)
{
    return std::tuple(&Answer::isReadable, &Answer::reason, &Answer::record);
}

namespace {

constexpr auto longestStep = std::chrono::seconds(3);
constexpr qsizetype longestBeginning = 100; // UTF-16 units

bool isTakenByItsName(const std::filesystem::path &path)
{
    const std::string name = path.filename().native();
    return (name.ends_with(".chat") || name.ends_with(".ichat")) && name.find(" on ") != std::string::npos;
}

/// What a worker answers, in bytes.
QByteArray answerFor(const std::filesystem::path &path, const std::function<bool(const ChatRecord &)> &keeps)
{
    const VORAChatLog::Loading loading = VORAChatLog::load(path);
    Answer answer;
    if (loading) {
        const ChatRecord record = recordOf(**loading);
        answer.isReadable = true;
        if (!keeps || keeps(record))
            answer.record = serialized(record);
        answer.reason = platform::utf8FromString((*loading)->unreadableMessagesNote());
    } else if (loading.error().kind != platform::FailureKind::WrongName) {
        answer.reason = QByteArray::fromStdString(loading.error().reason);
    }
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    platform::writeValue(stream, answer);
    return bytes;
}

/// The first words of a chat on one line.
QString beginningOf(const ChatRecord &record)
{
    if (record.messages.empty())
        return {};
    const quint32 text = record.messages.front().text;
    QString line =
        readableText(record.texts.at(text).left(4 * longestBeginning), record.fileNames.value(text))
            .simplified();
    if (line.size() > longestBeginning) {
        line.truncate(longestBeginning - 1);
        if (line.back().isHighSurrogate())
            line.chop(1);
        line += u'…';
    }
    return line;
}

Answer answerFrom(const JobResult &result)
{
    Answer answer;
    if (result.bytes) {
        QDataStream stream(*result.bytes);
        platform::readValue(stream, answer);
    } else {
        answer.reason = QByteArray::fromStdString(result.failure);
    }
    return answer;
}

/// How much somebody has written in one chat, and when.
struct Share {
    qint64 messages = 0;
    std::optional<qint64> first;
    std::optional<qint64> last;

    void add(const std::optional<qint64> &milliseconds)
    {
        ++messages;
        if (!milliseconds)
            return;
        first = std::min(first.value_or(*milliseconds), *milliseconds);
        last = std::max(last.value_or(*milliseconds), *milliseconds);
    }
};

} // namespace

Updating::Updating(platform::Database &database, std::filesystem::path folder, bool withTexts,
                   std::function<bool(const ChatRecord &)> keeps)
    : m_database(database), m_folder(std::move(folder)), m_withTexts(withTexts), m_keeps(std::move(keeps))
{
}

void Updating::forgetAll()
{
    Transaction transaction(m_database);
    m_database.run("DELETE FROM transcript; DELETE FROM chat; DELETE FROM person; DELETE FROM speaker; "
                   "DELETE FROM block");
    if (m_withTexts)
        m_database.run("INSERT INTO text(text) VALUES('delete-all')");
    transaction.keep();
}

std::vector<std::string> Updating::run(const std::function<bool(size_t, size_t)> &progress)
{
    m_progress = progress;
    Changes found;
    size_t next = 0; // of those to be read
    std::optional<qint64> version;
    for (bool isMore = true; isMore;) {
        Transaction transaction(m_database);
        if (version != versionByOthers()) {
            version = versionByOthers();
            m_people.clear();
            found = changes();
            next = 0;
            for (const qint64 id : found.gone)
                forget(id);
            m_total = m_done + found.toRead.size() * (m_withTexts ? 2 : 1); // each is read, then listed
        }
        if (!found.gone.empty() || next < found.toRead.size()) {
            found.gone.clear();
            read(found.toRead, next);
            sumUpPeople();
        }
        isMore = next < found.toRead.size() || (m_withTexts && listTexts());
        transaction.keep();
        isMore = isMore && !m_isStopped;
    }
    return m_unreadFolders;
}

qint64 Updating::versionByOthers()
{
    Statement row(m_database, "PRAGMA data_version");
    row.step();
    return row.integer(0);
}

void Updating::sumUpPeople()
{
    m_database.run("UPDATE person SET chats = 0, messages = 0, first = NULL, last = NULL;"
                   "UPDATE person SET chats = sums.chats, messages = sums.messages, first = sums.first, "
                   "last = sums.last FROM (SELECT person, count(*) AS chats, sum(messages) AS messages, "
                   "min(first) AS first, max(last) AS last FROM speaker GROUP BY person) AS sums "
                   "WHERE sums.person = person.id");
}

Updating::Changes Updating::changes()
{
    std::vector<Transcript> there;
    platform::DirectoryWalk walk(m_folder);
    while (auto entry = walk.next()) {
        if (isTakenByItsName(*entry))
            there.push_back({std::move(*entry), walk.identity().value_or(platform::FileIdentity())});
    }
    m_unreadFolders.clear();
    for (const auto &unread : walk.unreadFolders())
        m_unreadFolders.push_back((m_folder / unread.folder).native() + ": " + unread.reason);
    const auto isInUnreadFolder = [&walk](std::string_view path) {
        return std::any_of(walk.unreadFolders().begin(), walk.unreadFolders().end(), [&](const auto &unread) {
            return unread.folder.empty() || path.starts_with(unread.folder.native() + '/');
        });
    };

    std::unordered_map<std::string_view, size_t> positions;
    positions.reserve(there.size());
    std::vector<bool> isKnown(there.size());
    for (size_t position = 0; position < there.size(); ++position) // some file systems list a name twice
        isKnown[position] = !positions.emplace(there[position].path.native(), position).second;
    Changes result;
    Statement rows(m_database, "SELECT id, path, device, inode, size, seconds, nanoseconds FROM transcript");
    while (rows.step()) {
        const QByteArrayView path = rows.bytesView(1);
        const auto found = positions.find(std::string_view(path.data(), size_t(path.size())));
        const platform::FileIdentity identity{quint64(rows.integer(2)), quint64(rows.integer(3)),
                                              rows.integer(4), rows.integer(5), long(rows.integer(6))};
        if (found != positions.end() && there[found->second].identity == identity)
            isKnown[found->second] = true;
        else if (found != positions.end() || !isInUnreadFolder({path.data(), size_t(path.size())}))
            result.gone.push_back(rows.integer(0));
    }
    for (size_t position = 0; position < there.size(); ++position) {
        if (!isKnown[position])
            result.toRead.push_back(std::move(there[position]));
    }
    // Roughly in the order of their dates, so that the first ones to be listed are of one time.
    std::sort(result.toRead.begin(), result.toRead.end(), [](const Transcript &a, const Transcript &b) {
        return std::pair<qint64, std::string_view>(a.identity.seconds, a.path.native()) <
               std::pair<qint64, std::string_view>(b.identity.seconds, b.path.native());
    });
    return result;
}

void Updating::forget(qint64 id)
{
    Statement place(m_database, "SELECT blocks, firstDocument FROM chat WHERE id = ?");
    place.bind(id);
    if (place.step()) {
        const qint64 blocks = place.integer(0);
        const qint64 firstDocument = place.integer(1);
        place.reset();
        if (firstDocument != 0) {
            Statement data(m_database, "SELECT data FROM block WHERE id = ?");
            Statement remove(m_database, "INSERT INTO text(text, rowid, folded) VALUES('delete', ?, ?)");
            for (qint64 block = 0; block < blocks; ++block) {
                if (data.bind(blockId(id, block)).step())
                    remove.bind(firstDocument + block)
                        .bind(QStringView(foldedTexts(blockFrom(data.bytes(0)))))
                        .run();
                data.reset();
            }
        }
        Statement(m_database, "DELETE FROM block WHERE id BETWEEN ? AND ?")
            .bind(blockId(id, 0))
            .bind(blockId(id + 1, 0) - 1)
            .run();
        Statement(m_database, "DELETE FROM speaker WHERE chat = ?").bind(id).run();
        Statement(m_database, "DELETE FROM chat WHERE id = ?").bind(id).run();
    }
    Statement(m_database, "DELETE FROM transcript WHERE id = ?").bind(id).run();
}

void Updating::countOne()
{
    ++m_done;
    m_isStopped = m_progress && !m_progress(m_done, m_total);
}

void Updating::read(const std::vector<Transcript> &transcripts, size_t &next)
{
    const auto start = Clock::now();
    const size_t first = next;
    runInWorkers(
        transcripts.size() - first,
        [&](size_t job) { return answerFor(m_folder / transcripts[first + job].path, m_keeps); },
        [&](size_t, const JobResult &result) {
            insert(transcripts[next++], answerFrom(result));
            countOne();
            return !m_isStopped && Clock::now() - start < longestStep;
        });
}

void Updating::insert(const Transcript &transcript, const Answer &answer)
{
    Statement row(m_database, "INSERT INTO transcript(path, device, inode, size, seconds, nanoseconds, "
                              "isReadable, reason, isTold) VALUES(?, ?, ?, ?, ?, ?, ?, ?, 0)");
    const platform::FileIdentity &identity = transcript.identity;
    row.bind(QByteArrayView(transcript.path.native()))
        .bind(qint64(identity.device))
        .bind(qint64(identity.inode))
        .bind(identity.size)
        .bind(identity.seconds)
        .bind(qint64(identity.nanoseconds))
        .bind(qint64(answer.isReadable ? 1 : 0));
    if (answer.reason.isEmpty())
        row.bindNull().run();
    else
        row.bind(QByteArrayView(answer.reason)).run();
    if (!answer.record.isEmpty())
        insertChat(m_database.lastInsertedRow(), chatRecordFrom(answer.record));
}

void Updating::insertChat(qint64 id, const ChatRecord &record)
{
    std::vector<quint32> people;
    for (const Person &person : record.people)
        people.push_back(idOf(person));
    QByteArray participants;
    QDataStream participantStream(&participants, QIODevice::WriteOnly);
    for (quint32 participant = 0; participant < record.participants; ++participant)
        participantStream << people[participant];

    const std::vector<Block> blocks = blocksOf(record, people);
    bool hasRepeats = false;
    Statement row(m_database, "INSERT INTO block(id, data) VALUES(?, ?)");
    for (size_t block = 0; block < blocks.size(); ++block) {
        row.bind(blockId(id, qint64(block))).bind(QByteArrayView(serialized(blocks[block]))).run();
        hasRepeats =
            hasRepeats || std::any_of(blocks[block].begin(), blocks[block].end(),
                                      [](const auto &message) { return message.textOfPlace.has_value(); });
    }

    std::map<quint32, Share> shares;
    Share whole;
    for (const ChatMessage &message : record.messages) {
        shares[people[message.person]].add(message.milliseconds);
        whole.add(message.milliseconds);
    }
    Statement speaker(m_database,
                      "INSERT INTO speaker(chat, person, messages, first, last) VALUES(?, ?, ?, ?, ?)");
    for (const auto &[person, share] : shares)
        speaker.bind(id).bind(qint64(person)).bind(share.messages).bind(share.first).bind(share.last).run();

    Statement(m_database,
              "INSERT INTO chat(id, otherParty, participants, first, last, messages, words, links, files, "
              "pictures, beginning, hasRepeats, blocks, firstDocument) "
              "VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, 0)")
        .bind(id)
        .bind(QStringView(record.otherParty))
        .bind(QByteArrayView(participants))
        .bind(whole.first)
        .bind(whole.last)
        .bind(whole.messages)
        .bind(record.words)
        .bind(record.links)
        .bind(record.files)
        .bind(record.pictures)
        .bind(QStringView(beginningOf(record)))
        .bind(qint64(hasRepeats ? 1 : 0))
        .bind(qint64(blocks.size()))
        .run();
}

quint32 Updating::idOf(const Person &person)
{
    // An absent service or identifier is one of its own: NUL stands in no archive's name for it.
    const auto key = [](const std::optional<QString> &text) {
        return text ? platform::utf8FromString(*text).toStdString() : std::string(1, '\0');
    };
    if (m_people.empty()) {
        Statement rows(m_database, "SELECT id, service, screenName FROM person");
        while (rows.step())
            m_people.emplace(std::pair(key(rows.optionalText(1)), key(rows.optionalText(2))),
                             quint32(rows.integer(0)));
    }
    auto &id = m_people[std::pair(key(person.service), key(person.screenName))];
    if (id == 0) {
        Statement row(m_database, "INSERT INTO person(service, screenName) VALUES(?, ?)");
        const auto bind = [&row](const std::optional<QString> &text) {
            if (text)
                row.bind(QStringView(*text));
            else
                row.bindNull();
        };
        bind(person.service);
        bind(person.screenName);
        row.run();
        id = quint32(m_database.lastInsertedRow());
    }
    return id;
}

std::vector<Updating::Unlisted> Updating::nextToList(qint64 &outOfOrder)
{
    outOfOrder = 0;
    Statement isAny(m_database, "SELECT 1 FROM chat WHERE firstDocument = 0 AND blocks > 0");
    if (!isAny.step())
        return {};
    // In the order of ChatIndex::chats(): by the first message, chats without a time last.
    Statement rows(m_database, "SELECT chat.id, blocks, firstDocument FROM chat JOIN transcript USING(id) "
                               "ORDER BY first IS NULL, first, path");
    std::vector<Unlisted> next;
    while (rows.step()) {
        if (rows.integer(1) == 0)
            continue; // nobody says anything in it
        if (rows.integer(2) == 0) {
            next.push_back({rows.integer(0), rows.integer(1)});
            continue;
        }
        for (const Unlisted &chat : next) // those found so far stand before one that is listed
            outOfOrder += chat.blocks;
        next.clear();
    }
    return next;
}

bool Updating::listTexts()
{
    constexpr qint64 mostOutOfOrder = 1500; // blocks, which take some 15 ms to be looked at for each question
    constexpr qint64 shareOutOfOrder = 32;  // or one of so many
    qint64 outOfOrder = 0;
    std::vector<Unlisted> next = nextToList(outOfOrder);
    if (next.empty() && outOfOrder == 0)
        return false;
    Statement counts(m_database,
                     "SELECT ifnull(sum(blocks), 0), ifnull(max(firstDocument + blocks), 1) FROM chat "
                     "WHERE firstDocument != 0");
    counts.step();
    if (outOfOrder > std::max(mostOutOfOrder, counts.integer(0) / shareOutOfOrder)) {
        m_database.run("INSERT INTO text(text) VALUES('delete-all'); UPDATE chat SET firstDocument = 0");
        next = nextToList(outOfOrder);
        counts.reset();
        counts.step();
    }
    qint64 document = std::max<qint64>(counts.integer(1), 1);
    counts.reset();

    const auto start = Clock::now();
    m_total = m_done + next.size();
    for (const Unlisted &chat : next) {
        if (m_isStopped || Clock::now() - start > longestStep)
            return true;
        listTexts(chat, document);
        document += chat.blocks;
        countOne();
    }
    return false;
}

void Updating::listTexts(const Unlisted &chat, qint64 firstDocument)
{
    if (chat.blocks == 0)
        return;
    Statement data(m_database, "SELECT data FROM block WHERE id BETWEEN ? AND ? ORDER BY id");
    data.bind(blockId(chat.id, 0)).bind(blockId(chat.id, chat.blocks) - 1);
    Statement add(m_database, "INSERT INTO text(rowid, folded) VALUES(?, ?)");
    for (qint64 document = firstDocument; data.step(); ++document)
        add.bind(document).bind(QStringView(foldedTexts(blockFrom(data.bytes(0))))).run();
    Statement(m_database, "UPDATE chat SET firstDocument = ? WHERE id = ?")
        .bind(firstDocument)
        .bind(chat.id)
        .run();
}

} // namespace indexing
