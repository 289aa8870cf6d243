#include "tests/archive/decoding.h"
#include "tests/archive/heapmeter.h"
#include "tests/archive/hostilearchives.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>

// Whatever the bytes are, peak memory stays below 64 MiB and 32 times the file's size, and decoding and
// taking apart what was decoded below a second and one more per MB.

namespace {

/// PRATTLEBUG_HOSTILE_SIZE makes the archives that large instead, and prints what each takes.
const char *const sizeVariable = "PRATTLEBUG_HOSTILE_SIZE";

/// How much slower than what users run this program may be.
#if defined(__SANITIZE_ADDRESS__)
constexpr double slowness = 20;
#elif !defined(NDEBUG)
constexpr double slowness = 10;
#else
constexpr double slowness = 1;
#endif

/// Seconds of the processor's time that this thread has had: other work on the machine does not count.
double processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

void checkBounds(const HostileArchive &hostile, Decoding (*decode)(const QByteArray &archive))
{
    const char *chosenSize = std::getenv(sizeVariable);
    const QByteArray archive = hostile.make(chosenSize ? std::atoll(chosenSize) : qsizetype(3) << 20);
    const size_t before = heapmeter::inUse();
    heapmeter::restart();
    const double start = processorTime();
    std::string error;
    {
        const Decoding decoded = decode(archive);
        error = decoded.error;
    }
    const double seconds = processorTime() - start;
    const double megabytes = double(archive.size()) / (1 << 20);
    const auto taken = qint64(heapmeter::peak() - before) + archive.size();
    if (chosenSize) {
        std::printf("%8.2f MB %8.1f MB peak %8.1f per byte %8.3f s/MB  %s: %s\n", megabytes,
                    double(taken) / (1 << 20), double(taken) / double(archive.size()), seconds / megabytes,
                    hostile.name, error.empty() ? "decoded" : error.c_str());
    }
    EXPECT_LE(seconds, (1 + megabytes) * slowness);
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

TEST_P(HostileStream, StaysWithinTheBounds)
{
    checkBounds(GetParam(), decodeStream);
}

TEST_P(HostileKeyedArchive, StaysWithinTheBounds)
{
    checkBounds(GetParam(), decodeKeyed);
}

INSTANTIATE_TEST_SUITE_P(All, HostileStream, testing::ValuesIn(hostileStreams()), testName);
INSTANTIATE_TEST_SUITE_P(All, HostileKeyedArchive, testing::ValuesIn(hostileKeyedArchives()), testName);
