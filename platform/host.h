#pragma once

#include <QByteArrayView>
#include <QString>

namespace platform {

/// What the running program offers to the model below it: somewhere to write, to beep and to show a dialog.
///
/// Together with the chat-log model's three host flags and the open galleries::Session this is the only state
/// that belongs to the process. A program installs its host once, at its start; until then the default host
/// stands, which writes console lines to standard error and shows a dialog as such a line.
class Host {
public:
    virtual ~Host() = default;

    /// Writes one finished line of the console log; what a terminal would obey is shown instead. @p line is
    /// UTF-8, but for file names, which are any bytes; it holds no line feed at its end.
    virtual void consoleLine(QByteArrayView line);
    /// Sounds the system's beep; the default host does nothing.
    virtual void beep();
    /// Shows @p message with the one button OK and returns when it has been dismissed.
    virtual void dialog(const QString &message);

    /// The installed host.
    [[nodiscard]] static Host &current();
    /// Installs @p host, which is lent and must outlive its use; null brings the default host back.
    /// @return the host that was installed before, null for the default one.
    static Host *install(Host *host);
};

} // namespace platform
