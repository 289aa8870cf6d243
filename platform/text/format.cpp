#include "platform/text/format.h"

namespace platform {

QString filledFormat(QStringView format, std::span<const QString> objects)
{
    QString text;
    while (!format.isEmpty()) {
        if (format.startsWith(u"%@") && !objects.empty()) {
            text += objects.front();
            objects = objects.subspan(1);
            format = format.sliced(2);
        } else if (format.startsWith(u"%%")) {
            text += u'%';
            format = format.sliced(2);
        } else {
            text += format.front();
            format = format.sliced(1);
        }
    }
    return text;
}

} // namespace platform
