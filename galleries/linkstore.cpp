#include "galleries/linkstore.h"

namespace galleries {

namespace {

constexpr QStringView dateKey = u"date";
constexpr QStringView linkKey = u"linkurl";

} // namespace

std::optional<LinkEntry> LinkEntry::fromPropertyList(const platform::PropertyList &dictionary)
{
    const auto date = storedDate(dictionary[dateKey]);
    const auto link = dictionary[linkKey].string();
    if (!date || !link)
        return std::nullopt;
    return LinkEntry{*date, *link};
}

void LinkEntry::write(platform::XMLPropertyListWriter &writer) const
{
    writer.key(dateKey);
    writer.date(date);
    writer.key(linkKey);
    writer.string(linkurl);
}

void LinkEntry::makeFitForXml()
{
    linkurl = platform::withoutCharactersUnfitForXml(linkurl);
}

std::partial_ordering compareLinkDictionaries(const LinkEntry &first, const LinkEntry &second)
{
    return newestFirst(first, second);
}

} // namespace galleries
