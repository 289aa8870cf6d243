#pragma once

#include <QByteArrayView>
#include <QStringView>

namespace platform {

/// Writes one message to the console log: local date and time, program name and process id, then @p message
/// unchanged (it is never a format). Goes out through the installed Host, at once.
void NSLog(QStringView message);

/// The same for a message that holds file names: they are bytes, and stay as they are.
void NSLogBytes(QByteArrayView message);

} // namespace platform
