#pragma once

#include "export/options.h"

#include "conversation/conversation.h"

#include <QString>

#include <memory>
#include <vector>

namespace exporting {

/// Where a document has the files that are attached to a chat.
class AttachedFiles {
public:
    struct File {
        std::shared_ptr<const platform::NSFileWrapper> wrapper; ///< null when the chat has no file there
        QString name;     ///< for people, never empty; as archived, on one line
        QByteArray image; ///< media type, where browsers show it as a picture: "image/png"; else empty
        bool isInside = false;
        QString path; ///< where it stands, relative to the document; empty when it stands nowhere
    };

    AttachedFiles() = default;
    /// @param folder for those that stand beside, relative to the document.
    /// @param limit most bytes that may be written beside; a file counts 4,096 more. Those that come after it
    /// stand nowhere.
    AttachedFiles(const conversation::Conversation &conversation, const Options &options,
                  const QString &folder, qint64 limit);

    /// At the place of each file of the conversation.
    [[nodiscard]] const std::vector<File> &files() const { return m_files; }
    [[nodiscard]] const File &operator[](size_t position) const { return m_files[position]; }

    /// What is to be written beside the document. Folders are taken apart into their files.
    struct Beside {
        QString path; ///< relative to the document
        QByteArray contents;
    };
    [[nodiscard]] const std::vector<Beside> &beside() const { return m_beside; }
    /// How many were left out for the limit.
    [[nodiscard]] qsizetype leftOut() const { return m_leftOut; }

private:
    std::vector<File> m_files;
    std::vector<Beside> m_beside;
    qsizetype m_leftOut = 0;
};

/// The media type of a picture that all browsers show, told by its first bytes; empty for anything else.
/// Drawings (SVG) are not among them, since they can hold scripts.
[[nodiscard]] QByteArray imageType(QByteArrayView contents);

} // namespace exporting
