#pragma once

#include <QString>

#include <optional>

namespace platform {

/// A script in the platform's scripting language, run by the program `osascript` where PATH leads to one;
/// elsewhere a script has no reply.
class NSAppleScript {
public:
    [[nodiscard]] static NSAppleScript initWithSource(QString source)
    {
        return NSAppleScript(std::move(source));
    }

    /// Whether there is such a program.
    [[nodiscard]] static bool isAvailable();

    /// Runs the script, which is given to `osascript` on its standard input, and waits for it.
    /// @return what it printed, without the line feed at its end; nothing when it could not be run or failed.
    [[nodiscard]] std::optional<QString> executeAndReturnError() const;

private:
    explicit NSAppleScript(QString source) : m_source(std::move(source)) {}

    QString m_source;
};

} // namespace platform
