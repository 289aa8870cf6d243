#include "reader/peoplemodel.h"

#include "reader/counts.h"
#include "reader/names.h"
#include "reader/rowdelegate.h"
#include "reader/times.h"

#include <QLocale>

#include <algorithm>

namespace reader {

void PeopleModel::setLists(const ListsRef &lists)
{
    beginResetModel();
    m_contacts = contactsOf(*lists);
    m_chats = lists->chats.size();
    m_last.reset();
    for (const Contact &contact : m_contacts)
        m_last = std::max(m_last, contact.last);
    choose();
    endResetModel();
}

void PeopleModel::setFilter(const QString &text)
{
    beginResetModel();
    m_filter = text.trimmed();
    choose();
    endResetModel();
}

void PeopleModel::choose()
{
    m_shown.clear();
    for (size_t position = 0; position < m_contacts.size(); ++position) {
        const Contact &contact = m_contacts[position];
        if (contact.name.contains(m_filter, Qt::CaseInsensitive) ||
            !contact.screenNames.filter(m_filter, Qt::CaseInsensitive).isEmpty())
            m_shown.push_back(position);
    }
}

const Contact *PeopleModel::contact(int row) const
{
    return row >= 1 && size_t(row) <= m_shown.size() ? &m_contacts[m_shown[size_t(row) - 1]] : nullptr;
}

int PeopleModel::rowOf(const QString &name) const
{
    for (int row = 1; row < rowCount(); ++row) {
        if (contact(row)->name == name)
            return row;
    }
    return 0;
}

int PeopleModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_shown.size()) + 1;
}

QVariant PeopleModel::data(const QModelIndex &index, int role) const
{
    const Contact *const somebody = contact(index.row());
    const QString name = somebody ? somebody->name : tr("All Chats");
    const size_t chats = somebody ? somebody->chats.size() : m_chats;
    const auto &last = somebody ? somebody->last : m_last;
    const QString date = last ? shortDate(dateOf(*last)) : tr("no date");
    switch (role) {
    case Qt::DisplayRole: return name;
    case CornerRole: return QLocale().toString(qulonglong(chats));
    case DetailRole: return date;
    case Qt::AccessibleTextRole:
        return tr("%1, %2, last on %3").arg(name, counted(qint64(chats), tr("1 chat"), tr("%1 chats")), date);
    case Qt::ToolTipRole:
        return somebody ? harmlessMarkup(
                              somebody->screenNames.isEmpty()
                                  ? name
                                  : tr("%1 (%2)").arg(name, somebody->screenNames.join(QStringLiteral(", "))))
                        : QVariant();
    default: return {};
    }
}

} // namespace reader
