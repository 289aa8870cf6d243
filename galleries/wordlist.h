#pragma once

#include "platform/files/notedfile.h"
#include "platform/text/stringset.h"

namespace galleries {

/// The words of a file that a user can change: a property list in any form, with an array of strings at its
/// root. Where there is no readable file, or anything else in it, there are no words: a broken list counts
/// none.
class WordList {
public:
    /// The words in the file at @p path as it is now; it is read when it has changed. Valid until the next
    /// call.
    [[nodiscard]] const platform::StringSet &read(const std::filesystem::path &path);

private:
    platform::NotedFile m_file;
    platform::StringSet m_words;
};

} // namespace galleries
