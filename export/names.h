#pragma once

#include <QSet>
#include <QString>
#include <QStringView>

namespace exporting {

// Names of files and folders that can be carried anywhere: Linux, macOS, Windows, and sticks of all three.

/// @p name without what a file system may not take: control characters, characters that have a meaning for
/// Windows, a full stop at the start, a full stop or blanks at the end, and names of devices. With @p suffix
/// it takes at most 200 bytes of UTF-8, so that there is room for a number.
[[nodiscard]] QString portableName(QStringView name, QStringView suffix = {});

/// The portable name of an attached file, with a suffix that keeps it from being run: kinds that browsers run
/// (HTML, SVG, scripts …) get `.txt` at the end, which shows their source; everything else that is not known
/// to be harmless gets `.bin`, which is offered to be saved.
[[nodiscard]] QString attachmentName(const QString &preferredFilename);

/// @p path as part of a URL: each character but ASCII letters, digits, "-", ".", "_", "~" and "/" as "%" and
/// two digits.
[[nodiscard]] QString urlOfPath(QStringView path);

/// Whether a document may lead there: http, https, mailto and ftp. Everything else is shown as text.
[[nodiscard]] bool isSafeLink(QStringView link);

/// Names of which none is given twice; letter case and composed characters make no difference, as on some
/// file systems.
class UniqueNames {
public:
    /// @p stem and @p suffix, with " (2)", " (3)" … in between where that is needed. The stem may be a path.
    [[nodiscard]] QString take(const QString &stem, const QString &suffix);
    /// Notes @p name as taken. @return false when it was.
    bool note(const QString &name);

private:
    QSet<QString> m_taken;
    QHash<QString, int> m_last; ///< number given to a name last
};

} // namespace exporting
