#include "failurestatus.h"

#include "VORAChatLog.h"

#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/propertylist/values.h"

#include <algorithm>

namespace {

QString kindOf(qint64 code)
{
    using Code = VORAChatLog::ErrorCode;
    switch (code) {
    case qint64(Code::FileNotWritten): return QStringLiteral("a file could not be written");
    case qint64(Code::MailServer): return QStringLiteral("the mail server");
    case qint64(Code::MailLogin): return QStringLiteral("the login at the mail server");
    case qint64(Code::Internal): return QStringLiteral("an internal failure");
    case 0: return QStringLiteral("an unknown failure");
    default: return QStringLiteral("code %1").arg(code);
    }
}

} // namespace

FailureStatus FailureStatus::current()
{
    using platform::CFPreferencesCopyAppValue;
    using platform::integerFrom;
    return {integerFrom(CFPreferencesCopyAppValue(platform::preference::errorStatus)),
            CFPreferencesCopyAppValue(platform::preference::reportThis).string().value_or(QString()),
            std::max<qint64>(
                0, integerFrom(CFPreferencesCopyAppValue(platform::preference::emailFails)).value_or(0))};
}

QString FailureStatus::description() const
{
    if (!code && text.isEmpty() && sinceCleared == 0)
        return QStringLiteral("No failure has been reported.");
    const QString count = sinceCleared == 0   ? QStringLiteral("No failure")
                          : sinceCleared == 1 ? QStringLiteral("1 failure")
                                              : QStringLiteral("%1 failures").arg(sinceCleared);
    return count + QStringLiteral(" since the count was last cleared.\nThe latest: ") +
           kindOf(code.value_or(0)) + (text.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(text)) + u'.';
}

bool clearFailureCount()
{
    platform::CFPreferencesSetAppValue(platform::preference::emailFails, platform::PropertyList());
    return platform::CFPreferencesAppSynchronize();
}
