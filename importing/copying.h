#pragma once

#include "importing/importplan.h"

#include <set>

namespace importing {

/// Carries out a plan.
///
/// Copies are written into a folder of their own first, many at a time; when all of a batch are on the disk
/// they get their names. So there are whole transcripts only, wherever it is killed, and what is done need
/// not be done again: the next import goes on. Nothing that stands at a place is replaced but what the plan
/// says, if it still has the bytes that the plan says.
class Copying {
public:
    struct Outcome {
        qsizetype copied = 0;
        bool isStopped = false;
        std::vector<NotedPath> failed; ///< transcripts that could not be copied, and why; the others could
    };

    /// @param transcriptFolder exists.
    Copying(std::filesystem::path transcriptFolder, CopyLedger &ledger, Observer &observer);

    /// @throws Failure when the transcript folder or the ledger cannot be written.
    void run(const ImportPlan &plan);

    /// Also what was done until a failure.
    [[nodiscard]] const Outcome &outcome() const { return m_outcome; }

private:
    class Staging;

    void write(const PlannedCopy &copy, Staging &staging);
    void place(Staging &staging);
    bool placeOne(const PlannedCopy &copy, const std::filesystem::path &written);
    void redate(const ImportPlan &plan);

    std::filesystem::path m_folder;
    CopyLedger &m_ledger;
    Observer &m_observer;
    Outcome m_outcome;
};

} // namespace importing
