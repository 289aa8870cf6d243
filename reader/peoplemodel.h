#pragma once

#include "reader/contacts.h"

#include <QAbstractListModel>

namespace reader {

/// The list of people: All Chats, everybody by name, then the groups.
class PeopleModel final : public QAbstractListModel {
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    void setLists(const ListsRef &lists);
    /// Shows those whose name or screen names hold @p text, in any letter case; All Chats stays.
    void setFilter(const QString &text);

    /// The one of @p row; null for All Chats.
    [[nodiscard]] const Contact *contact(int row) const;
    /// The row of somebody of that name; 0, All Chats, when there is none.
    [[nodiscard]] int rowOf(const QString &name) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

private:
    void choose();

    std::vector<Contact> m_contacts;
    std::vector<size_t> m_shown; ///< positions
    QString m_filter;
    size_t m_chats = 0;
    std::optional<qint64> m_last; ///< of all
};

} // namespace reader
