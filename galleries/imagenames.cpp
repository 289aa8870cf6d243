#include "galleries/imagenames.h"

#include "platform/propertylist/xmlwriter.h"

#include <QStringBuilder>

namespace galleries {

namespace {

/// Before the name is measured and cut: U+FFFD can be longer than what it stands for.
FileName fitName(QString stem, QString suffix)
{
    for (QString *part : {&stem, &suffix})
        *part = platform::withoutCharactersUnfitForXml(part->replace(QChar::Null, u':'));
    return fileName(stem, suffix);
}

} // namespace

FileName imageFileName(const std::optional<QString> &preferredFilename, QStringView speaker, QStringView when)
{
    if (!preferredFilename)
        return fitName(speaker % u'-' % when, QStringLiteral(".image"));
    const QStringView name = *preferredFilename;
    const qsizetype stop = name.lastIndexOf(u'.');
    const QStringView stem = stop < 0 ? name : name.first(stop);
    return fitName(stem % u'-' % speaker % u'-' % when, u'.' % pathExtension(name));
}

} // namespace galleries
