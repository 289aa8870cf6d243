#include "index/grams.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <utility>

namespace indexing {

namespace {

constexpr size_t longestGram = 3; // code points

bool startsCharacter(char byte)
{
    constexpr unsigned char continuationMask = 0xC0;
    constexpr unsigned char continuation = 0x80;
    return (static_cast<unsigned char>(byte) & continuationMask) != continuation;
}

using TakeToken = int (*)(void *context, int flags, const char *token, int size, int start, int end);

/// Remembers many of the groups that a text has had. FTS5 wants to be told of each once, and two in three
/// come again; to ask its large table for them takes longer than to ask this small one.
class RecentGroups {
public:
    /// Whether the group @p characters, these being 21 bits each, is known to have been there before.
    bool hasHad(quint64 characters)
    {
        constexpr quint64 spreading = 0x9E3779B97F4A7C15U; // over the upper bits
        constexpr int unusedBits = 64 - slotBits;
        return std::exchange(m_slots[(characters * spreading) >> unusedBits], characters) == characters;
    }

private:
    static constexpr int slotBits = 11;
    std::array<quint64, size_t(1) << slotBits> m_slots{}; // 0 for none: no text holds NUL
};

/// Gives the groups of one to three characters in well-formed UTF-8 to @p take, until it fails; most of those
/// that come several times, once.
int takeGroups(const char *text, int size, void *context, TakeToken take)
{
    constexpr unsigned bitsOfCharacter = 21;
    constexpr unsigned bitsOfContinuation = 6;
    constexpr quint64 continuationBits = 0x3F;
    constexpr std::array<unsigned char, 4> firstByteBits{0x7F, 0x1F, 0x0F, 0x07}; // by the number of bytes
    RecentGroups recent;
    // The starts of the last characters, the latest at the end; and these characters, the latest in the lower
    // bits.
    std::array<int, longestGram> starts{};
    quint64 characters = 0;
    size_t known = 0;
    for (int position = 0; position < size;) {
        int end = position + 1;
        while (end < size && !startsCharacter(text[end]))
            ++end;
        const auto bytes = std::min(size_t(end - position), firstByteBits.size());
        quint64 character = static_cast<unsigned char>(text[position]) & firstByteBits[bytes - 1];
        for (int next = position + 1; next < end; ++next)
            character = (character << bitsOfContinuation) |
                        (static_cast<unsigned char>(text[next]) & continuationBits);
        characters = (characters << bitsOfCharacter) | character;
        std::rotate(starts.begin(), starts.begin() + 1, starts.end());
        starts.back() = position;
        known = std::min(known + 1, longestGram);
        for (size_t count = 1; count <= known; ++count) {
            if (recent.hasHad(characters & ((quint64(1) << (count * bitsOfCharacter)) - 1)))
                continue;
            const int start = starts[longestGram - count];
            if (const int code = take(context, 0, text + start, end - start, start, end); code != SQLITE_OK)
                return code;
        }
        position = end;
    }
    return SQLITE_OK;
}

// The three functions of an fts5_tokenizer, whose signatures FTS5 gives. The tokenizer has no state.

int createTokenizer(void * /*context*/, const char ** /*arguments*/, int /*count*/, Fts5Tokenizer **tokenizer)
{
    static char stateless;
    *tokenizer = reinterpret_cast<Fts5Tokenizer *>(&stateless);
    return SQLITE_OK;
}

void deleteTokenizer(Fts5Tokenizer * /*tokenizer*/) {}

int tokenize(Fts5Tokenizer * /*tokenizer*/, void *context, int flags, const char *text, int size,
             TakeToken take)
{
    if ((flags & FTS5_TOKENIZE_QUERY) != 0)
        return size > 0 ? take(context, 0, text, size, 0, size) : SQLITE_OK;
    return takeGroups(text, size, context, take);
}

fts5_api *fullTextSearch(platform::Database &database)
{
    fts5_api *api = nullptr;
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v2(database.handle(), "SELECT fts5(?)", -1, &statement, nullptr) == SQLITE_OK) {
        sqlite3_bind_pointer(statement, 1, static_cast<void *>(&api), "fts5_api_ptr", nullptr);
        sqlite3_step(statement);
    }
    sqlite3_finalize(statement);
    return api;
}

} // namespace

void addGramTokenizer(platform::Database &database)
{
    fts5_api *api = fullTextSearch(database);
    fts5_tokenizer tokenizer{createTokenizer, deleteTokenizer, tokenize};
    if (!api || api->xCreateTokenizer(api, "grams", nullptr, &tokenizer, nullptr) != SQLITE_OK)
        throw platform::DatabaseError(SQLITE_ERROR, "this SQLite has no full-text search (FTS5)");
}

QString candidateQuery(QStringView foldedWord)
{
    const QList<uint> characters = foldedWord.toUcs4();
    const auto group = [&](qsizetype start, qsizetype length) {
        const QString text =
            QString::fromUcs4(reinterpret_cast<const char32_t *>(characters.constData()) + start, length);
        return u'"' + QString(text).replace(u'"', QStringLiteral("\"\"")) + u'"';
    };
    const auto longest = qsizetype(longestGram);
    if (characters.size() <= longest)
        return group(0, characters.size());
    // A few dozen of them tell a long quotation from all other texts.
    constexpr qsizetype mostGroups = 48;
    QStringList groups;
    for (qsizetype start = 0; start + longest <= characters.size() && groups.size() < mostGroups; ++start)
        groups += group(start, longest);
    groups.removeDuplicates();
    return groups.join(QStringLiteral(" AND "));
}

} // namespace indexing
