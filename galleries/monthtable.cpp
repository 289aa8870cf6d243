#include "galleries/monthtable.h"

#include "DateComparator.h"

#include <algorithm>

namespace galleries {

QString &MonthTable::section(const QString &title, QStringView heading)
{
    QString &section = m_sections[title];
    if (section.isNull())
        section = heading.toString();
    return section;
}

QString MonthTable::html(QStringView closing) const
{
    QStringList titles = m_sections.keys();
    std::sort(titles.begin(), titles.end(), [](const QString &a, const QString &b) {
        return DateComparator::compareLinkDateString(a, b) > 0;
    });
    QString text;
    for (const QString &title : std::as_const(titles))
        text.append(m_sections[title]).append(closing);
    return text.append(closing);
}

} // namespace galleries
