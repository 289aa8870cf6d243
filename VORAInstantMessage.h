#pragma once

#include "VORAPresentity.h"

#include "platform/appkit/nsfilewrapper.h"
#include "platform/archive/coder.h"
#include "platform/date/nsdate.h"
#include "platform/foundation/nsattributedstring.h"
#include "platform/text/stringset.h"

#include <QString>

#include <memory>
#include <optional>
#include <span>
#include <vector>

/// What one message holds of one kind, with who sent it and when. A status message has an empty record, and
/// so has one whose sender has no display name; one without a time stamp has only its speaker.
struct MessageRecord {
    std::optional<QString> speaker; ///< display name
    std::optional<platform::NSDate> time;
};

/// The links of one message.
struct LinkRecord : MessageRecord {
    std::vector<QString> urls; ///< in text order; a URL as its absolute string, a string as it is
};

/// The attached files of one message.
struct ImageRecord : MessageRecord {
    std::vector<std::shared_ptr<const platform::NSFileWrapper>> images; ///< in text order; pictures or not
};

/// The words to be counted. Where a pointer to one is taken, null is a value of its own: every word counts.
/// With an empty set none does.
using WordSet = platform::StringSet;

/// One line of a chat as iChat archived it: who sent it, when, and its styled text.
///
/// Made by the unarchivers in place of iChat's class "InstantMessage"; immutable.
class VORAInstantMessage final : public platform::NSObject {
public:
    VORAInstantMessage(std::shared_ptr<const VORAPresentity> speaker,
                       std::shared_ptr<const platform::NSAttributedString> string,
                       std::optional<platform::NSDate> timestamp, qint32 flags = 0);

    /// Keyed archives: "Sender", "Time", "MessageText", "Flags". Typed streams: sender, time, text, and the
    /// flags word, in this sequence.
    /// A text that was archived as a plain string has no attributes. What cannot be read is absent, and
    /// fault() says why.
    [[nodiscard]] static std::shared_ptr<const VORAInstantMessage> initWithCoder(platform::NSCoder &coder);

    /// Why not all of the message could be read: its sender, time or text, or how it is laid out; of several
    /// reasons the first. Nothing for a message that is whole.
    [[nodiscard]] const std::optional<platform::LayoutFault> &fault() const { return m_fault; }

    /// The sender, or null.
    [[nodiscard]] const std::shared_ptr<const VORAPresentity> &sender() const { return m_speaker; }
    /// The text with its attributes, or null.
    [[nodiscard]] const std::shared_ptr<const platform::NSAttributedString> &string() const
    {
        return m_string;
    }

    /// The sender's display name; nothing when there is no sender or it has no identifier.
    [[nodiscard]] std::optional<QString> Speaker() const;
    /// The sender's identifier as archived.
    [[nodiscard]] std::optional<QString> rawSpeaker() const;
    /// When the message was sent; nothing when the archive does not say.
    [[nodiscard]] const std::optional<platform::NSDate> &TimeStamp() const { return m_timestamp; }

    /// The flags word as iChat stored it; its bits mean nothing here.
    [[nodiscard]] qint32 flags() const { return m_mystery; }

    /// Whether this is a notice of the program rather than something somebody said: it has no sender or no
    /// text. Renderings and gatherings skip such messages.
    [[nodiscard]] bool isStatusMessage() const;

    /// "Kim: hello\n"; empty when there is no text.
    [[nodiscard]] QString PlainString() const;
    /// The styled line: the sender's name in bold, ": ", the text with its attributes, and two line feeds.
    [[nodiscard]] platform::NSAttributedString LoggedString() const;

    // Gathering (VORAInstantMessage+Gathering.cpp). A value is taken once however many characters carry it,
    // and not again when the very same object comes back with nothing but plain text between; distinct
    // objects are taken each, also when they are equal.

    /// Relative URLs are resolved each by itself, so that a short text can have links without end: what is
    /// gathered of one message ends with the link that passes this many UTF-16 units.
    static constexpr qsizetype largestGathering = qsizetype(1) << 26;

    [[nodiscard]] LinkRecord allURLs() const;
    [[nodiscard]] ImageRecord allImages() const;

    // Counting words (VORAInstantMessage+Words.cpp). A word begins after white space (tabs, line breaks and
    // Unicode's separators) and ends before the next blank, U+0020, and nowhere else: a tab, a line break or
    // a punctuation mark inside belongs to it, and an attachment is the word U+FFFC or part of one. A message
    // without sender or text has none.

    /// The number of words that @p set holds exactly as they are written; of all words when it is null.
    [[nodiscard]] qint64 wordCountInSet(const WordSet *set) const;
    /// wordCountInSet() for several sets in one walk over the text: each count is added to the element of
    /// @p counts at the place of its set; there are as many of them.
    void countWords(std::span<const WordSet *const> inSets, std::span<qint64> counts) const;

    [[nodiscard]] QString className() const override { return QStringLiteral("VORAInstantMessage"); }

private:
    // Take what was decoded for a part of the message, or note why it cannot be taken.
    void takeSender(const platform::ObjectRef &object, const platform::NSCoder &coder);
    void takeTime(const platform::ObjectRef &object, const platform::NSCoder &coder);
    void takeText(const platform::ObjectRef &object, platform::NSCoder &coder);
    void noteUnlessNil(const platform::ObjectRef &object, const platform::NSCoder &coder, const char *reason);
    void note(const platform::LayoutFault &fault);

    /// Notes sender and time in @p record. @return whether the message can contribute anything to it.
    [[nodiscard]] bool startRecord(MessageRecord &record) const;

    std::shared_ptr<const VORAPresentity> m_speaker;
    std::shared_ptr<const platform::NSAttributedString> m_string;
    std::optional<platform::NSDate> m_timestamp;
    qint32 m_mystery;
    std::optional<platform::LayoutFault> m_fault;
};
