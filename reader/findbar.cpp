#include "reader/findbar.h"

#include "index/folding.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QToolButton>

#include <algorithm>

namespace reader {

namespace {

constexpr qsizetype charactersAtATime = 300'000; // some milliseconds

} // namespace

FindBar::FindBar(ChatView &view) : m_view(view), m_words(new QLineEdit), m_count(new QLabel)
{
    m_words->setObjectName(QStringLiteral("find"));
    m_words->setPlaceholderText(tr("Find in this chat"));
    m_words->setAccessibleName(tr("Find in this chat"));
    m_words->setClearButtonEnabled(true);
    m_count->setObjectName(QStringLiteral("findCount"));
    m_count->setTextFormat(Qt::PlainText);
    const auto button = [this](Qt::ArrowType arrow, const QString &name, int step) {
        auto *result = new QToolButton;
        result->setArrowType(arrow);
        result->setAutoRaise(true);
        result->setToolTip(name);
        result->setAccessibleName(name);
        connect(result, &QToolButton::clicked, this, [this, step] { go(step); });
        return result;
    };
    auto *closing = new QToolButton;
    closing->setAutoRaise(true);
    closing->setIcon(QIcon::fromTheme(QStringLiteral("window-close"),
                                      style()->standardIcon(QStyle::SP_TitleBarCloseButton)));
    closing->setToolTip(tr("Close"));
    closing->setAccessibleName(tr("Close"));
    connect(closing, &QToolButton::clicked, this, &FindBar::dismiss);
    auto *row = new QHBoxLayout(this);
    constexpr int margin = 4;
    row->setContentsMargins(margin, margin, margin, margin);
    row->addWidget(m_words, 1);
    row->addWidget(button(Qt::UpArrow, tr("Previous match"), -1));
    row->addWidget(button(Qt::DownArrow, tr("Next match"), 1));
    row->addWidget(m_count);
    row->addWidget(closing);
    connect(m_words, &QLineEdit::textChanged, this, &FindBar::restart);
    connect(&m_view, &ChatView::chatChanged, this, &FindBar::restart);
    connect(&m_looking, &QTimer::timeout, this, &FindBar::look);
    hide();
}

void FindBar::open()
{
    show();
    m_words->setFocus();
    m_words->selectAll();
    restart();
}

void FindBar::dismiss()
{
    if (isHidden())
        return;
    const bool hadKeyboard = isAncestorOf(QApplication::focusWidget());
    hide();
    m_looking.stop();
    m_view.setMarked({});
    if (hadKeyboard)
        m_view.setFocus();
}

void FindBar::restart()
{
    m_looking.stop();
    m_found.clear();
    m_next = 0;
    m_current = 0;
    m_hasShown = false;
    if (isHidden())
        return;
    m_question = {};
    if (const QString words = indexing::folded(m_words->text().trimmed()); !words.isEmpty())
        m_question.words.push_back(words);
    m_view.setMarked(m_question);
    m_texts.assign(m_view.chat() ? m_view.chat()->texts.size() : 0, -1);
    m_count->clear();
    if (m_view.chat() && !m_question.words.empty())
        m_looking.start(0);
}

void FindBar::look()
{
    const conversation::Conversation &chat = *m_view.chat();
    qsizetype left = charactersAtATime;
    for (; m_next < chat.messages.size() && left > 0; ++m_next) {
        --left;
        const auto &text = chat.messages[m_next].text;
        if (!text)
            continue;
        qint8 &hasWords = m_texts[*text];
        if (hasWords < 0) {
            const QString &characters = chat.texts[*text].characters;
            left -= characters.size();
            hasWords = qint8(indexing::hasWords(characters, m_question) ? 1 : 0);
        }
        if (hasWords > 0)
            m_found.push_back(m_next);
    }
    const bool isEnd = m_next >= chat.messages.size();
    if (isEnd)
        m_looking.stop();
    const size_t from = m_view.place().message;
    if (!m_hasShown && !m_found.empty() && (isEnd || m_found.back() >= from)) {
        const auto first = std::lower_bound(m_found.begin(), m_found.end(), from);
        m_current = first == m_found.end() ? 0 : size_t(first - m_found.begin());
        m_hasShown = true;
        go(0);
    }
    tell();
}

void FindBar::go(int step)
{
    if (m_found.empty())
        return;
    m_current = (m_current + m_found.size() + size_t(step)) % m_found.size();
    m_view.showMatch(m_found[m_current]);
    tell();
}

void FindBar::tell()
{
    if (m_found.empty())
        m_count->setText(m_looking.isActive() ? tr("…") : tr("Not found"));
    else
        m_count->setText(tr("%L1 of %L2").arg(m_current + 1).arg(m_found.size()));
}

void FindBar::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: go(event->modifiers().testFlag(Qt::ShiftModifier) ? -1 : 1); return;
    case Qt::Key_Down: go(1); return;
    case Qt::Key_Up: go(-1); return;
    case Qt::Key_Escape: dismiss(); return;
    default: QWidget::keyPressEvent(event);
    }
}

} // namespace reader
