#pragma once

#include "galleries/gallery.h"
#include "galleries/imagestore.h"
#include "galleries/linkstore.h"
#include "galleries/monthtable.h"
#include "galleries/reporter.h"
#include "galleries/statistics.h"
#include "galleries/supportfolder.h"
#include "galleries/wordlist.h"
#include "galleries/writeschedule.h"

namespace galleries {

/// The three galleries of the support folder for as long as chats are folded into them: one chat, or all of a
/// run. It keeps the stores in memory and writes them with their pages when the WriteSchedule says so: each
/// gallery for the first time at once, and what is left when the session ends.
///
/// In the middle of a session files are whole, but may lag; at its end every file is what a session for each
/// chat would have left. Once a store could not be written, nothing waits any more.
///
/// With the installed platform::Host and the model's host flags, the open session is the only state that
/// belongs to the process.
class Session {
public:
    /// How the titles of months are sorted.
    struct MonthOrders {
        MonthOrder links;
        MonthOrder images;
    };

    /// Opens a session. One opened during another takes its place until it ends.
    /// @param reporter lent.
    Session(Reporter &reporter, const MonthOrders &orders, WriteSchedule schedule = WriteSchedule());
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// The session that was opened last and has not ended; null when there is none.
    [[nodiscard]] static Session *open();

    // What a chat adds. An exception (there is too little memory) leaves the gallery as it was before.

    void addLinks(LinkStore::Contribution links);
    /// Files are added after they have been saved in imagesFolder(). Their pages are made in any case: as of
    /// an empty store when it cannot be read.
    void addFiles(ImageStore::Contribution files);
    void addStatistics(const ChatStatistics &chat);

    /// Begins a chat of which all is folded in, or nothing: until it is kept or taken back, what is added
    /// waits in memory.
    void beginChat() { m_beforeChat = Marks{m_links.mark(), m_images.mark(), m_statistics.mark()}; }
    /// Keeps what was added since beginChat(), and writes what is due.
    /// @throws std::bad_alloc when there is too little memory to write it; what has not reached its file by
    /// then is taken back.
    void keepChat();
    /// Makes the galleries what they were at beginChat(); nothing when that chat has been kept.
    void takeBackChat();

    /// Makes the pages of a gallery anew at once, and saves what has not been saved yet; otherwise its store
    /// file stays untouched. A store that cannot be read counts as an empty one.
    void makeLinkPages();
    void makeImagePages();

    // The user's lists of words to count, as their files are now. Valid until the next call.
    [[nodiscard]] const platform::StringSet &curses() { return m_curses.read(curseListPath()); }
    [[nodiscard]] const platform::StringSet &netspeak() { return m_netspeak.read(netspeakListPath()); }

private:
    enum class Urgency : quint8 { CanWait, AtOnce };
    template <class Store>
    void write(Gallery<Store> &gallery, Urgency urgency = Urgency::CanWait);
    void writeAll();

    /// What the galleries held before a chat.
    struct Marks {
        Gallery<LinkStore>::Mark links;
        Gallery<ImageStore>::Mark images;
        Gallery<Statistics>::Mark statistics;
    };

    void takeBack(const Marks &marks);

    Reporter &m_reporter;
    Gallery<LinkStore> m_links;
    Gallery<ImageStore> m_images;
    Gallery<Statistics> m_statistics;
    WordList m_curses;
    WordList m_netspeak;
    WriteSchedule m_schedule;
    std::optional<Marks> m_beforeChat; ///< from beginChat() until it is kept or taken back
    Session *m_previous;
};

} // namespace galleries
