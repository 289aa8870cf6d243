#pragma once

#include "index/question.h"

#include <QString>
#include <QStringView>

namespace reader {

/// What somebody has typed to search for.
///
/// Words, which stand in the message in any letter case; quotes hold several together. `from:`, `with:`,
/// `since:`, `until:` and `has:` are the filters of `prattlebug search`, with a value that may stand in
/// quotes: from:kim with:"zoë müller" since:2005-03 has:picture.
struct SearchText {
    indexing::Question question;
    QString problem; ///< what is wrong with a filter, for people; empty when nothing is

    [[nodiscard]] static SearchText of(QStringView typed);
};

} // namespace reader
