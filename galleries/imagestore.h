#pragma once

#include "galleries/speakerstore.h"

namespace galleries {

/// A file that somebody has sent. In its store a dictionary with these four under their names.
struct ImageEntry {
    platform::NSDate date; ///< of the message that held it
    QString filename;      ///< relative to the support folder: "Images/" and the name on disk
    qint64 width = 0;      ///< of a picture, in points, cut to whole numbers; 0 by 0 for other files
    qint64 height = 0;

    static constexpr QStringView listKey = u"filenames";
    [[nodiscard]] static std::optional<ImageEntry> fromPropertyList(const platform::PropertyList &dictionary);
    void write(platform::XMLPropertyListWriter &writer) const;
    void makeFitForXml();
};

/// Every attached file that was ever met, pictures or not. The files themselves lie in imagesFolder().
using ImageStore = SpeakerStore<ImageEntry>;

/// The order of a speaker's files, newest first: how the date of @p second compares with that of @p first.
[[nodiscard]] std::partial_ordering compareImageDictionaries(const ImageEntry &first,
                                                             const ImageEntry &second);

} // namespace galleries
