#include "reader/filekind.h"

#include "reader/names.h"

#include <QCoreApplication>
#include <QLocale>
#include <QMimeDatabase>

#include <algorithm>
#include <array>

namespace reader {

using platform::NSFileWrapper;

namespace {

QString translated(const char *text)
{
    return QCoreApplication::translate("reader", text);
}

/// Kinds that programs show and do not run, by what their MIME types are or begin with.
constexpr std::array harmlessKinds{
    "image/png",  "image/jpeg",      "image/gif",
    "image/bmp",  "image/tiff",      "image/webp",
    "image/heif", "audio/",          "video/",
    "text/plain", "text/vcard",      "text/calendar",
    "text/csv",   "application/pdf", "application/rtf",
    "text/rtf",   "application/zip", "application/vnd.oasis.opendocument.",
};

bool isHarmless(const QMimeType &type)
{
    const QString name = type.name();
    return std::any_of(harmlessKinds.begin(), harmlessKinds.end(), [&name](const char *kind) {
        const QLatin1String text(kind);
        return text.endsWith(u'/') || text.endsWith(u'.') ? name.startsWith(text) : name == text;
    });
}

} // namespace

QString shownName(const NSFileWrapper &file)
{
    const QString name = harmless(file.preferredFilename().value_or(QString()));
    return name.trimmed().isEmpty() ? translated("File without a name") : name;
}

QString kindAndSize(const NSFileWrapper &file)
{
    const QString kind =
        file.isRegularFile()
            ? QMimeDatabase().mimeTypeForFile(shownName(file), QMimeDatabase::MatchExtension).comment()
            : translated("folder");
    return translated("%1, %2").arg(
        kind, QLocale().formattedDataSize(file.totalSize(), 0, QLocale::DataSizeSIFormat));
}

bool mightRun(const NSFileWrapper &file)
{
    if (!file.isRegularFile())
        return false;
    constexpr qsizetype enough = 16'384;
    const QMimeDatabase kinds;
    const QMimeType byName = kinds.mimeTypeForFile(nameToSave(file.preferredFilename().value_or(QString())),
                                                   QMimeDatabase::MatchExtension);
    const QMimeType byContents = kinds.mimeTypeForData(file.regularFileContents().left(enough));
    return !isHarmless(byName) ||
           !(byContents.isDefault() || isHarmless(byContents) || byName.inherits(byContents.name()));
}

} // namespace reader
