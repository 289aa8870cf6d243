#include "galleries/imagepages.h"

#include "galleries/filenames.h"
#include "galleries/gallerypages.h"
#include "galleries/supportfolder.h"

#include <QStringBuilder>

namespace galleries {

namespace {

GalleryLayout imageLayout(MonthOrder order)
{
    return {.pageTemplate = imageTemplatePath(),
            .sectionsToken = "____IMAGES",
            .name = u"Images",
            .speakerSuffix = u"-images.html",
            .month = {.beforeTitle = u"\n<h3>",
                      .afterTitle = u"</h3>\n<table class=\"images\" cellpadding=0 cellspacing=10>\n",
                      .rowLength = 5,
                      .rowBreak = u"</tr><tr>",
                      .end = u"</tr></table></ul>",
                      .order = order}};
}

constexpr qsizetype leastMarkup = 60; ///< of a cell, beside what the file's name takes

QString cell(const ImageEntry &entry)
{
    const QString file = urlSafeForm(entry.filename);
    const QString opened = u"<td><a href=\"" % file % u"\" target=\"_blank\"><img src=\"";
    if (pathExtension(entry.filename) == u"pdf")
        return opened % u"Images/pdf.png\"/></a></td>";
    const QStringView size =
        entry.width > entry.height ? u"\" width=\"90\"/></a></td>" : u"\" height=\"90\"/></a></td>";
    return opened % file % size;
}

} // namespace

void writeImagePages(const ImageStore &store, MonthOrder order)
{
    std::vector<GallerySpeaker> speakers;
    for (const ImageStore::Speaker &speaker : store.speakers()) {
        GallerySpeaker &shown = speakers.emplace_back();
        shown.name = speaker.name;
        shown.count = qsizetype(speaker.entries.size());
        for (const ImageEntry &entry : speaker.entries)
            shown.leastSize += entry.filename.size() + leastMarkup;
        shown.entry = [&speaker](qsizetype position) {
            const ImageEntry &entry = speaker.entries[size_t(position)];
            return GalleryItem{entry.date, cell(entry)};
        };
    }
    writeGalleryPages(imageLayout(order), speakers);
}

} // namespace galleries
