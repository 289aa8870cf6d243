#include "platform/scripting/nsapplescript.h"

#include "platform/text/encoding.h"

#include <QProcess>
#include <QStandardPaths>

namespace platform {

namespace {

/// An empty string when there is none.
QString interpreterPath()
{
    return QStandardPaths::findExecutable(QStringLiteral("osascript"));
}

} // namespace

bool NSAppleScript::isAvailable()
{
    return !interpreterPath().isEmpty();
}

std::optional<QString> NSAppleScript::executeAndReturnError() const
{
    const QString interpreter = interpreterPath();
    if (interpreter.isEmpty())
        return std::nullopt;
    constexpr int withoutLimit = -1; // the script may wait for a person
    QProcess process;
    process.start(interpreter, {});
    process.write(utf8FromString(m_source));
    process.closeWriteChannel();
    if (!process.waitForFinished(withoutLimit) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        return std::nullopt;
    QByteArray reply = process.readAllStandardOutput();
    if (reply.endsWith('\n'))
        reply.chop(1);
    return stringFromUtf8(reply);
}

} // namespace platform
