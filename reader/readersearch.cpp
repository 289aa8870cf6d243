#include "reader/counts.h"
#include "reader/names.h"
#include "reader/readerwindow.h"
#include "reader/searchtext.h"

#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QShortcut>
#include <QStackedWidget>

namespace reader {

namespace {

enum Middle : quint8 { ChatsPage, ResultsPage };

} // namespace

void ReaderWindow::connectSearch()
{
    connect(m_search, &QLineEdit::textChanged, this, &ReaderWindow::search);
    connect(m_search, &QLineEdit::returnPressed, this, [this] {
        if (m_results.rowCount() == 0)
            return;
        if (!m_resultsList->currentIndex().isValid())
            m_resultsList->setCurrentIndex(m_results.index(0));
        m_resultsList->setFocus();
    });
    connect(m_resultsList->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &current) { showResult(current.row()); });
    connect(m_resultsList, &QListView::activated, m_view, QOverload<>::of(&QWidget::setFocus));
    connect(&m_watch, &FolderWatch::changed, this, &ReaderWindow::bringUpToDate);
    connect(m_peopleList, &QListView::clicked, m_search, &QLineEdit::clear);
    connect(new QShortcut(Qt::Key_Escape, m_search, nullptr, nullptr, Qt::WidgetShortcut),
            &QShortcut::activated, m_search, &QLineEdit::clear);
    m_middle->setFocusProxy(m_chatsList);
    updateHistoryActions();
}

void ReaderWindow::search()
{
    const QString typed = m_search->text().trimmed();
    m_results.clear();
    if (m_index)
        m_index->stopSearch();
    QListView *const list = typed.isEmpty() ? m_chatsList : m_resultsList;
    m_middle->setCurrentIndex(typed.isEmpty() ? ChatsPage : ResultsPage);
    m_middle->setFocusProxy(list);
    const SearchText wanted = SearchText::of(typed);
    m_question = wanted.question;
    m_found->setText(wanted.problem);
    if (typed.isEmpty()) {
        if (m_find->isHidden())
            m_view->setMarked({});
        selectShown();
        return;
    }
    if (!wanted.problem.isEmpty() || m_question.isEmpty() || !m_index)
        return;
    m_found->setText(tr("Searching…"));
    m_index->search(m_question);
}

void ReaderWindow::takeResults(const std::vector<Result> &results, bool isEnd)
{
    m_results.add(results);
    const qint64 count = m_results.rowCount();
    if (count == 0)
        m_found->setText(isEnd ? tr("Nothing was found.") : tr("Searching…"));
    else if (size_t(count) >= IndexThread::mostResults)
        m_found->setText(tr("The newest %L1 messages. More words find fewer.").arg(count));
    else
        m_found->setText(counted(count, tr("1 message"), tr("%1 messages")));
}

void ReaderWindow::showResult(int row)
{
    const Result *const result = m_results.result(row);
    if (!result)
        return;
    m_find->dismiss();
    openTranscript(m_collection.transcript(result->path));
    m_match = *result;
    if (m_view->chat())
        showMatch(); // it was there already
}

void ReaderWindow::showMatch()
{
    m_view->setMarked(m_question);
    m_view->showMatch(m_match->place);
    m_match.reset();
}

void ReaderWindow::goToMatch(int step)
{
    if (!m_find->isHidden()) {
        m_find->go(step);
        return;
    }
    const QModelIndex current = m_resultsList->currentIndex();
    const int row = current.isValid() ? current.row() + step : 0;
    if (m_results.result(row))
        m_resultsList->setCurrentIndex(m_results.index(row));
}

void ReaderWindow::keepPlace()
{
    if (m_view->chat() && !m_path.empty())
        m_history.keepPlace(m_path, m_view->place());
}

void ReaderWindow::goInHistory(int step)
{
    if (!m_history.canGo(step))
        return;
    keepPlace();
    const std::filesystem::path path = m_history.go(step);
    openTranscript(path);
    selectShown();
}

void ReaderWindow::updateHistoryActions()
{
    m_back->setEnabled(m_history.canGo(-1));
    m_forward->setEnabled(m_history.canGo(1));
}

} // namespace reader
