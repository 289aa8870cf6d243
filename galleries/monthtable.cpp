#include "galleries/monthtable.h"

#include <QStringBuilder>

#include <algorithm>

namespace galleries {

MonthSection::MonthSection(const MonthLayout &layout, QStringView title)
    : m_html(layout.beforeTitle % title % layout.afterTitle)
{
}

void MonthSection::append(const MonthLayout &layout, QStringView entry)
{
    m_html += entry;
    ++m_count;
    if (layout.rowLength > 0 && m_count % layout.rowLength == 0)
        m_html += layout.rowBreak;
}

MonthSection &MonthTable::section(const QString &title)
{
    MonthSection &section = m_sections[title];
    if (section.html().isNull())
        section = MonthSection(m_layout, title);
    return section;
}

QString MonthTable::html() const
{
    QStringList titles = m_sections.keys();
    std::sort(titles.begin(), titles.end(),
              [this](const QString &a, const QString &b) { return m_layout.order(a, b) > 0; });
    QString text;
    for (const QString &title : std::as_const(titles))
        text.append(m_sections[title].html()).append(m_layout.end);
    return text.append(m_layout.end);
}

} // namespace galleries
