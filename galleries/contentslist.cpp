#include "galleries/contentslist.h"

#include <QStringBuilder>

namespace galleries {

namespace {

constexpr QStringView plainItem = u"<li>";
constexpr QStringView activeItem = u"<li class=\"active\">";

} // namespace

void ContentsList::add(const Item &item)
{
    m_starts.push_back(m_items.size());
    m_items += plainItem % u"<a href=\"" % item.target % u"\">" % item.label % u"</a><span class=\"numb\">(" %
               QString::number(item.count) % u")</span></li>";
}

QString ContentsList::html(size_t active) const
{
    // The items of a page differ from those of the next in one tag: with hundreds of pages that carry
    // hundreds of items each, making them anew would be most of the work.
    const qsizetype start = m_starts.at(active);
    const QStringView items(m_items);
    return items.first(start) % activeItem % items.sliced(start + plainItem.size());
}

} // namespace galleries
