#include "index/question.h"

#include <algorithm>

namespace indexing {

namespace {

bool isWordCharacter(const QString &text, qsizetype position)
{
    return position >= 0 && position < text.size() &&
           (text[position].isLetterOrNumber() || text[position].isMark() || text[position].isSurrogate());
}

/// Where @p word stands next in the folded @p text, from @p from on; -1 when nowhere.
qsizetype find(const QString &text, const QString &word, qsizetype from, bool wholeWords)
{
    qsizetype position = text.indexOf(word, from);
    while (wholeWords && position >= 0 &&
           (isWordCharacter(text, position - 1) || isWordCharacter(text, position + word.size())))
        position = text.indexOf(word, position + 1);
    return position;
}

} // namespace

bool Question::isEmpty() const
{
    return words.empty() && from.isEmpty() && with.isEmpty() && !since && !until && has == Contents();
}

bool isCalled(const QString &given, const QString &displayName, const std::optional<QString> &screenName)
{
    return folded(displayName).contains(given) || (screenName && folded(*screenName) == given);
}

bool hasWords(const QString &text, const Question &question)
{
    if (question.words.empty())
        return true;
    const QString foldedText = folded(text);
    return std::all_of(question.words.begin(), question.words.end(), [&](const QString &word) {
        return find(foldedText, word, 0, question.wholeWords) >= 0;
    });
}

bool hasWords(const ChatRecord &record, const Question &question)
{
    return std::any_of(record.texts.begin(), record.texts.end(),
                       [&](const QString &text) { return hasWords(text, question); });
}

bool isAnswer(const ChatRecord &record, const Question &question)
{
    const auto isPerson = [&](const QString &given, const Person &person) {
        return isCalled(given, person.displayName(), person.screenName);
    };
    if (!question.with.isEmpty() && !isCalled(question.with, record.otherParty, std::nullopt) &&
        std::none_of(record.people.begin(), record.people.end(),
                     [&](const Person &person) { return isPerson(question.with, person); }))
        return false;
    const bool isAboutMessages = !question.words.empty() || !question.from.isEmpty() || question.since ||
                                 question.until || question.has != Contents();
    return !isAboutMessages ||
           std::any_of(record.messages.begin(), record.messages.end(), [&](const ChatMessage &message) {
               return isInPeriod(message.milliseconds, question) && hasContents(message.contents, question) &&
                      (question.from.isEmpty() || isPerson(question.from, record.people[message.person])) &&
                      hasWords(record.texts[message.text], question);
           });
}

std::optional<std::vector<FoldedText::Range>> wordsIn(const QString &text, const Question &question)
{
    const FoldedText foldedText(text);
    std::vector<FoldedText::Range> found;
    for (const QString &word : question.words) {
        qsizetype position = find(foldedText.string(), word, 0, question.wholeWords);
        if (position < 0)
            return std::nullopt;
        for (; position >= 0;
             position = find(foldedText.string(), word, position + word.size(), question.wholeWords))
            found.push_back(foldedText.original(position, word.size()));
    }
    std::sort(found.begin(), found.end(),
              [](const auto &a, const auto &b) { return a.position < b.position; });
    std::vector<FoldedText::Range> joined;
    for (const FoldedText::Range &range : found) {
        if (!joined.empty() && joined.back().position + joined.back().length >= range.position)
            joined.back().length =
                std::max(joined.back().length, range.position + range.length - joined.back().position);
        else
            joined.push_back(range);
    }
    return joined;
}

bool isInPeriod(std::optional<qint64> milliseconds, const Question &question)
{
    if (!question.since && !question.until)
        return true;
    if (!milliseconds)
        return false;
    // Most messages are far from both ends; the calendar is asked for the others only.
    const bool mayBeTooEarly = question.since && *milliseconds < question.since->latest();
    const bool mayBeTooLate = question.until && *milliseconds > question.until->earliest();
    if (!mayBeTooEarly && !mayBeTooLate)
        return true;
    constexpr qint64 millisecondsASecond = 1000;
    const qint64 seconds =
        (*milliseconds - (*milliseconds < 0 ? millisecondsASecond - 1 : 0)) / millisecondsASecond;
    const auto date = platform::calendarDate(platform::NSDate::fromUnixTime(seconds));
    return (!question.since || question.since->place(date) >= 0) &&
           (!question.until || question.until->place(date) <= 0);
}

bool hasContents(const Contents &contents, const Question &question)
{
    const Contents &wanted = question.has;
    return (!wanted.link || contents.link) && (!wanted.file || contents.file) &&
           (!wanted.picture || contents.picture);
}

} // namespace indexing
