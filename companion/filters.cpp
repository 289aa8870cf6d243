#include "companion/filters.h"

#include "platform/text/encoding.h"

#include <CLI/Validators.hpp>

#include <algorithm>

namespace companion {

namespace {

/// What CLI11 is told of a wrong date; nothing when it is right.
std::string checkedPeriod(const std::string &text)
{
    return indexing::Period::fromText(platform::stringFromUtf8(text))
               ? std::string()
               : "\"" + text +
                     "\" is not a date: it should look like 2005, 2005-03, 2005-03-01 or \"2005-03-01 "
                     "21:07\"";
}

} // namespace

void Filters::addTo(CLI::App &command)
{
    addTo(command, "WORDS");
}

void Filters::addAsOptionsTo(CLI::App &command)
{
    addTo(command, "--words");
    // Each takes one value: what follows is the command's own.
    command.get_option("--words")->type_name("WORDS")->allow_extra_args(false);
    command.get_option("--has")->allow_extra_args(false);
}

void Filters::addTo(CLI::App &command, const char *wordsName)
{
    command.add_option(
        wordsName, words,
        "What a message must contain, all of it, in any letter case, with or without accents, also "
        "inside words; quote several words to find them next to each other");
    command.add_option("--from", from, "Only messages by this person: part of a name, or a screen name")
        ->type_name("NAME");
    command.add_option("--with", with, "Only chats with this person: part of a name, or a screen name")
        ->type_name("NAME");
    command
        .add_option("--since", since,
                    "Only from this local date on: 2005, 2005-03, 2005-03-01 or \"2005-03-01 21:07\"")
        ->type_name("DATE")
        ->check(checkedPeriod);
    command.add_option("--until", until, "Only up to this date, including all of that day, month or year")
        ->type_name("DATE")
        ->check(checkedPeriod);
    command.add_option("--has", has, "Only messages with a link, an attached file, or a picture")
        ->check(CLI::IsMember({"link", "file", "picture"}));
    command.add_flag("--word", wholeWords, "Find whole words only");
}

indexing::Question Filters::question() const
{
    indexing::Question question;
    for (const std::string &word : words) {
        const QString folded = indexing::folded(platform::stringFromUtf8(word));
        if (!folded.isEmpty())
            question.words.push_back(folded);
    }
    question.wholeWords = wholeWords;
    question.from = indexing::folded(platform::stringFromUtf8(from));
    question.with = indexing::folded(platform::stringFromUtf8(with));
    question.since = indexing::Period::fromText(platform::stringFromUtf8(since));
    question.until = indexing::Period::fromText(platform::stringFromUtf8(until));
    const auto wants = [this](const char *what) {
        return std::find(has.begin(), has.end(), what) != has.end();
    };
    question.has = {wants("link"), wants("file"), wants("picture")};
    return question;
}

} // namespace companion
