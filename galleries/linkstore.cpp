#include "galleries/linkstore.h"

#include "galleries/propertylistfile.h"

#include "platform/propertylist/propertylist.h"
#include "platform/propertylist/xmlwriter.h"

#include <algorithm>

using platform::PropertyList;
using platform::PropertyListKind;

namespace galleries {

namespace {

constexpr QStringView speakerKey = u"speaker";
constexpr QStringView urlsKey = u"urls";
constexpr QStringView dateKey = u"date";
constexpr QStringView linkKey = u"linkurl";

std::optional<LinkEntry> linkEntry(const PropertyList &dictionary)
{
    const auto date = storedDate(dictionary[dateKey]);
    const auto link = dictionary[linkKey].string();
    if (!date || !link)
        return std::nullopt;
    return LinkEntry{*date, platform::withoutCharactersUnfitForXml(*link)};
}

std::optional<LinkSpeaker> linkSpeaker(const PropertyList &dictionary)
{
    const auto name = dictionary[speakerKey].string();
    const PropertyList urls = dictionary[urlsKey];
    if (!name || urls.kind() != PropertyListKind::Array)
        return std::nullopt;
    LinkSpeaker speaker{platform::withoutCharactersUnfitForXml(*name), {}};
    speaker.urls.reserve(urls.count());
    for (quint32 i = 0; i < urls.count(); ++i) {
        auto entry = linkEntry(urls.at(i));
        if (!entry)
            return std::nullopt;
        speaker.urls.push_back(std::move(*entry));
    }
    return speaker;
}

} // namespace

std::partial_ordering compareLinkDictionaries(const LinkEntry &first, const LinkEntry &second)
{
    return second.date <=> first.date;
}

std::optional<LinkStore> LinkStore::load(const std::filesystem::path &path)
{
    if (!platform::fileExists(path))
        return LinkStore();
    const PropertyList root = readPropertyListFile(path);
    if (root.kind() != PropertyListKind::Array)
        return std::nullopt;
    LinkStore store;
    for (quint32 i = 0; i < root.count(); ++i) {
        auto speaker = linkSpeaker(root.at(i));
        if (!speaker)
            return std::nullopt;
        store.append(std::move(*speaker));
    }
    return store;
}

qsizetype LinkStore::total() const
{
    qsizetype links = 0;
    for (const LinkSpeaker &speaker : m_speakers)
        links += qsizetype(speaker.urls.size());
    return links;
}

std::vector<LinkEntry> *LinkStore::find(const QString &speaker)
{
    const auto position = m_positions.constFind(speaker);
    return position == m_positions.cend() ? nullptr : &m_speakers[size_t(*position)].urls;
}

void LinkStore::add(const QString &speaker, const platform::NSDate &date, const std::vector<QString> &urls)
{
    if (urls.empty())
        return;
    const QString name = platform::withoutCharactersUnfitForXml(speaker);
    if (!find(name))
        append({name, {}});
    std::vector<LinkEntry> &links = *find(name);
    for (const QString &url : urls)
        links.push_back({date, platform::withoutCharactersUnfitForXml(url)});
}

void LinkStore::sort()
{
    for (LinkSpeaker &speaker : m_speakers) {
        std::stable_sort(speaker.urls.begin(), speaker.urls.end(),
                         [](const LinkEntry &first, const LinkEntry &second) {
                             return compareLinkDictionaries(first, second) < 0;
                         });
    }
}

std::optional<QByteArray> LinkStore::propertyList(qsizetype largest) const
{
    platform::XMLPropertyListWriter writer;
    writer.beginArray();
    for (const LinkSpeaker &speaker : m_speakers) {
        writer.beginDictionary();
        writer.key(speakerKey);
        writer.string(speaker.speaker);
        writer.key(urlsKey);
        writer.beginArray();
        for (const LinkEntry &entry : speaker.urls) {
            if (writer.size() > largest)
                return std::nullopt;
            writer.beginDictionary();
            writer.key(dateKey);
            writer.date(entry.date);
            writer.key(linkKey);
            writer.string(entry.linkurl);
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

void LinkStore::append(LinkSpeaker speaker)
{
    if (!m_positions.contains(speaker.speaker))
        m_positions.insert(speaker.speaker, qsizetype(m_speakers.size()));
    m_speakers.push_back(std::move(speaker));
}

} // namespace galleries
