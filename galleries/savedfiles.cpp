#include "galleries/savedfiles.h"

#include "platform/files/files.h"
#include "platform/files/temporaries.h"

#include <cstdio>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

using platform::Failure;
using platform::FailureKind;
using platform::NSFileWrapper;
using platform::Result;
namespace filesystem = std::filesystem;

namespace galleries {

namespace {

constexpr qint64 timesItsSize = 16;
constexpr qint64 costOfAFile = 4096;
constexpr qint64 costOfALink = 256;

qint64 weightOf(const NSFileWrapper &wrapper) // no deeper than its reader goes
{
    qint64 weight = wrapper.regularFileContents().size() + costOfAFile;
    for (const NSFileWrapper::Child &child : wrapper.children())
        weight += child.name.size() + weightOf(*child.wrapper);
    return weight;
}

bool isFolder(const filesystem::path &path)
{
    std::error_code error;
    return filesystem::is_directory(filesystem::symlink_status(path, error));
}

Result<> writeFile(const filesystem::path &path, const QByteArray &contents)
{
    return platform::writeAtomically(path, contents, {.durability = platform::Durability::Unsynced});
}

Result<> failed(const filesystem::path &path, const std::error_code &error)
{
    return tl::unexpected(Failure{FailureKind::System, path, error.message()});
}

/// @return the first failure.
Result<> writeContents(const NSFileWrapper &folder, const filesystem::path &path)
{
    Result<> written;
    for (const NSFileWrapper::Child &child : folder.children()) {
        const filesystem::path target = path / platform::pathFromString(fileName(child.name, {}).text());
        Result<> ofChild;
        if (child.wrapper->isRegularFile()) {
            ofChild = writeFile(target, child.wrapper->regularFileContents());
        } else {
            std::error_code error;
            filesystem::create_directory(target, error);
            ofChild = error ? failed(target, error) : writeContents(*child.wrapper, target);
        }
        if (written)
            written = std::move(ofChild);
    }
    return written;
}

Result<> writeFolder(const NSFileWrapper &folder, const filesystem::path &path)
{
    const filesystem::path temporary = platform::temporaryBeside(path, platform::TemporaryKind::Folder);
    std::error_code error;
    filesystem::remove_all(temporary, error);
    if (!filesystem::create_directory(temporary, error))
        return failed(path, error);
    Result<> written = writeContents(folder, temporary);
    // Exchanged with what stands there, so that at no moment nothing does; not every file system can.
    if ((written || !isFolder(path)) &&
        ::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) != 0) {
        filesystem::remove_all(path, error);
        filesystem::rename(temporary, path, error);
        if (error && written)
            written = failed(path, error);
    }
    filesystem::remove_all(temporary, error); // the old one, or what could not be made whole
    return written;
}

/// In place of what stands there.
Result<> write(const NSFileWrapper &wrapper, const filesystem::path &path)
{
    if (!wrapper.isRegularFile())
        return writeFolder(wrapper, path);
    Result<> written = writeFile(path, wrapper.regularFileContents());
    if (!written && isFolder(path)) {
        std::error_code ignored;
        filesystem::remove_all(path, ignored);
        written = writeFile(path, wrapper.regularFileContents());
    }
    return written;
}

} // namespace

bool SavedFiles::save(const std::shared_ptr<const NSFileWrapper> &wrapper, const FileName &name)
{
    const QString text = name.text();
    if (m_isFull)
        return false;
    if (m_saved.value(text) == wrapper)
        return true;
    if (!m_places.contains(wrapper.get())) {
        m_places.insert(wrapper.get(), {});
        m_left += timesItsSize * wrapper->totalSize();
    }

    const filesystem::path path = m_folder / platform::pathFromString(text);
    if (!link(*wrapper, path)) {
        const qint64 weight = weightOf(*wrapper);
        if (weight > m_left) {
            m_isFull = true; // nor is anything further weighed, which is work too
            return false;
        }
        m_left -= weight;
        if (const Result<> written = write(*wrapper, path); !written) {
            if (m_failed)
                m_failed({written.error().kind, path, written.error().reason});
            return true;
        }
    }
    m_saved.insert(text, wrapper);
    m_places.insert(wrapper.get(), text);
    return true;
}

/// Makes @p path a hard link to where @p wrapper stands already, if it does.
bool SavedFiles::link(const NSFileWrapper &wrapper, const filesystem::path &path)
{
    const QString place = m_places.value(&wrapper);
    if (place.isEmpty() || m_saved.value(place).get() != &wrapper || !wrapper.isRegularFile() ||
        m_left < costOfALink)
        return false;
    const filesystem::path temporary = platform::temporaryBeside(path, platform::TemporaryKind::File);
    ::unlink(temporary.c_str());
    if (::link((m_folder / platform::pathFromString(place)).c_str(), temporary.c_str()) != 0)
        return false; // not every file system can, and none without end
    const bool isLinked = ::rename(temporary.c_str(), path.c_str()) == 0;
    ::unlink(temporary.c_str()); // it stays when both are links to one file already
    m_left -= isLinked ? costOfALink : 0;
    return isLinked;
}

} // namespace galleries
