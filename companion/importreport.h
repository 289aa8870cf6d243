#pragma once

#include "companion/setupreport.h"

#include "importing/copying.h"

namespace companion {

/// Lines "PATH: note" for a report, the note under the key @p noteKey too.
[[nodiscard]] std::vector<SetupReport::Entry>
entriesOf(const std::vector<importing::NotedPath> &paths,
          QLatin1StringView noteKey = QLatin1StringView("reason"));

/// Tells what became of an import.
class ImportReport {
public:
    const importing::Findings &findings;
    const importing::ImportPlan &plan;
    const importing::Copying::Outcome *outcome; ///< null when it was only planned
    qsizetype people = 0;                       ///< whose cards were stored

    /// The summary, and below it what somebody may want to look after.
    void tell(SetupReport &report) const;
    /// Names on standard error what could not be read. @return whether there was nothing.
    bool tellUnread(SetupReport &report) const;

private:
    void tellSummary(SetupReport &report) const;
    void tellHomes(SetupReport &report) const;
    [[nodiscard]] std::vector<importing::NotedPath> unread() const;
};

} // namespace companion
