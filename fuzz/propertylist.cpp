#include "fuzz/fuzz.h"

#include "platform/formaterror.h"
#include "platform/propertylist/propertylist.h"
#include "platform/propertylist/xmlwriter.h"

// A property list of any form can be written, and what is written reads back and is written the same way
// again.

namespace {

QByteArray written(const platform::PropertyList &list)
{
    platform::XMLPropertyListWriter writer;
    writer.value(list);
    return writer.finish();
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    platform::PropertyList list;
    try {
        list = platform::readPropertyList(fuzz::bytesOf(data, size));
    } catch (const platform::FormatError &error) {
        // Offsets in UTF-16 count in the same text's UTF-8, which is at most half as long again.
        fuzz::require(error.offset() >= 0 && error.offset() <= 2 * qint64(size));
        return 0;
    }
    const QByteArray once = written(list);
    fuzz::require(written(platform::readPropertyList(once)) == once);
    return 0;
}
