#pragma once

#include "VORAChatLog.h"

#include "galleries/imagestore.h"
#include "galleries/linkstore.h"

#include <chrono>
#include <functional>
#include <memory>

namespace galleries {
class Session;
} // namespace galleries

/// The galleries and the statistics in the support folder, `Library/Prattlebug` under the home folder: each
/// operation loads its store, folds a chat in, saves the store and writes the pages anew. Holds nothing
/// itself.
class VORALogGenerator {
public:
    VORALogGenerator() = delete;

    /// A run over many chats: while one exists, GenerateLinkFiles(), GenerateImageFiles() and
    /// UpdateStatistics() keep their stores in memory and write them, with their pages, only now and then, so
    /// that a chat costs the same however many there were before.
    ///
    /// They write at the first call, then when fifty times as long has passed as the last writing took, and
    /// when the run ends. Then every file is what the same calls would have left without a run; in the middle
    /// files are whole, but may lag. A store that someone else has changed meanwhile is read again before the
    /// next chat is folded in. Once a store could not be written, all go on as without a run.
    ///
    /// One opened during another one takes its place until it ends.
    class Run {
    public:
        using Clock = std::chrono::steady_clock;

        /// @param now what tells the time.
        explicit Run(std::function<Clock::time_point()> now = Clock::now);
        ~Run();
        Run(const Run &) = delete;
        Run &operator=(const Run &) = delete;

    private:
        std::unique_ptr<galleries::Session> m_session;
    };

    /// One chat of which all is folded in, or nothing: what GenerateLinkFiles(), GenerateImageFiles() and
    /// UpdateStatistics() fold in while one exists waits in memory until keep(). Without that (an exception
    /// has ended it) the stores stay as they were; files that were saved in `Images` stay there.
    ///
    /// Outside a run it is a run of one chat.
    class WholeChat {
    public:
        WholeChat();
        ~WholeChat();
        WholeChat(const WholeChat &) = delete;
        WholeChat &operator=(const WholeChat &) = delete;

        /// Keeps the chat, and has the stores and pages written when the run would write them.
        /// @throws std::bad_alloc when there is too little memory for that; what has not reached its file by
        /// then is not kept.
        void keep();

    private:
        std::unique_ptr<Run> m_run;    // where none was open
        galleries::Session *m_session; // the open one
    };

    /// Folds the links of @p chatLog into the link store and writes all link pages anew. Without a chat log
    /// (null) the pages are made from the store as it stands, and the store file is not touched.
    ///
    /// A store that cannot be read or written is left as it was; the console log and the preference pane are
    /// told (code 1, "permissions"; 4, "corrupt cache" for one that has outgrown what can be read again), and
    /// no page is written.
    static void GenerateLinkFiles(const VORAChatLog *chatLog);

    /// The links of the first speaker of exactly this name in @p inData, to be added to; null when there is
    /// none.
    [[nodiscard]] static std::vector<galleries::LinkEntry> *FindSpeakerArray(const QString &name,
                                                                             galleries::LinkStore &inData);
    /// How a page shows a link: see galleries::compressedLink().
    [[nodiscard]] static QString CompressedLinkForList(const QString &link);
    /// A text as the target of a link to a page: see galleries::urlSafeForm().
    [[nodiscard]] static QString stringWithFunkyURLStuffInserted(const QString &text);

    /// Writes the files that were sent in @p chatLog into `Images` in the support folder, folds them into the
    /// image store, and writes all image pages and the copies in `Images/topimages` anew. Without a chat log
    /// (null) pages and copies are made from the store as it stands, and the store file is not touched.
    ///
    /// `Images` is not made: where it is missing no file is saved. Of a store that cannot be read nothing is
    /// changed; the files are saved, and the pages made as of an empty one. What cannot be written is passed
    /// over, and nobody is told.
    static void GenerateImageFiles(const VORAChatLog *chatLog);

    /// The files of the first speaker of exactly this name in @p inData, to be added to; null when there is
    /// none.
    [[nodiscard]] static std::vector<galleries::ImageEntry> *FindImagesArray(const QString &name,
                                                                             galleries::ImageStore &inData);

    /// Adds @p chatLog to the statistics and writes their page. A chat given twice is counted twice. Where a
    /// file cannot be written, it stays as it was and nobody is told.
    static void UpdateStatistics(const VORAChatLog &chatLog);
};
