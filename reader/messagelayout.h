#pragma once

#include "reader/selection.h"

#include "conversation/conversation.h"

#include "index/question.h"

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QPointF>
#include <QRectF>
#include <QTextLayout>

#include <memory>
#include <optional>
#include <vector>

class QPainter;

namespace reader {

class Pictures;

/// How all messages of a view are drawn.
struct Looks {
    QFont font;
    QPalette palette;
    int width = 0;             ///< of a message, in pixels
    bool isAsWritten = false;  ///< with the fonts, sizes and colours of the transcript
    indexing::Question marked; ///< whose words are marked
};

/// What stands at a place of a message.
struct Target {
    enum class Kind : quint8 { Link, Picture, Open, Save, Time } kind = Kind::Link;
    quint32 number = 0; ///< of the link or the file
    QRectF place;       ///< in the message
    qsizetype character = 0;

    friend bool operator==(const Target &, const Target &) = default;
};

/// One message as it is drawn: its text in lines, pictures and files at their places, the name, the time, and
/// the heading of a day that begins with it.
///
/// Of a text of more than longestText characters the beginning is laid out, and a line says that there is
/// more.
class MessageLayout {
public:
    static constexpr qsizetype longestText = 1 << 15; ///< UTF-16 units
    static constexpr qsizetype mostFiles = 200;

    /// @param chat lent, as is @p pictures.
    MessageLayout(const conversation::Conversation &chat, size_t message, const Looks &looks,
                  const Pictures &pictures);

    [[nodiscard]] int height() const { return m_height; }
    void draw(QPainter &painter, QPointF at, const Looks &looks, Selection::Range selected,
              Pictures &pictures, const Target *focused) const;

    /// The place in the text that is nearest to @p point.
    [[nodiscard]] qsizetype characterAt(QPointF point) const;
    /// Where the character stands: an upright line before it.
    [[nodiscard]] QRectF placeOf(qsizetype character) const;
    /// What can be clicked or has something to say, in the order of the text, the time last.
    [[nodiscard]] std::vector<Target> targets() const;
    [[nodiscard]] std::optional<Target> targetAt(QPointF point) const;
    /// Where the words of Looks::marked stand in the text.
    [[nodiscard]] const std::vector<indexing::FoldedText::Range> &marks() const { return m_marks; }
    /// How many of the characters are laid out.
    [[nodiscard]] qsizetype shownLength() const { return m_shown; }

    /// About how high a text will be, without laying it out.
    [[nodiscard]] static int estimatedHeight(const conversation::Text &text, const Looks &looks,
                                             const Pictures &pictures);
    /// The same of a whole message. @param textHeight that of its text; 0 when it has none.
    [[nodiscard]] static int estimatedHeight(const conversation::Conversation &chat, size_t message,
                                             int textHeight, const Looks &looks);

private:
    /// A part of the text in lines of its own.
    struct Piece {
        enum class Kind : quint8 { Text, Picture, Card, Missing } kind = Kind::Text;
        qsizetype first = 0; ///< character
        qsizetype last = 0;
        QRectF place;
        std::unique_ptr<QTextLayout> lines; ///< of text
        quint32 file = 0;
    };
    enum class HeadingKind : quint8 { Day, Name, Note };
    struct Heading {
        HeadingKind kind = HeadingKind::Note;
        QString text;
        QRectF place;
        QColor color;
    };

    void addText(const conversation::Text &text, qsizetype first, qsizetype last, const Looks &looks);
    void addFile(const conversation::Stretch &stretch, qsizetype first, const Looks &looks,
                 const Pictures &pictures);
    [[nodiscard]] static QString missingFileNote();
    void addNote(const QString &text, const Looks &looks, const QColor &color);
    void layOutText(const conversation::Text &text, const Looks &looks, const Pictures &pictures);
    [[nodiscard]] std::vector<QTextLayout::FormatRange>
    formats(const conversation::Text &text, qsizetype first, qsizetype last, const Looks &looks) const;
    void drawPiece(QPainter &painter, const Piece &piece, const Looks &looks, Selection::Range selected,
                   Pictures &pictures) const;
    void drawCard(QPainter &painter, const Piece &piece, const Looks &looks, bool isSelected) const;
    [[nodiscard]] QRectF cardAction(const Piece &piece, Target::Kind kind) const;

    const conversation::Conversation &m_chat;
    const conversation::Message &m_message;
    QFont m_small;
    bool m_isUsers = false;
    bool m_isNotice = false;
    qsizetype m_shown = 0;
    int m_height = 0;
    double m_y = 0; ///< while it is laid out
    double m_left = 0;
    double m_columnWidth = 0;
    double m_widest = 0;
    std::vector<Heading> m_headings;
    std::vector<Piece> m_pieces;
    QRectF m_bubble;
    QRectF m_time;
    QString m_timeText;
    std::vector<indexing::FoldedText::Range> m_marks;
};

} // namespace reader
