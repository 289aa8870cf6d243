#pragma once

#include <QString>

#include <vector>

namespace galleries {

/// The list of pages that every page of a gallery carries, as the items of an HTML list.
class ContentsList {
public:
    struct Item {
        QString target; ///< of the link, relative to the support folder
        QString label;  ///< put in as it is
        qsizetype count;
    };
    /// Adds an item behind the others.
    void add(const Item &item);

    /// The items, with nothing between them; the one at @p active, counted from 0, marked as that of the page
    /// at hand.
    [[nodiscard]] QString html(size_t active) const;

private:
    std::vector<qsizetype> m_starts; // of the items in m_items
    QString m_items;                 // none of them marked
};

} // namespace galleries
