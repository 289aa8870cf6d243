#pragma once

#include <QStyledItemDelegate>

namespace reader {

/// What the lists of people, chats and results have for each row, beside its title (Qt::DisplayRole).
enum RowRole {
    CornerRole = Qt::UserRole, ///< a few words at the right end of the first line
    DetailRole,                ///< the second line
    HeadingRole,               ///< true: it is a heading above other rows
    MarksRole,                 ///< Marks, as int
    MatchRole, ///< QPoint: first and number of the characters of the second line that are marked
};

enum Mark : quint8 { PictureMark = 1, FileMark = 2, LinkMark = 4 };

/// Draws rows of two lines and one-line headings, all equally high.
class RowDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
};

} // namespace reader
