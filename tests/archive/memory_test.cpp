#include "tests/archive/decoding.h"
#include "tests/archive/heapmeter.h"
#include "tests/archive/hostilearchives.h"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>

// Peak memory stays below 64 MiB and 32 times the file's size, whatever the bytes are.

namespace {

/// PRATTLEBUG_HOSTILE_SIZE makes the archives that large instead, and prints what each takes.
const char *const sizeVariable = "PRATTLEBUG_HOSTILE_SIZE";

void checkMemory(const HostileArchive &hostile, Decoding (*decode)(const QByteArray &archive))
{
    const char *chosenSize = std::getenv(sizeVariable);
    const QByteArray archive = hostile.make(chosenSize ? std::atoll(chosenSize) : qsizetype(3) << 20);
    const size_t before = heapmeter::inUse();
    heapmeter::restart();
    const auto start = std::chrono::steady_clock::now();
    std::string error;
    {
        const Decoding decoded = decode(archive);
        error = decoded.error;
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    const auto taken = qint64(heapmeter::peak() - before) + archive.size();
    if (chosenSize) {
        const double megabytes = double(archive.size()) / (1 << 20);
        std::printf("%8.2f MB %8.1f MB peak %8.1f per byte %8.3f s/MB  %s: %s\n", megabytes,
                    double(taken) / (1 << 20), double(taken) / double(archive.size()),
                    seconds.count() / megabytes, hostile.name, error.empty() ? "decoded" : error.c_str());
    }
    if (heapmeter::isCounting()) {
        EXPECT_LE(taken, (qint64(64) << 20) + 32 * archive.size()) << archive.size();
    }
}

/// The archive's name in letters alone.
std::string testName(const testing::TestParamInfo<HostileArchive> &info)
{
    std::string name;
    bool atWord = true;
    for (const char *c = info.param.name; *c; ++c) {
        if (std::isalnum(*c))
            name += atWord ? char(std::toupper(*c)) : *c;
        atWord = !std::isalnum(*c);
    }
    return name;
}

} // namespace

class HostileStream : public testing::TestWithParam<HostileArchive> {};
class HostileKeyedArchive : public testing::TestWithParam<HostileArchive> {};

TEST_P(HostileStream, TakesNoMoreMemoryThanAllowed)
{
    checkMemory(GetParam(), decodeStream);
}

TEST_P(HostileKeyedArchive, TakesNoMoreMemoryThanAllowed)
{
    checkMemory(GetParam(), decodeKeyed);
}

INSTANTIATE_TEST_SUITE_P(All, HostileStream, testing::ValuesIn(hostileStreams()), testName);
INSTANTIATE_TEST_SUITE_P(All, HostileKeyedArchive, testing::ValuesIn(hostileKeyedArchives()), testName);
