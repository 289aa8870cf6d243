#include "reader/resultsmodel.h"

#include "reader/names.h"
#include "reader/rowdelegate.h"
#include "reader/times.h"

#include <QPoint>

namespace reader {

void ResultsModel::clear()
{
    beginResetModel();
    m_results.clear();
    endResetModel();
}

void ResultsModel::add(const std::vector<Result> &results)
{
    if (results.empty())
        return;
    beginInsertRows({}, int(m_results.size()), int(m_results.size() + results.size()) - 1);
    m_results.insert(m_results.end(), results.begin(), results.end());
    endInsertRows();
}

const Result *ResultsModel::result(int row) const
{
    return row >= 0 && size_t(row) < m_results.size() ? &m_results[size_t(row)] : nullptr;
}

int ResultsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_results.size());
}

QVariant ResultsModel::data(const QModelIndex &index, int role) const
{
    const Result *const found = result(index.row());
    if (!found)
        return {};
    const QString name = harmless(found->speaker);
    switch (role) {
    case Qt::DisplayRole: return name;
    case CornerRole: return found->milliseconds ? shortDate(dateOf(*found->milliseconds)) : QString();
    case DetailRole: return found->excerpt;
    case MatchRole: return found->match;
    case Qt::AccessibleTextRole:
        return found->milliseconds
                   ? tr("%1, %2: %3").arg(name, exactTime(*found->milliseconds), found->excerpt)
                   : tr("%1: %2").arg(name, found->excerpt);
    case Qt::ToolTipRole:
        return harmlessMarkup(tr("In a chat with %1: %2").arg(harmless(found->otherParty), found->excerpt));
    default: return {};
    }
}

} // namespace reader
