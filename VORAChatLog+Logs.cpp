#include "VORAChatLog.h"

#include "galleries/imagenames.h"
#include "galleries/savedfiles.h"

#include "platform/date/calendar.h"
#include "platform/files/files.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/text/filetext.h"
#include "platform/text/format.h"

#include <array>

namespace {

QString dateText(const platform::NSDate &time)
{
    return platform::descriptionWithCalendarFormat(time, u"%a %B %e, %I:%M%p");
}

/// A text file to which entries are added, each in the format that a preference gives.
class TextLog {
public:
    TextLog(std::filesystem::path path, QStringView formatKey)
        : m_path(std::move(path)), m_file(platform::readWholeFile(m_path)),
          m_format(platform::CFPreferencesCopyAppValue(formatKey).string())
    {
    }

    void add(std::span<const QString> objects)
    {
        if (isWritable())
            m_entries += platform::filledFormat(*m_format, objects);
    }

    /// Replaces the file; call once. It stays untouched when it could not be read or there is no format.
    void write()
    {
        if (!isWritable())
            return;
        platform::FileText log(std::move(*m_file));
        log.append(m_entries);
        (void)platform::writeAtomically(m_path, log.bytes());
    }

private:
    [[nodiscard]] bool isWritable() const { return m_file.has_value() && m_format.has_value(); }

    std::filesystem::path m_path;
    platform::Result<QByteArray> m_file;
    std::optional<QString> m_format;
    QString m_entries;
};

} // namespace

void VORAChatLog::ExtendURLLog(const std::filesystem::path &path) const
{
    TextLog log(path, platform::preference::bookmarkEntry);
    for (const LinkRecord &record : GatheredURLs(Records::Filled)) {
        for (const QString &url : record.urls)
            log.add(std::array{url, url, *record.speaker, dateText(*record.time)});
    }
    log.write();
}

void VORAChatLog::ExtendImageLog(const std::filesystem::path &path,
                                 const galleries::SavedFiles::Failed &failed) const
{
    TextLog log(path, platform::preference::imageEntry);
    galleries::SavedFiles files(path.parent_path() / "Images", failed);
    for (const ImageRecord &record : GatheredImages(Records::Filled)) {
        for (const auto &wrapper : record.images) {
            const QString when = platform::descriptionWithCalendarFormat(*record.time, u"%a%b%e%I%M%p");
            const galleries::FileName name =
                galleries::imageFileName(wrapper->preferredFilename(), *record.speaker, when);
            if (files.save(wrapper, name))
                log.add(std::array{name.text(), *record.speaker, dateText(*record.time)});
        }
    }
    if (files.isFull())
        logFilesLeftOut();
    log.write();
}
