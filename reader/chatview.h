#pragma once

#include "reader/messagelayout.h"
#include "reader/pictures.h"
#include "reader/rowheights.h"
#include "reader/selection.h"

#include "conversation/conversation.h"

#include <QAbstractScrollArea>
#include <QString>
#include <QTimer>

#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace reader {

/// A chat, scrolled. Messages are laid out when they come into view, and only those are kept: the heights of
/// the others are estimated, and corrected without moving what is in view.
///
/// Where the view stands is told by a message and how far below its top the view begins.
class ChatView final : public QAbstractScrollArea {
    Q_OBJECT

public:
    using Chat = std::shared_ptr<const conversation::Conversation>;

    explicit ChatView(QWidget *parent = nullptr);

    /// Shows @p chat from its beginning; null for none.
    void setChat(Chat chat);
    /// Shows a few words in place of a chat.
    void setNotice(const QString &text);
    [[nodiscard]] const Chat &chat() const { return m_chat; }
    [[nodiscard]] Pictures &pictures() { return m_pictures; }

    /// With the fonts, sizes and colours of the transcript, or plain.
    void setAsWritten(bool asWritten);
    [[nodiscard]] bool isAsWritten() const { return m_looks.isAsWritten; }
    /// Marks the words of @p question wherever they stand.
    void setMarked(const indexing::Question &question);

    /// The top of the view.
    struct Place {
        size_t message = 0;
        int offset = 0; ///< pixels of the message that are above the view

        friend bool operator==(const Place &, const Place &) = default;
    };
    [[nodiscard]] Place place() const { return m_top; }
    void setPlace(Place place);
    /// Brings a place of the text into view, in its upper third when it was not.
    void bringIntoView(TextPosition position);

    /// Brings @p message into view and selects the first of the marked words in it; where there are none, all
    /// of it.
    void showMatch(size_t message);

    [[nodiscard]] const Selection &selection() const { return m_selection; }
    void select(const Selection &selection);
    void selectAll();
    /// Puts what is selected on the clipboard, as text.
    void copy();

    // For accessibility: places are the viewport's.

    [[nodiscard]] QRect placeOfMessage(size_t message);
    [[nodiscard]] QRect placeOfCharacter(TextPosition position);
    [[nodiscard]] std::optional<TextPosition> positionAt(QPoint point);

Q_SIGNALS:
    /// Another chat, or none, is shown.
    void chatChanged();
    void linkActivated(const QString &link);
    void pictureActivated(quint32 file);
    void openRequested(quint32 file);
    void saveRequested(quint32 file);
    /// Where the link under the pointer or the keyboard's focus leads; empty when there is none.
    void linkShown(const QString &link);
    void selectionChanged();
    /// What there is to say about what the user has just asked for.
    void told(const QString &text);

protected:
    bool event(QEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    bool focusNextPrevChild(bool next) override;
    void focusOutEvent(QFocusEvent *event) override;

private:
    /// A target and the message that it is in.
    struct Reached {
        size_t message = 0;
        Target target;
    };

    // chatview.cpp: what is where
    void resetLayouts();
    void estimateHeights();
    MessageLayout &layoutOf(size_t message);
    void forgetFarLayouts(size_t first, size_t last);
    void relayout(quint32 file);
    /// Moves the top by @p pixels, laying out what it passes.
    void scrollBy(int pixels);
    /// Keeps the top within the chat.
    void clampTop();
    void updateScrollBar();
    [[nodiscard]] int messageTop(size_t message); ///< in the viewport; of messages near the view

    // chatviewinput.cpp: keys and pointer
    [[nodiscard]] std::optional<Reached> targetAt(QPoint point);
    void activate(const Reached &reached);
    void setFocused(std::optional<Reached> reached);
    void moveHead(QKeyEvent &event);
    [[nodiscard]] TextPosition moved(TextPosition position, int by, bool byWord) const;
    void autoScroll();
    void showMenu(QPoint at, const std::optional<Reached> &reached);
    void updatePointer(QPoint at);

    Chat m_chat;
    QString m_notice;
    Looks m_looks;
    Pictures m_pictures;
    RowHeights m_heights;
    std::map<size_t, std::unique_ptr<MessageLayout>> m_layouts;
    Place m_top;
    qint64 m_scale = 1; ///< pixels for a step of the scroll bar, which counts in int
    bool m_isMovingBar = false;

    Selection m_selection;
    bool m_isSelecting = false;
    std::optional<Reached> m_pressed;
    std::optional<Reached> m_focused; ///< by the keyboard
    QString m_shownLink;
    QTimer m_autoScroll;
};

} // namespace reader
