#include "importing/transcriptnames.h"

#include "platform/date/calendar.h"
#include "platform/text/encoding.h"

#include <QRegularExpression>

#include <ctime>
#include <string_view>

namespace importing {

namespace {

constexpr std::string_view separator = " on ";
constexpr size_t longestName = 255; // bytes, what Linux's file systems take

struct SplitName {
    std::string stem;
    std::string extension; ///< with its point, in lower case
};

SplitName split(const std::string &fileName)
{
    const size_t point = std::min(fileName.rfind('.'), fileName.size());
    return {fileName.substr(0, point),
            QByteArray::fromStdString(fileName.substr(point)).toLower().toStdString()};
}

/// A stem in two pieces: "Kim Lee", and the " #7" of "Kim Lee #7", which may be empty.
std::pair<std::string, std::string> withoutNumber(const std::string &stem)
{
    constexpr size_t longestNumber = 8; // bytes, " #" included
    const size_t mark = stem.rfind(" #");
    if (mark == std::string::npos || mark + 2 == stem.size() || stem.size() - mark > longestNumber ||
        stem.find_first_not_of("0123456789", mark + 2) != std::string::npos)
        return {stem, {}};
    return {stem.substr(0, mark), stem.substr(mark)};
}

/// @p beginning, cut between two characters where the name would be too long, and @p end.
std::string joined(std::string beginning, const std::string &end)
{
    constexpr unsigned char continuationMask = 0xC0;
    constexpr unsigned char continuation = 0x80;
    if (beginning.size() + end.size() > longestName) {
        size_t size = longestName - end.size();
        while (size > 0 && (static_cast<unsigned char>(beginning[size]) & continuationMask) == continuation)
            --size;
        beginning.resize(size);
    }
    return beginning + end;
}

/// NAME word DATE word TIME, with a number or without. The second word may be two, as in Spanish.
QRegularExpressionMatch matchDatedStem(const std::string &stem)
{
    static const QRegularExpression pattern(
        QStringLiteral("^(.+) ([^ ]+) ([0-9]{4})-([0-9]{2})-([0-9]{2}) ([^ ]+(?: [^ ]+)?) "
                       "([0-9]{2})\\.([0-9]{2})(?:\\.([0-9]{2}))?"
                       "( #[0-9]+)?$"));
    // Latin-1 keeps every byte as it is, whatever the name's encoding.
    return pattern.match(QString::fromLatin1(QByteArray::fromStdString(stem)));
}

} // namespace

std::optional<Kind> transcriptKind(const std::filesystem::path &path)
{
    const std::string name = path.filename().native();
    const SplitName parts = split(name);
    if (parts.stem.empty() || name.starts_with("._"))
        return std::nullopt;
    return parts.extension == ".chat"    ? std::optional(Kind::Chat)
           : parts.extension == ".ichat" ? std::optional(Kind::IChat)
                                         : std::nullopt;
}

bool isArchivableName(const std::filesystem::path &path)
{
    const std::string name = path.filename().native();
    return (name.ends_with(".chat") || name.ends_with(".ichat")) && name.find(separator) != std::string::npos;
}

std::string properName(const std::string &fileName)
{
    const SplitName parts = split(fileName);
    const QRegularExpressionMatch match = matchDatedStem(parts.stem);
    if (!match.hasMatch() || match.capturedView(2) == u"on")
        return parts.stem + parts.extension;
    const auto captured = [&](int group) { return match.captured(group).toLatin1().toStdString(); };
    std::string time = captured(7) + '.' + captured(8);
    if (match.hasCaptured(9))
        time += '.' + captured(9);
    return joined(captured(1), std::string(separator) + captured(3) + '-' + captured(4) + '-' + captured(5) +
                                   " at " + time + captured(10) + parts.extension);
}

std::string nameWithDate(const std::string &fileName, const timespec &date)
{
    const SplitName parts = split(fileName);
    const auto [name, number] = withoutNumber(parts.stem);
    const QString moment = platform::descriptionWithCalendarFormat(
        platform::NSDate::fromUnixTime(date.tv_sec, date.tv_nsec), u"%Y-%m-%d at %H.%M");
    return joined(name, std::string(separator) + platform::utf8FromString(moment).toStdString() + number +
                            parts.extension);
}

std::string nameWithNumber(const std::string &fileName, int number)
{
    const SplitName parts = split(fileName);
    return joined(withoutNumber(parts.stem).first, " #" + std::to_string(number) + parts.extension);
}

std::optional<timespec> dateInName(const std::string &fileName)
{
    const QRegularExpressionMatch match = matchDatedStem(split(fileName).stem);
    if (!match.hasMatch())
        return std::nullopt;
    const auto number = [&](int group) { return match.captured(group).toInt(); };
    std::tm fields{};
    fields.tm_year = number(3) - 1900;
    fields.tm_mon = number(4) - 1;
    fields.tm_mday = number(5);
    fields.tm_hour = number(7);
    fields.tm_min = number(8);
    fields.tm_sec = number(9);
    fields.tm_isdst = -1;
    if (fields.tm_mon > 11 || fields.tm_mon < 0 || fields.tm_mday < 1 || fields.tm_mday > 31 ||
        fields.tm_hour > 23 || fields.tm_min > 59 || fields.tm_sec > 59)
        return std::nullopt;
    return timespec{std::mktime(&fields), 0};
}

} // namespace importing
