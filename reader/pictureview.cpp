#include "reader/pictureview.h"

#include "reader/filekind.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QPainter>
#include <QScreen>

#include <algorithm>

namespace reader {

namespace {

constexpr int mostPixels = 2000; // of a side: what is decoded takes 16 MB at the most

} // namespace

PictureView::PictureView(std::shared_ptr<const conversation::Conversation> chat, quint32 file,
                         QWidget *parent)
    : QDialog(parent), m_file(file)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("picture"));
    setWindowTitle(shownName(*chat->files[file]));
    setAccessibleDescription(tr("Picture. Press Escape to close it."));
    m_pictures.setChat(std::move(chat));
    m_whole = m_pictures.size(file).value_or(QSize(1, 1));
    connect(&m_pictures, &Pictures::changed, this, QOverload<>::of(&QWidget::update));

    auto *save = new QAction(tr("&Save As…"), this);
    save->setShortcut(QKeySequence::Save);
    connect(save, &QAction::triggered, this, &PictureView::saveRequested);
    auto *copy = new QAction(tr("&Copy Picture"), this);
    copy->setShortcut(QKeySequence::Copy);
    connect(copy, &QAction::triggered, this, [this] { QApplication::clipboard()->setImage(m_image); });
    addActions({save, copy});
    setContextMenuPolicy(Qt::ActionsContextMenu);

    constexpr QSize least(320, 240);
    const QSize room = screen()->availableSize() * 4 / 5;
    QSize size = (QSizeF(m_whole) / devicePixelRatioF()).toSize();
    if (size.width() > room.width() || size.height() > room.height())
        size.scale(room, Qt::KeepAspectRatio);
    setMinimumSize(least);
    resize(size.expandedTo(least));
}

void PictureView::paintEvent(QPaintEvent * /*event*/)
{
    QPainter painter(this);
    const double density = devicePixelRatioF();
    const QSize room = (QSizeF(size()) * density).toSize().boundedTo(QSize(mostPixels, mostPixels));
    const QSize pixels = m_whole.width() > room.width() || m_whole.height() > room.height()
                             ? m_whole.scaled(room, Qt::KeepAspectRatio)
                             : m_whole;
    const QImage image = m_pictures.picture(m_file, pixels);
    if (!image.isNull())
        m_image = image; // until the one of another size is there, this one is drawn
    if (m_image.isNull()) {
        painter.drawText(rect(), Qt::AlignCenter,
                         m_pictures.size(m_file) ? tr("…") : tr("This picture cannot be shown."));
        return;
    }
    QRectF place(QPointF(), QSizeF(m_whole) / density);
    if (place.width() > width() || place.height() > height())
        place.setSize(place.size().scaled(size(), Qt::KeepAspectRatio));
    place.moveCenter(QRectF(rect()).center());
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(place, m_image);
}

} // namespace reader
