#include "reader/indexthread.h"

#include "reader/names.h"

#include "platform/addressbook/addressbook.h"

#include <QMetaObject>

#include <algorithm>
#include <utility>

namespace reader {

namespace {

constexpr qsizetype beforeMatch = 30; // characters of the text that an excerpt has
constexpr qsizetype excerptLength = 200;

/// Takes what stands around the first word found.
void excerptFrom(const indexing::Match &match, const indexing::Question &question, Result &result)
{
    constexpr qsizetype longestText = 100'000; // farther on nobody looks for the first word
    const QString text = match.text.left(longestText);
    const auto words = indexing::wordsIn(text, question);
    const auto word = words && !words->empty() ? words->front() : indexing::FoldedText::Range{0, 0};
    qsizetype start = std::max<qsizetype>(0, word.position - beforeMatch);
    while (start > 0 && start < word.position && !text[start - 1].isSpace())
        ++start; // at the beginning of a word, where there is one
    QString around = text.sliced(start, std::min(excerptLength, text.size() - start));
    std::replace_if(
        around.begin(), around.end(),
        [](QChar c) { return c.isSpace() || c == QChar::ObjectReplacementCharacter; }, u' ');
    const QString ellipsis = start > 0 ? QStringLiteral("…") : QString();
    result.match = QPoint(int(ellipsis.size() + word.position - start), int(word.length));
    result.excerpt = ellipsis + harmless(around);
}

} // namespace

IndexThread::IndexThread(const Collection &collection, QObject *parent)
    : QObject(parent), m_onThread(new QObject),
      m_index(std::make_shared<indexing::ChatIndex>(collection.folder, collection.index))
{
    m_onThread->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_onThread, &QObject::deleteLater);
    m_thread.start();
}

IndexThread::~IndexThread()
{
    stopSearch();
    m_thread.quit();
    m_thread.wait();
}

void IndexThread::reload()
{
    QMetaObject::invokeMethod(m_onThread, [this] {
        const platform::ABAddressBook::Reading oneReading;
        if (const auto failure = m_index->takeKept()) {
            Q_EMIT failed(QString::fromStdString(*failure));
            return;
        }
        Q_EMIT listed(
            std::make_shared<const Lists>(Lists{m_index->chats(), m_index->people(), m_index->unreadable()}));
    });
}

void IndexThread::stopSearch()
{
    ++m_search;
}

void IndexThread::search(const indexing::Question &question)
{
    QMetaObject::invokeMethod(m_onThread, [this, question, number = ++m_search] { find(question, number); });
}

void IndexThread::hand(std::vector<Result> results, int number, bool isEnd)
{
    QMetaObject::invokeMethod(this, [this, results = std::move(results), number, isEnd] {
        if (number == m_search)
            Q_EMIT found(results, isEnd);
    });
}

void IndexThread::find(const indexing::Question &question, int number)
{
    constexpr size_t firstBatch = 50; // a screen of them at once, the others in larger portions
    constexpr size_t laterBatch = 500;
    std::vector<Result> batch;
    size_t count = 0;
    if (number != m_search)
        return;
    const auto failure =
        m_index->find(question, indexing::ChatIndex::Order::NewestFirst, [&](const indexing::Match &match) {
            if (number != m_search)
                return false;
            Result result{match.chat->path,
                          match.chat->otherParty,
                          m_index->people()[match.person].displayName,
                          match.milliseconds,
                          match.place,
                          {},
                          {}};
            excerptFrom(match, question, result);
            batch.push_back(std::move(result));
            ++count;
            if (batch.size() >= (count <= firstBatch ? firstBatch : laterBatch))
                hand(std::exchange(batch, {}), number, false);
            return count < mostResults;
        });
    if (failure && number == m_search)
        Q_EMIT failed(QString::fromStdString(*failure));
    hand(std::move(batch), number, true);
}

} // namespace reader
