#pragma once

#include "index/chatindex.h"

#include <CLI/App.hpp>

#include <string>
#include <vector>

namespace companion {

/// The options by which commands that deal with many chats choose some: `--from`, `--with`, `--since`,
/// `--until`,
/// `--word`, `--has`, and words.
struct Filters {
    std::vector<std::string> words;
    std::string from;
    std::string with;
    std::string since;
    std::string until;
    std::vector<std::string> has;
    bool wholeWords = false;

    /// Adds the options to @p command, the words as what stands there without an option. This object outlives
    /// it.
    void addTo(CLI::App &command);
    /// The same with an option `--words`, for a command that takes something else there.
    void addAsOptionsTo(CLI::App &command);
    [[nodiscard]] indexing::Question question() const;

private:
    void addTo(CLI::App &command, const char *wordsName);
};

} // namespace companion
