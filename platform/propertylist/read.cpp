#include "platform/propertylist/propertylist.h"
#include "platform/propertylist/readers.h"
#include "platform/propertylist/treecheck.h"

namespace platform {

namespace {

void checkSize(const QByteArray &bytes)
{
    if (bytes.size() > largestPropertyList)
        throw FormatError(largestPropertyList, "a property list of more than 2 GiB");
}

} // namespace

std::shared_ptr<const PropertyListTable> readPropertyListTable(const QByteArray &bytes,
                                                               DecodingBudget &budget)
{
    checkSize(bytes);
    if (bytes.isEmpty())
        throw FormatError(0, "the file is empty");
    if (QByteArrayView("bplist").startsWith(bytes))
        throw FormatError(bytes.size(), "the file is cut off");
    return looksBinary(bytes) ? readBinaryPropertyList(bytes, budget) : readXmlPropertyList(bytes, budget);
}

PropertyList readPropertyList(const QByteArray &bytes)
{
    checkSize(bytes);
    DecodingBudget budget(bytes.size());
    std::shared_ptr<const PropertyListTable> table = looksBinary(bytes) || looksXml(bytes)
                                                         ? readPropertyListTable(bytes, budget)
                                                         : readTextPropertyList(bytes, budget);
    const quint64 longestXml = checkTree(*table, budget);
    const PropertyListTable::Index root = table->root();
    DecodingBudget(bytes.size()).charge(longestXml, table->offset(root));
    return {std::move(table), root};
}

} // namespace platform
