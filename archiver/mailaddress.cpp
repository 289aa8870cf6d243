#include "archiver/mailaddress.h"

#include <QChar>

#include <algorithm>

bool isBareAddress(QStringView text)
{
    const bool clean = std::none_of(text.begin(), text.end(), [](QChar c) {
        return c.isSpace() || c == u'<' || c == u'>' || c.category() == QChar::Other_Control;
    });
    const qsizetype at = text.lastIndexOf(u'@');
    return clean && at > 0 && at + 1 < text.size();
}
