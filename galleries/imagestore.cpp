#include "galleries/imagestore.h"

namespace galleries {

namespace {

constexpr QStringView dateKey = u"date";
constexpr QStringView filenameKey = u"filename";
constexpr QStringView widthKey = u"width";
constexpr QStringView heightKey = u"height";

} // namespace

std::optional<ImageEntry> ImageEntry::fromPropertyList(const platform::PropertyList &dictionary)
{
    const auto date = storedDate(dictionary[dateKey]);
    const auto filename = dictionary[filenameKey].string();
    const auto width = storedInteger(dictionary[widthKey]);
    const auto height = storedInteger(dictionary[heightKey]);
    if (!date || !filename || !width || !height)
        return std::nullopt;
    return ImageEntry{*date, *filename, *width, *height};
}

void ImageEntry::write(platform::XMLPropertyListWriter &writer) const
{
    writer.key(dateKey);
    writer.date(date);
    writer.key(filenameKey);
    writer.string(filename);
    writer.key(widthKey);
    writer.integer(width);
    writer.key(heightKey);
    writer.integer(height);
}

void ImageEntry::makeFitForXml()
{
    filename = platform::withoutCharactersUnfitForXml(filename);
}

std::partial_ordering compareImageDictionaries(const ImageEntry &first, const ImageEntry &second)
{
    return newestFirst(first, second);
}

} // namespace galleries
