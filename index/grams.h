#pragma once

#include "platform/sqlite/database.h"

#include <QString>
#include <QStringView>

namespace indexing {

// Words are found also inside of other words, in scripts with and without blanks, by the groups of
// neighbouring characters ("grams") that a text holds: each one, each two and each three. FTS5 keeps for each
// group which documents hold it.

/// Makes the tokenizer `grams` known to @p database, for tables `fts5(…, tokenize = 'grams', detail = none)`.
/// It takes folded text (folding.h) and gives its groups of one, two and three characters; as part of a
/// query a quoted string is one group. Characters are Unicode's code points.
/// @throws platform::DatabaseError when this SQLite has no FTS5.
void addGramTokenizer(platform::Database &database);

/// The FTS5 query for the documents that may hold @p foldedWord: those with all its groups of three, or with
/// the word itself when it is shorter. They are candidates: whether the groups stand in a row, only the text
/// tells. Everything is quoted, so FTS5's operators are letters like any. @p foldedWord is not empty.
[[nodiscard]] QString candidateQuery(QStringView foldedWord);

} // namespace indexing
