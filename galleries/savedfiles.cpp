#include "galleries/savedfiles.h"

#include "platform/files/files.h"
#include "platform/files/temporaries.h"

#include <cstdio>
#include <fcntl.h>
#include <system_error>

using platform::NSFileWrapper;
namespace filesystem = std::filesystem;

namespace galleries {

namespace {

constexpr qint64 costOfAFile = 4096;

qint64 weightOf(const NSFileWrapper &wrapper) // no deeper than its reader goes
{
    qint64 weight = wrapper.regularFileContents().size() + costOfAFile;
    for (const NSFileWrapper::Child &child : wrapper.children())
        weight += child.name.size() + weightOf(*child.wrapper);
    return weight;
}

bool writeFile(const filesystem::path &path, const QByteArray &contents)
{
    return !platform::writeAtomically(path, contents, {.durability = platform::Durability::Unsynced});
}

bool isFolder(const filesystem::path &path)
{
    std::error_code error;
    return filesystem::is_directory(filesystem::symlink_status(path, error));
}

/// @return whether all of it has been written.
bool writeContents(const NSFileWrapper &folder, const filesystem::path &path)
{
    bool isWhole = true;
    for (const NSFileWrapper::Child &child : folder.children()) {
        const filesystem::path target = path / platform::pathFromString(fileName(child.name, {}).text());
        if (child.wrapper->isRegularFile()) {
            isWhole &= writeFile(target, child.wrapper->regularFileContents());
            continue;
        }
        std::error_code error;
        filesystem::create_directory(target, error);
        isWhole &= !error && writeContents(*child.wrapper, target);
    }
    return isWhole;
}

void writeFolder(const NSFileWrapper &folder, const filesystem::path &path)
{
    const filesystem::path temporary = platform::temporaryBeside(path, platform::TemporaryKind::Folder);
    std::error_code error;
    filesystem::remove_all(temporary, error);
    if (!filesystem::create_directory(temporary, error))
        return;
    const bool isWhole = writeContents(folder, temporary);
    // Exchanged with what stands there, so that at no moment nothing does; not every file system can.
    if ((isWhole || !isFolder(path)) &&
        ::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) != 0) {
        filesystem::remove_all(path, error);
        filesystem::rename(temporary, path, error);
    }
    filesystem::remove_all(temporary, error); // the old one, or what could not be made whole
}

} // namespace

void SavedFiles::save(const std::shared_ptr<const NSFileWrapper> &wrapper, const FileName &name)
{
    const QString text = name.text();
    std::shared_ptr<const NSFileWrapper> &saved = m_saved[text];
    if (saved == wrapper || m_left == 0)
        return;
    const qint64 weight = weightOf(*wrapper);
    if (weight > m_left) {
        m_left = 0; // nor is anything further weighed, which is work too
        return;
    }
    m_left -= weight;
    saved = wrapper;

    const filesystem::path path = m_folder / platform::pathFromString(text);
    if (!wrapper->isRegularFile())
        return writeFolder(*wrapper, path);
    std::error_code ignored;
    if (isFolder(path))
        filesystem::remove_all(path, ignored);
    writeFile(path, wrapper->regularFileContents());
}

} // namespace galleries
