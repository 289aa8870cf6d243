#include "galleries/linkpages.h"

#include "galleries/contentslist.h"
#include "galleries/filenames.h"
#include "galleries/monthtable.h"
#include "galleries/pagefile.h"
#include "galleries/pagetemplate.h"
#include "galleries/supportfolder.h"

#include "platform/date/calendar.h"

#include <QStringBuilder>

namespace galleries {

namespace {

constexpr QStringView pageSuffix = u".html";
constexpr QStringView allLinksName = u"Links";
constexpr QStringView sectionEnd = u"</ul>";

QString monthTitle(const LinkEntry &entry)
{
    return platform::descriptionWithCalendarFormat(entry.date, u"%B %Y");
}

QString monthHeading(QStringView title)
{
    return u"\n<h3>" % title % u"</h3><ul class=\"links\">\n";
}

QString linkItem(const QString &speaker, const LinkEntry &entry)
{
    return u"<li><span><a href=\"" % entry.linkurl % u"\" target=\"_blank\">" %
           compressedLink(entry.linkurl) % u"</a> -- " % speaker % u", " %
           platform::descriptionWithCalendarFormat(entry.date, u"%a %B %e, %I:%M%p") % u"</span></li>";
}

/// The characters that the links of @p speaker take on a page, at least.
qsizetype leastSize(const LinkSpeaker &speaker)
{
    qsizetype size = 0;
    for (const LinkEntry &entry : speaker.urls)
        size += entry.linkurl.size() + speaker.speaker.size();
    return size;
}

/// The sections of a speaker's page.
/// @param months if not null, takes the items as well.
QString monthSections(const LinkSpeaker &speaker, MonthTable *months)
{
    QString sections;
    QString openTitle; // null while no section is open
    QString *month = nullptr;
    for (const LinkEntry &entry : speaker.urls) {
        const QString title = monthTitle(entry);
        if (title != openTitle) {
            if (!openTitle.isNull())
                sections += sectionEnd;
            const QString heading = monthHeading(title);
            sections += heading;
            month = months ? &months->section(title, heading) : nullptr;
            openTitle = title;
        }
        const QString item = linkItem(speaker.speaker, entry);
        sections += item;
        if (month)
            *month += item;
    }
    if (!openTitle.isNull())
        sections += sectionEnd;
    return sections;
}

ContentsList contentsOf(const LinkStore &store)
{
    ContentsList contents;
    contents.add({allLinksName % pageSuffix, QStringLiteral("All"), store.total()});
    for (const LinkSpeaker &speaker : store.speakers())
        contents.add({urlSafeForm(fileName(speaker.speaker, pageSuffix).stem) % pageSuffix, speaker.speaker,
                      qsizetype(speaker.urls.size())});
    return contents;
}

} // namespace

void writeLinkPages(const LinkStore &store)
{
    const auto pageTemplate = PageTemplate::read(linkTemplatePath());
    if (!pageTemplate)
        return;
    const ContentsList contents = contentsOf(store);
    const auto page = [&pageTemplate](QStringView name, const QString &contentsHtml, const QString &links) {
        const PageTemplate::Replacement replacements[] = {
            {"____NAME", name.toString()}, {"____CONTENTS", contentsHtml}, {"____LINKS", links}};
        return pageTemplate->page(replacements);
    };

    // A page that cannot but be too large is not begun: a store of a few megabytes could ask for many times
    // the memory that there is.
    qsizetype allLinks = 0;
    for (const LinkSpeaker &speaker : store.speakers())
        allLinks += leastSize(speaker);
    const bool allFit = allLinks <= PageTemplate::largestPage;

    MonthTable months;
    for (size_t i = 0; i < store.speakers().size(); ++i) {
        const LinkSpeaker &speaker = store.speakers()[i];
        const bool fits = leastSize(speaker) <= PageTemplate::largestPage;
        writePage(fileName(speaker.speaker, pageSuffix),
                  fits ? page(speaker.speaker, contents.html(i + 1),
                              monthSections(speaker, allFit ? &months : nullptr))
                       : QByteArray());
    }
    writePage(fileName(allLinksName, pageSuffix),
              allFit ? page(allLinksName, contents.html(0), months.html(sectionEnd)) : QByteArray());
}

QString compressedLink(const QString &link)
{
    constexpr qsizetype longestShownWhole = 40;
    constexpr qsizetype shownOfEachEnd = 20;
    if (link.size() <= longestShownWhole)
        return link;
    return link.first(shownOfEachEnd) % u" . . . " % link.last(shownOfEachEnd);
}

} // namespace galleries
