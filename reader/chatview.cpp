#include "reader/chatview.h"

#include "reader/chataccess.h"
#include "reader/names.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>
#include <limits>

namespace reader {

namespace {

constexpr qint64 longestBar = qint64(1) << 30;
constexpr size_t keptLayouts = 40; // messages around the view

} // namespace

ChatView::ChatView(QWidget *parent) : QAbstractScrollArea(parent)
{
    QAccessible::installFactory(chatAccess); // before anybody can ask for an interface
    setObjectName(QStringLiteral("chat"));
    setAccessibleName(tr("Chat"));
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn); // its coming and going would lay everything out anew
    setFrameShape(QFrame::NoFrame);
    viewport()->setMouseTracking(true);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
    m_looks.font = font();
    m_looks.palette = palette();
    connect(&m_pictures, &Pictures::changed, viewport(), QOverload<>::of(&QWidget::update));
    connect(&m_pictures, &Pictures::resized, this, &ChatView::relayout);
    constexpr int autoScrollInterval = 30; // milliseconds
    m_autoScroll.setInterval(autoScrollInterval);
    connect(&m_autoScroll, &QTimer::timeout, this, &ChatView::autoScroll);
}

void ChatView::setChat(Chat chat)
{
    m_notice.clear();
    setAccessibleDescription({});
    m_layouts.clear(); // they look at the one before
    m_chat = std::move(chat);
    m_pictures.setChat(m_chat);
    m_selection = {};
    m_pressed.reset();
    m_isSelecting = false;
    m_autoScroll.stop();
    setFocused(std::nullopt);
    m_top = {};
    m_looks.marked = {};
    resetLayouts();
    Q_EMIT chatChanged();
    Q_EMIT selectionChanged();
}

void ChatView::setNotice(const QString &text)
{
    setChat(nullptr);
    m_notice = text;
    setAccessibleDescription(text);
    viewport()->update();
}

void ChatView::setAsWritten(bool asWritten)
{
    m_looks.isAsWritten = asWritten;
    resetLayouts();
}

void ChatView::setMarked(const indexing::Question &question)
{
    m_looks.marked = question;
    m_layouts.clear();
    viewport()->update();
}

void ChatView::resetLayouts()
{
    m_layouts.clear();
    m_looks.width = viewport()->width();
    estimateHeights();
    clampTop();
    updateScrollBar();
    viewport()->update();
}

void ChatView::estimateHeights()
{
    std::vector<int> heights;
    if (m_chat) {
        std::vector<int> ofTexts; // each is looked at once, however many messages name it
        for (const conversation::Text &text : m_chat->texts)
            ofTexts.push_back(MessageLayout::estimatedHeight(text, m_looks, m_pictures));
        for (size_t number = 0; number < m_chat->messages.size(); ++number) {
            const auto &text = m_chat->messages[number].text;
            heights.push_back(
                MessageLayout::estimatedHeight(*m_chat, number, text ? ofTexts[*text] : 0, m_looks));
        }
    }
    m_heights = RowHeights(std::move(heights));
}

MessageLayout &ChatView::layoutOf(size_t message)
{
    std::unique_ptr<MessageLayout> &layout = m_layouts[message];
    if (!layout) {
        layout = std::make_unique<MessageLayout>(*m_chat, message, m_looks, m_pictures);
        m_heights.setHeight(message, layout->height());
    }
    return *layout;
}

void ChatView::forgetFarLayouts(size_t first, size_t last)
{
    m_layouts.erase(m_layouts.begin(), m_layouts.lower_bound(first - std::min(first, keptLayouts)));
    m_layouts.erase(m_layouts.upper_bound(last + keptLayouts), m_layouts.end());
}

void ChatView::relayout(quint32 file)
{
    std::erase_if(m_layouts, [&](const auto &entry) {
        const auto targets = entry.second->targets();
        return std::any_of(targets.begin(), targets.end(), [&](const Target &target) {
            return target.kind == Target::Kind::Picture && target.number == file;
        });
    });
    viewport()->update();
}

void ChatView::scrollBy(int pixels)
{
    if (!m_chat || m_heights.count() == 0)
        return;
    qint64 offset = qint64(m_top.offset) + pixels;
    while (offset < 0 && m_top.message > 0)
        offset += layoutOf(--m_top.message).height();
    while (m_top.message + 1 < m_heights.count() && offset >= layoutOf(m_top.message).height())
        offset -= layoutOf(m_top.message++).height();
    m_top.offset = int(std::max<qint64>(offset, 0));
    clampTop();
    updateScrollBar();
    viewport()->update();
}

void ChatView::clampTop()
{
    if (m_heights.count() == 0) {
        m_top = {};
        return;
    }
    if (m_top.message >= m_heights.count())
        m_top = {m_heights.count() - 1, 0};
    // Below the top there is a full view of messages, unless the chat is shorter.
    int below = -m_top.offset;
    for (size_t message = m_top.message; message < m_heights.count() && below < viewport()->height();
         ++message)
        below += layoutOf(message).height();
    const int missing = viewport()->height() - below;
    if (missing <= 0)
        return;
    m_top.offset -= missing;
    while (m_top.offset < 0 && m_top.message > 0)
        m_top.offset += layoutOf(--m_top.message).height();
    m_top.offset = std::max(m_top.offset, 0);
}

void ChatView::updateScrollBar()
{
    const qint64 total = m_heights.total();
    m_scale = total / longestBar + 1;
    QScrollBar &bar = *verticalScrollBar();
    m_isMovingBar = true;
    bar.setRange(0, int(std::max<qint64>(0, total - viewport()->height()) / m_scale));
    bar.setPageStep(int(std::max<qint64>(1, viewport()->height() / m_scale)));
    bar.setSingleStep(int(std::max<qint64>(1, 3 * fontMetrics().lineSpacing() / m_scale)));
    bar.setValue(int((m_heights.count() == 0 ? 0 : m_heights.top(m_top.message) + m_top.offset) / m_scale));
    m_isMovingBar = false;
}

void ChatView::scrollContentsBy(int /*dx*/, int dy)
{
    if (m_isMovingBar || !m_chat || m_heights.count() == 0)
        return;
    const qint64 pixels = -qint64(dy) * m_scale;
    if (std::abs(pixels) <= 4 * qint64(viewport()->height()) && m_scale == 1) {
        scrollBy(int(pixels));
        return;
    }
    const qint64 place = qint64(verticalScrollBar()->value()) * m_scale;
    m_top.message = m_heights.rowAt(place);
    m_top.offset = 0;
    if (verticalScrollBar()->value() == verticalScrollBar()->maximum())
        m_top = {m_heights.count() - 1, std::numeric_limits<int>::max() / 2};
    else
        m_top.offset =
            int(std::min<qint64>(place - m_heights.top(m_top.message), layoutOf(m_top.message).height() - 1));
    clampTop();
    // While the bar is held, it goes where the pointer is.
    if (!verticalScrollBar()->isSliderDown())
        updateScrollBar();
    viewport()->update();
}

void ChatView::setPlace(Place place)
{
    m_top = place;
    clampTop();
    updateScrollBar();
    viewport()->update();
}

int ChatView::messageTop(size_t message)
{
    qint64 top = -m_top.offset;
    for (size_t number = m_top.message; number < message; ++number)
        top += layoutOf(number).height();
    for (size_t number = message; number < m_top.message; ++number)
        top -= layoutOf(number).height();
    return int(top);
}

void ChatView::bringIntoView(TextPosition position)
{
    if (!m_chat || position.message >= m_heights.count())
        return;
    const QRectF place = layoutOf(position.message).placeOf(position.character);
    const qint64 distance = qint64(position.message) - qint64(m_top.message);
    if (std::abs(distance) < qint64(keptLayouts)) {
        const double top = messageTop(position.message) + place.top();
        if (top >= 0 && top + place.height() <= viewport()->height())
            return;
        const double bottom = top + place.height();
        constexpr int near = 200; // pixels: going on from line to line moves line by line
        if (m_isSelecting || (top > -near && bottom < viewport()->height() + near)) {
            scrollBy(int(top < 0 ? top - place.height() : bottom - viewport()->height() + place.height()));
            return;
        }
    }
    m_top = {position.message, 0};
    scrollBy(int(place.top()) - viewport()->height() / 3);
}

void ChatView::showMatch(size_t message)
{
    if (!m_chat || message >= m_heights.count())
        return;
    const auto &marks = layoutOf(message).marks();
    const qsizetype first = marks.empty() ? 0 : marks.front().position;
    const qsizetype last = marks.empty() ? textLength(*m_chat, message) : first + marks.front().length;
    select({{message, first}, {message, last}});
    bringIntoView({message, first});
}

void ChatView::select(const Selection &selection)
{
    const bool isElsewhere = selection.head.message != m_selection.head.message;
    m_selection = selection;
    viewport()->update();
    if (isElsewhere && QAccessible::isActive() && hasFocus()) {
        QAccessibleEvent focused(this, QAccessible::Focus); // what a screen reader reads out
        focused.setChild(int(selection.head.message));
        QAccessible::updateAccessibility(&focused);
    }
    Q_EMIT selectionChanged();
}

void ChatView::selectAll()
{
    if (!m_chat || m_chat->messages.empty())
        return;
    const size_t last = m_chat->messages.size() - 1;
    select({{0, 0}, {last, textLength(*m_chat, last)}});
}

void ChatView::copy()
{
    if (!m_chat || m_selection.isEmpty())
        return;
    if (const auto text = copied(*m_chat, m_selection))
        QApplication::clipboard()->setText(*text);
    else
        Q_EMIT told(tr("That is too much to be copied. Select a part of it."));
}

QRect ChatView::placeOfMessage(size_t message)
{
    if (std::abs(qint64(message) - qint64(m_top.message)) > qint64(keptLayouts)) {
        const qint64 top = m_heights.top(message) - m_heights.top(m_top.message) - m_top.offset;
        return {0, int(std::clamp<qint64>(top, -longestBar, longestBar)), viewport()->width(),
                m_heights.height(message)};
    }
    return {0, messageTop(message), viewport()->width(), layoutOf(message).height()};
}

QRect ChatView::placeOfCharacter(TextPosition position)
{
    const QRect message = placeOfMessage(position.message);
    return layoutOf(position.message)
        .placeOf(position.character)
        .translated(message.topLeft())
        .toAlignedRect();
}

std::optional<TextPosition> ChatView::positionAt(QPoint point)
{
    if (!m_chat || m_heights.count() == 0)
        return std::nullopt;
    int top = -m_top.offset;
    size_t message = m_top.message;
    while (point.y() < top && message > 0)
        top -= layoutOf(--message).height();
    while (message + 1 < m_heights.count() && point.y() >= top + layoutOf(message).height())
        top += layoutOf(message++).height();
    const MessageLayout &layout = layoutOf(message);
    if (point.y() >= top + layout.height())
        return TextPosition{message, textLength(*m_chat, message)};
    return TextPosition{message, layout.characterAt(QPointF(point.x(), point.y() - top))};
}

void ChatView::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    if (!m_chat || m_heights.count() == 0) {
        painter.setPen(palette().color(QPalette::PlaceholderText));
        constexpr int margin = 24;
        painter.drawText(viewport()->rect().adjusted(margin, margin, -margin, -margin),
                         Qt::AlignCenter | Qt::TextWordWrap,
                         m_chat ? tr("There is nothing in this chat.") : m_notice);
        return;
    }
    int top = -m_top.offset;
    size_t message = m_top.message;
    for (; message < m_heights.count() && top <= viewport()->height(); ++message) {
        const MessageLayout &layout = layoutOf(message);
        if (top + layout.height() >= event->rect().top() && top <= event->rect().bottom()) {
            const bool isFocused = m_focused && m_focused->message == message && hasFocus();
            layout.draw(painter, QPointF(0, top), m_looks,
                        m_selection.in(message, textLength(*m_chat, message)), m_pictures,
                        isFocused ? &m_focused->target : nullptr);
        }
        top += layout.height();
    }
    forgetFarLayouts(m_top.message, message);
    updateScrollBar();
}

void ChatView::resizeEvent(QResizeEvent * /*event*/)
{
    if (viewport()->width() != m_looks.width) {
        resetLayouts();
    } else {
        clampTop();
        updateScrollBar();
    }
}

void ChatView::changeEvent(QEvent *event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) {
        m_looks.palette = palette();
        m_looks.font = font();
        resetLayouts();
    }
}

} // namespace reader
