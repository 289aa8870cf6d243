#pragma once

#include "platform/appkit/nsfilewrapper.h"

#include <QObject>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <optional>

class QWidget;

namespace reader {

/// Opens what is in a chat with the programs of the desktop, and saves files; asks first where that could do
/// harm.
class Opening final : public QObject {
    Q_OBJECT

public:
    /// @param window lent: the questions are asked above it.
    explicit Opening(QWidget &window);

    /// A link: http, https, mailto and ftp at once; any other scheme, or none, when the user agrees.
    void openLink(const QString &link);
    /// A file, from a folder of this program's own that goes when it ends.
    void openFile(const platform::NSFileWrapper &file);
    /// A file or folder, under a name and in a place that the user chooses. It is never made a program.
    void saveFile(const platform::NSFileWrapper &file);

Q_SIGNALS:
    void told(const QString &text);

private:
    [[nodiscard]] bool asked(const QString &question, const QString &detail, const QString &button);
    /// @return why it could not be written; nothing when it was.
    [[nodiscard]] static std::optional<QString> write(const platform::NSFileWrapper &file,
                                                      const QString &path);

    QWidget &m_window;
    std::unique_ptr<QTemporaryDir> m_folder; ///< of opened files
    int m_opened = 0;
    QString m_lastFolder; ///< that something was saved in
};

} // namespace reader
