#include "importing/copying.h"

#include "importing/chatfacts.h"

#include "platform/files/descriptor.h"
#include "platform/files/files.h"
#include "platform/files/systemcalls.h"
#include "platform/files/temporaries.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace importing {

namespace {

constexpr size_t mostInBatch = 1024;
constexpr qint64 largestBatch = qint64(64) << 20; // bytes

bool setModificationTime(int descriptor, const timespec &modified)
{
    const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, modified};
    return ::futimens(descriptor, times.data()) == 0;
}

/// Renames unless something stands at the new name; errno says what failed.
bool renameToFree(const std::filesystem::path &from, const std::filesystem::path &to)
{
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return false;
    // A file system that does not know how.
    struct stat status{};
    if (::lstat(to.c_str(), &status) == 0) {
        errno = EEXIST;
        return false;
    }
    return ::rename(from.c_str(), to.c_str()) == 0;
}

bool hasDigest(const std::filesystem::path &path, const QByteArray &digest)
{
    const auto file = platform::readWholeFile(path);
    return file && digestOf(*file) == digest;
}

void makeFolders(const std::filesystem::path &path)
{
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error)
        throw Failure("The folder " + path.native() +
                      " cannot be made: " + platform::reasonOf(error.value()));
}

} // namespace

/// The folder in which a batch is written, inside the transcript folder: on the same file system.
class Copying::Staging {
public:
    explicit Staging(const std::filesystem::path &transcriptFolder)
        : m_folder(platform::temporaryBeside(transcriptFolder / "any", platform::TemporaryKind::Folder))
    {
        platform::removeLeftTemporaries(transcriptFolder);
        makeFolders(m_folder);
        m_descriptor = platform::Descriptor(::open(m_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    ~Staging()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    Staging(const Staging &) = delete;
    Staging &operator=(const Staging &) = delete;

    [[nodiscard]] std::filesystem::path file(size_t number) const
    {
        return m_folder / std::to_string(number);
    }
    [[nodiscard]] bool isFull() const { return m_batch.size() >= mostInBatch || m_bytes >= largestBatch; }
    [[nodiscard]] const std::vector<const PlannedCopy *> &batch() const { return m_batch; }
    void add(const PlannedCopy &copy, qint64 bytes)
    {
        m_batch.push_back(&copy);
        m_bytes += bytes;
    }
    void clear()
    {
        m_batch.clear();
        m_bytes = 0;
    }
    /// Waits until the batch is on the disk.
    void sync() const
    {
        if (!m_descriptor || ::syncfs(m_descriptor.number()) != 0)
            throw Failure(m_folder.parent_path().native() +
                          " cannot be written: " + platform::reasonOf(errno));
    }

private:
    std::filesystem::path m_folder;
    platform::Descriptor m_descriptor;
    std::vector<const PlannedCopy *> m_batch;
    qint64 m_bytes = 0;
};

Copying::Copying(std::filesystem::path transcriptFolder, CopyLedger &ledger, Observer &observer)
    : m_folder(std::move(transcriptFolder)), m_ledger(ledger), m_observer(observer)
{
}

void Copying::run(const ImportPlan &plan)
{
    redate(plan);
    if (plan.copies.empty())
        return;
    Staging staging(m_folder);
    qsizetype written = 0;
    for (const PlannedCopy &copy : plan.copies) {
        if (m_observer.isStopped()) {
            m_outcome.isStopped = true;
            break;
        }
        write(copy, staging);
        m_observer.progress(Stage::Copying, ++written, std::ssize(plan.copies));
        if (staging.isFull())
            place(staging);
    }
    place(staging); // what was written before it was stopped, too
}

void Copying::write(const PlannedCopy &copy, Staging &staging)
{
    const LedgerEntry &entry = copy.entry;
    const auto source = platform::readWholeFile(entry.source);
    // One that has not been touched since it was read need not be digested again, unless it replaces a copy.
    const bool isUntouched = copy.replaced.isEmpty() && platform::fileIdentity(entry.source) == copy.source;
    if (!source || (!isUntouched && digestOf(*source) != entry.digest)) {
        m_outcome.failed.push_back(
            {entry.source, source ? "it has changed meanwhile" : source.error().reason});
        return;
    }
    const std::filesystem::path path = staging.file(staging.batch().size());
    constexpr mode_t permissions = 0666;
    platform::Descriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, permissions));
    if (!file || !platform::writeAll(file.number(), *source) ||
        !setModificationTime(file.number(), entry.date) || !file.close())
        throw Failure(entry.place.native() + " cannot be written into " + m_folder.native() + ": " +
                      platform::reasonOf(errno));
    staging.add(copy, source->size());
}

/// Gives the files of a batch their names, once they and their entries in the ledger are on the disk.
void Copying::place(Staging &staging)
{
    if (staging.batch().empty())
        return;
    staging.sync();
    std::vector<LedgerEntry> entries;
    for (const PlannedCopy *copy : staging.batch())
        entries.push_back(copy->entry);
    m_ledger.append(entries);
    for (size_t number = 0; number < staging.batch().size(); ++number) {
        const PlannedCopy &copy = *staging.batch()[number];
        if (placeOne(copy, staging.file(number))) {
            m_observer.copied(copy.entry.source, m_folder / copy.entry.place);
            ++m_outcome.copied;
        }
    }
    staging.clear();
}

bool Copying::placeOne(const PlannedCopy &copy, const std::filesystem::path &written)
{
    const std::filesystem::path path = m_folder / copy.entry.place;
    makeFolders(path.parent_path());
    const bool isPlaced = copy.replaced.isEmpty()          ? renameToFree(written, path)
                          : hasDigest(path, copy.replaced) ? ::rename(written.c_str(), path.c_str()) == 0
                                                           : (errno = EEXIST, false);
    if (isPlaced || (errno == EEXIST && hasDigest(path, copy.entry.digest)))
        return true;
    if (errno != EEXIST)
        throw Failure(path.native() + " cannot be written: " + platform::reasonOf(errno));
    m_outcome.failed.push_back({copy.entry.source, "another file stands at its place now, " + path.native()});
    return false;
}

void Copying::redate(const ImportPlan &plan)
{
    for (const Redating &redating : plan.redatings) {
        const std::filesystem::path path = m_folder / redating.place;
        const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, redating.date};
        if (::utimensat(AT_FDCWD, path.c_str(), times.data(), 0) != 0)
            m_outcome.failed.push_back({path, "it cannot be dated: " + platform::reasonOf(errno)});
    }
}

} // namespace importing
