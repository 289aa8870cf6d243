#include "reader/pictures.h"

#include "reader/helperwork.h"

#include "platform/appkit/pictureheader.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace reader {

namespace {

constexpr int cacheSize = 24 * 1024; // KiB
constexpr qsizetype longestQueue =
    48; // more than any screen shows; those that are painted are asked for again
constexpr int longestDecoding = 10'000; // milliseconds

} // namespace

Pictures::Pictures(QObject *parent)
    : QObject(parent), m_decoded(cacheSize), m_process(QLatin1String(picturesWork), this)
{
    connect(&m_process, &HelperProcess::answered, this, &Pictures::take);
    connect(&m_process, &HelperProcess::failed, this, [this] {
        if (const auto wish = std::exchange(m_atWork, std::nullopt))
            giveUp(wish->file);
        decodeNext();
    });
}

void Pictures::setChat(std::shared_ptr<const conversation::Conversation> chat)
{
    m_chat = std::move(chat);
    m_sizes.assign(m_chat ? m_chat->files.size() : 0, std::nullopt);
    m_decoded.clear();
    m_wishes.clear();
    m_atWork.reset();
    m_process.giveUp();
}

std::optional<QSize> Pictures::size(quint32 file) const
{
    std::optional<QSize> &known = m_sizes[file];
    if (!known) {
        const auto &wrapper = m_chat->files[file];
        const auto header = wrapper && wrapper->isRegularFile()
                                ? platform::pictureHeader(wrapper->regularFileContents())
                                : std::nullopt;
        known = header && !header->pixels.isEmpty() ? header->pixels : QSize();
    }
    return known->isValid() ? known : std::nullopt;
}

QImage Pictures::picture(quint32 file, QSize pixels)
{
    const Wish wish{file, pixels};
    if (const QImage *const image = m_decoded.object(wish))
        return *image;
    if (m_atWork != wish) {
        std::erase(m_wishes, wish);
        m_wishes.push_back(wish);
        if (qsizetype(m_wishes.size()) > longestQueue)
            m_wishes.erase(m_wishes.begin());
        decodeNext();
    }
    return {};
}

void Pictures::decodeNext()
{
    while (!m_atWork && !m_wishes.empty()) {
        const Wish wish = m_wishes.back();
        m_wishes.pop_back();
        if (!size(wish.file))
            continue;
        m_atWork = wish;
        const PictureRequest head{wish.pixels.width(), wish.pixels.height()};
        QByteArray request(reinterpret_cast<const char *>(&head), sizeof head);
        request += m_chat->files[wish.file]->regularFileContents();
        m_process.ask(request, longestDecoding);
    }
}

void Pictures::take(const QByteArray &answer)
{
    const auto wish = std::exchange(m_atWork, std::nullopt);
    if (!wish)
        return;
    PictureAnswer head;
    if (answer.size() >= qsizetype(sizeof head))
        std::memcpy(&head, answer.constData(), sizeof head);
    const qsizetype pixels = answer.size() - qsizetype(sizeof head);
    if (head.width <= 0 || head.height <= 0 || pixels != qsizetype(sizeof(QRgb)) * head.width * head.height) {
        giveUp(wish->file);
    } else {
        const QImage lent(reinterpret_cast<const uchar *>(answer.constData()) + sizeof head, head.width,
                          head.height, head.width * qsizetype(sizeof(QRgb)),
                          QImage::Format_ARGB32_Premultiplied);
        auto *const image = new QImage(lent.copy());
        m_decoded.insert(*wish, image, std::max<qsizetype>(1, image->sizeInBytes() / 1024));
        const QSize whole(head.wholeWidth, head.wholeHeight);
        if (m_sizes[wish->file] != whole) { // the header says nothing of how it is turned
            m_sizes[wish->file] = whole;
            Q_EMIT resized(wish->file);
        }
        Q_EMIT changed(wish->file);
    }
    decodeNext();
}

void Pictures::giveUp(quint32 file)
{
    m_sizes[file] = QSize();
    Q_EMIT resized(file);
}

} // namespace reader
