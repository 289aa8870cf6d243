#include "reader/chataccess.h"

#include "reader/chatview.h"
#include "reader/names.h"
#include "reader/times.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>

#include <algorithm>
#include <map>

namespace reader {

namespace {

/// One message. It has no object of its own, so it looks everything up in the view.
class MessageAccess final : public QAccessibleInterface, public QAccessibleTextInterface {
public:
    MessageAccess(ChatView &view, size_t message) : m_view(&view), m_message(message) {}

    [[nodiscard]] bool isValid() const override
    {
        return m_view && m_view->chat() && m_message < m_view->chat()->messages.size();
    }
    [[nodiscard]] QObject *object() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *childAt(int /*x*/, int /*y*/) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface *parent() const override
    {
        return QAccessible::queryAccessibleInterface(m_view);
    }
    [[nodiscard]] QAccessibleInterface *child(int /*index*/) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface * /*child*/) const override { return -1; }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        if (!isValid())
            return {};
        const conversation::Message &message = m_view->chat()->messages[m_message];
        if (kind == QAccessible::Description)
            return message.milliseconds ? exactTime(*message.milliseconds) : QString();
        return kind == QAccessible::Name ? name(message) : QString();
    }
    void setText(QAccessible::Text /*kind*/, const QString & /*text*/) override {}

    [[nodiscard]] QRect rect() const override
    {
        if (!isValid())
            return {};
        const QRect place = m_view->placeOfMessage(m_message);
        return {m_view->viewport()->mapToGlobal(place.topLeft()), place.size()};
    }
    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invalid = !isValid();
        if (state.invalid)
            return state;
        state.readOnly = true;
        state.selectableText = true;
        state.multiLine = true;
        state.focusable = true;
        state.focused = m_view->hasFocus() && m_view->selection().head.message == m_message;
        state.offscreen = !m_view->viewport()->rect().intersects(m_view->placeOfMessage(m_message));
        return state;
    }
    void *interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::TextInterface ? static_cast<QAccessibleTextInterface *>(this) : nullptr;
    }

    [[nodiscard]] int characterCount() const override
    {
        return isValid() ? int(textLength(*m_view->chat(), m_message)) : 0;
    }
    [[nodiscard]] QString text(int start, int end) const override
    {
        if (characterCount() == 0)
            return {};
        const conversation::Conversation &chat = *m_view->chat();
        return chat.texts[*chat.messages[m_message].text].characters.mid(start, end - start);
    }
    [[nodiscard]] int selectionCount() const override { return selected().isEmpty() ? 0 : 1; }
    void selection(int /*number*/, int *start, int *end) const override
    {
        const Selection::Range range = selected();
        *start = int(range.first);
        *end = int(range.last);
    }
    void addSelection(int start, int end) override { setSelection(0, start, end); }
    void removeSelection(int /*number*/) override
    {
        if (isValid())
            m_view->select({});
    }
    void setSelection(int /*number*/, int start, int end) override
    {
        if (isValid())
            m_view->select({position(start), position(end)});
    }
    [[nodiscard]] int cursorPosition() const override
    {
        const bool isHere = isValid() && m_view->selection().head.message == m_message;
        return isHere ? int(m_view->selection().head.character) : -1;
    }
    void setCursorPosition(int place) override
    {
        setSelection(0, place, place);
        scrollToSubstring(place, place);
    }
    [[nodiscard]] QRect characterRect(int offset) const override
    {
        if (!isValid())
            return {};
        const QRect place = m_view->placeOfCharacter(position(offset));
        return {m_view->viewport()->mapToGlobal(place.topLeft()), place.size()};
    }
    [[nodiscard]] int offsetAtPoint(const QPoint &point) const override
    {
        const auto found =
            isValid() ? m_view->positionAt(m_view->viewport()->mapFromGlobal(point)) : std::nullopt;
        return found && found->message == m_message ? int(found->character) : -1;
    }
    void scrollToSubstring(int start, int /*end*/) override
    {
        if (isValid())
            m_view->bringIntoView(position(start));
    }
    [[nodiscard]] QString attributes(int /*offset*/, int *start, int *end) const override
    {
        *start = 0;
        *end = characterCount();
        return {};
    }

private:
    /// "Kim Lee, 21:07: see you at nine"
    [[nodiscard]] QString name(const conversation::Message &message) const
    {
        const conversation::Conversation &chat = *m_view->chat();
        QStringList who;
        if (message.speaker)
            who += harmless(chat.speakers[*message.speaker].displayName);
        if (message.milliseconds)
            who += shortTime(*message.milliseconds);
        QStringList parts;
        if (!who.isEmpty())
            parts += who.join(QStringLiteral(", "));
        if (message.text)
            parts += plainText(chat, chat.texts[*message.text], 0, MessageLayout::longestText);
        if (!message.fault.isEmpty())
            parts += ChatView::tr("could not be read whole: %1").arg(harmless(message.fault));
        return parts.join(QStringLiteral(": "));
    }
    [[nodiscard]] TextPosition position(int character) const
    {
        return {m_message, std::clamp(character, 0, characterCount())};
    }
    [[nodiscard]] Selection::Range selected() const
    {
        return isValid() ? m_view->selection().in(m_message, characterCount()) : Selection::Range();
    }

    QPointer<ChatView> m_view;
    size_t m_message;
};

class ChatAccess final : public QAccessibleWidget {
public:
    explicit ChatAccess(ChatView &view)
        : QAccessibleWidget(&view, QAccessible::List), m_view(view),
          m_connection(QObject::connect(&view, &ChatView::chatChanged, &view, [this] {
              forgetMessages();
              QAccessibleEvent reordered(&m_view, QAccessible::ObjectReorder);
              QAccessible::updateAccessibility(&reordered);
          }))
    {
    }
    ~ChatAccess() override
    {
        QObject::disconnect(m_connection);
        forgetMessages();
    }
    ChatAccess(const ChatAccess &) = delete;
    ChatAccess &operator=(const ChatAccess &) = delete;

    [[nodiscard]] int childCount() const override
    {
        return m_view.chat() ? int(m_view.chat()->messages.size()) : 0;
    }
    [[nodiscard]] QAccessibleInterface *child(int index) const override
    {
        if (index < 0 || index >= childCount())
            return nullptr;
        const auto [known, isNew] = m_messages.try_emplace(index, 0);
        if (isNew)
            known->second =
                QAccessible::registerAccessibleInterface(new MessageAccess(m_view, size_t(index)));
        return QAccessible::accessibleInterface(known->second);
    }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface *child) const override
    {
        const QAccessible::Id id = QAccessible::uniqueId(const_cast<QAccessibleInterface *>(child));
        for (const auto &[index, message] : m_messages) {
            if (message == id)
                return index;
        }
        return -1;
    }
    [[nodiscard]] QAccessibleInterface *childAt(int x, int y) const override
    {
        const QPoint point = m_view.viewport()->mapFromGlobal(QPoint(x, y));
        const auto found =
            m_view.viewport()->rect().contains(point) ? m_view.positionAt(point) : std::nullopt;
        return found ? child(int(found->message)) : nullptr;
    }
    [[nodiscard]] QAccessibleInterface *focusChild() const override
    {
        return m_view.hasFocus() ? child(int(m_view.selection().head.message)) : nullptr;
    }

private:
    void forgetMessages()
    {
        for (const auto &[index, message] : m_messages)
            QAccessible::deleteAccessibleInterface(message);
        m_messages.clear();
    }

    ChatView &m_view;
    QMetaObject::Connection m_connection;
    mutable std::map<int, QAccessible::Id> m_messages; ///< that anybody has asked for
};

} // namespace

QAccessibleInterface *chatAccess(const QString & /*className*/, QObject *object)
{
    auto *view = qobject_cast<ChatView *>(object);
    return view ? new ChatAccess(*view) : nullptr;
}

} // namespace reader
