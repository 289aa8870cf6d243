#pragma once

#include "galleries/monthtable.h"

#include "platform/date/nsdate.h"

#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <filesystem>
#include <functional>
#include <span>

namespace galleries {

/// What the pages of one gallery are made of.
struct GalleryLayout {
    std::filesystem::path pageTemplate;
    QByteArrayView sectionsToken; ///< of the template, for the sections; ASCII
    QStringView name;             ///< of the gallery, and of the page with everybody's entries
    QStringView speakerSuffix;    ///< of the speakers' pages, behind the name: ".html"
    MonthLayout month;
};

/// One entry as its pages show it.
struct GalleryItem {
    platform::NSDate date;
    QString html;
};

/// What one person has sent.
struct GallerySpeaker {
    QString name;
    qsizetype count = 0;
    qsizetype leastSize = 0;                     ///< characters that the entries take on a page, at least
    std::function<GalleryItem(qsizetype)> entry; ///< by position, newest first
};

/// Makes all pages of a gallery anew: for every speaker a page of that speaker's entries, and one with
/// everybody's, each by month. Where the template cannot be read there are none. A page that cannot be
/// written is passed over; one that would be larger than PageTemplate::largestPage too, with a message in
/// the console log.
///
/// Names and entries stand in the pages as they are, without escaping: it is the template that keeps what
/// somebody sent from running.
void writeGalleryPages(const GalleryLayout &layout, std::span<const GallerySpeaker> speakers);

} // namespace galleries
