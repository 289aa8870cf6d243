#include "reader/messagelayout.h"

#include "reader/filekind.h"
#include "reader/names.h"
#include "reader/pictures.h"
#include "reader/textcolors.h"
#include "reader/times.h"

#include <QCoreApplication>
#include <QFontMetricsF>

#include <algorithm>
#include <cmath>

namespace reader {

using conversation::Conversation;
using conversation::Message;
using conversation::Stretch;
using conversation::Text;

namespace {

constexpr double margin = 12;
constexpr double horizontalPadding = 11;
constexpr double verticalPadding = 6;
constexpr double betweenMessages = 3;
constexpr double beforeName = 9;
constexpr double aroundDay = 12;
constexpr double betweenPieces = 4;
constexpr double widestColumn = 46; // times the font's height
constexpr QSizeF largestPicture(380, 300);
constexpr double cardWidth = 300;
constexpr double smallScale = 0.85;
constexpr qint64 pauseBeforeName = 10 * 60 * 1000; // milliseconds
constexpr size_t farthestLook = 50;                // messages back for a date

QString translated(const char *text)
{
    return QCoreApplication::translate("reader", text);
}

QFont smaller(QFont font)
{
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * smallScale);
    else
        font.setPixelSize(std::max(1, int(font.pixelSize() * smallScale)));
    return font;
}

double gutterWidth(const QFont &small)
{
    constexpr qint64 eveningOfLongTime =
        79'200'000; // ten in the evening or so, which takes as much room as any
    return std::ceil(QFontMetricsF(small).horizontalAdvance(shortTime(eveningOfLongTime) + u'0')) +
           margin / 2;
}

double columnWidth(const Looks &looks, double left)
{
    return std::max(60.0,
                    std::min(looks.width - left - margin, widestColumn * QFontMetricsF(looks.font).height()));
}

bool beginsDay(const Conversation &chat, size_t number)
{
    const auto &time = chat.messages[number].milliseconds;
    if (!time)
        return false;
    for (size_t back = 1; back <= std::min(number, farthestLook); ++back) {
        if (const auto &before = chat.messages[number - back].milliseconds)
            return dateOf(*before) != dateOf(*time);
    }
    return true;
}

bool beginsTurn(const Conversation &chat, size_t number)
{
    const Message &message = chat.messages[number];
    if (message.isNotice())
        return false;
    if (number == 0 || beginsDay(chat, number))
        return true;
    const Message &before = chat.messages[number - 1];
    return before.isNotice() || before.speaker != message.speaker ||
           (before.milliseconds && message.milliseconds &&
            *message.milliseconds - *before.milliseconds > pauseBeforeName);
}

/// The characters as lines are made of them: line breaks of all kinds are one, and other control characters
/// show.
QString asLines(QStringView characters)
{
    constexpr QChar zeroWidthSpace(0x200B);
    QString result = characters.toString();
    for (qsizetype i = 0; i < result.size(); ++i) {
        const QChar c = result[i];
        if (c == u'\r' && i + 1 < result.size() && result[i + 1] == u'\n')
            result[i] = zeroWidthSpace;
        else if (c == u'\n' || c == u'\r' || c == QChar::ParagraphSeparator)
            result[i] = QChar::LineSeparator;
        else if (c.category() == QChar::Other_Control && c != u'\t')
            result[i] = QChar::ReplacementCharacter;
    }
    return result;
}

QSizeF shownSize(QSize pixels, double width)
{
    const QSizeF most(std::min(width, largestPicture.width()), largestPicture.height());
    QSizeF size(pixels);
    if (size.width() > most.width() || size.height() > most.height())
        size.scale(most, Qt::KeepAspectRatio);
    return size.expandedTo(QSizeF(8, 8)).toSize();
}

} // namespace

MessageLayout::MessageLayout(const Conversation &chat, size_t message, const Looks &looks,
                             const Pictures &pictures)
    : m_chat(chat), m_message(chat.messages[message]), m_small(smaller(looks.font)),
      m_isNotice(m_message.isNotice())
{
    const conversation::Speaker *const speaker =
        m_message.speaker ? &chat.speakers[*m_message.speaker] : nullptr;
    m_isUsers = speaker && speaker->isUser;
    m_left = margin + gutterWidth(m_small);
    m_columnWidth = columnWidth(looks, m_left);
    const double smallHeight = std::ceil(QFontMetricsF(m_small).height());
    const double nameHeight = std::ceil(QFontMetricsF(looks.font).height());

    if (beginsDay(chat, message)) {
        m_y += message == 0 ? 0 : aroundDay;
        m_headings.push_back({HeadingKind::Day,
                              longDate(dateOf(*m_message.milliseconds)),
                              QRectF(0, m_y, looks.width, smallHeight + 2 * verticalPadding),
                              {}});
        m_y += smallHeight + 2 * verticalPadding;
    }
    if (beginsTurn(chat, message) && speaker) {
        m_y += beforeName;
        m_headings.push_back({HeadingKind::Name, harmless(speaker->displayName),
                              QRectF(m_left, m_y, m_columnWidth, nameHeight),
                              speakerColor(chat, *m_message.speaker, looks.palette)});
        m_y += nameHeight + 1;
    }

    const double top = m_y;
    m_y += verticalPadding;
    if (m_message.text)
        layOutText(chat.texts[*m_message.text], looks, pictures);
    const QColor faint = looks.palette.color(QPalette::PlaceholderText);
    if (m_isNotice && m_message.fault.isEmpty() && m_pieces.empty())
        addNote(speaker ? translated("%1: a notice without text").arg(harmless(speaker->displayName))
                        : translated("A notice without text"),
                looks, faint);
    if (m_message.text && m_shown < chat.texts[*m_message.text].characters.size())
        addNote(translated("The message goes on for %L1 more characters. Copying it takes all of them.")
                    .arg(chat.texts[*m_message.text].characters.size() - m_shown),
                looks, faint);
    if (!m_message.fault.isEmpty())
        addNote((m_message.text ? translated("Not all of this message could be read: %1")
                                : translated("This message could not be read: %1"))
                    .arg(harmless(m_message.fault)),
                looks, warningColor(looks.palette));
    m_y += verticalPadding;
    m_bubble = QRectF(m_left, top, std::min(m_columnWidth, m_widest + 2 * horizontalPadding), m_y - top);

    if (m_message.milliseconds) {
        m_timeText = shortTime(*m_message.milliseconds);
        const QFontMetricsF small(m_small);
        double baseline = top + verticalPadding + QFontMetricsF(looks.font).ascent();
        if (!m_pieces.empty() && m_pieces.front().lines && m_pieces.front().lines->lineCount() > 0)
            baseline = m_pieces.front().place.top() + m_pieces.front().lines->lineAt(0).ascent();
        m_time = QRectF(margin / 2, baseline - small.ascent(), m_left - margin, small.height());
    }
    m_height = int(std::ceil(m_y + betweenMessages));
}

void MessageLayout::layOutText(const Text &text, const Looks &looks, const Pictures &pictures)
{
    if (!looks.marked.words.empty()) {
        if (auto found = indexing::wordsIn(
                text.characters.first(std::min(text.characters.size(), longestText)), looks.marked))
            m_marks = std::move(*found);
    }
    qsizetype position = 0;
    qsizetype start = 0; // of the text that has no piece yet
    qsizetype files = 0;
    for (const Stretch &stretch : text.stretches) {
        if (position >= longestText || files >= mostFiles)
            break;
        const qsizetype end = std::min(position + stretch.length, longestText);
        if (stretch.file) {
            addText(text, start, position, looks);
            addFile(stretch, position, looks, pictures);
            ++files;
            start = end;
        }
        position = end;
    }
    addText(text, start, position, looks);
    m_shown = position;
}

void MessageLayout::addText(const Text &text, qsizetype first, qsizetype last, const Looks &looks)
{
    const QStringView part = QStringView(text.characters).sliced(first, last - first);
    const bool isBesideFile = first > 0 || last < text.characters.size();
    if (part.isEmpty() || (isBesideFile && part.trimmed().isEmpty()))
        return;
    Piece piece;
    piece.first = first;
    piece.last = last;
    piece.lines = std::make_unique<QTextLayout>(asLines(part), m_isNotice ? m_small : looks.font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(Qt::LayoutDirectionAuto);
    piece.lines->setTextOption(option);
    piece.lines->setCacheEnabled(true);
    const auto ranges = formats(text, first, last, looks);
    piece.lines->setFormats(QList<QTextLayout::FormatRange>(ranges.begin(), ranges.end()));
    const double width = m_columnWidth - 2 * horizontalPadding;
    double height = 0;
    double widest = 0;
    piece.lines->beginLayout();
    for (QTextLine line = piece.lines->createLine(); line.isValid(); line = piece.lines->createLine()) {
        line.setLineWidth(width);
        line.setPosition(QPointF(0, height));
        height += std::ceil(line.height());
        widest = std::max(widest, line.naturalTextWidth());
    }
    piece.lines->endLayout();
    m_y += m_pieces.empty() ? 0 : betweenPieces;
    piece.place = QRectF(m_left + horizontalPadding, m_y, width, height);
    m_y += height;
    if (piece.lines->textOption().textDirection() == Qt::RightToLeft || part.isRightToLeft())
        widest = width;
    m_widest = std::max(m_widest, std::ceil(widest));
    m_pieces.push_back(std::move(piece));
}

void MessageLayout::addFile(const Stretch &stretch, qsizetype first, const Looks &looks,
                            const Pictures &pictures)
{
    Piece piece;
    piece.first = first;
    piece.last = first + stretch.length;
    piece.file = *stretch.file;
    const double width = m_columnWidth - 2 * horizontalPadding;
    const double line = std::ceil(QFontMetricsF(looks.font).height());
    const double smallLine = std::ceil(QFontMetricsF(m_small).height());
    QSizeF size(std::min(width, cardWidth), line + 2 * smallLine + 2 * verticalPadding + 4);
    piece.kind = Piece::Kind::Card;
    if (!m_chat.files[*stretch.file]) {
        piece.kind = Piece::Kind::Missing;
        const QSizeF note =
            QFontMetricsF(m_small)
                .boundingRect(QRectF(0, 0, width, looks.width * 100.0), Qt::TextWordWrap, missingFileNote())
                .size();
        size = QSizeF(std::ceil(note.width()) + 1, std::ceil(note.height()) + 2 * verticalPadding);
    } else if (const auto pixels = pictures.size(*stretch.file)) {
        piece.kind = Piece::Kind::Picture;
        size = shownSize(*pixels, width);
    }
    m_y += m_pieces.empty() ? 0 : betweenPieces;
    piece.place = QRectF(QPointF(m_left + horizontalPadding, m_y), size);
    m_y += size.height();
    m_widest = std::max(m_widest, size.width());
    m_pieces.push_back(std::move(piece));
}

QString MessageLayout::missingFileNote()
{
    return translated("A file was here; the transcript does not have it.");
}

void MessageLayout::addNote(const QString &text, const Looks &looks, const QColor &color)
{
    const double width = m_columnWidth - 2 * horizontalPadding;
    const QRectF room(m_left + horizontalPadding, m_y, width, looks.width * 100.0);
    const QRectF place =
        QFontMetricsF(m_small).boundingRect(room, Qt::TextWordWrap | Qt::TextWrapAnywhere, text);
    m_headings.push_back(
        {HeadingKind::Note, text, QRectF(room.topLeft(), QSizeF(width, std::ceil(place.height()))), color});
    m_y += std::ceil(place.height());
    m_widest = std::max(m_widest, std::ceil(place.width()));
}

std::vector<QTextLayout::FormatRange> MessageLayout::formats(const Text &text, qsizetype first,
                                                             qsizetype last, const Looks &looks) const
{
    std::vector<QTextLayout::FormatRange> ranges;
    const QColor background = bubbleColor(looks.palette, m_isUsers);
    qsizetype position = 0;
    for (const Stretch &stretch : text.stretches) {
        const qsizetype from = std::max(position, first);
        const qsizetype to = std::min(position + stretch.length, last);
        position += stretch.length;
        if (position <= first)
            continue;
        if (from >= last)
            break;
        QTextCharFormat format;
        if (looks.isAsWritten)
            format = formatOf(m_chat.styles[stretch.style], looks.font, background);
        if (m_isNotice)
            format.setForeground(looks.palette.color(QPalette::PlaceholderText));
        if (stretch.link) {
            format.setForeground(looks.palette.color(QPalette::Link));
            format.setFontUnderline(true);
        }
        if (!format.isEmpty())
            ranges.push_back({int(from - first), int(to - from), format});
    }
    for (const auto &mark : m_marks) {
        const qsizetype from = std::max(mark.position, first);
        const qsizetype to = std::min(mark.position + mark.length, last);
        if (from < to)
            ranges.push_back({int(from - first), int(to - from), markFormat()});
    }
    return ranges;
}

qsizetype MessageLayout::characterAt(QPointF point) const
{
    if (m_pieces.empty() || point.y() < m_pieces.front().place.top())
        return 0;
    for (size_t i = 0; i < m_pieces.size(); ++i) {
        const Piece &piece = m_pieces[i];
        const bool isLast = i + 1 == m_pieces.size();
        const double bottom = isLast ? m_height : m_pieces[i + 1].place.top();
        if (point.y() >= bottom && !isLast)
            continue;
        if (!piece.lines)
            return point.x() < piece.place.center().x() ? piece.first : piece.last;
        const QPointF inside = point - piece.place.topLeft();
        for (int number = 0; number < piece.lines->lineCount(); ++number) {
            const QTextLine line = piece.lines->lineAt(number);
            if (inside.y() < line.y() + line.height() || number + 1 == piece.lines->lineCount())
                return piece.first + line.xToCursor(inside.x());
        }
        return piece.first;
    }
    return m_shown;
}

QRectF MessageLayout::placeOf(qsizetype character) const
{
    for (const Piece &piece : m_pieces) {
        if (character > piece.last || (character == piece.last && &piece != &m_pieces.back()))
            continue;
        if (!piece.lines)
            return piece.place;
        const QTextLine line =
            piece.lines->lineForTextPosition(int(std::max<qsizetype>(0, character - piece.first)));
        if (line.isValid())
            return {piece.place.left() + line.cursorToX(int(character - piece.first)),
                    piece.place.top() + line.y(), 1, line.height()};
    }
    return m_bubble;
}

QRectF MessageLayout::cardAction(const Piece &piece, Target::Kind kind) const
{
    const QFontMetricsF small(m_small);
    const double iconWidth = 32 + horizontalPadding;
    const double open = small.horizontalAdvance(translated("Open"));
    const double left = piece.place.left() + horizontalPadding + iconWidth +
                        (kind == Target::Kind::Open ? 0 : open + 2 * horizontalPadding);
    const double width = kind == Target::Kind::Open ? open : small.horizontalAdvance(translated("Save As…"));
    return {left, piece.place.bottom() - verticalPadding - small.height() - 1, width + 1, small.height() + 2};
}

std::vector<Target> MessageLayout::targets() const
{
    std::vector<Target> all;
    const Text *const text = m_message.text ? &m_chat.texts[*m_message.text] : nullptr;
    size_t next = 0;        // stretch
    qsizetype position = 0; // of it
    for (const Piece &piece : m_pieces) {
        if (piece.kind == Piece::Kind::Picture) {
            all.push_back({Target::Kind::Picture, piece.file, piece.place, piece.first});
        } else if (piece.kind == Piece::Kind::Card) {
            all.push_back(
                {Target::Kind::Open, piece.file, cardAction(piece, Target::Kind::Open), piece.first});
            all.push_back(
                {Target::Kind::Save, piece.file, cardAction(piece, Target::Kind::Save), piece.first});
        }
        for (; text && piece.lines && next < text->stretches.size() && position < piece.last; ++next) {
            const Stretch &stretch = text->stretches[next];
            const auto from = int(position - piece.first);
            const auto to = int(std::min(position + stretch.length, piece.last) - piece.first);
            position += stretch.length;
            if (!stretch.link || from < 0)
                continue;
            for (int number = 0; number < piece.lines->lineCount(); ++number) {
                const QTextLine line = piece.lines->lineAt(number);
                const int first = std::max(from, line.textStart());
                const int last = std::min(to, line.textStart() + line.textLength());
                if (first >= last)
                    continue;
                const double left = line.cursorToX(first);
                const double right = line.cursorToX(last);
                all.push_back({Target::Kind::Link, *stretch.link,
                               QRectF(piece.place.left() + std::min(left, right),
                                      piece.place.top() + line.y(), std::abs(right - left), line.height()),
                               piece.first + first});
            }
        }
    }
    if (!m_timeText.isEmpty())
        all.push_back({Target::Kind::Time, 0, m_time, 0});
    return all;
}

std::optional<Target> MessageLayout::targetAt(QPointF point) const
{
    for (Target &target : targets()) {
        if (target.place.contains(point))
            return target;
    }
    return std::nullopt;
}

int MessageLayout::estimatedHeight(const Text &text, const Looks &looks, const Pictures &pictures)
{
    const QFontMetricsF metrics(looks.font);
    const double left = margin + gutterWidth(smaller(looks.font));
    const double width = columnWidth(looks, left) - 2 * horizontalPadding;
    double height = 0;
    qsizetype characters = 0;
    qsizetype position = 0;
    qsizetype files = 0;
    for (const Stretch &stretch : text.stretches) {
        if (position >= longestText || files >= mostFiles)
            break;
        position += stretch.length;
        if (!stretch.file) {
            characters += stretch.length;
            continue;
        }
        ++files;
        const auto pixels = pictures.size(*stretch.file);
        height += betweenPieces + (pixels ? shownSize(*pixels, width).height() : 4 * metrics.height());
    }
    const double lines = std::ceil(double(std::min(characters, longestText)) * metrics.averageCharWidth() /
                                   std::max(width, 1.0));
    return int(height + (files > 0 && lines <= 1 ? 0 : std::max(lines, 1.0)) * std::ceil(metrics.height()));
}

int MessageLayout::estimatedHeight(const Conversation &chat, size_t message, int textHeight,
                                   const Looks &looks)
{
    const double line = std::ceil(QFontMetricsF(looks.font).height());
    double height = textHeight + 2 * verticalPadding + betweenMessages;
    if (beginsDay(chat, message))
        height += line + 2 * verticalPadding + (message == 0 ? 0 : aroundDay);
    if (beginsTurn(chat, message))
        height += beforeName + line;
    if (!chat.messages[message].text || !chat.messages[message].fault.isEmpty())
        height += line;
    return int(height);
}

} // namespace reader
