#pragma once

#include "reader/chatview.h"

#include <filesystem>
#include <map>
#include <optional>
#include <vector>

namespace reader {

/// Which chats were looked at, as a web browser keeps it, and where in each one.
class History {
public:
    /// Notes that @p path is shown now; what lay ahead is forgotten. The same one again changes nothing.
    void visit(const std::filesystem::path &path)
    {
        if (!m_visits.empty() && m_visits[m_now] == path)
            return;
        if (!m_visits.empty())
            m_visits.resize(m_now + 1);
        m_visits.push_back(path);
        m_now = m_visits.size() - 1;
    }

    [[nodiscard]] bool canGo(int step) const
    {
        return step < 0 ? m_now > 0 && !m_visits.empty() : m_now + 1 < m_visits.size();
    }
    /// Goes one back (-1) or forward (1), where that can be. @return what is shown there.
    [[nodiscard]] const std::filesystem::path &go(int step)
    {
        m_now = step < 0 ? m_now - 1 : m_now + 1;
        return m_visits[m_now];
    }

    void keepPlace(const std::filesystem::path &path, ChatView::Place place) { m_places[path] = place; }
    /// Where the chat was left; its beginning when it was not looked at.
    [[nodiscard]] ChatView::Place place(const std::filesystem::path &path) const
    {
        const auto known = m_places.find(path);
        return known == m_places.end() ? ChatView::Place() : known->second;
    }

private:
    std::vector<std::filesystem::path> m_visits;
    size_t m_now = 0;
    std::map<std::filesystem::path, ChatView::Place> m_places;
};

} // namespace reader
