#pragma once

#include "platform/date/nsdate.h"
#include "platform/files/files.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <compare>
#include <filesystem>
#include <optional>
#include <vector>

namespace galleries {

/// A link that somebody has sent.
struct LinkEntry {
    platform::NSDate date; ///< of the message that held it
    QString linkurl;       ///< as it was sent
};

/// Everything that one person has sent.
struct LinkSpeaker {
    QString speaker; ///< display name
    std::vector<LinkEntry> urls;
};

/// The order of a speaker's links, newest first: how the date of @p second compares with that of @p first.
[[nodiscard]] std::partial_ordering compareLinkDictionaries(const LinkEntry &first, const LinkEntry &second);

/// Every link that was ever gathered, by the person who sent it.
///
/// Its file is a property list: an array of dictionaries with "speaker" and "urls", the latter an array of
/// dictionaries with "date" and "linkurl". It is written in the XML form, which keeps whole seconds of a
/// date, and read in any. Text in the store is such that XML can hold it: characters that it cannot hold
/// become U+FFFD on their way in.
class LinkStore {
public:
    /// The store at @p path, an empty one when there is no file. Nothing when the file cannot be read, or
    /// holds anything else than such a list.
    [[nodiscard]] static std::optional<LinkStore> load(const std::filesystem::path &path);

    /// In the order in which they first sent a link.
    [[nodiscard]] const std::vector<LinkSpeaker> &speakers() const { return m_speakers; }
    /// The number of all links.
    [[nodiscard]] qsizetype total() const;

    /// The links of the first speaker of exactly this name: letter case counts. Null when there is none.
    /// Valid until a speaker is added.
    [[nodiscard]] std::vector<LinkEntry> *find(const QString &speaker);

    /// Adds links that @p speaker has sent at @p date behind those that are there, and the speaker behind the
    /// other speakers when the name is new. Nothing is done without links.
    void add(const QString &speaker, const platform::NSDate &date, const std::vector<QString> &urls);
    /// Sorts every speaker's links with compareLinkDictionaries(); those of equal dates keep their order.
    void sort();

    /// The store's file; nothing when it would be larger than @p largest bytes, and so could not be read
    /// again.
    [[nodiscard]] std::optional<QByteArray>
    propertyList(qsizetype largest = platform::largestReadableFile) const;

private:
    void append(LinkSpeaker speaker);

    std::vector<LinkSpeaker> m_speakers;
    QHash<QString, qsizetype> m_positions; // of the first speaker of each name
};

} // namespace galleries
