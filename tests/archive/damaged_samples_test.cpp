#include "VORAChatLog.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

// A sample that is cut off, or changed in one byte, gives a chat or a reason, and never more than that.

namespace {

namespace fs = std::filesystem;

/// Whether every length and every change is tried, not only some.
const bool triesAll = std::getenv("PRATTLEBUG_THOROUGH") != nullptr;

/// A copy of a sample, in a folder of its own, to be damaged.
class Copy {
public:
    explicit Copy(const fs::path &sample)
    {
        std::string folder = fs::temp_directory_path() / "damaged-XXXXXX";
        m_folder = mkdtemp(folder.data());
        m_path = m_folder / ("Kim on Monday" + sample.extension().string());
        std::ifstream file(sample, std::ios::binary);
        m_bytes.assign(std::istreambuf_iterator<char>(file), {});
        m_descriptor = open(m_path.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
        write(m_bytes, 0);
    }
    Copy(const Copy &) = delete;
    Copy &operator=(const Copy &) = delete;
    ~Copy()
    {
        close(m_descriptor);
        fs::remove_all(m_folder);
    }

    [[nodiscard]] const std::string &bytes() const { return m_bytes; }

    void cutTo(size_t length) const { ASSERT_EQ(ftruncate(m_descriptor, off_t(length)), 0); }
    void write(const std::string &bytes, size_t at) const
    {
        ASSERT_EQ(pwrite(m_descriptor, bytes.data(), bytes.size(), off_t(at)), ssize_t(bytes.size()));
    }
    /// Why it cannot be loaded any more; empty when it can.
    [[nodiscard]] QString faultInLoading() const
    {
        const VORAChatLog::Loading loading = VORAChatLog::load(m_path);
        if (!loading) {
            EXPECT_EQ(loading.error().kind, platform::FailureKind::Malformed);
            EXPECT_FALSE(loading.error().reason.empty());
            return QString::fromStdString(loading.error().reason);
        }
        EXPECT_FALSE((*loading)->description().isEmpty()); // which walks through all that was decoded
        for (const auto &message : (*loading)->messages())
            EXPECT_TRUE(message);
        return {};
    }

private:
    fs::path m_folder;
    fs::path m_path;
    std::string m_bytes;
    int m_descriptor = -1;
};

} // namespace

class DamagedSample : public testing::TestWithParam<const char *> {};

TEST_P(DamagedSample, CutOffAnywhere)
{
    const Copy copy(fs::path(PRATTLEBUG_SAMPLES) / GetParam());
    ASSERT_EQ(copy.faultInLoading(), QString());
    const size_t step = triesAll ? 1 : copy.bytes().size() / 4096 + 1;
    for (size_t length = copy.bytes().size() - 1; length > step; length -= step) {
        copy.cutTo(length);
        const QString fault = copy.faultInLoading();
        const bool isWhole =
            length + 64 > copy.bytes().size() && fault.isEmpty(); // without the blanks at its end
        EXPECT_TRUE(isWhole || fault.startsWith(QStringLiteral("the file is cut off")))
            << length << ' ' << fault.toStdString();
    }
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, DamagedSample,
                         testing::Values("Kim Lee on 2003-07-12 at 20.41.chat",
                                         "Gus on 2005-04-02 at 09.12.chat",
                                         "Kim Lee on 2005-08-20 at 21.07 #2.ichat",
                                         "marta@imac@office on 2006-10-29 at 17.30.ichat"));

class SmallSample : public testing::TestWithParam<const char *> {};

TEST_P(SmallSample, ChangedInAnyByte)
{
    const Copy copy(fs::path(PRATTLEBUG_SAMPLES) / GetParam());
    const std::string &bytes = copy.bytes();
    constexpr size_t small = 512;
    size_t loaded = 0;
    for (size_t at = 0; at < bytes.size(); ++at) {
        const auto was = static_cast<unsigned char>(bytes[at]);
        for (unsigned value = 0; value < 256; ++value) {
            const unsigned difference = value ^ was;
            const bool isOneBit = (difference & (difference - 1)) == 0;
            const bool isTag = value >= 0x80 && value <= 0x92;
            const bool isEnd = value == 0 || value == 0x7F || value == 0xFF;
            if (difference == 0 || !(triesAll || bytes.size() <= small || isOneBit || isEnd || isTag))
                continue;
            copy.write(std::string(1, char(value)), at);
            loaded += copy.faultInLoading().isEmpty() ? 1 : 0;
        }
        copy.write(std::string(1, bytes[at]), at);
    }
    EXPECT_GT(loaded, 0U);
    EXPECT_EQ(copy.faultInLoading(), QString());
}

INSTANTIATE_TEST_SUITE_P(Some, SmallSample,
                         testing::Values("Priya on 2005-03-27 at 10.05.chat",
                                         "Gus on 2005-04-02 at 09.12.chat",
                                         "Kim Lee on 2005-08-20 at 21.07 #2.ichat"));
