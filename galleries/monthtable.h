#pragma once

#include <QHash>
#include <QString>
#include <QStringView>

#include <compare>

namespace galleries {

/// How two months compare, by their titles ("March 2005"): the earlier one is less.
using MonthOrder = std::strong_ordering (*)(QStringView, QStringView);

/// What stands around the entries of one month on the pages of a gallery.
struct MonthLayout {
    QStringView beforeTitle;
    QStringView afterTitle;
    qsizetype rowLength = 0; ///< entries in a row; 0 where they stand in none
    QStringView rowBreak;    ///< behind each full row, the last one too
    QStringView end;
    MonthOrder order; ///< of the sections
};

/// The entries of one month under their heading.
class MonthSection {
public:
    MonthSection() = default;
    MonthSection(const MonthLayout &layout, QStringView title);

    void append(const MonthLayout &layout, QStringView entry);
    /// What is there so far; not closed.
    [[nodiscard]] const QString &html() const { return m_html; }

private:
    QString m_html;
    qsizetype m_count = 0;
};

/// The sections of a page that shows everybody's entries by month, by their titles. They are filled while the
/// speakers' pages are made.
class MonthTable {
public:
    explicit MonthTable(const MonthLayout &layout) : m_layout(layout) {}

    /// The section of @p title; a new one has a heading only. Valid until the next call.
    [[nodiscard]] MonthSection &section(const QString &title);

    /// The sections, newest month first, what ends a section behind each and once more at the end.
    [[nodiscard]] QString html() const;

private:
    MonthLayout m_layout;
    QHash<QString, MonthSection> m_sections;
};

} // namespace galleries
