#include "platform/preferences/preferences.h"

#include "platform/files/descriptor.h"
#include "platform/files/notedfile.h"
#include "platform/files/temporaries.h"
#include "platform/preferences/preferencesfile.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <map>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace platform {

namespace {

/// What this process knows of one preferences file.
struct Domain {
    std::map<QString, PropertyList> changes; ///< not yet synchronised; Null where a key is to go
    NotedFile file;                          ///< as it was when @p contents were read from it
    PreferencesFile contents;
    std::optional<QByteArray> damaged; ///< the file's bytes, where @p contents do not say all of it
    bool isFreeOfTemporaries = false;  ///< whether those that other processes have left have been removed
};

std::filesystem::path preferencesPath()
{
    return preferencesFolder() / "com.velmoria.prattlebug.plist";
}

/// The domain of the file at @p path. There is one for each home folder that the process has had.
Domain &domainOf(const std::filesystem::path &path)
{
    static std::map<std::filesystem::path, Domain> domains;
    return domains[path];
}

/// Makes the folder at @p path and those above it, for the user alone, where they are missing.
bool makeFolder(const std::filesystem::path &path)
{
    constexpr mode_t forTheUserAlone = 0700;
    if (::mkdir(path.c_str(), forTheUserAlone) == 0 || errno == EEXIST)
        return true;
    return errno == ENOENT && path.has_relative_path() && makeFolder(path.parent_path()) &&
           (::mkdir(path.c_str(), forTheUserAlone) == 0 || errno == EEXIST);
}

/// Keeps other programs from synchronising while it lives. The folder itself is locked, not the file, which
/// each synchronisation replaces by another; and no lock file is left about. It is waited for as long as any
/// synchronisation could reasonably take: who holds it longer has got stuck, and must not stop others.
class FolderLock {
public:
    explicit FolderLock(const std::filesystem::path &folder)
        : m_folder(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        // File systems without such locks exist (some networks'); there, saving without one beats not saving.
        constexpr std::chrono::seconds longestWait(5);
        const auto latest = std::chrono::steady_clock::now() + longestWait;
        while (m_folder && ::flock(m_folder.number(), LOCK_EX | LOCK_NB) != 0 &&
               (errno == EINTR || errno == EWOULDBLOCK) && std::chrono::steady_clock::now() < latest)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    [[nodiscard]] explicit operator bool() const { return bool(m_folder); }

private:
    Descriptor m_folder;
};

constexpr unsigned ownerOnly = 0600;

/// Keeps a copy of a file that stood at @p path under a name that nothing else has.
bool setAside(const std::filesystem::path &path, const QByteArray &bytes)
{
    constexpr int mostCopies = 1000; // more than anybody has; every name may seem taken on a failing disk
    std::error_code ignored;
    std::filesystem::path copy = path;
    copy += ".damaged";
    for (int number = 2; fileExists(copy) || std::filesystem::is_symlink(copy, ignored); ++number) {
        if (number > mostCopies)
            return false;
        copy = path;
        copy += ".damaged-" + std::to_string(number);
    }
    return bool(writeAtomically(copy, bytes, {.permissions = ownerOnly}));
}

/// Makes @p domain what the file at @p path holds now.
/// @return whether that could be read; a missing file can.
bool refresh(Domain &domain, const std::filesystem::path &path)
{
    if (!domain.file.hasChanged(path))
        return true;
    const auto file = readWholeFile(path);
    const bool isReadable = file || file.error().kind == FailureKind::Missing;
    if (!isReadable)
        domain.file.forget();
    const auto contents = file ? PreferencesFile::fromBytes(*file) : PreferencesFile();
    domain.damaged = contents && contents->isWhole() ? std::nullopt : std::optional(*file);
    domain.contents = contents.value_or(PreferencesFile());
    return isReadable;
}

} // namespace

std::filesystem::path preferencesFolder()
{
    return homeDirectory() / "Library" / "Preferences";
}

PropertyList CFPreferencesCopyAppValue(QStringView key)
{
    const std::filesystem::path path = preferencesPath();
    Domain &domain = domainOf(path);
    if (const auto change = domain.changes.find(key.toString()); change != domain.changes.end())
        return change->second;
    (void)refresh(domain, path); // what cannot be read has no keys
    return domain.contents.value(key);
}

void CFPreferencesSetAppValue(QStringView key, const PropertyList &value)
{
    domainOf(preferencesPath()).changes[key.toString()] = value;
}

void forgetUnsynchronizedValue(QStringView key)
{
    domainOf(preferencesPath()).changes.erase(key.toString());
}

bool CFPreferencesAppSynchronize()
{
    const std::filesystem::path path = preferencesPath();
    Domain &domain = domainOf(path);
    if (domain.changes.empty())
        return true;
    if (!makeFolder(path.parent_path()))
        return false;
    const FolderLock lock(path.parent_path());
    if (!lock)
        return false;
    if (!std::exchange(domain.isFreeOfTemporaries, true))
        removeLeftTemporaries(path.parent_path()); // which hold what the file holds, a password too

    // Where this process has written the file last, it knows what it holds.
    if (!refresh(domain, path) || (domain.damaged && !setAside(path, *domain.damaged)))
        return false;
    domain.damaged.reset();
    PreferencesFile contents = domain.contents;
    contents.apply(domain.changes);
    if (!writeAtomically(path, contents.bytes(), {.permissions = ownerOnly}))
        return false;
    domain.file.noteOwnWriting(path);
    domain.contents = std::move(contents);
    domain.changes.clear();
    return true;
}

} // namespace platform
