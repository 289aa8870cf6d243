#pragma once

#include "platform/appkit/appkitclasses.h"
#include "platform/archive/classtable.h"
#include "platform/host.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// What libFuzzer calls with each input, and our own replaying main too.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace fuzz {

/// A host that drops the console lines. Made once by whoever loads transcripts.
class QuietHost final : private platform::Host {
public:
    QuietHost() { Host::install(this); }
    ~QuietHost() override { Host::install(nullptr); }
    QuietHost(const QuietHost &) = delete;
    QuietHost &operator=(const QuietHost &) = delete;

private:
    void consoleLine(QByteArrayView /*line*/) override {}
    void dialog(const QString & /*message*/) override {}
};

/// The classes that the archive readers can make, but for those of transcripts.
[[nodiscard]] const platform::ClassTable &classes();

[[nodiscard]] inline QByteArray bytesOf(const std::uint8_t *data, std::size_t size)
{
    return {reinterpret_cast<const char *>(data), qsizetype(size)};
}

/// Something that must hold whatever the input is. Stays in optimised builds, unlike assert().
inline void require(bool holds)
{
    if (!holds)
        std::abort();
}

} // namespace fuzz
