#include "VORAInstantMessage.h"

namespace {

/// Calls @p take with each word of @p text: what stands between white space and the next blank. Only a blank
/// ends a word, so a tab or a line break inside belongs to it.
template <class Take>
void walkWords(QStringView text, Take take)
{
    qsizetype position = 0;
    while (true) {
        // White space is what Unicode's separator categories hold, U+0009 to U+000D, and U+0085.
        while (position < text.size() && text[position].isSpace())
            ++position;
        if (position == text.size())
            return;
        qsizetype end = position; // words are too short for a search to be worth its call
        while (end < text.size() && text[end] != u' ')
            ++end;
        take(text.sliced(position, end - position));
        position = end;
    }
}

} // namespace

void VORAInstantMessage::countWords(std::span<const WordSet *const> inSets, std::span<qint64> counts) const
{
    if (!m_speaker || !m_string)
        return;
    walkWords(m_string->string(), [&](QStringView word) {
        for (size_t i = 0; i < inSets.size(); ++i) {
            if (!inSets[i] || inSets[i]->contains(word))
                ++counts[i];
        }
    });
}

qint64 VORAInstantMessage::wordCountInSet(const WordSet *set) const
{
    qint64 count = 0;
    countWords({&set, 1}, {&count, 1});
    return count;
}
