#pragma once

#include "platform/foundation/nsobject.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// One attached file or folder, with all its contents. Immutable.
class NSFileWrapper final : public NSObject {
public:
    /// A file or folder inside a folder.
    struct Child {
        QString name; ///< as archived: any characters, path separators too
        std::shared_ptr<const NSFileWrapper> wrapper;
    };

    /// A regular file.
    NSFileWrapper(std::optional<QString> preferredFilename, QByteArray contents);
    /// A folder.
    NSFileWrapper(std::optional<QString> preferredFilename, std::vector<Child> children);

    /// Told of the bytes that are about to be allocated; may throw to forbid it.
    using Charge = std::function<void(quint64 bytes)>;

    /// Reads a wrapper in its serialised form, which begins with "rtfd": 4-byte little-endian numbers; a
    /// record of type 1 is data, one of type 3 a folder of named records. Bytes that are not such a form are
    /// taken for the contents of a file without a name, so that nothing attached is lost.
    [[nodiscard]] static std::shared_ptr<const NSFileWrapper>
    initWithSerializedRepresentation(const QByteArray &bytes, const Charge &charge);

    /// Whether @p bytes begin as the serialised form does.
    [[nodiscard]] static bool looksSerialized(QByteArrayView bytes);

    /// The name the sender's file had; nothing when it had none.
    [[nodiscard]] const std::optional<QString> &preferredFilename() const { return m_name; }
    [[nodiscard]] bool isRegularFile() const { return m_regular; }
    /// The bytes of a regular file; empty for a folder.
    [[nodiscard]] const QByteArray &regularFileContents() const { return m_contents; }
    /// What a folder holds, in the archive's order; empty for a regular file.
    [[nodiscard]] const std::vector<Child> &children() const { return m_children; }
    /// Bytes of the file, or of all files in the folder.
    [[nodiscard]] qint64 totalSize() const;

    [[nodiscard]] QString className() const override { return QStringLiteral("NSFileWrapper"); }

private:
    std::optional<QString> m_name;
    bool m_regular;
    QByteArray m_contents;
    std::vector<Child> m_children;
};

/// An attachment of a text: one character that stands for a file.
class NSTextAttachment final : public NSObject {
public:
    explicit NSTextAttachment(std::shared_ptr<const NSFileWrapper> fileWrapper)
        : m_wrapper(std::move(fileWrapper))
    {
    }

    /// The attached file, or null.
    [[nodiscard]] const std::shared_ptr<const NSFileWrapper> &fileWrapper() const { return m_wrapper; }
    [[nodiscard]] QString className() const override { return QStringLiteral("NSTextAttachment"); }

private:
    std::shared_ptr<const NSFileWrapper> m_wrapper;
};

} // namespace platform
