#pragma once

#include "galleries/propertylistfile.h"

#include "platform/date/nsdate.h"
#include "platform/files/files.h"
#include "platform/propertylist/propertylist.h"
#include "platform/propertylist/xmlwriter.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <algorithm>
#include <compare>
#include <concepts>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace galleries {

/// Something that somebody has sent, as a store keeps it.
template <class Entry>
concept StoreEntry = requires(Entry entry, const Entry &constEntry, const platform::PropertyList &dictionary,
                              platform::XMLPropertyListWriter &writer) {
    { entry.date } -> std::convertible_to<platform::NSDate>; // of the message that held it
    { Entry::listKey } -> std::convertible_to<QStringView>;  // under which a speaker's entries stand
    // The entry that a dictionary of the store holds; nothing when it is none.
    { Entry::fromPropertyList(dictionary) } -> std::same_as<std::optional<Entry>>;
    constEntry.write(writer); // the pairs of its dictionary
    entry.makeFitForXml();    // replaces the characters that XML cannot hold by U+FFFD
};

/// The order of entries, newest first: how the date of @p second compares with that of @p first.
template <StoreEntry Entry>
[[nodiscard]] std::partial_ordering newestFirst(const Entry &first, const Entry &second)
{
    return second.date <=> first.date;
}

/// Everything of one kind that was ever sent, by the person who sent it.
///
/// Adding to a store that is kept takes time for what is added and for moving its speakers' older entries,
/// not for the others'.
///
/// Its file is a property list: an array of dictionaries with "speaker" and the list of that speaker's
/// entries. It is written in the XML form, which keeps whole seconds of a date, and read in any. Text in the
/// store is such that XML can hold it: characters that it cannot hold become U+FFFD on their way in.
template <StoreEntry Entry>
class SpeakerStore {
public:
    /// Everything that one person has sent.
    struct Speaker {
        QString name; ///< display name
        std::vector<Entry> entries;
    };
    /// What one chat adds, in its order: a speaker may stand in it more than once.
    using Contribution = std::vector<Speaker>;

    /// The store at @p path, an empty one when there is no file. Nothing when the file cannot be read, or
    /// holds anything else than such a list.
    [[nodiscard]] static std::optional<SpeakerStore> load(const std::filesystem::path &path);

    /// In the order in which they first sent something.
    [[nodiscard]] const std::vector<Speaker> &speakers() const { return m_speakers; }
    /// The number of all entries.
    [[nodiscard]] qsizetype total() const;

    /// The entries of the first speaker of exactly this name, to be changed in any way: letter case counts.
    /// Null when there is none. Valid until a speaker is added.
    [[nodiscard]] std::vector<Entry> *find(const QString &speaker);

    /// Adds what @p speaker has sent behind what is there, and the speaker behind the other speakers when the
    /// name is new. Nothing is done without entries.
    void add(const QString &speaker, std::vector<Entry> entries);
    /// Adds all that @p speakers have sent, one after the other, and sorts.
    void fold(const Contribution &speakers);
    /// Sorts every speaker's entries with newestFirst(); those of equal dates keep their order.
    void sort();
    /// Makes a sorted store what its file would give back: with whole seconds.
    void settle();

    /// The store's file; nothing when it would be larger than @p largest bytes, and so could not be read
    /// again.
    [[nodiscard]] std::optional<QByteArray>
    propertyList(qsizetype largest = platform::largestReadableFile) const;
    /// Replaces the file at @p path, atomically. One that would be too large to be read again
    /// (FailureKind::TooLarge) stays as it was.
    [[nodiscard]] platform::Result<> save(const std::filesystem::path &path) const;

private:
    static constexpr QStringView speakerKey = u"speaker";

    [[nodiscard]] static std::optional<Speaker> speakerFrom(const platform::PropertyList &dictionary);
    static bool isNewer(const Entry &first, const Entry &second) { return newestFirst(first, second) < 0; }

    /// The entries of one speaker from a date to another, in a sorted store.
    struct DateRange {
        size_t position; ///< of the speaker
        Entry newest;
        Entry oldest;
    };
    [[nodiscard]] std::span<Entry> entriesIn(const DateRange &range);
    void append(Speaker speaker);
    void noteChangeOf(size_t position);

    std::vector<Speaker> m_speakers;
    QHash<QString, size_t> m_positions; // of the first speaker of each name
    std::vector<size_t> m_sorted;  // of each speaker's entries, how many at the front are known to be sorted
    std::vector<size_t> m_changed; // positions of speakers since the last sort()
    std::vector<DateRange> m_unsettled; // of what has been sorted in since the last settle()
};

template <StoreEntry Entry>
auto SpeakerStore<Entry>::speakerFrom(const platform::PropertyList &dictionary) -> std::optional<Speaker>
{
    const auto name = dictionary[speakerKey].string();
    const platform::PropertyList list = dictionary[Entry::listKey];
    if (!name || list.kind() != platform::PropertyListKind::Array)
        return std::nullopt;
    Speaker speaker{platform::withoutCharactersUnfitForXml(*name), {}};
    speaker.entries.reserve(list.count());
    for (quint32 i = 0; i < list.count(); ++i) {
        auto entry = Entry::fromPropertyList(list.at(i));
        if (!entry)
            return std::nullopt;
        entry->makeFitForXml();
        speaker.entries.push_back(std::move(*entry));
    }
    return speaker;
}

template <StoreEntry Entry>
std::optional<SpeakerStore<Entry>> SpeakerStore<Entry>::load(const std::filesystem::path &path)
{
    if (!platform::fileExists(path))
        return SpeakerStore();
    const platform::PropertyList root = readPropertyListFile(path);
    if (root.kind() != platform::PropertyListKind::Array)
        return std::nullopt;
    SpeakerStore store;
    for (quint32 i = 0; i < root.count(); ++i) {
        auto speaker = speakerFrom(root.at(i));
        if (!speaker)
            return std::nullopt;
        store.append(std::move(*speaker));
    }
    return store;
}

template <StoreEntry Entry>
qsizetype SpeakerStore<Entry>::total() const
{
    qsizetype entries = 0;
    for (const Speaker &speaker : m_speakers)
        entries += qsizetype(speaker.entries.size());
    return entries;
}

template <StoreEntry Entry>
std::vector<Entry> *SpeakerStore<Entry>::find(const QString &speaker)
{
    const auto position = m_positions.constFind(speaker);
    if (position == m_positions.cend())
        return nullptr;
    noteChangeOf(*position);
    m_sorted[*position] = 0;
    return &m_speakers[*position].entries;
}

template <StoreEntry Entry>
void SpeakerStore<Entry>::add(const QString &speaker, std::vector<Entry> entries)
{
    if (entries.empty())
        return;
    const QString name = platform::withoutCharactersUnfitForXml(speaker);
    if (!m_positions.contains(name))
        append({name, {}});
    const size_t position = m_positions.value(name);
    noteChangeOf(position);
    for (Entry &entry : entries) {
        entry.makeFitForXml();
        m_speakers[position].entries.push_back(std::move(entry));
    }
}

template <StoreEntry Entry>
void SpeakerStore<Entry>::fold(const Contribution &speakers)
{
    for (const Speaker &speaker : speakers)
        add(speaker.name, speaker.entries);
    sort();
}

template <StoreEntry Entry>
void SpeakerStore<Entry>::sort()
{
    for (const size_t position : m_changed) {
        std::vector<Entry> &entries = m_speakers[position].entries;
        const auto added = entries.begin() + std::ptrdiff_t(m_sorted[position]);
        if (added != entries.end()) {
            std::stable_sort(added, entries.end(), isNewer);
            m_unsettled.push_back({position, *added, entries.back()});
            std::inplace_merge(std::upper_bound(entries.begin(), added, *added, isNewer), added,
                               entries.end(), isNewer);
        }
        m_sorted[position] = entries.size();
    }
    m_changed.clear();
}

template <StoreEntry Entry>
void SpeakerStore<Entry>::settle()
{
    // All are looked up before any is changed: the store has to be sorted for that.
    std::vector<std::span<Entry>> found;
    for (const DateRange &range : m_unsettled)
        found.push_back(entriesIn(range));
    m_unsettled.clear();
    for (const std::span<Entry> entries : found) {
        for (Entry &entry : entries)
            entry.date = entry.date.wholeSeconds();
    }
}

template <StoreEntry Entry>
std::span<Entry> SpeakerStore<Entry>::entriesIn(const DateRange &range)
{
    std::vector<Entry> &entries = m_speakers[range.position].entries;
    const auto first = std::lower_bound(entries.begin(), entries.end(), range.newest, isNewer);
    return {first, std::upper_bound(first, entries.end(), range.oldest, isNewer)};
}

template <StoreEntry Entry>
std::optional<QByteArray> SpeakerStore<Entry>::propertyList(qsizetype largest) const
{
    platform::XMLPropertyListWriter writer;
    writer.beginArray();
    for (const Speaker &speaker : m_speakers) {
        writer.beginDictionary();
        writer.key(speakerKey);
        writer.string(speaker.name);
        writer.key(Entry::listKey);
        writer.beginArray();
        for (const Entry &entry : speaker.entries) {
            if (writer.size() > largest)
                return std::nullopt;
            writer.beginDictionary();
            entry.write(writer);
            writer.endDictionary();
        }
        writer.endArray();
        writer.endDictionary();
    }
    writer.endArray();
    QByteArray bytes = writer.finish();
    if (bytes.size() > largest)
        return std::nullopt;
    return bytes;
}

template <StoreEntry Entry>
platform::Result<> SpeakerStore<Entry>::save(const std::filesystem::path &path) const
{
    const auto bytes = propertyList();
    if (!bytes)
        return tl::unexpected(platform::Failure{platform::FailureKind::TooLarge, path, "larger than 2 GiB"});
    return platform::writeAtomically(path, *bytes);
}

template <StoreEntry Entry>
void SpeakerStore<Entry>::append(Speaker speaker)
{
    if (!m_positions.contains(speaker.name))
        m_positions.insert(speaker.name, m_speakers.size());
    m_speakers.push_back(std::move(speaker));
    m_sorted.push_back(0);
    m_changed.push_back(m_speakers.size() - 1);
}

/// To be called before the entries at @p position are changed.
template <StoreEntry Entry>
void SpeakerStore<Entry>::noteChangeOf(size_t position)
{
    if (m_sorted[position] == m_speakers[position].entries.size())
        m_changed.push_back(position);
}

} // namespace galleries
