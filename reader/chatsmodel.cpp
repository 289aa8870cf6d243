#include "reader/chatsmodel.h"

#include "reader/contacts.h"
#include "reader/counts.h"
#include "reader/names.h"
#include "reader/rowdelegate.h"
#include "reader/times.h"

#include "platform/files/files.h"

#include <QLocale>

#include <algorithm>
#include <utility>

namespace reader {

using indexing::Chat;

void ChatsModel::setChats(ListsRef lists, std::vector<quint32> chats, bool withNames,
                          std::vector<Unreadable> unreadable)
{
    beginResetModel();
    m_lists = std::move(lists);
    m_withNames = withNames;
    m_unreadable = std::move(unreadable);
    m_rows.clear();
    std::reverse(chats.begin(), chats.end());
    std::stable_partition(chats.begin(), chats.end(),
                          [this](quint32 chat) { return m_lists->chats[chat].first.has_value(); });
    std::optional<std::pair<int, int>> month;
    bool hasUndated = false;
    for (const quint32 position : chats) {
        const Chat &chat = m_lists->chats[position];
        if (chat.first) {
            const QDate date = dateOf(*chat.first);
            if (month != std::pair(date.year(), date.month()))
                m_rows.push_back({Row::Kind::Month, position});
            month = std::pair(date.year(), date.month());
        } else if (!std::exchange(hasUndated, true)) {
            m_rows.push_back({Row::Kind::Undated, position});
        }
        m_rows.push_back({Row::Kind::Chat, position});
    }
    if (!m_unreadable.empty())
        m_rows.push_back({Row::Kind::NotRead, 0});
    for (quint32 position = 0; position < m_unreadable.size(); ++position)
        m_rows.push_back({Row::Kind::Unreadable, position});
    endResetModel();
}

const Chat *ChatsModel::chat(int row) const
{
    const bool isChat =
        row >= 0 && size_t(row) < m_rows.size() && m_rows[size_t(row)].kind == Row::Kind::Chat;
    return isChat ? &m_lists->chats[m_rows[size_t(row)].position] : nullptr;
}

const ChatsModel::Unreadable *ChatsModel::unreadable(int row) const
{
    const bool isOne =
        row >= 0 && size_t(row) < m_rows.size() && m_rows[size_t(row)].kind == Row::Kind::Unreadable;
    return isOne ? &m_unreadable[m_rows[size_t(row)].position] : nullptr;
}

int ChatsModel::rowOf(const std::filesystem::path &path) const
{
    const auto row = std::find_if(m_rows.begin(), m_rows.end(), [&](const Row &candidate) {
        return (candidate.kind == Row::Kind::Chat && m_lists->chats[candidate.position].path == path) ||
               (candidate.kind == Row::Kind::Unreadable && m_unreadable[candidate.position].path == path);
    });
    return row == m_rows.end() ? -1 : int(row - m_rows.begin());
}

int ChatsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

Qt::ItemFlags ChatsModel::flags(const QModelIndex &index) const
{
    if (!index.isValid() || !(chat(index.row()) || unreadable(index.row())))
        return Qt::NoItemFlags;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}

QVariant ChatsModel::data(const QModelIndex &index, int role) const
{
    if (const Chat *const one = chat(index.row()))
        return chatData(*one, role);
    if (const Unreadable *const one = unreadable(index.row()))
        return unreadableData(*one, role);
    return index.isValid() ? headingData(m_rows[size_t(index.row())], role) : QVariant();
}

QVariant ChatsModel::headingData(const Row &row, int role) const
{
    if (role == HeadingRole)
        return true;
    if (role != Qt::DisplayRole)
        return {};
    switch (row.kind) {
    case Row::Kind::Month: return monthAndYear(dateOf(*m_lists->chats[row.position].first));
    case Row::Kind::Undated: return tr("Without a Date");
    default: return tr("Could Not Be Read");
    }
}

QVariant ChatsModel::chatData(const Chat &chat, int role) const
{
    const qint64 length = chat.first && chat.last ? std::max<qint64>(0, *chat.last - *chat.first) : 0;
    const auto title = [&] {
        QString name = m_withNames || !chat.first ? namesIn(*m_lists, chat) : QString();
        if (!chat.first)
            return name;
        const QString time = QLocale().toString(dateOf(*chat.first), QStringLiteral("ddd d")) +
                             QStringLiteral(", ") + shortTime(*chat.first);
        return name.isEmpty() ? time : tr("%1 · %2").arg(time, name);
    };
    switch (role) {
    case Qt::DisplayRole: return title();
    case CornerRole:
        return length > 0 ? tr("%1 · %L2").arg(duration(length)).arg(chat.messages)
                          : tr("%L1").arg(chat.messages);
    case DetailRole: return harmless(chat.beginning);
    case MarksRole:
        return (chat.pictures > 0 ? PictureMark : 0) | (chat.files > chat.pictures ? FileMark : 0) |
               (chat.links > 0 ? LinkMark : 0);
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole: {
        QStringList parts{namesIn(*m_lists, chat)};
        if (chat.first)
            parts += exactTime(*chat.first);
        if (length > 0)
            parts += duration(length);
        parts += counted(chat.messages, tr("1 message"), tr("%1 messages"));
        if (chat.pictures > 0)
            parts += counted(chat.pictures, tr("1 picture"), tr("%1 pictures"));
        if (chat.files > chat.pictures)
            parts += counted(chat.files - chat.pictures, tr("1 file"), tr("%1 files"));
        if (chat.links > 0)
            parts += counted(chat.links, tr("1 link"), tr("%1 links"));
        if (role == Qt::ToolTipRole)
            return harmlessMarkup(parts.join(QStringLiteral(", ")));
        return (parts + QStringList{harmless(chat.beginning)}).join(QStringLiteral(", "));
    }
    default: return {};
    }
}

QVariant ChatsModel::unreadableData(const Unreadable &transcript, int role)
{
    const QString name = harmless(platform::displayPath(transcript.path.filename()));
    switch (role) {
    case Qt::DisplayRole: return name;
    case DetailRole: return harmless(transcript.reason);
    case Qt::AccessibleTextRole: return tr("%1 could not be read: %2").arg(name, harmless(transcript.reason));
    case Qt::ToolTipRole: return harmlessMarkup(platform::displayPath(transcript.path));
    default: return {};
    }
}

} // namespace reader
