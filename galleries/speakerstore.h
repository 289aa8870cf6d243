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

    /// The store at @p path, an empty one when there is no file. Nothing when the file cannot be read, or
    /// holds anything else than such a list.
    [[nodiscard]] static std::optional<SpeakerStore> load(const std::filesystem::path &path);

    /// In the order in which they first sent something.
    [[nodiscard]] const std::vector<Speaker> &speakers() const { return m_speakers; }
    /// The number of all entries.
    [[nodiscard]] qsizetype total() const;

    /// The entries of the first speaker of exactly this name: letter case counts. Null when there is none.
    /// Valid until a speaker is added.
    [[nodiscard]] std::vector<Entry> *find(const QString &speaker);

    /// Adds what @p speaker has sent behind what is there, and the speaker behind the other speakers when the
    /// name is new. Nothing is done without entries.
    void add(const QString &speaker, std::vector<Entry> entries);
    /// Sorts every speaker's entries with newestFirst(); those of equal dates keep their order.
    void sort();

    /// The store's file; nothing when it would be larger than @p largest bytes, and so could not be read
    /// again.
    [[nodiscard]] std::optional<QByteArray>
    propertyList(qsizetype largest = platform::largestReadableFile) const;

private:
    static constexpr QStringView speakerKey = u"speaker";

    [[nodiscard]] static std::optional<Speaker> speakerFrom(const platform::PropertyList &dictionary);
    void append(Speaker speaker);

    std::vector<Speaker> m_speakers;
    QHash<QString, qsizetype> m_positions; // of the first speaker of each name
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
    return position == m_positions.cend() ? nullptr : &m_speakers[size_t(*position)].entries;
}

template <StoreEntry Entry>
void SpeakerStore<Entry>::add(const QString &speaker, std::vector<Entry> entries)
{
    if (entries.empty())
        return;
    const QString name = platform::withoutCharactersUnfitForXml(speaker);
    if (!find(name))
        append({name, {}});
    std::vector<Entry> &list = *find(name);
    for (Entry &entry : entries) {
        entry.makeFitForXml();
        list.push_back(std::move(entry));
    }
}

template <StoreEntry Entry>
void SpeakerStore<Entry>::sort()
{
    for (Speaker &speaker : m_speakers) {
        std::stable_sort(
            speaker.entries.begin(), speaker.entries.end(),
            [](const Entry &first, const Entry &second) { return newestFirst(first, second) < 0; });
    }
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
void SpeakerStore<Entry>::append(Speaker speaker)
{
    if (!m_positions.contains(speaker.name))
        m_positions.insert(speaker.name, qsizetype(m_speakers.size()));
    m_speakers.push_back(std::move(speaker));
}

} // namespace galleries
