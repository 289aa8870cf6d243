#include "galleries/propertylistfile.h"

#include "platform/files/files.h"
#include "platform/formaterror.h"
#include "platform/preferences/preferences.h"
#include "platform/propertylist/scalartext.h"
#include "platform/propertylist/values.h"
#include "platform/text/encoding.h"

namespace galleries {

platform::PropertyList readPropertyListFile(const std::filesystem::path &path)
{
    const auto file = platform::readWholeFile(path);
    if (!file)
        return {};
    try {
        return platform::readPropertyList(*file);
    } catch (const platform::FormatError &) {
        return {};
    }
}

std::optional<platform::NSDate> storedDate(const platform::PropertyList &value)
{
    if (const auto text = value.string())
        return platform::dateFromDescription(platform::utf8FromString(*text)).date;
    return value.date();
}

std::optional<qint64> storedInteger(const platform::PropertyList &value)
{
    if (value.kind() == platform::PropertyListKind::Boolean)
        return std::nullopt;
    return platform::integerFrom(value);
}

} // namespace galleries
