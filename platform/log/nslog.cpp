#include "platform/log/nslog.h"

#include "platform/date/calendar.h"
#include "platform/host.h"
#include "platform/text/encoding.h"

#include <cerrno>
#include <unistd.h>

namespace platform {

void NSLog(QStringView message)
{
    NSLogBytes(utf8FromString(message));
}

void NSLogBytes(QByteArrayView message)
{
    const NSDate now = NSDate::now();
    QByteArray line = descriptionWithCalendarFormat(now, u"%Y-%m-%d %H:%M:%S").toLatin1();
    line += '.' + QByteArray::number(now.unixMilliseconds() % 1000).rightJustified(3, '0');
    line += ' ' + QByteArray(program_invocation_short_name) + '[' + QByteArray::number(getpid()) + "] ";
    line += message;
    Host::current().consoleLine(line);
}

} // namespace platform
