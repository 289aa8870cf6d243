#include "fuzz/fuzz.h"

#include "platform/archive/nskeyedunarchiver.h"
#include "platform/foundation/collections.h"

// A keyed archive gives objects that can be walked, or an error.

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    try {
        const auto unarchiver =
            platform::NSKeyedUnarchiver::initForReadingWithData(fuzz::bytesOf(data, size), fuzz::classes());
        const auto root = unarchiver->decodeObjectForKey("root");
        static_cast<void>(platform::descriptionOf(root.get()));
    } catch (const platform::FormatError &error) {
        // Offsets in UTF-16 count in the same text's UTF-8, which is at most half as long again.
        fuzz::require(error.offset() >= 0 && error.offset() <= 2 * qint64(size));
    }
    return 0;
}
