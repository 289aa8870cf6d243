#include "reader/rowdelegate.h"

#include "reader/textcolors.h"

#include <QApplication>
#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QPoint>
#include <QTextLayout>

#include <algorithm>

namespace reader {

namespace {

constexpr int margin = 8;
constexpr int verticalMargin = 4;
constexpr double smallScale = 0.88;

QFont smaller(QFont font)
{
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * smallScale);
    return font;
}

void drawMark(QPainter &painter, const QRectF &place, Mark mark)
{
    const double unit = place.width() / 12;
    const auto at = [&](double x, double y) { return place.topLeft() + QPointF(x * unit, y * unit); };
    QPainterPath path;
    switch (mark) {
    case PictureMark: // mountains under a sun
        path.addRoundedRect(QRectF(at(1, 2), at(11, 10)), unit, unit);
        path.moveTo(at(2, 9));
        path.lineTo(at(5, 5.5));
        path.lineTo(at(7, 8));
        path.lineTo(at(8.5, 6.5));
        path.lineTo(at(10, 9));
        path.addEllipse(at(8.3, 4.5), unit * 0.7, unit * 0.7);
        break;
    case FileMark: // a sheet with a folded corner
        path.moveTo(at(2.5, 1));
        path.lineTo(at(7, 1));
        path.lineTo(at(9.5, 3.5));
        path.lineTo(at(9.5, 11));
        path.lineTo(at(2.5, 11));
        path.closeSubpath();
        path.moveTo(at(7, 1));
        path.lineTo(at(7, 3.5));
        path.lineTo(at(9.5, 3.5));
        break;
    case LinkMark: // two links of a chain
        path.addRoundedRect(QRectF(at(0.5, 4), at(7, 8)), unit * 2, unit * 2);
        path.addRoundedRect(QRectF(at(5, 4), at(11.5, 8)), unit * 2, unit * 2);
        break;
    }
    painter.drawPath(path);
}

} // namespace

QSize RowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex & /*index*/) const
{
    return {100,
            option.fontMetrics.height() + QFontMetrics(smaller(option.font)).height() + 2 * verticalMargin};
}

void RowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const QRect inside = option.rect.adjusted(margin, verticalMargin, -margin, -verticalMargin);
    if (index.data(HeadingRole).toBool()) {
        QFont font = smaller(option.font);
        font.setBold(true);
        painter->setFont(font);
        painter->setPen(option.palette.color(QPalette::PlaceholderText));
        painter->drawText(inside, Qt::AlignBottom | Qt::TextSingleLine, index.data().toString());
        painter->setPen(option.palette.color(QPalette::Mid));
        painter->drawLine(inside.left(), inside.bottom() + 2, inside.right(), inside.bottom() + 2);
        painter->restore();
        return;
    }
    const QStyle &style = option.widget ? *option.widget->style() : *QApplication::style();
    style.drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    const auto group = option.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
    const QColor text = option.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text);
    const QColor faint = isSelected ? text : option.palette.color(QPalette::PlaceholderText);

    QRect line = inside;
    line.setHeight(option.fontMetrics.height());
    const QString corner = index.data(CornerRole).toString();
    const QFontMetrics small(smaller(option.font));
    painter->setFont(smaller(option.font));
    painter->setPen(faint);
    painter->drawText(line, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, corner);
    QFont bold = option.font;
    bold.setBold(true);
    painter->setFont(bold);
    painter->setPen(text);
    line.setRight(line.right() - (corner.isEmpty() ? 0 : small.horizontalAdvance(corner) + margin));
    painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                      QFontMetrics(bold).elidedText(index.data().toString(), Qt::ElideRight, line.width()));

    QRect below = inside;
    below.setTop(inside.bottom() + 1 - small.height());
    painter->setPen(QPen(faint, 1.1));
    painter->setBrush(Qt::NoBrush);
    for (const Mark mark : {LinkMark, FileMark, PictureMark}) {
        if ((index.data(MarksRole).toInt() & mark) == 0)
            continue;
        const int size = small.ascent();
        drawMark(*painter, QRectF(below.right() - size, below.center().y() - size / 2.0, size, size), mark);
        below.setRight(below.right() - size - margin / 2);
    }
    painter->setPen(isSelected ? text : faint);
    const QString detail = index.data(DetailRole).toString();
    const QPoint match = index.data(MatchRole).toPoint();
    QTextLayout layout(small.elidedText(detail, Qt::ElideRight, below.width()), smaller(option.font));
    if (match.y() > 0) {
        const QTextLayout::FormatRange range{match.x(), match.y(), markFormat()};
        layout.setFormats({range});
    }
    layout.beginLayout();
    layout.createLine().setLineWidth(100'000);
    layout.endLayout();
    painter->setClipRect(below);
    layout.draw(painter, below.topLeft());
    painter->restore();
}

} // namespace reader
