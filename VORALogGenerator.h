#pragma once

#include "VORAChatLog.h"

#include "galleries/linkstore.h"

#include <QString>
#include <QStringView>

#include <vector>

/// The galleries and the statistics in the support folder, `Library/Prattlebug` under the home folder: each
/// operation loads its store, folds a chat in, saves the store and writes the pages anew. Holds nothing
/// itself.
class VORALogGenerator {
public:
    VORALogGenerator() = delete;

    // Links (VORALogGenerator+Links.cpp)

    /// Folds the links of @p chatLog into the link store, saves it, and makes all link pages anew; with null,
    /// makes the pages from the store as it is, which stays untouched.
    ///
    /// When the store cannot be read or written, it stays as it is, there are no pages, and the failure is
    /// reported: FileNotWritten with "permissions", or Internal with "corrupt cache" when it has become too
    /// large to be a store. With null, a store that cannot be read counts as an empty one.
    static void GenerateLinkFiles(const VORAChatLog *chatLog);

    /// The links of the first speaker in the store with exactly this name, to be changed there; null when
    /// there is none. Valid until a speaker is added.
    [[nodiscard]] static std::vector<galleries::LinkEntry> *FindSpeakerArray(const QString &name,
                                                                             galleries::LinkStore &inData);

    /// How a page shows a link: see galleries::compressedLink().
    [[nodiscard]] static QString CompressedLinkForList(const QString &link);

    /// How a name stands in the links of a page: see galleries::urlSafeForm().
    [[nodiscard]] static QString stringWithFunkyURLStuffInserted(QStringView text);

    // Statistics (VORALogGenerator+Statistics.cpp)

    /// Adds @p chatLog to the statistics and writes their page. A chat given twice is counted twice. Where a
    /// file cannot be written, it stays as it was and nobody is told.
    static void UpdateStatistics(const VORAChatLog &chatLog);
};
