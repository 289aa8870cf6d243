#pragma once

#include "VORAInstantMessage.h"
#include "VORAPresentity.h"

#include "galleries/savedfiles.h"

#include "platform/date/nsdate.h"
#include "platform/failure.h"
#include "platform/foundation/collections.h"
#include "platform/foundation/nsattributedstring.h"
#include "platform/mail/cwsmtp.h"
#include "platform/mail/nsrunloop.h"

#include <QByteArray>
#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// One transcript file held in memory: its messages and participants, and the name of the other party.
///
/// Loaded whole, from one file, and never changed afterwards; the file is only read. Every rendering is made
/// afresh on each call, with display names as the address book gives them at that moment. Delivery by e-mail
/// alone has a state, which is apart from the transcript.
class VORAChatLog final : public platform::CWSMTPDelegate {
public:
    using Messages = std::vector<std::shared_ptr<const VORAInstantMessage>>;
    using Participants = std::vector<std::shared_ptr<const VORAPresentity>>;

    // Loading (VORAChatLog.cpp)

    /// What came of loading a file: a chat log, or why there is none. FailureKind::WrongName: it is no
    /// transcript, by another extension, or for want of " on "; any other: it is named as one, but cannot be
    /// read, or is not well formed.
    using Loading = platform::Result<std::unique_ptr<VORAChatLog>>;

    /// Loads the transcript at @p path: a typed stream when its extension is "chat", a keyed archive when it
    /// is "ichat" (the name alone decides; letter case counts). The other party's name is what stands in the
    /// file name before its last " on ".
    [[nodiscard]] static Loading load(const std::filesystem::path &path);
    /// The same for a file that is to be taken as if it bore the name @p fileName (bytes, extension
    /// included).
    /// @param whenRead is shown the bytes of the file, if it could be read, before they are decoded.
    [[nodiscard]] static Loading load(const std::filesystem::path &path, const std::string &fileName,
                                      const std::function<void(const QByteArray &)> &whenRead = {});
    /// The same for the contents of a file.
    [[nodiscard]] static Loading loadBytes(const QByteArray &bytes, const std::string &fileName);

    /// load() for a run over many files: an unreadable file is named in the console log with the reason, and
    /// so is one with unreadable messages.
    [[nodiscard]] static Loading loadAndLog(const std::filesystem::path &path,
                                            const std::function<void(const QByteArray &)> &whenRead = {});
    /// The same; null when there is no chat log.
    [[nodiscard]] static std::unique_ptr<VORAChatLog> initWithFilePath(const std::filesystem::path &path);

    /// A chat log of messages that are in memory already, for whoever has them from elsewhere than a file.
    [[nodiscard]] static std::unique_ptr<VORAChatLog>
    withMessages(const Messages &messages, const QString &otherParty, const Participants &participants = {});

    /// In the order in which they were written. Those that could not be read, or not whole, stand in their
    /// places with what could be read of them (VORAInstantMessage::fault() tells them).
    [[nodiscard]] const Messages &messages() const { return m_messages; }
    /// How many of them could not be read whole.
    [[nodiscard]] qsizetype unreadableMessages() const;
    /// How many these are and what is wrong with the first, in English; empty when there are none.
    [[nodiscard]] QString unreadableMessagesNote() const;
    /// The participants other than the user.
    [[nodiscard]] const Participants &participants() const { return m_participants; }
    [[nodiscard]] const QString &primaryOtherParty() const { return m_primaryOtherParty; }
    /// The decoded transcript in the platform's text form of an array, for diagnostics.
    [[nodiscard]] QString description() const;
    /// When the last message was sent, a status message too; nothing when there are no messages, or it has no
    /// time. Messages whose time could not be read do not count.
    [[nodiscard]] std::optional<platform::NSDate> LastMessageDate() const;

    // Rendering (VORAChatLog+Rendering.cpp)

    /// The most that a rendering gives, in UTF-16 units; the senders' identifiers are counted too, and each
    /// run of the messages' texts as 24. A small file can name one large message many times; a chat that
    /// would take more has no rendering, and a message in the console log says so.
    /// Enough for hundreds of thousands of messages; making a mail of that much takes about a gigabyte of
    /// memory.
    static constexpr qsizetype largestRendering = qsizetype(1) << 27;

    /// One line "Name: text" per message that is no status message, then the credit, which no line feed ends.
    /// A null string when it would be too large.
    [[nodiscard]] QString PlainChatLog() const;
    /// The same as styled text, with the line breaks and the credit of the later HTML in it as characters.
    /// Empty when it would be too large.
    [[nodiscard]] platform::NSAttributedString RichChatLog() const;
    /// The chat as an HTML document in UTF-8: fonts, colours, links and the names of attachments as markup
    /// around the characters of the chat, which are not escaped. A null array when it would be too large.
    [[nodiscard]] QByteArray HTMLChatLog() const;

    /// "[IM] Kim", or, with the preference forceUniqueSubjects, "[IM] Kim (14:03:22 05 Mar 2005)" with the
    /// current time; that also adds one to the preference subjectNumber.
    [[nodiscard]] QString subjectForEmail() const;

    // Links and attached files (VORAChatLog+Gathering.cpp)

    /// The most that is gathered from one chat: the UTF-16 units of all links, of the names of all files
    /// and of each record's speaker, each link or file counting 64 more and each run of a text 4. A small
    /// file can name one large message many times; of a chat that has more nothing is gathered, and a message
    /// in the console log says so.
    static constexpr qsizetype largestGathering = VORAInstantMessage::largestGathering;

    /// Which messages have a record in what is gathered.
    enum class Records {
        All,    ///< every message that is no status message
        Filled, ///< those that have any links or files: they are few, and the others' senders are not looked
                ///< up
    };
    /// The messages' records, in order.
    [[nodiscard]] std::vector<LinkRecord> GatheredURLs(Records which = Records::All) const;
    [[nodiscard]] std::vector<ImageRecord> GatheredImages(Records which = Records::All) const;
    /// How many links and files these hold. What was gathered last is not gathered again for it.
    [[nodiscard]] qint64 linkCount() const;
    [[nodiscard]] qint64 fileCount() const;
    /// Says in the console log that galleries::SavedFiles has left some of the files out.
    void logFilesLeftOut() const;

    // Log files of links and attached files (VORAChatLog+Logs.cpp)

    /// Appends an entry for each link of the chat, in order, to the text file at @p path: the preference
    /// bookmarkEntry as a format (platform::filledFormat()) with the link, the link again, the sender's name
    /// and the date, "Mon March 7, 03:03PM". The entries stand as UTF-8, or as UTF-16 in a file that begins
    /// with its byte-order mark; the rest of the file stays as it is.
    ///
    /// The file is replaced as one step. It stays untouched when it cannot be read, so none is made, or when
    /// the preference is missing or no string; no failure is told.
    void ExtendURLLog(const std::filesystem::path &path) const;
    /// Writes every attached file of the chat into the folder `Images` beside the text file at @p path, which
    /// must exist, and appends an entry for each to that text file: the preference imageEntry as a format
    /// with the name on disk, the sender's name and the date, "Tue March 1, 09:07PM". Names are those of
    /// galleries::imageFileName() with dates like "TueMar10907PM".
    ///
    /// The text file is treated as by ExtendURLLog(); the attached files are written in any case. One that
    /// cannot be written has its entry all the same.
    /// @param failed told of each of these.
    void ExtendImageLog(const std::filesystem::path &path,
                        const galleries::SavedFiles::Failed &failed = {}) const;

    // Analysis (VORAChatLog+Analysis.cpp)

    /// The elements of the archived list of participants, whatever they are, and the user: 2 in a chat of
    /// two.
    [[nodiscard]] qint64 NumberOfSpeakers() const;
    /// Whether a participant's identifier, as archived, is @p name.
    [[nodiscard]] bool NameInSpeakerList(const QString &name) const;
    [[nodiscard]] const QString &firstOtherPartyName() const { return m_primaryOtherParty; }

    /// Words of a chat by side. The other party's are those of senders whose display name is
    /// primaryOtherParty(); everybody else with a display name is on the user's side, third participants too.
    struct WordCounts {
        qint64 byUsersSide = 0;
        qint64 byOtherParty = 0;

        friend bool operator==(const WordCounts &, const WordCounts &) = default;
    };
    /// The words that count in each of @p inSets (null: every word), all in one walk over the messages. What
    /// a word is says VORAInstantMessage::wordCountInSet().
    ///
    /// All counts are 0 when the senders' names take more than largestGathering, which a small file can also
    /// make them do; a message in the console log says so.
    [[nodiscard]] std::vector<WordCounts> countWords(std::span<const WordSet *const> inSets) const;
    /// One of these counts alone.
    [[nodiscard]] qint64 CountWordsForUserInSet(const WordSet *set) const;
    [[nodiscard]] qint64 CountWordsForOthersInSet(const WordSet *set) const;

    /// Whether the chat has likely ended: iChat does not run (see VORAHostFlags.h), or has no window for it.
    /// Asks iChat by script and waits for the answer: for a chat of two whether a window bears its name, for
    /// a larger one whether there is any window at all. When no answer comes, the chat has not ended. In the
    /// script a backslash stands before each double quote of the other party's name; nothing else in the name
    /// is escaped.
    [[nodiscard]] bool isLikelyEndOfChat() const;

    // Delivery by e-mail (VORAChatLog+Mail.cpp)

    /// Drives the exchange that sends the message @p client has been set up with: connects, and one second
    /// later logs in, if the preferences ask for it, or sends at once. Every failure is written to the
    /// console log and reported to the preference pane; no second attempt is made.
    ///
    /// Both arguments are lent. The caller keeps them and the chat log alive until mailTransmissionDone(),
    /// also when the call returns before that, and closes the connection. One exchange at a time.
    /// @param currentRunLoop of this thread; with the host flag `shouldQuit` it is run here until the
    /// exchange has ended, without it the host runs it.
    /// @return false when the exchange was waited for and has ended, whether or not the message went out;
    /// true when the server could not be reached, the wait has failed, or it was not waited for.
    bool HandleEmailSending(platform::CWSMTP &client, platform::NSRunLoop &currentRunLoop);
    /// Whether the exchange has ended; false before the first one.
    [[nodiscard]] bool mailTransmissionDone() const { return m_mailTransmissionDone; }

    /// The timer's action: logs in with the preferences `emailUsername` and `emailPassword` and the mechanism
    /// LOGIN when `emailNeedsUsername` is not 0, else sends.
    void emailReady(const platform::NSTimer &timer);

    void authenticationCompleted() override;
    void authenticationFailed() override;
    void messageSent() override;
    void messageNotSent() override;
    void connectionTimedOut() override;

    // Error reports (VORAChatLog+Errors.cpp)

    enum class ErrorCode : qint32 {
        FileNotWritten = 1,
        MailServer = 2,
        MailLogin = 3,
        Internal = 4,
    };
    /// Tells the preference pane of a failure: code and text of the latest one under `errorStatus` and
    /// `reportThis` in the shared preferences, and one more in `emailFails`, whatever the failure. When that
    /// reaches 3, beeps and shows a dialog that sends the user to the pane. Never fails; writes nothing to
    /// the console log.
    static void reportError(ErrorCode code, const QString &andLog);

private:
    VORAChatLog(std::shared_ptr<const platform::NSArray> loadedArray, QString primaryOtherParty);

    [[nodiscard]] static Loading loadWhole(const QByteArray &bytes, const std::filesystem::path &path,
                                           const std::string &fileName);
    [[nodiscard]] static std::shared_ptr<const platform::NSArray> LoadiChat2Data(const QByteArray &data);
    [[nodiscard]] static std::shared_ptr<const platform::NSArray> LoadiChat3Data(const QByteArray &data);

    /// Whether the messages' texts alone are larger than any rendering may be; then says so in the console
    /// log.
    [[nodiscard]] bool isTooLargeToRender() const;

    void endTransmission();

    std::shared_ptr<const platform::NSArray> m_loadedArray;
    QString m_primaryOtherParty;
    Messages m_messages;
    Participants m_participants;
    qint64 m_participantCount = 0; ///< all elements of the list, whatever they are

    // Of what was gathered last; nothing before. They do not change: what they count does not.
    mutable std::optional<qint64> m_linkCount;
    mutable std::optional<qint64> m_fileCount;

    bool m_mailTransmissionDone = false;
    platform::CWSMTP *m_smtp = nullptr; ///< lent
    std::unique_ptr<platform::NSTimer> m_emailTimer;
};

/// The subject of a chat with @p otherParty; with @p uniqueAt, made unique by that moment.
[[nodiscard]] QString chatSubject(const QString &otherParty, const std::optional<platform::NSDate> &uniqueAt);

/// Inserts @p insertion into @p target where the character @p originalIndex of the original text stands now,
/// and moves that character and all later ones along: texts inserted at one place stand in the order of their
/// insertion.
/// @param indices for each character of the original text, and the place behind the last one, its position in
///                @p target.
/// @param indexCount number of entries of @p indices.
void InsertStringAndTrackIndices(QString &target, std::span<qsizetype> indices, QStringView insertion,
                                 qsizetype originalIndex, qsizetype indexCount);
