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

/// @throws FormatError unless @p table, of a file of @p size bytes, is a tree that can be written again.
void checkWritable(const PropertyListTable &table, qsizetype size, DecodingBudget &budget)
{
    const quint64 longestXml = checkTree(table, budget);
    DecodingBudget(size).charge(longestXml, table.offset(table.root()));
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

SalvagedPropertyList salvagePropertyList(const QByteArray &bytes)
{
    if (!looksBinary(bytes))
        return {readPropertyList(bytes), true};
    checkSize(bytes);
    DecodingBudget budget(bytes.size());
    Salvage salvage;
    std::shared_ptr<const PropertyListTable> table = readBinaryPropertyList(bytes, budget, &salvage);
    checkWritable(*table, bytes.size(), budget);
    const PropertyListTable::Index root = table->root();
    return {PropertyList(std::move(table), root), salvage.unreadableObjects == 0};
}

PropertyList readPropertyList(const QByteArray &bytes)
{
    checkSize(bytes);
    DecodingBudget budget(bytes.size());
    std::shared_ptr<const PropertyListTable> table = looksBinary(bytes) || looksXml(bytes)
                                                         ? readPropertyListTable(bytes, budget)
                                                         : readTextPropertyList(bytes, budget);
    checkWritable(*table, bytes.size(), budget);
    const PropertyListTable::Index root = table->root();
    return {std::move(table), root};
}

} // namespace platform
