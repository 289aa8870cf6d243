#include "reader/names.h"

#include "galleries/filenames.h"

#include <algorithm>

namespace reader {

namespace {

constexpr qsizetype longest = 300; // UTF-16 units

bool isHarmful(QChar c)
{
    constexpr QChar zeroWidthNonJoiner(0x200C); // Persian and Indian scripts need these two, and so do emoji
    constexpr QChar zeroWidthJoiner(0x200D);
    switch (c.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph: return true;
    case QChar::Other_Format: return c != zeroWidthNonJoiner && c != zeroWidthJoiner;
    default: return false;
    }
}

QString withoutHarmful(QStringView text)
{
    QString result = text.toString();
    std::replace_if(result.begin(), result.end(), isHarmful, QChar(QChar::ReplacementCharacter));
    return result;
}

} // namespace

QString harmless(QStringView text)
{
    if (text.size() > longest)
        return withoutHarmful(text.first(longest / 2)) + u'…' + withoutHarmful(text.last(longest / 2));
    return withoutHarmful(text);
}

QString harmlessMarkup(QStringView text)
{
    return QStringLiteral("<p style='white-space:pre-wrap'>") + harmless(text).toHtmlEscaped() +
           QStringLiteral("</p>");
}

QString nameToSave(QStringView name)
{
    QString result = withoutHarmful(name).trimmed();
    result.replace(u'\\', u':');
    result = galleries::fileName(result, {}).text();
    if (result.startsWith(u'.'))
        result.prepend(u'_');
    return result;
}

} // namespace reader
