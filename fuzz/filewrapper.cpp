#include "fuzz/fuzz.h"

#include "platform/appkit/nsfilewrapper.h"
#include "platform/decodingbudget.h"
#include "platform/formaterror.h"

using platform::NSFileWrapper;

// Every sequence of bytes is a file wrapper, and holds no more than these bytes.

namespace {

void walk(const NSFileWrapper &wrapper, qsizetype size)
{
    fuzz::require(wrapper.regularFileContents().size() <= size);
    fuzz::require(!wrapper.isRegularFile() || wrapper.children().empty());
    for (const NSFileWrapper::Child &child : wrapper.children()) {
        fuzz::require(child.wrapper != nullptr && child.name.size() <= size);
        walk(*child.wrapper, size);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    platform::DecodingBudget budget{qint64(size)};
    try {
        const auto wrapper = NSFileWrapper::initWithSerializedRepresentation(
            fuzz::bytesOf(data, size), [&budget](quint64 bytes) { budget.charge(bytes, 0); });
        walk(*wrapper, qsizetype(size));
        fuzz::require(wrapper->totalSize() <= qint64(size));
    } catch (const platform::FormatError &) {
    }
    return 0;
}
