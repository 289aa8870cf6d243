#pragma once

#include "reader/indexthread.h"

#include <QAbstractListModel>

#include <optional>
#include <vector>

namespace reader {

/// The list of chats by month, the newest first, with a heading for each month; below them the transcripts
/// that could not be read.
class ChatsModel final : public QAbstractListModel {
    Q_OBJECT

public:
    /// A transcript that could not be read, or is none.
    struct Unreadable {
        std::filesystem::path path; ///< whole
        QString reason;             ///< in English
    };

    using QAbstractListModel::QAbstractListModel;

    /// @param chats positions in Lists::chats, in their order.
    /// @param withNames whether to say with whom each chat was.
    void setChats(ListsRef lists, std::vector<quint32> chats, bool withNames,
                  std::vector<Unreadable> unreadable);

    /// The chat of @p row; null for other rows.
    [[nodiscard]] const indexing::Chat *chat(int row) const;
    [[nodiscard]] const Unreadable *unreadable(int row) const;
    /// The row of the chat with that transcript; -1 when there is none.
    [[nodiscard]] int rowOf(const std::filesystem::path &path) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    struct Row {
        enum class Kind : quint8 { Month, Chat, Undated, NotRead, Unreadable } kind = Kind::Chat;
        quint32 position = 0; ///< of the chat or the transcript; of the month's first chat
    };

    [[nodiscard]] QVariant headingData(const Row &row, int role) const;
    [[nodiscard]] QVariant chatData(const indexing::Chat &chat, int role) const;
    [[nodiscard]] static QVariant unreadableData(const Unreadable &transcript, int role);

    ListsRef m_lists;
    std::vector<Unreadable> m_unreadable;
    std::vector<Row> m_rows;
    bool m_withNames = false;
};

} // namespace reader
