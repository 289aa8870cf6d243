#include "fuzz/fuzz.h"

#include "VORAChatLog.h"

#include "archiver/mboxmessage.h"

#include "platform/text/encoding.h"

#include <QString>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

// What becomes of a whole transcript: loaded, rendered plain, as HTML and as a message of an mbox, and gone
// through for words, links and attached files. Of which generation it is tell its first bytes.

namespace {

namespace fs = std::filesystem;

/// Where the transcript of the moment lies, and a home folder in which there is nothing.
class Place {
public:
    Place()
    {
        std::string folder = fs::temp_directory_path() / "prattlebug-fuzz-XXXXXX";
        fuzz::require(mkdtemp(folder.data()) != nullptr);
        m_folder = folder;
        setenv("HOME", m_folder.c_str(), 1);
        setenv("TZ", "America/Los_Angeles", 1);
    }
    ~Place()
    {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    Place(const Place &) = delete;
    Place &operator=(const Place &) = delete;

    [[nodiscard]] fs::path write(const QByteArray &bytes) const
    {
        const bool isKeyed = bytes.startsWith("bplist") || bytes.startsWith('<');
        const fs::path path = m_folder / (isKeyed ? "Kim on x.ichat" : "Kim on x.chat");
        std::ofstream(path, std::ios::binary).write(bytes.constData(), bytes.size());
        return path;
    }

private:
    fs::path m_folder;
    fuzz::QuietHost m_host;
};

/// Whether no rendering of @p chatLog can come near the limit at which rendering gives up, which would
/// take an input's time and nothing else. An attribute is at most as long as the file.
bool isSmall(const VORAChatLog &chatLog, qint64 fileSize)
{
    constexpr qint64 most = qint64(1) << 26;
    qint64 size = 0;
    for (const auto &message : chatLog.messages()) {
        if (!message->isStatusMessage())
            size += message->string()->length() + qint64(message->string()->runs().size() + 1) * fileSize;
        if (size > most)
            return false;
    }
    return true;
}

void checkMessage(const VORAChatLog &chatLog)
{
    const QByteArray bytes = mboxMessageBytes({.address = QStringLiteral("sam@example.org"),
                                               .subject = chatLog.subjectForEmail(),
                                               .date = platform::NSDate::fromUnixTime(0),
                                               .plainText = platform::utf8FromString(chatLog.PlainChatLog()),
                                               .html = chatLog.HTMLChatLog()},
                                              0);
    fuzz::require(bytes.startsWith("From sam@example.org ") && bytes.endsWith("--\n\n"));
    fuzz::require(!bytes.contains("\nFrom ")); // one message, whatever the chat says
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const Place place;
    const QByteArray bytes = fuzz::bytesOf(data, size);
    const VORAChatLog::Loading loading = VORAChatLog::load(place.write(bytes));
    if (!loading) {
        fuzz::require(!loading.error().reason.empty());
        return 0;
    }
    const VORAChatLog &chatLog = **loading;
    static_cast<void>(chatLog.LastMessageDate());
    if (!isSmall(chatLog, qint64(size)))
        return 0;
    checkMessage(chatLog);
    fuzz::require(chatLog.CountWordsForUserInSet(nullptr) >= 0);
    for (const LinkRecord &record : chatLog.GatheredURLs())
        fuzz::require(record.urls.empty() || record.speaker);
    for (const ImageRecord &record : chatLog.GatheredImages()) {
        for (const auto &image : record.images)
            fuzz::require(image != nullptr);
    }
    return 0;
}
