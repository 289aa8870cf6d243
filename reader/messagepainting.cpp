#include "reader/messagelayout.h"

#include "reader/filekind.h"
#include "reader/pictures.h"
#include "reader/textcolors.h"

#include <QCoreApplication>
#include <QFontMetricsF>
#include <QIcon>
#include <QMimeDatabase>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace reader {

namespace {

constexpr double bubbleRadius = 9;
constexpr double cardRadius = 6;
constexpr double padding = 11;
constexpr double verticalPadding = 6;
constexpr int iconSize = 32;

QString translated(const char *text)
{
    return QCoreApplication::translate("reader", text);
}

void drawRounded(QPainter &painter, const QRectF &place, double radius, const QColor &color)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawRoundedRect(place, radius, radius);
}

/// A sheet of paper with a folded corner, for desktops without icons.
void drawSheet(QPainter &painter, const QRectF &place, const QColor &color)
{
    const QRectF sheet = place.adjusted(5, 2, -5, -2);
    constexpr double fold = 7;
    QPainterPath path(sheet.topLeft());
    path.lineTo(sheet.right() - fold, sheet.top());
    path.lineTo(sheet.right(), sheet.top() + fold);
    path.lineTo(sheet.bottomRight());
    path.lineTo(sheet.bottomLeft());
    path.closeSubpath();
    path.moveTo(sheet.right() - fold, sheet.top());
    path.lineTo(sheet.right() - fold, sheet.top() + fold);
    path.lineTo(sheet.right(), sheet.top() + fold);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(color, 1.5));
    painter.drawPath(path);
}

void drawFocus(QPainter &painter, const QRectF &place, const QPalette &palette)
{
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(palette.color(QPalette::Highlight), 2));
    painter.drawRoundedRect(place.adjusted(-2, -2, 2, 2), 3, 3);
}

} // namespace

void MessageLayout::draw(QPainter &painter, QPointF at, const Looks &looks, Selection::Range selected,
                         Pictures &pictures, const Target *focused) const
{
    painter.save();
    painter.translate(at);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor faint = looks.palette.color(QPalette::PlaceholderText);
    if (!m_isNotice)
        drawRounded(painter, m_bubble, bubbleRadius, bubbleColor(looks.palette, m_isUsers));
    for (const Heading &heading : m_headings) {
        QFont font = heading.kind == HeadingKind::Name ? looks.font : m_small;
        font.setBold(heading.kind != HeadingKind::Note);
        painter.setFont(font);
        if (heading.kind == HeadingKind::Day) {
            const double width = QFontMetricsF(font).horizontalAdvance(heading.text) / 2 + padding;
            const double middle = heading.place.center().y();
            painter.setPen(looks.palette.color(QPalette::Mid));
            painter.drawLine(QPointF(padding, middle), QPointF(heading.place.center().x() - width, middle));
            painter.drawLine(QPointF(heading.place.center().x() + width, middle),
                             QPointF(heading.place.right() - padding, middle));
            painter.setPen(looks.palette.color(QPalette::Text));
            painter.drawText(heading.place, Qt::AlignCenter | Qt::TextSingleLine, heading.text);
        } else if (heading.kind == HeadingKind::Name) {
            painter.setPen(heading.color);
            painter.drawText(
                heading.place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                QFontMetricsF(font).elidedText(heading.text, Qt::ElideRight, heading.place.width()));
        } else {
            painter.setPen(heading.color);
            painter.drawText(heading.place, Qt::TextWordWrap | Qt::TextWrapAnywhere, heading.text);
        }
    }
    if (!m_timeText.isEmpty()) {
        painter.setFont(m_small);
        painter.setPen(faint);
        painter.drawText(m_time, Qt::AlignRight | Qt::TextSingleLine, m_timeText);
    }
    painter.setPen(looks.palette.color(QPalette::Text));
    for (const Piece &piece : m_pieces)
        drawPiece(painter, piece, looks, selected, pictures);
    if (focused)
        drawFocus(painter, focused->place, looks.palette);
    painter.restore();
}

void MessageLayout::drawPiece(QPainter &painter, const Piece &piece, const Looks &looks,
                              Selection::Range selected, Pictures &pictures) const
{
    const qsizetype first = std::max(selected.first, piece.first);
    const qsizetype last = std::min(selected.last, piece.last);
    const bool isSelected = first < last;
    if (piece.lines) {
        QList<QTextLayout::FormatRange> ranges;
        if (isSelected) {
            QTextCharFormat format;
            format.setBackground(looks.palette.brush(QPalette::Highlight));
            format.setForeground(looks.palette.brush(QPalette::HighlightedText));
            ranges.append({int(first - piece.first), int(last - first), format});
        }
        piece.lines->draw(&painter, piece.place.topLeft(), ranges);
        return;
    }
    if (piece.kind == Piece::Kind::Card) {
        drawCard(painter, piece, looks, isSelected);
        return;
    }
    if (piece.kind == Piece::Kind::Missing) {
        painter.setFont(m_small);
        painter.setPen(looks.palette.color(QPalette::PlaceholderText));
        painter.drawText(piece.place, Qt::AlignVCenter | Qt::TextWordWrap, missingFileNote());
        painter.setPen(looks.palette.color(QPalette::Text));
        return;
    }
    const double density = painter.device()->devicePixelRatioF();
    const QImage image = pictures.picture(piece.file, (piece.place.size() * density).toSize());
    if (image.isNull()) {
        drawRounded(painter, piece.place, cardRadius, looks.palette.color(QPalette::AlternateBase));
    } else {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(piece.place, image);
    }
    if (isSelected) {
        QColor veil = looks.palette.color(QPalette::Highlight);
        veil.setAlphaF(0.45F);
        painter.fillRect(piece.place, veil);
    }
}

void MessageLayout::drawCard(QPainter &painter, const Piece &piece, const Looks &looks, bool isSelected) const
{
    const platform::NSFileWrapper &file = *m_chat.files[piece.file];
    drawRounded(painter, piece.place, cardRadius,
                isSelected ? looks.palette.color(QPalette::Highlight) : looks.palette.color(QPalette::Base));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(looks.palette.color(QPalette::Mid));
    painter.drawRoundedRect(piece.place.adjusted(0.5, 0.5, -0.5, -0.5), cardRadius, cardRadius);

    const QColor text = looks.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text);
    const QRectF iconPlace(piece.place.left() + padding, piece.place.center().y() - iconSize / 2.0, iconSize,
                           iconSize);
    const QMimeType type = QMimeDatabase().mimeTypeForFile(shownName(file), QMimeDatabase::MatchExtension);
    const QIcon icon = QIcon::fromTheme(file.isRegularFile() ? type.iconName() : QStringLiteral("folder"),
                                        QIcon::fromTheme(type.genericIconName()));
    if (icon.isNull())
        drawSheet(painter, iconPlace, text);
    else
        icon.paint(&painter, iconPlace.toRect());

    const QFontMetricsF metrics(looks.font);
    const QFontMetricsF small(m_small);
    QRectF line(iconPlace.right() + padding, piece.place.top() + verticalPadding, 0, metrics.height());
    line.setRight(piece.place.right() - padding);
    painter.setFont(looks.font);
    painter.setPen(text);
    painter.setLayoutDirection(Qt::LeftToRight);
    painter.drawText(line, Qt::AlignLeft | Qt::TextSingleLine,
                     metrics.elidedText(shownName(file), Qt::ElideMiddle, line.width()));
    line.translate(0, metrics.height());
    painter.setFont(m_small);
    painter.setPen(isSelected ? text : looks.palette.color(QPalette::PlaceholderText));
    painter.drawText(line, Qt::AlignLeft | Qt::TextSingleLine,
                     small.elidedText(kindAndSize(file), Qt::ElideRight, line.width()));
    painter.setPen(isSelected ? text : looks.palette.color(QPalette::Link));
    painter.drawText(cardAction(piece, Target::Kind::Open), Qt::TextSingleLine, translated("Open"));
    painter.drawText(cardAction(piece, Target::Kind::Save), Qt::TextSingleLine, translated("Save As…"));
    painter.setPen(looks.palette.color(QPalette::Text));
}

} // namespace reader
