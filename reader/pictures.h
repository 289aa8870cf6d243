#pragma once

#include "reader/helperprocess.h"

#include "conversation/conversation.h"

#include <QCache>
#include <QImage>
#include <QObject>
#include <QSize>

#include <memory>
#include <optional>
#include <vector>

namespace reader {

/// The pictures of one chat, decoded at the size at which they are shown, in a process of their own, and kept
/// as long as there is room.
///
/// Only PNG, JPEG, TIFF, GIF, BMP and WebP are decoded, whose size is known from the header beforehand.
class Pictures final : public QObject {
    Q_OBJECT

public:
    explicit Pictures(QObject *parent = nullptr);

    void setChat(std::shared_ptr<const conversation::Conversation> chat);

    /// The whole size in pixels of a file, by its position in Conversation::files; nothing when it is no
    /// picture, or one that cannot be decoded.
    [[nodiscard]] std::optional<QSize> size(quint32 file) const;
    /// The picture in @p pixels at the most; null while it is being decoded: changed() follows.
    [[nodiscard]] QImage picture(quint32 file, QSize pixels);

Q_SIGNALS:
    /// It has been decoded.
    void changed(quint32 file);
    /// Its size() is another than it was.
    void resized(quint32 file);

private:
    struct Wish {
        quint32 file = 0;
        QSize pixels;

        friend bool operator==(const Wish &, const Wish &) = default;
    };
    friend size_t qHash(const Wish &wish, size_t seed) noexcept
    {
        return qHashMulti(seed, wish.file, wish.pixels.width(), wish.pixels.height());
    }

    void decodeNext();
    void take(const QByteArray &answer);
    void giveUp(quint32 file);

    std::shared_ptr<const conversation::Conversation> m_chat;
    mutable std::vector<std::optional<QSize>> m_sizes; ///< empty: not yet looked at. Invalid: no picture
    QCache<Wish, QImage> m_decoded;                    ///< cost in KiB
    std::vector<Wish> m_wishes;                        ///< the last one is the next
    std::optional<Wish> m_atWork;
    HelperProcess m_process;
};

} // namespace reader
