#pragma once

#include "VORAChatLog.h"

#include "galleries/linkstore.h"

/// The galleries and the statistics in the support folder, `Library/Prattlebug` under the home folder: each
/// operation loads its store, folds a chat in, saves the store and writes the pages anew. Holds nothing
/// itself.
class VORALogGenerator {
public:
    VORALogGenerator() = delete;

    /// Folds the links of @p chatLog into the link store and writes all link pages anew. Without a chat log
    /// (null) the pages are made from the store as it stands, and the store file is not touched.
    ///
    /// A store that cannot be read or written is left as it was; the console log and the preference pane are
    /// told (code 1, "permissions"; 4, "corrupt cache" for one that has outgrown what can be read again), and
    /// no page is written.
    static void GenerateLinkFiles(const VORAChatLog *chatLog);

    /// The links of the first speaker of exactly this name in @p inData, to be added to; null when there is
    /// none.
    [[nodiscard]] static std::vector<galleries::LinkEntry> *FindSpeakerArray(const QString &name,
                                                                             galleries::LinkStore &inData);
    /// How a page shows a link: see galleries::compressedLink().
    [[nodiscard]] static QString CompressedLinkForList(const QString &link);
    /// A text as the target of a link to a page: see galleries::urlSafeForm().
    [[nodiscard]] static QString stringWithFunkyURLStuffInserted(const QString &text);

    /// Adds @p chatLog to the statistics and writes their page. A chat given twice is counted twice. Where a
    /// file cannot be written, it stays as it was and nobody is told.
    static void UpdateStatistics(const VORAChatLog &chatLog);
};
