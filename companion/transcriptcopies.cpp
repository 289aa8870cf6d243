#include "companion/transcriptcopies.h"

#include "VORAChatLog.h"

#include "platform/date/calendar.h"
#include "platform/files/directorywalk.h"
#include "platform/files/systemcalls.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <cerrno>
#include <compare>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <variant>

namespace companion {

namespace {

constexpr std::string_view separator = " on ";
constexpr size_t longestName = 255; // bytes, what Linux's file systems take
constexpr size_t longestNumber = 8; // bytes, " #" included

bool isPassedOver(const std::filesystem::path &path)
{
    return path.filename().native().find(separator) == std::string::npos;
}

bool isTranscriptName(const std::filesystem::path &path)
{
    // macOS keeps what a foreign file system has no place for in files "._NAME".
    return (path.extension() == ".chat" || path.extension() == ".ichat") &&
           !path.filename().native().starts_with("._");
}

/// A name without its extension, in two pieces: "Kim Lee", and the 7 of "Kim Lee #7".
struct NumberedName {
    std::string name;
    std::string number; ///< digits; empty when there are none
};

NumberedName numberedName(const std::string &stem)
{
    const size_t mark = stem.rfind(" #");
    if (mark == std::string::npos || mark + 2 == stem.size() || stem.size() - mark > longestNumber ||
        stem.find_first_not_of("0123456789", mark + 2) != std::string::npos)
        return {stem, {}};
    return {stem.substr(0, mark), stem.substr(mark + 2)};
}

/// @p name of at most so many bytes, cut between two characters.
std::string cut(std::string name, size_t bytes)
{
    constexpr unsigned char continuationMask = 0xC0;
    constexpr unsigned char continuation = 0x80;
    if (name.size() > bytes) {
        while (bytes > 0 && (static_cast<unsigned char>(name[bytes]) & continuationMask) == continuation)
            --bytes;
        name.resize(bytes);
    }
    return name;
}

std::strong_ordering compare(const timespec &a, const timespec &b)
{
    return a.tv_sec != b.tv_sec ? a.tv_sec <=> b.tv_sec : a.tv_nsec <=> b.tv_nsec;
}

/// @p path without @p prefix; nothing when it does not begin with that.
std::optional<std::filesystem::path> below(const std::filesystem::path &prefix,
                                           const std::filesystem::path &path)
{
    const auto [rest, other] = std::mismatch(prefix.begin(), prefix.end(), path.begin(), path.end());
    if (rest != prefix.end() || other == path.end())
        return std::nullopt;
    std::filesystem::path result;
    std::for_each(other, path.end(), [&](const std::filesystem::path &part) { result /= part; });
    return result;
}

/// A name that the archiver takes, made of one that it would pass over.
struct DatedName {
    NumberedName old;
    std::string stem;
};

/// Why there is none: the file is no transcript.
struct NoTranscript {
    std::string reason;
};

/// @param fileName what the file at @p source is called, or would be.
std::variant<DatedName, NoTranscript> datedName(const std::filesystem::path &source,
                                                const std::filesystem::path &fileName)
{
    const std::string extension = fileName.extension().native();
    const VORAChatLog::Loading loading = VORAChatLog::load(source, std::string(separator) + extension);
    if (!loading.chatLog)
        return NoTranscript{platform::utf8FromString(loading.reason).toStdString()};
    struct stat status{};
    const platform::NSDate date = loading.chatLog->LastMessageDate().value_or(
        platform::NSDate::fromUnixTime(::stat(source.c_str(), &status) == 0 ? status.st_mtim.tv_sec : 0));
    NumberedName old = numberedName(fileName.stem().native());
    const std::string end =
        std::string(separator) +
        platform::utf8FromString(platform::descriptionWithCalendarFormat(date, u"%Y-%m-%d at %H.%M"))
            .toStdString() +
        (old.number.empty() ? std::string() : " #" + old.number);
    old.name = cut(old.name, longestName - end.size() - extension.size());
    return DatedName{old, old.name + end};
}

/// A file with these bytes in @p folder under the name @p old with any date: a copy that an earlier run may
/// have dated by the clock of another time zone.
std::optional<std::filesystem::path>
copyUnderAnyDate(const QByteArray &bytes, const std::filesystem::path &folder, const NumberedName &old)
{
    for (const std::string &name : platform::contentsOfDirectory(folder)) {
        std::error_code error;
        if (name.starts_with(old.name + std::string(separator)) &&
            numberedName(std::filesystem::path(name).stem().native()).number == old.number &&
            std::filesystem::file_size(folder / name, error) == std::uintmax_t(bytes.size()) &&
            platform::readWholeFile(folder / name).bytes == bytes)
            return folder / name;
    }
    return std::nullopt;
}

std::string withReason(const std::filesystem::path &path, const std::string &reason)
{
    return path.native() + ": " + reason;
}

} // namespace

TranscriptCopies::TranscriptCopies(std::filesystem::path transcriptFolder, Changes &changes, Told told)
    : m_folder(std::move(transcriptFolder)), m_changes(changes), m_told(std::move(told))
{
}

const std::vector<std::filesystem::path> &TranscriptCopies::chatFolders()
{
    static const std::vector<std::filesystem::path> folders{
        "Documents/iChats",
        "Library/Messages/Archive",
        "Library/Containers/com.apple.iChat/Data/Library/Messages/Archive",
    };
    return folders;
}

void TranscriptCopies::copy(const std::filesystem::path &chats)
{
    std::error_code error;
    const std::filesystem::path root = std::filesystem::canonical(chats, error);
    if (error || ::access(root.c_str(), R_OK) != 0)
        throw Changes::Failure(chats.native() +
                               " cannot be read: " + platform::reasonOf(error ? error.value() : errno));
    const std::filesystem::path own = std::filesystem::canonical(m_folder, error);
    if (!std::filesystem::is_directory(root, error)) {
        if (!isTranscriptName(root))
            throw Changes::Failure(chats.native() + " is neither a folder nor a transcript.");
        if (!below(own, root))
            addCopy(root, root.filename());
        return;
    }
    platform::DirectoryWalk walk(root);
    while (const auto entry = walk.next()) {
        const std::filesystem::path source = root / *entry;
        struct stat status{};
        if (below(own, source))
            continue;
        if (::stat(source.c_str(), &status) != 0)
            continue; // a link that leads nowhere
        if (!S_ISREG(status.st_mode) || !isTranscriptName(source))
            continue;
        std::filesystem::path relative = *entry;
        for (const std::filesystem::path &folder : chatFolders()) {
            if (const auto inside = below(folder, *entry))
                relative = *inside;
        }
        addCopy(source, relative);
    }
    for (const auto &[folder, reason] : walk.unreadFolders())
        m_outcome.unread.push_back(withReason(folder.empty() ? root : root / folder, reason));
}

void TranscriptCopies::copyPassedOver()
{
    platform::DirectoryWalk walk(m_folder);
    while (const auto entry = walk.next()) {
        std::error_code error;
        if (isTranscriptName(*entry) && isPassedOver(*entry) &&
            std::filesystem::is_regular_file(m_folder / *entry, error))
            addCopy(m_folder / *entry, *entry);
    }
}

bool TranscriptCopies::hasArchivedCopy(const std::filesystem::path &path)
{
    const platform::FileContents file = platform::readWholeFile(path);
    if (!file.bytes || !isTranscriptName(path) || !isPassedOver(path))
        return false;
    const auto name = datedName(path, path.filename());
    const auto *dated = std::get_if<DatedName>(&name);
    return dated && copyUnderAnyDate(*file.bytes, path.parent_path(), dated->old);
}

void TranscriptCopies::addCopy(const std::filesystem::path &source, const std::filesystem::path &relative)
{
    const std::optional<Copy> copy = copyTranscript(source, relative);
    if (!copy)
        return;
    const bool isOwn = source == m_folder / relative;
    if (copy->isNew)
        ++m_outcome.copied;
    else if (!isOwn)
        ++m_outcome.alreadyThere;
    if (copy->isNew && copy->path.filename() != relative.filename())
        m_outcome.renamed.push_back(relative.native() + (isOwn ? " is now also " : " is now ") +
                                    copy->path.lexically_relative(m_folder).native());
}

/// @return nothing when the file is left out.
std::optional<TranscriptCopies::Copy> TranscriptCopies::copyTranscript(const std::filesystem::path &source,
                                                                       const std::filesystem::path &relative)
{
    const platform::FileContents file = platform::readWholeFile(source);
    if (!file.bytes) {
        m_outcome.unread.push_back(withReason(source, file.error));
        return std::nullopt;
    }
    const std::filesystem::path folder = m_folder / relative.parent_path();
    std::string stem = relative.stem().native();
    if (isPassedOver(relative)) {
        const auto name = datedName(source, relative.filename());
        if (const auto *none = std::get_if<NoTranscript>(&name)) {
            m_outcome.leftOut.push_back(withReason(source, none->reason));
            return std::nullopt;
        }
        const DatedName &dated = std::get<DatedName>(name);
        if (auto there = copyUnderAnyDate(*file.bytes, folder, dated.old))
            return Copy{std::move(*there), false};
        stem = dated.stem;
    }

    const std::string extension = relative.extension().native();
    const NumberedName numbered = numberedName(stem);
    std::filesystem::path destination = folder / (stem + extension);
    for (int number = 2;; ++number) {
        const Placing placing = place(source, *file.bytes, destination);
        if (placing != Placing::Taken)
            return Copy{destination, placing == Placing::Copied};
        const std::string end = " #" + std::to_string(number) + extension;
        destination = folder / (cut(numbered.name, longestName - end.size()) + end);
    }
}

TranscriptCopies::Placing TranscriptCopies::place(const std::filesystem::path &source,
                                                  const QByteArray &bytes,
                                                  const std::filesystem::path &destination)
{
    struct stat from{};
    struct stat there{};
    if (::stat(source.c_str(), &from) != 0)
        throw Changes::Failure(source.native() + " is gone.");
    if (::lstat(destination.c_str(), &there) != 0) {
        m_changes.makeFolder(destination.parent_path());
        m_changes.writeFile(destination, bytes, from.st_mtim);
        m_told(source, destination);
        return Placing::Copied;
    }
    if (!S_ISREG(there.st_mode) || there.st_size != bytes.size() ||
        platform::readWholeFile(destination).bytes != bytes)
        return Placing::Taken;
    // A copy that was made without its date has been waiting for it.
    if (compare(from.st_mtim, there.st_mtim) < 0)
        setModificationTime(destination, from.st_mtim);
    return Placing::ThereAlready;
}

} // namespace companion
