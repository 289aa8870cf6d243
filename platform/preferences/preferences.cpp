#include "platform/preferences/preferences.h"

#include "platform/files/descriptor.h"
#include "platform/files/files.h"
#include "platform/files/temporaries.h"
#include "platform/formaterror.h"
#include "platform/propertylist/xmlwriter.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <map>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace platform {

namespace {

/// What this process knows of one preferences file.
struct Domain {
    std::map<QString, PropertyList> changes; ///< not yet synchronised; Null where a key is to go
    std::optional<FileIdentity> identity;    ///< of the file when it was read into @p contents
    PropertyList contents;
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

/// The property list that @p bytes hold; Null when they hold none, or none with a dictionary at its root.
PropertyList dictionaryFrom(const QByteArray &bytes)
{
    try {
        const PropertyList list = readPropertyList(bytes);
        return list.kind() == PropertyListKind::Dictionary ? list : PropertyList();
    } catch (const FormatError &) {
        return {};
    }
}

/// What stands at a path.
struct Existing {
    bool isReadable = false; ///< also when nothing stands there
    std::optional<QByteArray> bytes;
    PropertyList contents; ///< Null when there is no file, or a damaged one
};

Existing readExisting(const std::filesystem::path &path)
{
    FileContents file = readWholeFile(path);
    if (file.bytes) {
        PropertyList contents = dictionaryFrom(*file.bytes);
        return {true, std::move(file.bytes), std::move(contents)};
    }
    return {file.isMissing, std::nullopt, {}};
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
    std::filesystem::path copy = path;
    copy += ".damaged";
    struct stat status{};
    for (int number = 2; ::lstat(copy.c_str(), &status) == 0; ++number) {
        copy = path;
        copy += ".damaged-" + std::to_string(number);
    }
    return !writeAtomically(copy, bytes, {.permissions = ownerOnly});
}

/// @p contents with @p changes made to them, in the XML form.
QByteArray merged(const PropertyList &contents, const std::map<QString, PropertyList> &changes)
{
    XMLPropertyListWriter writer;
    writer.beginDictionary();
    for (quint32 i = 0; i < contents.count(); ++i) {
        const QString key = contents.keyAt(i);
        if (changes.contains(key))
            continue;
        writer.key(key);
        writer.value(contents.valueAt(i));
    }
    for (const auto &[key, value] : changes) {
        if (value.isNull())
            continue;
        writer.key(key);
        writer.value(value);
    }
    writer.endDictionary();
    return writer.finish();
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
    // The identity before the contents: should the file change in between, the next call reads it again.
    const std::optional<FileIdentity> identity = fileIdentity(path);
    if (!identity || identity != domain.identity) {
        domain.contents = identity ? readExisting(path).contents : PropertyList();
        domain.identity = identity;
    }
    return domain.contents[key];
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
    removeLeftTemporaries(path.parent_path()); // which hold what the file holds, a password too

    const Existing existing = readExisting(path);
    if (!existing.isReadable)
        return false;
    if (existing.bytes && existing.contents.isNull() && !setAside(path, *existing.bytes))
        return false;
    if (writeAtomically(path, merged(existing.contents, domain.changes), {.permissions = ownerOnly}))
        return false;
    domain.changes.clear();
    return true;
}

} // namespace platform
