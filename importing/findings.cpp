#include "importing/findings.h"

#include "importing/chatfolders.h"

#include "platform/files/directorywalk.h"
#include "platform/files/systemcalls.h"

#include <QByteArray>

#include <algorithm>
#include <cerrno>
#include <map>
#include <set>
#include <unistd.h>

namespace importing {

namespace {

/// What a file or folder of this name is, if it may hold chats that are not read.
const char *whatIsNotRead(const std::filesystem::path &path)
{
    const QByteArray name = QByteArray::fromStdString(path.filename().native()).toLower();
    if (name.startsWith("._"))
        return nullptr;
    if (name == "chat.db")
        return "the database of later Messages";
    if (name.endsWith(".zip"))
        return "an archive: unpack it first";
    if (name.endsWith(".dmg") || name.endsWith(".sparsebundle"))
        return "a disk image: mount it first";
    return nullptr;
}

bool isRegularFile(const std::filesystem::path &path)
{
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode); // links are followed
}

class Search {
public:
    Search(const std::filesystem::path &transcriptFolder, Observer &observer) : m_observer(observer)
    {
        std::error_code error;
        m_own = std::filesystem::weakly_canonical(transcriptFolder, error);
    }

    void search(std::span<const std::filesystem::path> sources)
    {
        m_share = 1 / double(sources.size());
        for (size_t number = 0; number < sources.size(); ++number) {
            m_done = m_share * double(number);
            search(sources[number]);
        }
    }

    Findings findings()
    {
        for (auto &[path, transcript] : m_transcripts) {
            if (!transcript.home.empty())
                m_homes.insert(transcript.home);
            m_findings.transcripts.push_back(std::move(transcript));
        }
        m_findings.homes.assign(m_homes.begin(), m_homes.end());
        for (const auto &[path, what] : m_notLookedInto)
            m_findings.notLookedInto.push_back({path, what});
        for (const auto &[path, reason] : m_unread)
            m_findings.unread.push_back({path, reason});
        return std::move(m_findings);
    }

private:
    void search(const std::filesystem::path &source)
    {
        std::error_code error;
        const std::filesystem::path root = std::filesystem::canonical(source, error);
        if (error || ::access(root.c_str(), R_OK) != 0)
            throw Failure(source.native() +
                          " cannot be read: " + platform::reasonOf(error ? error.value() : errno));
        if (std::filesystem::is_directory(root, error)) {
            walk(root);
        } else if (transcriptKind(root)) {
            add(root, root.parent_path());
        } else {
            throw Failure(source.native() + " is neither a folder nor a transcript.");
        }
    }

    void walk(const std::filesystem::path &root)
    {
        m_homes.insert(root);
        platform::DirectoryWalk walk(root);
        std::string closed; // a disk image that is a folder, with a slash
        while (const auto entry = walk.next()) {
            m_observer.throwIfStopped();
            m_observer.progress(Stage::Looking, ++m_findings.entries, 0, m_done + m_share * walk.part());
            if (!closed.empty() && entry->native().starts_with(closed))
                continue;
            const std::filesystem::path path = root / *entry;
            if (const char *what = whatIsNotRead(path)) {
                m_notLookedInto.try_emplace(path, what);
                closed = entry->native() + '/';
            }
            add(path, root);
        }
        for (const auto &[folder, reason] : walk.unreadFolders())
            m_unread.try_emplace(folder.empty() ? root : root / folder, reason);
    }

    void add(const std::filesystem::path &path, const std::filesystem::path &root)
    {
        const auto kind = transcriptKind(path);
        if (!kind || !isRegularFile(path) || !below(m_own, path).empty())
            return;
        ChatPlace place = chatPlace(path, root);
        m_transcripts.try_emplace(
            path.native(), FoundTranscript{path, std::move(place.home), std::move(place.relative), *kind});
    }

    Observer &m_observer;
    std::filesystem::path m_own;
    std::map<std::string, FoundTranscript> m_transcripts; ///< by their paths
    std::set<std::filesystem::path> m_homes;
    std::map<std::filesystem::path, std::string> m_notLookedInto;
    std::map<std::filesystem::path, std::string> m_unread;
    Findings m_findings;
    double m_share = 1; ///< of a source in all of them
    double m_done = 0;  ///< the share of the sources before
};

} // namespace

Findings findChats(std::span<const std::filesystem::path> sources,
                   const std::filesystem::path &transcriptFolder, Observer &observer)
{
    Search search(transcriptFolder, observer);
    search.search(sources);
    return search.findings();
}

} // namespace importing
