#include "galleries/gallerypages.h"

#include "galleries/contentslist.h"
#include "galleries/filenames.h"
#include "galleries/pagefile.h"
#include "galleries/pagetemplate.h"

#include "platform/date/calendar.h"

#include <QStringBuilder>

namespace galleries {

namespace {

constexpr QStringView allSuffix = u".html";

/// The sections of a speaker's page.
/// @param months if not null, takes the entries as well.
QString monthSections(const GallerySpeaker &speaker, const MonthLayout &layout, MonthTable *months)
{
    QString sections;
    platform::CalendarDate openMonth;
    MonthSection open;
    MonthSection *month = nullptr;
    for (qsizetype i = 0; i < speaker.count; ++i) {
        const GalleryItem item = speaker.entry(i);
        const platform::CalendarDate date = platform::calendarDate(item.date);
        if (i == 0 || date.year != openMonth.year || date.month != openMonth.month) {
            if (i > 0)
                sections += open.html() % layout.end;
            const QString title = platform::descriptionWithCalendarFormat(item.date, u"%B %Y");
            open = MonthSection(layout, title);
            month = months ? &months->section(title) : nullptr;
            openMonth = date;
        }
        open.append(layout, item.html);
        if (month)
            month->append(layout, item.html);
    }
    if (speaker.count > 0)
        sections += open.html() % layout.end;
    return sections;
}

ContentsList contentsOf(const GalleryLayout &layout, std::span<const GallerySpeaker> speakers)
{
    qsizetype total = 0;
    for (const GallerySpeaker &speaker : speakers)
        total += speaker.count;
    ContentsList contents;
    contents.add({layout.name % allSuffix, QStringLiteral("All"), total});
    for (const GallerySpeaker &speaker : speakers)
        contents.add(
            {urlSafeForm(pageFileName(speaker.name, layout.speakerSuffix).stem) % layout.speakerSuffix,
             speaker.name, speaker.count});
    return contents;
}

} // namespace

void writeGalleryPages(const GalleryLayout &layout, std::span<const GallerySpeaker> speakers)
{
    const auto pageTemplate = PageTemplate::read(layout.pageTemplate);
    if (!pageTemplate)
        return;
    const ContentsList contents = contentsOf(layout, speakers);
    const auto page = [&](QStringView name, const QString &contentsHtml, const QString &sections) {
        const PageTemplate::Replacement replacements[] = {
            {"____NAME", name.toString()}, {"____CONTENTS", contentsHtml}, {layout.sectionsToken, sections}};
        return pageTemplate->page(replacements);
    };

    // A page that cannot but be too large is not begun: a store of a few megabytes could ask for many times
    // the memory that there is.
    qsizetype leastOfAll = 0;
    for (const GallerySpeaker &speaker : speakers)
        leastOfAll += speaker.leastSize;
    const bool allFit = leastOfAll <= PageTemplate::largestPage;

    MonthTable months(layout.month);
    for (size_t i = 0; i < speakers.size(); ++i) {
        const GallerySpeaker &speaker = speakers[i];
        const bool fits = speaker.leastSize <= PageTemplate::largestPage;
        writePage(pageFileName(speaker.name, layout.speakerSuffix),
                  fits ? page(speaker.name, contents.html(i + 1),
                              monthSections(speaker, layout.month, allFit ? &months : nullptr))
                       : QByteArray());
    }
    writePage(pageFileName(layout.name, allSuffix),
              allFit ? page(layout.name, contents.html(0), months.html()) : QByteArray());
}

} // namespace galleries
