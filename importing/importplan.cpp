#include "importing/importplan.h"

#include "importing/chatfacts.h"
#include "importing/copydate.h"

#include "platform/files/directorywalk.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <QHash>

#include <algorithm>
#include <deque>
#include <map>
#include <tuple>
#include <unordered_set>

namespace importing {

namespace {

/// A file of these bytes.
struct Member {
    std::filesystem::path path;
    std::filesystem::path home;
    std::filesystem::path place; ///< relative to the transcript folder: where it is, or would be
    Kind kind;
    timespec modified;
    platform::FileIdentity identity;
    bool isOwn;       ///< it lies in the transcript folder
    std::string name; ///< properName()
    bool isArchived;  ///< the archiver finds it there already
    bool isCopy;      ///< an import has made it
};

/// All files of the same bytes.
struct Chat {
    QByteArray digest;
    qint64 size = 0;
    Kind kind = Kind::Chat; ///< the one that the bytes are of, when files of both bear them
    ChatFacts facts;
    std::vector<Member> members;  ///< at least one; after sorting, the best first
    const Chat *longer = nullptr; ///< one that begins with all messages of this one

    /// The better a file tells where a copy belongs, the earlier it comes.
    void sortMembers()
    {
        const auto rank = [this](const Member &member) {
            return std::tuple(member.kind != kind, !member.isOwn, member.home.empty(),
                              !isArchivableName(member.name));
        };
        std::ranges::sort(members, [&](const Member &a, const Member &b) {
            return rank(a) != rank(b) ? rank(a) < rank(b) : a.path.native() < b.path.native();
        });
    }
    [[nodiscard]] const Member &best() const { return members.front(); }
    [[nodiscard]] bool isArchived() const { return std::ranges::any_of(members, &Member::isArchived); }
    /// The longest chat that begins with this one.
    [[nodiscard]] const Chat &longest() const { return longer ? longer->longest() : *this; }
    [[nodiscard]] CopyDate date() const
    {
        // Without a message that tells when the chat was over, its name tells when it began.
        const auto last = facts.lastMessage ? facts.lastMessage : dateInName(best().place.filename());
        std::vector<timespec> times;
        for (const Member &member : members) {
            // A copy that has got the last message's time tells nothing about the file's.
            if (!member.isCopy || !last || member.modified.tv_sec != last->tv_sec)
                times.push_back(member.modified);
        }
        return copyDate(times.empty() ? std::vector{members.front().modified} : times, last);
    }
};

/// A copy of ours, to be replaced.
struct Shorter {
    std::filesystem::path place;
    QByteArray digest;
};

std::string reasonOf(const Chat &chat)
{
    return platform::utf8FromString(chat.facts.reason).toStdString();
}

class Planner {
public:
    Planner(const std::filesystem::path &folder, const CopyLedger &ledger, Observer &observer)
        : m_folder(folder), m_ledger(ledger), m_observer(observer)
    {
    }

    ImportPlan plan(const std::vector<FoundTranscript> &transcripts)
    {
        findOwn();
        m_total = std::ssize(transcripts) + std::ssize(m_own);
        for (const FoundTranscript &own : m_own)
            read(own, true);
        for (const FoundTranscript &transcript : transcripts)
            read(transcript, false);
        m_plan.found += std::ssize(transcripts);
        for (Chat &chat : m_chats)
            chat.sortMembers();
        findLonger();
        for (const Chat &chat : m_chats)
            decide(chat);
        placeCopies();
        return std::move(m_plan);
    }

private:
    void findOwn();
    void read(const FoundTranscript &transcript, bool isOwn);
    Chat *chatOf(const FoundTranscript &transcript, const struct stat &status);
    void findLonger();
    void compare(std::vector<Chat *> &rivals);
    void decide(const Chat &chat);
    void redate(const Chat &chat);
    void placeCopies();
    [[nodiscard]] std::filesystem::path freePlace(const Chat &chat) const;

    const std::filesystem::path &m_folder;
    const CopyLedger &m_ledger;
    Observer &m_observer;
    std::vector<FoundTranscript> m_own;
    std::unordered_set<std::string> m_taken; ///< places in the transcript folder
    qsizetype m_read = 0;
    qsizetype m_total = 0;
    std::deque<Chat> m_chats; ///< each stays where it is
    QHash<QByteArray, Chat *> m_chatsByDigest;
    std::map<std::tuple<dev_t, ino_t>, Chat *>
        m_linked; ///< files with several names, which backups are full of
    std::vector<const Chat *> m_toCopy;
    std::map<const Chat *, Shorter> m_replaced; ///< whose places they take
    ImportPlan m_plan;
};

/// Lists what the transcript folder holds.
void Planner::findOwn()
{
    if (!platform::fileExists(m_folder))
        return;
    platform::DirectoryWalk walk(m_folder);
    while (const auto entry = walk.next()) {
        m_taken.insert(entry->native());
        const auto kind = transcriptKind(*entry);
        std::error_code error;
        if (kind && std::filesystem::is_regular_file(m_folder / *entry, error))
            m_own.push_back({m_folder / *entry, {}, *entry, *kind});
    }
    for (const auto &[folder, reason] : walk.unreadFolders())
        m_plan.unreadOwn.push_back({m_folder / folder, reason});
    std::ranges::sort(m_own, {}, &FoundTranscript::place);
}

void Planner::read(const FoundTranscript &transcript, bool isOwn)
{
    m_observer.throwIfStopped();
    struct stat status{};
    if (::stat(transcript.path.c_str(), &status) != 0) // it is gone
        status = {};
    if (Chat *chat = chatOf(transcript, status)) {
        chat->members.push_back({transcript.path, transcript.home, transcript.place, transcript.kind,
                                 status.st_mtim, platform::identityOf(status), isOwn,
                                 properName(transcript.place.filename()),
                                 isOwn && isArchivableName(transcript.place),
                                 isOwn && m_ledger.hasCopy(transcript.place, chat->digest)});
    }
    m_observer.progress(Stage::Reading, ++m_read, m_total);
}

/// The chat that a file holds; null when it cannot be read.
Chat *Planner::chatOf(const FoundTranscript &transcript, const struct stat &status)
{
    const std::tuple inode(status.st_dev, status.st_ino);
    if (status.st_nlink > 1) {
        if (const auto linked = m_linked.find(inode); linked != m_linked.end())
            return linked->second;
    }
    const auto file = platform::readWholeFile(transcript.path);
    if (!file) {
        const bool isOwn = transcript.path.native().starts_with(m_folder.native() + '/');
        (isOwn ? m_plan.unreadOwn : m_plan.unread).push_back({transcript.path, file.error().reason});
        return nullptr;
    }
    const QByteArray digest = digestOf(*file);
    Chat *&chat = m_chatsByDigest[digest];
    if (!chat) {
        chat = &m_chats.emplace_back();
        chat->digest = digest;
        chat->size = file->size();
        chat->kind = transcript.kind;
        chat->facts = factsOf(*file, chat->kind);
    } else if (chat->facts.condition == ChatFacts::Condition::Foreign && chat->kind != transcript.kind) {
        // The other one bears the wrong ending, perhaps.
        chat->kind = transcript.kind;
        chat->facts = factsOf(*file, chat->kind);
    }
    if (status.st_nlink > 1)
        m_linked[inode] = chat;
    return chat;
}

/// Finds the chats that are the beginnings of others. Only those that start alike are looked at again.
void Planner::findLonger()
{
    QHash<QByteArray, std::vector<Chat *>> starts;
    for (Chat &chat : m_chats) {
        if (!chat.facts.chat.isEmpty())
            starts[chat.facts.chat + (chat.kind == Kind::Chat ? 'c' : 'i')].push_back(&chat);
    }
    for (std::vector<Chat *> &rivals : starts) {
        if (rivals.size() > 1)
            compare(rivals);
    }
}

/// @param rivals chats of one start; are put in order, the shortest first.
void Planner::compare(std::vector<Chat *> &rivals)
{
    // Of chats with the same messages the first one stays: what is there already, else what has more bytes.
    std::ranges::sort(rivals, {}, [](const Chat *chat) {
        return std::tuple(chat->facts.messages, !chat->isArchived(), -chat->size, chat->best().path.native());
    });
    QHash<QByteArray, Chat *> wholes; // by all their messages
    for (Chat *rival : rivals) {
        m_observer.throwIfStopped();
        const auto file = platform::readWholeFile(rival->best().path);
        if (!file || digestOf(*file) != rival->digest)
            continue; // it has changed just now
        const std::vector<QByteArray> beginnings = beginningsOf(*file, rival->kind);
        if (beginnings.empty())
            continue;
        if (const auto equal = wholes.constFind(beginnings.back()); equal != wholes.constEnd()) {
            rival->longer = *equal;
            continue;
        }
        for (const QByteArray &beginning : beginnings) {
            if (const auto shorter = wholes.constFind(beginning); shorter != wholes.constEnd())
                (*shorter)->longer = rival; // the longest comes last
        }
        wholes.insert(beginnings.back(), rival);
    }
}

void Planner::decide(const Chat &chat)
{
    const qsizetype others = std::ranges::count(chat.members, false, &Member::isOwn);
    const bool isArchived = chat.isArchived();
    m_plan.archived += isArchived ? 1 : 0;
    const bool isPassedOver = !isArchived && others < std::ssize(chat.members);
    if (!isArchived && chat.facts.condition == ChatFacts::Condition::Foreign) {
        m_plan.found += isPassedOver ? std::ssize(chat.members) - others : 0;
        for (const Member &member : chat.members)
            m_plan.leftOut.push_back({member.path, reasonOf(chat)});
        return;
    }
    if (chat.facts.condition == ChatFacts::Condition::Damaged && (others > 0 || isPassedOver)) {
        const auto named = std::ranges::find(chat.members, false, &Member::isOwn);
        m_plan.damaged.push_back(
            {named == chat.members.end() ? chat.best().path : named->path, reasonOf(chat)});
    }
    if (others > 0)
        redate(chat);
    if (isArchived) {
        m_plan.same += others;
    } else if (chat.longer) {
        m_plan.superseded += others;
    } else {
        m_plan.found += isPassedOver ? 1 : 0;
        m_plan.same += isPassedOver ? others : others - 1;
        m_toCopy.push_back(&chat);
    }
}

void Planner::redate(const Chat &chat)
{
    const CopyDate date = chat.date();
    for (const Member &member : chat.members) {
        if (!member.isOwn || member.modified.tv_sec == date.date.tv_sec)
            continue;
        m_plan.redatings.push_back({member.place, date.date});
        ++m_plan.datesMended;
    }
}

void Planner::placeCopies()
{
    // The longest chat that begins with a copy of ours takes its place.
    for (const Chat &chat : m_chats) {
        const Chat &longest = chat.longest();
        if (&longest == &chat || longest.isArchived())
            continue;
        for (const Member &member : chat.members) {
            if (member.isArchived && member.isCopy)
                m_replaced.try_emplace(&longest, member.place, chat.digest);
        }
    }
    std::ranges::sort(m_toCopy, {}, [](const Chat *chat) {
        return std::tie(chat->best().place.native(), chat->best().path.native());
    });
    for (const Chat *chat : m_toCopy) {
        const Member &best = chat->best();
        const CopyDate date = chat->date();
        const auto replaced = m_replaced.find(chat);
        const Shorter shorter =
            replaced == m_replaced.end() ? Shorter{freePlace(*chat), {}} : replaced->second;
        const std::filesystem::path &place = shorter.place;
        m_taken.insert(place.native());
        m_plan.copies.push_back({{place, chat->digest, best.path, date.date}, best.identity, shorter.digest});
        m_plan.datesMended += date.isMended ? 1 : 0;
        if (place.filename() != best.place.filename())
            m_plan.renamed.push_back({best.place, place, best.isOwn});
        ++m_plan.copiedByHome[best.home];
    }
}

/// Where a copy goes: under its proper name, numbered when that is taken.
std::filesystem::path Planner::freePlace(const Chat &chat) const
{
    const Member &best = chat.best();
    const std::filesystem::path folder = best.place.parent_path();
    std::string name = best.name;
    if (!isArchivableName(name))
        name = nameWithDate(name, chat.facts.lastMessage.value_or(chat.date().date));
    std::filesystem::path place = folder / name;
    for (int number = 2; m_taken.contains(place.native()); ++number)
        place = folder / nameWithNumber(name, number);
    return place;
}

} // namespace

qsizetype ImportPlan::replacing() const
{
    return std::ranges::count_if(copies, [](const PlannedCopy &copy) { return !copy.replaced.isEmpty(); });
}

ImportPlan planImport(const std::vector<FoundTranscript> &transcripts,
                      const std::filesystem::path &transcriptFolder, const CopyLedger &ledger,
                      Observer &observer)
{
    return Planner(transcriptFolder, ledger, observer).plan(transcripts);
}

} // namespace importing
