#include "VORAChatLog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

// A sample that is cut off, or changed in one byte, gives a chat or a reason, and never more than that. With
// PRATTLEBUG_THOROUGH in the environment every length and every change is tried, which takes many minutes under
// sanitizers. Otherwise long samples are cut off at fewer and fewer lengths the longer they are (a binary property list,
// which is read from its end, at few), and in the larger of the small samples only some changes are tried.

namespace {

namespace fs = std::filesystem;

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
    /// Whether it can still be loaded.
    [[nodiscard]] bool load() const
    {
        const VORAChatLog::Loading loading = VORAChatLog::load(m_path);
        EXPECT_EQ(loading.outcome == VORAChatLog::Outcome::Loaded, bool(loading.chatLog));
        if (!loading.chatLog) {
            EXPECT_EQ(loading.outcome, VORAChatLog::Outcome::Unreadable);
            EXPECT_FALSE(loading.reason.isEmpty());
            return false;
        }
        EXPECT_FALSE(loading.chatLog->description().isEmpty()); // which walks through all that was decoded
        for (const auto &message : loading.chatLog->messages())
            EXPECT_TRUE(message);
        return true;
    }

private:
    fs::path m_folder;
    fs::path m_path;
    std::string m_bytes;
    int m_descriptor = -1;
};

std::vector<fs::path> samples()
{
    std::vector<fs::path> found;
    for (const auto &entry : fs::recursive_directory_iterator(PRATTLEBUG_SAMPLES)) {
        if (entry.path().extension() == ".chat" || entry.path().extension() == ".ichat")
            found.push_back(entry.path());
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::string testName(const testing::TestParamInfo<fs::path> &info)
{
    std::string name = std::to_string(info.index) + '_';
    for (const char c : info.param.filename().string()) {
        if (std::isalnum(static_cast<unsigned char>(c)))
            name += c;
    }
    return name;
}

class DamagedSample : public testing::TestWithParam<fs::path> {};

} // namespace

TEST_P(DamagedSample, CutOffAnywhere)
{
    const Copy copy(GetParam());
    ASSERT_TRUE(copy.load());
    const bool isReadFromItsEnd = copy.bytes().starts_with("bplist");
    size_t loaded = 0;
    size_t step = 1;
    for (size_t length = copy.bytes().size(); length > 0;) {
        length -= std::min(step, length);
        copy.cutTo(length);
        loaded += copy.load() ? 1 : 0;
        const bool isAtEnd = length + 64 > copy.bytes().size();
        step = triesAll || isAtEnd ? 1 : isReadFromItsEnd ? 509 : 1 + length / 4096 * length / 4096;
    }
    EXPECT_LE(loaded, 64U) << "only the very end of a sample may be missing without harm";
}

INSTANTIATE_TEST_SUITE_P(Every, DamagedSample, testing::ValuesIn(samples()), testName);

class SmallSample : public testing::TestWithParam<std::string> {};

TEST_P(SmallSample, ChangedInAnyByte)
{
    const Copy copy(fs::path(PRATTLEBUG_SAMPLES) / GetParam());
    const std::string &bytes = copy.bytes();
    constexpr size_t small = 2048;
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
            loaded += copy.load() ? 1 : 0;
        }
        copy.write(std::string(1, bytes[at]), at);
    }
    EXPECT_GT(loaded, 0U);
    EXPECT_TRUE(copy.load());
}

INSTANTIATE_TEST_SUITE_P(Some, SmallSample,
                         testing::Values(std::string("Priya on 2005-03-27 at 10.05.chat"),
                                         std::string("Gus on 2005-04-02 at 09.12.chat"),
                                         std::string("Kim Lee on 2005-08-20 at 21.07 #2.ichat")));
