#pragma once

#include "reader/chatview.h"

#include <QTimer>
#include <QWidget>

#include <vector>

class QLabel;
class QLineEdit;

namespace reader {

/// Finds a few words, as they are typed, in the chat that is shown: a bar below it. It looks through some
/// messages at a time, so that typing never waits.
class FindBar final : public QWidget {
    Q_OBJECT

public:
    /// @param view lent; must outlive the bar.
    explicit FindBar(ChatView &view);

    /// Shows the bar and takes the keyboard.
    void open();
    /// Hides it; what it has marked is marked no more.
    void dismiss();
    /// Goes to the next (1) or previous (-1) message with the words.
    void go(int step);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void restart();
    void look();
    void tell();

    ChatView &m_view;
    QLineEdit *m_words;
    QLabel *m_count;
    QTimer m_looking;
    indexing::Question m_question;
    std::vector<qint8> m_texts;  ///< of each text: whether it has the words; -1 while nobody has looked
    std::vector<size_t> m_found; ///< messages
    size_t m_next = 0;           ///< the message to look at next
    size_t m_current = 0;        ///< position in m_found
    bool m_hasShown = false;     ///< whether one has been brought into view since the words were typed
};

} // namespace reader
