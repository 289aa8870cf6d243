#include "galleries/propertylistfile.h"

#include "platform/files/files.h"
#include "platform/formaterror.h"

namespace galleries {

platform::PropertyList readPropertyListFile(const std::filesystem::path &path)
{
    const platform::FileContents file = platform::readWholeFile(path);
    if (!file.bytes)
        return {};
    try {
        return platform::readPropertyList(*file.bytes);
    } catch (const platform::FormatError &) {
        return {};
    }
}

} // namespace galleries
