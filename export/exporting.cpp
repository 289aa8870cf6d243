#include "export/exporting.h"

#include "export/assembly.h"
#include "export/chatreport.h"
#include "export/document.h"
#include "export/ledger.h"
#include "export/maildir.h"
#include "export/ownfiles.h"
#include "export/sharedbeginnings.h"

#include "index/workerprocesses.h"

#include "platform/addressbook/addressbook.h"
#include "platform/files/descriptor.h"
#include "platform/files/files.h"
#include "platform/files/supportfolder.h"
#include "platform/files/systemcalls.h"
#include "platform/files/temporaries.h"
#include "platform/foundation/valuestream.h"

#include <QDataStream>
#include <QIODevice>
#include <QTimeZone>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <set>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

namespace exporting {

namespace {

/// To be raised when the same chat with the same options becomes another document.
constexpr char formsVersion[] = "1";

const std::string indexKey = "html index";
const QString indexPath = QStringLiteral("index.html");

QByteArray serialized(const ChatReport &report)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    platform::writeValue(stream, report);
    return bytes;
}

ChatReport reportFrom(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    ChatReport report;
    platform::readValue(stream, report);
    return report;
}

/// Whether the export is to stop, for all its processes.
class StopSign {
public:
    StopSign()
        : m_memory(::mmap(nullptr, sizeof(std::atomic_bool), PROT_READ | PROT_WRITE,
                          MAP_SHARED | MAP_ANONYMOUS, -1, 0))
    {
        if (m_memory == MAP_FAILED)
            throw std::bad_alloc();
        m_flag = new (m_memory) std::atomic_bool(false);
    }
    ~StopSign() { ::munmap(m_memory, sizeof(std::atomic_bool)); }
    StopSign(const StopSign &) = delete;
    StopSign &operator=(const StopSign &) = delete;

    void set() { m_flag->store(true); }
    [[nodiscard]] bool isSet() const { return m_flag->load(); }

private:
    void *m_memory;
    std::atomic_bool *m_flag;
};

/// All that documents depend on beside their transcripts: options, names of people, the local time.
QByteArray digestOfCircumstances(const Options &options)
{
    QByteArray bytes(formsVersion);
    bytes += char('0' + int(options.format));
    bytes += char('0' + int(options.grouping));
    bytes += char('0' + int(options.attachments));
    bytes += QTimeZone::systemTimeZoneId() + '\0' + qgetenv("TZ") + '\0' + qgetenv("USER") + '\0';
    for (const char *name : {platform::ownCardName, platform::contactsName})
        bytes += platform::readWholeFile(platform::supportFolder() / name).value_or(QByteArray()) + '\0';
    return digestOf(bytes);
}

/// One export.
class Export {
public:
    Export(std::filesystem::path folder, const std::vector<Transcript> &transcripts, const Manner &manner,
           const Progress &progress)
        : m_folder(std::move(folder)), m_transcripts(transcripts), m_manner(manner), m_progress(progress),
          m_writer(writerFor(manner.options))
    {
    }

    Outcome run()
    {
        if (!prepare())
            return m_outcome;
        m_documents = planDocuments(m_transcripts, m_manner.options, m_writer->suffix(), m_ledger);
        m_circumstances = digestOfCircumstances(m_manner.options);
        const OwnFiles files(m_folder, m_ledger.files());
        removeTemporaries();
        if (isMail(m_manner.options.format))
            m_beginLikeLonger =
                chatsThatBeginLikeLonger(m_transcripts, m_manner.kept, m_manner.workers,
                                         [this](size_t done, size_t total) { return goesOn(done, total); });
        if (!m_outcome.isInterrupted)
            findUnchanged();
        make(files);
        if (m_manner.mirror && !m_outcome.failure && !m_outcome.isInterrupted)
            removeOthers(files);
        if (m_manner.options.format == Format::Html)
            writeIndex(files);
        finish(files);
        return m_outcome;
    }

private:
    struct Job {
        size_t document;
        size_t chat; ///< in the document
    };

    bool prepare()
    {
        std::error_code error;
        std::filesystem::create_directory(m_folder, error);
        if (!error && !std::filesystem::is_directory(m_folder, error))
            error = std::make_error_code(std::errc::not_a_directory);
        if (error) {
            m_outcome.failure = platform::systemFailure(m_folder, error.value());
            return false;
        }
        auto ledger = Ledger::load(m_folder);
        if (!ledger) {
            m_outcome.failure = ledger.error();
            return false;
        }
        m_ledger = std::move(*ledger);
        findMovedMails(m_folder, m_ledger);
        return true;
    }

    /// Whether the files of a document stand there.
    [[nodiscard]] bool isThere(const WrittenDocument &document) const
    {
        const auto isFile = [this](const QString &path) {
            return platform::fileExists(m_folder / platform::pathFromString(path));
        };
        return isFile(document.path) && std::all_of(document.beside.begin(), document.beside.end(),
                                                    [&](const auto &file) { return isFile(file.first); });
    }

    [[nodiscard]] bool beginsLikeLonger(const PlannedDocument &document) const
    {
        return m_beginLikeLonger.contains(m_transcripts[document.chats.front().transcript].name);
    }

    /// Digest of all that the document depends on beside its transcripts.
    [[nodiscard]] QByteArray madeWith(const PlannedDocument &document) const
    {
        return beginsLikeLonger(document) ? digestOf(m_circumstances + "whole") : m_circumstances;
    }

    /// Removes what exports have left in their folders that were killed.
    void removeTemporaries() const
    {
        std::set<std::filesystem::path> folders{m_folder};
        for (const PlannedDocument &document : m_documents)
            folders.insert((m_folder / platform::pathFromString(document.path)).parent_path());
        for (const auto &folder : folders)
            platform::removeLeftTemporaries(folder);
    }

    /// Notes the documents whose transcripts are what they were when the document was made.
    void findUnchanged()
    {
        m_isUnchanged.assign(m_documents.size(), false);
        std::vector<Job> jobs;
        for (size_t position = 0; position < m_documents.size(); ++position) {
            const auto known = m_ledger.documents.find(m_documents[position].key);
            if (known == m_ledger.documents.end() ||
                known->second.madeWith != madeWith(m_documents[position]) ||
                known->second.sources.size() != m_documents[position].chats.size() || !isThere(known->second))
                continue;
            m_isUnchanged[position] = true;
            for (size_t chat = 0; chat < m_documents[position].chats.size(); ++chat)
                jobs.push_back({position, chat});
        }
        indexing::runInWorkers(
            jobs.size(),
            [&](size_t job) {
                const auto file = platform::readWholeFile(transcriptOf(jobs[job]).path);
                return file ? digestOf(*file) : QByteArray();
            },
            [&](size_t job, const indexing::JobResult &digest) {
                const auto [document, chat] = jobs[job];
                const WrittenDocument::Source &source =
                    m_ledger.documents.at(m_documents[document].key).sources[chat];
                if (!digest.bytes || source.digest != *digest.bytes ||
                    source.transcript != transcriptOf(jobs[job]).name)
                    m_isUnchanged[document] = false;
                return goesOn(job + 1, jobs.size());
            },
            m_manner.workers);
        m_outcome.unchanged = std::count(m_isUnchanged.begin(), m_isUnchanged.end(), true);
    }

    [[nodiscard]] const Transcript &transcriptOf(const Job &job) const
    {
        return m_transcripts[m_documents[job.document].chats[job.chat].transcript];
    }

    bool goesOn(size_t done, size_t total)
    {
        if (m_progress && !m_progress(done, total))
            m_outcome.isInterrupted = true;
        return !m_outcome.isInterrupted;
    }

    void make(const OwnFiles &files)
    {
        if (m_outcome.isInterrupted)
            return;
        std::vector<Job> jobs;
        for (size_t document = 0; document < m_documents.size(); ++document) {
            for (size_t chat = 0; !m_isUnchanged[document] && chat < m_documents[document].chats.size();
                 ++chat)
                jobs.push_back({document, chat});
        }
        Assembly assembly(*m_writer, files, m_ledger, m_outcome);
        StopSign stop; // workers finish the chat at hand, so that all that was written is known
        indexing::runInWorkers(
            jobs.size(),
            [&](size_t job) {
                if (stop.isSet())
                    return serialized(ChatReport());
                const PlannedDocument &document = m_documents[jobs[job].document];
                return serialized(exportChat({transcriptOf(jobs[job]), document,
                                              document.chats[jobs[job].chat], beginsLikeLonger(document)},
                                             m_manner.options, *m_writer, files));
            },
            [&](size_t job, const indexing::JobResult &result) {
                ChatReport report;
                if (result.bytes) {
                    report = reportFrom(*result.bytes);
                } else {
                    report.result = ChatReport::Unreadable;
                    report.reason = QString::fromStdString(result.failure);
                }
                const PlannedDocument &document = m_documents[jobs[job].document];
                assembly.take({document, jobs[job].chat, transcriptOf(jobs[job]).name, madeWith(document)},
                              report);
                if (!goesOn(job + 1, jobs.size()) || m_outcome.failure)
                    stop.set();
                return true;
            },
            m_manner.workers);
        m_toRemove = assembly.orphans();
    }

    void removeOthers(const OwnFiles &files)
    {
        std::set<std::string> wanted{indexKey};
        for (const PlannedDocument &document : m_documents)
            wanted.insert(document.key);
        const std::string beginning = std::string(nameOf(m_manner.options.format)) + ' ';
        for (auto document = m_ledger.documents.begin(); document != m_ledger.documents.end();) {
            if (!document->first.starts_with(beginning) || wanted.contains(document->first)) {
                ++document;
                continue;
            }
            if (!files.remove(document->second.path))
                m_outcome.notWritten.push_back(
                    failureOf(platform::pathFromString(document->second.path),
                              "it was changed since it was exported, and is not removed"));
            else
                ++m_outcome.removed;
            for (const auto &[path, digest] : document->second.beside)
                m_toRemove.insert(path);
            document = m_ledger.documents.erase(document);
        }
    }

    void writeIndex(const OwnFiles &files)
    {
        std::vector<IndexEntry> entries;
        for (const auto &[key, document] : m_ledger.documents) {
            if (key.starts_with("html ") && key != indexKey && !document.digest.isEmpty())
                entries.push_back({document.path, document.summary});
        }
        const OwnFiles::Result result = files.write(indexPath, indexPage(std::move(entries)));
        if (result.failure) {
            m_outcome.notWritten.push_back(failureOf(platform::pathFromString(indexPath), *result.failure));
            return;
        }
        WrittenDocument &index = m_ledger.documents[indexKey];
        index.path = indexPath;
        index.digest = result.digest;
    }

    /// Removes what belongs to nothing any more, writes the ledger, and waits for the disk.
    void finish(const OwnFiles &files)
    {
        const std::map<QString, QByteArray> wanted = m_ledger.files();
        for (const QString &path : m_toRemove) {
            if (!wanted.contains(path))
                static_cast<void>(files.remove(path));
        }
        if (m_manner.options.format == Format::Maildir) {
            if (const auto making = makeMaildir(m_folder); !making && !m_outcome.failure)
                m_outcome.failure = making.error();
        }
        if (const auto saving = m_ledger.save(m_folder); !saving && !m_outcome.failure)
            m_outcome.failure = saving.error();
        const platform::Descriptor folder(::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if ((!folder || ::syncfs(folder.number()) != 0) && !m_outcome.failure)
            m_outcome.failure = platform::systemFailure(m_folder, errno);
    }

    std::filesystem::path m_folder;
    const std::vector<Transcript> &m_transcripts;
    const Manner &m_manner;
    const Progress &m_progress;
    std::unique_ptr<const Writer> m_writer;
    Ledger m_ledger;
    QByteArray m_circumstances;
    std::set<std::string> m_beginLikeLonger; // names of chats
    std::vector<PlannedDocument> m_documents;
    std::vector<bool> m_isUnchanged; // of each document
    std::set<QString> m_toRemove;    // unless something else has them
    Outcome m_outcome;
};

} // namespace

Outcome exportChats(const std::filesystem::path &folder, const std::vector<Transcript> &transcripts,
                    const Manner &manner, const Progress &progress)
{
    return Export(folder, transcripts, manner, progress).run();
}

} // namespace exporting
