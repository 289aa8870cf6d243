#pragma once

#include "VORAChatLog.h"

/// The galleries and the statistics in the support folder, `Library/Prattlebug` under the home folder: each
/// operation loads its store, folds a chat in, saves the store and writes the pages anew. Holds nothing
/// itself.
class VORALogGenerator {
public:
    VORALogGenerator() = delete;

    /// Adds @p chatLog to the statistics and writes their page. A chat given twice is counted twice. Where a
    /// file cannot be written, it stays as it was and nobody is told.
    static void UpdateStatistics(const VORAChatLog &chatLog);
};
