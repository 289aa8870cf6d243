#include "platform/mail/mailaddress.h"

#include <QChar>
#include <QList>

#include <algorithm>

namespace platform {

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

bool isEnvelopeAddress(QStringView text)
{
    constexpr qsizetype longestAddress = 254;
    return text.size() <= longestAddress && isBareAddress(text) &&
           std::all_of(text.begin(), text.end(), [](QChar c) { return c < QChar(0x7f); });
}

} // namespace platform
