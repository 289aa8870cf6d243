#pragma once

#include "reader/indexthread.h"

#include <QAbstractListModel>

#include <vector>

namespace reader {

/// The messages that a search has found.
class ResultsModel final : public QAbstractListModel {
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    void clear();
    void add(const std::vector<Result> &results);
    [[nodiscard]] const Result *result(int row) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

private:
    std::vector<Result> m_results;
};

} // namespace reader
