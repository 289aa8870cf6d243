#include "archiver/mailaddress.h"

#include <QChar>
#include <QList>

#include <algorithm>

bool isBareAddress(QStringView text)
{
    constexpr QStringView others = u"<>()[]\"\\,;:";
    const bool clean = std::none_of(text.begin(), text.end(), [others](QChar c) {
        return c.isSpace() || others.contains(c) || c.category() == QChar::Other_Control;
    });
    const QList<QStringView> parts = text.split(u'@');
    if (!clean || parts.size() != 2 || parts.front().isEmpty())
        return false;
    const QList<QStringView> labels = parts.back().split(u'.');
    return std::none_of(labels.begin(), labels.end(), [](QStringView label) { return label.isEmpty(); });
}
