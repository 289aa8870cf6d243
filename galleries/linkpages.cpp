#include "galleries/linkpages.h"

#include "galleries/gallerypages.h"
#include "galleries/supportfolder.h"

#include "platform/date/calendar.h"

#include <QStringBuilder>

namespace galleries {

namespace {

GalleryLayout linkLayout(MonthOrder order)
{
    return {.pageTemplate = linkTemplatePath(),
            .sectionsToken = "____LINKS",
            .name = u"Links",
            .speakerSuffix = u".html",
            .month = {.beforeTitle = u"\n<h3>",
                      .afterTitle = u"</h3><ul class=\"links\">\n",
                      .rowLength = 0,
                      .rowBreak = {},
                      .end = u"</ul>",
                      .order = order}};
}

QString linkItem(const QString &speaker, const LinkEntry &entry)
{
    return u"<li><span><a href=\"" % entry.linkurl % u"\" target=\"_blank\">" %
           compressedLink(entry.linkurl) % u"</a> -- " % speaker % u", " %
           platform::descriptionWithCalendarFormat(entry.date, u"%a %B %e, %I:%M%p") % u"</span></li>";
}

} // namespace

void writeLinkPages(const LinkStore &store, MonthOrder order)
{
    std::vector<GallerySpeaker> speakers;
    for (const LinkStore::Speaker &speaker : store.speakers()) {
        GallerySpeaker &shown = speakers.emplace_back();
        shown.name = speaker.name;
        shown.count = qsizetype(speaker.entries.size());
        for (const LinkEntry &entry : speaker.entries)
            shown.leastSize += entry.linkurl.size() + speaker.name.size();
        shown.entry = [&speaker](qsizetype position) {
            const LinkEntry &entry = speaker.entries[size_t(position)];
            return GalleryItem{entry.date, linkItem(speaker.name, entry)};
        };
    }
    writeGalleryPages(linkLayout(order), speakers);
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
