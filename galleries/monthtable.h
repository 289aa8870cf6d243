#pragma once

#include <QHash>
#include <QString>
#include <QStringView>

namespace galleries {

/// The sections of a page that shows everybody's entries by month: for each month title the text of its
/// section, which is filled while the speakers' pages are made and not closed.
class MonthTable {
public:
    /// The section of @p title; a new one begins with @p heading. Valid until the next call.
    [[nodiscard]] QString &section(const QString &title, QStringView heading);

    /// The sections, newest month first, @p closing behind each and once more at the end.
    [[nodiscard]] QString html(QStringView closing) const;

private:
    QHash<QString, QString> m_sections;
};

} // namespace galleries
