#pragma once

#include "galleries/speakerstore.h"

namespace galleries {

/// A link that somebody has sent. In its store a dictionary with "date" and "linkurl".
struct LinkEntry {
    platform::NSDate date; ///< of the message that held it
    QString linkurl;       ///< as it was sent

    static constexpr QStringView listKey = u"urls";
    [[nodiscard]] static std::optional<LinkEntry> fromPropertyList(const platform::PropertyList &dictionary);
    void write(platform::XMLPropertyListWriter &writer) const;
    void makeFitForXml();
};

/// Every link that was ever gathered.
using LinkStore = SpeakerStore<LinkEntry>;

/// The order of a speaker's links, newest first: how the date of @p second compares with that of @p first.
[[nodiscard]] std::partial_ordering compareLinkDictionaries(const LinkEntry &first, const LinkEntry &second);

} // namespace galleries
