#include "VORAChatLog.h"

#include "platform/host.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/propertylist/values.h"
#include "platform/scripting/nsapplescript.h"

#include <algorithm>
#include <limits>

using platform::PropertyList;

namespace {

/// The failure, counted since the counter was last cleared, that draws the user's attention; the others are
/// recorded silently.
constexpr qint64 failureThatShowsTheDialog = 3;

constexpr QStringView dialogText = u"Prattlebug has encountered an error. Please go to the Prattlebug "
                                   u"preferences pane for more information.";

} // namespace

void VORAChatLog::reportError(ErrorCode code, const QString &andLog)
{
    platform::CFPreferencesAppSynchronize();
    platform::CFPreferencesSetAppValue(platform::preference::errorStatus,
                                       PropertyList::fromInteger(qint32(code)));
    const qint64 earlier =
        platform::integerFrom(platform::CFPreferencesCopyAppValue(platform::preference::emailFails))
            .value_or(0);
    const qint64 failures = std::min(earlier, std::numeric_limits<qint64>::max() - 1) + 1;
    platform::CFPreferencesSetAppValue(platform::preference::emailFails, PropertyList::fromInteger(failures));
    platform::CFPreferencesSetAppValue(platform::preference::reportThis, PropertyList::fromString(andLog));
    platform::CFPreferencesAppSynchronize();
    if (failures != failureThatShowsTheDialog)
        return;
    const auto script = platform::NSAppleScript::initWithSource(
        QStringLiteral("tell application \"System Events\" to display dialog \"%1\" buttons {\"OK\"}")
            .arg(dialogText));
    platform::Host::current().beep();
    if (platform::NSAppleScript::isAvailable())
        static_cast<void>(script.executeAndReturnError());
    else
        platform::Host::current().dialog(dialogText.toString());
}
