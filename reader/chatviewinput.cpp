#include "reader/chatview.h"

#include "reader/filekind.h"
#include "reader/names.h"
#include "reader/times.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTextBoundaryFinder>
#include <QToolTip>

#include <algorithm>

namespace reader {

std::optional<ChatView::Reached> ChatView::targetAt(QPoint point)
{
    if (!m_chat)
        return std::nullopt;
    int top = -m_top.offset;
    for (size_t message = m_top.message; message < m_heights.count() && top < viewport()->height();
         ++message) {
        const MessageLayout &layout = layoutOf(message);
        if (point.y() < top + layout.height()) {
            const auto target = layout.targetAt(QPointF(point.x(), point.y() - top));
            return target ? std::optional(Reached{message, *target}) : std::nullopt;
        }
        top += layout.height();
    }
    return std::nullopt;
}

void ChatView::activate(const Reached &reached)
{
    switch (reached.target.kind) {
    case Target::Kind::Link: Q_EMIT linkActivated(m_chat->links[reached.target.number]); break;
    case Target::Kind::Picture: Q_EMIT pictureActivated(reached.target.number); break;
    case Target::Kind::Open: Q_EMIT openRequested(reached.target.number); break;
    case Target::Kind::Save: Q_EMIT saveRequested(reached.target.number); break;
    case Target::Kind::Time: break;
    }
}

void ChatView::updatePointer(QPoint at)
{
    const auto reached = targetAt(at);
    const bool isActive = reached && reached->target.kind != Target::Kind::Time;
    viewport()->setCursor(isActive ? Qt::PointingHandCursor : reached ? Qt::ArrowCursor : Qt::IBeamCursor);
    const QString link = reached && reached->target.kind == Target::Kind::Link
                             ? m_chat->links[reached->target.number]
                             : QString();
    if (link != m_shownLink) {
        m_shownLink = link;
        Q_EMIT linkShown(link);
    }
}

void ChatView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    setFocused(std::nullopt);
    m_pressed = targetAt(event->position().toPoint());
    const auto position = positionAt(event->position().toPoint());
    if (!position)
        return;
    m_isSelecting = true;
    select({event->modifiers().testFlag(Qt::ShiftModifier) ? m_selection.anchor : *position, *position});
}

void ChatView::mouseMoveEvent(QMouseEvent *event)
{
    const QPoint at = event->position().toPoint();
    if (!m_isSelecting) {
        updatePointer(at);
        return;
    }
    if (const auto position = positionAt(at))
        select({m_selection.anchor, *position});
    if (at.y() < 0 || at.y() >= viewport()->height())
        m_autoScroll.start();
    else
        m_autoScroll.stop();
}

void ChatView::autoScroll()
{
    const QPoint at = viewport()->mapFromGlobal(QCursor::pos());
    scrollBy(at.y() < 0 ? at.y() : std::max(0, at.y() - viewport()->height()));
    if (const auto position = positionAt(at))
        select({m_selection.anchor, *position});
}

void ChatView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    m_autoScroll.stop();
    m_isSelecting = false;
    const auto pressed = std::exchange(m_pressed, std::nullopt);
    const auto reached = targetAt(event->position().toPoint());
    const bool isClick = pressed && reached && pressed->message == reached->message &&
                         pressed->target == reached->target &&
                         (pressed->target.kind != Target::Kind::Link || m_selection.isEmpty());
    if (isClick)
        activate(*reached);
    if (QApplication::clipboard()->supportsSelection() && m_chat && !m_selection.isEmpty()) {
        if (const auto text = copied(*m_chat, m_selection))
            QApplication::clipboard()->setText(*text, QClipboard::Selection);
    }
}

void ChatView::mouseDoubleClickEvent(QMouseEvent *event)
{
    const auto position = positionAt(event->position().toPoint());
    if (event->button() != Qt::LeftButton || !position || !m_chat->messages[position->message].text)
        return;
    const QString &text = m_chat->texts[*m_chat->messages[position->message].text].characters;
    constexpr qsizetype longestWord = 1000; // to either side
    const qsizetype start = std::max<qsizetype>(0, position->character - longestWord);
    const QStringView around =
        QStringView(text).sliced(start, std::min(text.size(), position->character + longestWord) - start);
    QTextBoundaryFinder words(QTextBoundaryFinder::Word, around.data(), around.size());
    words.setPosition(position->character - start);
    const qsizetype first = words.isAtBoundary() ? words.position() : words.toPreviousBoundary();
    words.setPosition(position->character - start);
    const qsizetype last = words.toNextBoundary();
    if (first >= 0 && last > first)
        select({{position->message, start + first}, {position->message, start + last}});
}

bool ChatView::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        const auto *help = static_cast<QHelpEvent *>(event);
        const auto reached = targetAt(help->pos());
        QString text;
        if (reached) {
            switch (reached->target.kind) {
            case Target::Kind::Link: text = m_chat->links[reached->target.number]; break;
            case Target::Kind::Picture: text = shownName(*m_chat->files[reached->target.number]); break;
            case Target::Kind::Time:
                text = exactTime(*m_chat->messages[reached->message].milliseconds);
                break;
            case Target::Kind::Open:
            case Target::Kind::Save: text = shownName(*m_chat->files[reached->target.number]); break;
            }
        }
        if (text.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), harmlessMarkup(text), viewport());
        return true;
    }
    if (event->type() == QEvent::Leave && !m_shownLink.isEmpty()) {
        m_shownLink.clear();
        Q_EMIT linkShown({});
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void ChatView::setFocused(std::optional<Reached> reached)
{
    m_focused = reached;
    const QString link = m_focused && m_focused->target.kind == Target::Kind::Link
                             ? m_chat->links[m_focused->target.number]
                             : QString();
    if (link != m_shownLink) {
        m_shownLink = link;
        Q_EMIT linkShown(link);
    }
    viewport()->update();
}

bool ChatView::focusNextPrevChild(bool next)
{
    // Through what can be opened, from where the focus is, else from the view's top or bottom on; then out.
    if (!m_chat || m_heights.count() == 0)
        return QAbstractScrollArea::focusNextPrevChild(next);
    constexpr size_t farthest = 200; // messages: what is farther is not looked for
    const auto start = positionAt(QPoint(0, next ? 0 : viewport()->height() - 1));
    size_t message = m_focused ? m_focused->message : start->message;
    bool isBeyond = !m_focused;
    for (size_t step = 0; step < farthest; ++step) {
        auto targets = layoutOf(message).targets();
        std::erase_if(targets, [](const Target &target) { return target.kind == Target::Kind::Time; });
        if (!next)
            std::reverse(targets.begin(), targets.end());
        for (const Target &target : targets) {
            if (isBeyond) {
                setFocused(Reached{message, target});
                bringIntoView({message, target.character});
                return true;
            }
            isBeyond = m_focused->target == target;
        }
        isBeyond = true;
        if (message == (next ? m_heights.count() - 1 : 0))
            break;
        message += next ? 1 : size_t(-1);
    }
    setFocused(std::nullopt);
    return QAbstractScrollArea::focusNextPrevChild(next);
}

void ChatView::focusOutEvent(QFocusEvent *event)
{
    QAbstractScrollArea::focusOutEvent(event);
    viewport()->update();
}

TextPosition ChatView::moved(TextPosition position, int by, bool byWord) const
{
    const qsizetype length = textLength(*m_chat, position.message);
    if (by < 0 && position.character == 0)
        return position.message == 0
                   ? position
                   : TextPosition{position.message - 1, textLength(*m_chat, position.message - 1)};
    if (by > 0 && position.character >= length)
        return position.message + 1 >= m_chat->messages.size() ? position
                                                               : TextPosition{position.message + 1, 0};
    const QString &text = m_chat->texts[*m_chat->messages[position.message].text].characters;
    constexpr qsizetype longestWord = 1000;
    const qsizetype start = std::max<qsizetype>(0, position.character - longestWord);
    const QStringView around =
        QStringView(text).sliced(start, std::min(length, position.character + longestWord) - start);
    QTextBoundaryFinder finder(byWord ? QTextBoundaryFinder::Word : QTextBoundaryFinder::Grapheme,
                               around.data(), around.size());
    finder.setPosition(position.character - start);
    const qsizetype boundary = by < 0 ? finder.toPreviousBoundary() : finder.toNextBoundary();
    return {position.message, boundary < 0 ? (by < 0 ? 0 : length) : start + boundary};
}

void ChatView::moveHead(QKeyEvent &event)
{
    TextPosition head = m_selection.head;
    if (m_selection.isEmpty() && m_selection.anchor == TextPosition())
        head = TextPosition{m_top.message, 0};
    const TextPosition anchor = m_selection.isEmpty() ? head : m_selection.anchor;
    const bool byWord = event.modifiers().testFlag(Qt::ControlModifier);
    const size_t last = m_chat->messages.size() - 1;
    const auto vertically = [&](int distance) {
        const QRect place = placeOfCharacter(head);
        const int y = distance < 0 ? place.top() + distance : place.bottom() + distance;
        return positionAt(QPoint(place.left(), y)).value_or(head);
    };
    switch (event.key()) {
    case Qt::Key_Left: head = moved(head, -1, byWord); break;
    case Qt::Key_Right: head = moved(head, 1, byWord); break;
    case Qt::Key_Up: head = vertically(-fontMetrics().height() / 2); break;
    case Qt::Key_Down: head = vertically(fontMetrics().height() / 2); break;
    case Qt::Key_PageUp: head = vertically(-viewport()->height()); break;
    case Qt::Key_PageDown: head = vertically(viewport()->height()); break;
    case Qt::Key_Home: head = byWord ? TextPosition{} : TextPosition{head.message, 0}; break;
    case Qt::Key_End:
        head = byWord ? TextPosition{last, textLength(*m_chat, last)}
                      : TextPosition{head.message, textLength(*m_chat, head.message)};
        break;
    default: break;
    }
    select({anchor, head});
    bringIntoView(head);
}

void ChatView::keyPressEvent(QKeyEvent *event)
{
    if (!m_chat || m_heights.count() == 0) {
        event->ignore();
        return;
    }
    if (event->matches(QKeySequence::Copy)) {
        copy();
        return;
    }
    if (event->matches(QKeySequence::SelectAll)) {
        selectAll();
        return;
    }
    const bool isMove = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right ||
                        event->key() == Qt::Key_Up || event->key() == Qt::Key_Down ||
                        event->key() == Qt::Key_PageUp || event->key() == Qt::Key_PageDown ||
                        event->key() == Qt::Key_Home || event->key() == Qt::Key_End;
    if (isMove && event->modifiers().testFlag(Qt::ShiftModifier)) {
        moveHead(*event);
        return;
    }
    const int page = std::max(viewport()->height() - fontMetrics().lineSpacing(), 1);
    switch (event->key()) {
    case Qt::Key_Up: scrollBy(-2 * fontMetrics().lineSpacing()); return;
    case Qt::Key_Down: scrollBy(2 * fontMetrics().lineSpacing()); return;
    case Qt::Key_PageUp: scrollBy(-page); return;
    case Qt::Key_PageDown:
    case Qt::Key_Space: scrollBy(event->modifiers().testFlag(Qt::ShiftModifier) ? -page : page); return;
    case Qt::Key_Home: setPlace({}); return;
    case Qt::Key_End: verticalScrollBar()->triggerAction(QAbstractSlider::SliderToMaximum); return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (m_focused)
            activate(*m_focused);
        return;
    default: QAbstractScrollArea::keyPressEvent(event);
    }
}

void ChatView::contextMenuEvent(QContextMenuEvent *event)
{
    if (!m_chat || m_heights.count() == 0)
        return;
    if (event->reason() == QContextMenuEvent::Keyboard) {
        QPoint at(viewport()->width() / 2, viewport()->height() / 2);
        if (m_focused)
            at = m_focused->target.place.center().toPoint() + QPoint(0, messageTop(m_focused->message));
        showMenu(viewport()->mapToGlobal(at), m_focused);
    } else {
        showMenu(event->globalPos(), targetAt(event->pos()));
    }
}

void ChatView::showMenu(QPoint at, const std::optional<Reached> &reached)
{
    QMenu menu(this);
    if (reached && reached->target.kind == Target::Kind::Link) {
        const QString link = m_chat->links[reached->target.number];
        menu.addAction(tr("&Open Link"), this, [this, link] { Q_EMIT linkActivated(link); });
        menu.addAction(tr("Copy &Link"), this, [link] { QApplication::clipboard()->setText(link); });
        menu.addSeparator();
    } else if (reached && reached->target.kind != Target::Kind::Time) {
        const quint32 file = reached->target.number;
        if (reached->target.kind == Target::Kind::Picture)
            menu.addAction(tr("&Show Picture"), this, [this, file] { Q_EMIT pictureActivated(file); });
        menu.addAction(tr("&Open File…"), this, [this, file] { Q_EMIT openRequested(file); });
        menu.addAction(tr("&Save As…"), this, [this, file] { Q_EMIT saveRequested(file); });
        menu.addSeparator();
    }
    menu.addAction(tr("&Copy"), this, &ChatView::copy)->setEnabled(!m_selection.isEmpty());
    menu.addAction(tr("Select &All"), this, &ChatView::selectAll);
    menu.exec(at);
}

bool ChatView::event(QEvent *event)
{
    // Escape and the like belong to the window; these keys belong to whoever has the focus, the view.
    if (event->type() == QEvent::ShortcutOverride) {
        auto *key = static_cast<QKeyEvent *>(event);
        if (key->matches(QKeySequence::Copy) || key->matches(QKeySequence::SelectAll)) {
            key->accept();
            return true;
        }
    }
    return QAbstractScrollArea::event(event);
}

} // namespace reader
