#include "platform/files/nsfilehandle.h"

#include "platform/files/systemcalls.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

Result<NSFileHandle> NSFileHandle::createFileAtPath(const std::filesystem::path &path)
{
    NSFileHandle handle;
    handle.m_path = path;
    ::unlink(path.c_str()); // fails where nothing stands, or a folder: then so does open
    handle.m_file =
        Descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!handle.isOpen())
        return tl::unexpected(handle.failure(errno));
    handle.m_folder = Descriptor(::open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return handle;
}

Failure NSFileHandle::failure(int error) const
{
    return systemFailure(m_path, error);
}

Result<> NSFileHandle::writeData(QByteArrayView bytes)
{
    if (!m_file)
        return tl::unexpected(failure(EBADF));
    if (writeAll(m_file.number(), bytes)) {
        m_length += bytes.size();
        return {};
    }
    Failure written = failure(errno);
    if (::ftruncate(m_file.number(), m_length) != 0 ||
        ::lseek(m_file.number(), m_length, SEEK_SET) != m_length)
        written.reason += ", and the part that was written could not be taken back: " + reasonOf(errno);
    return tl::unexpected(std::move(written));
}

Result<> NSFileHandle::synchronizeFile()
{
    if (!m_file)
        return tl::unexpected(failure(EBADF));
    if (::fsync(m_file.number()) != 0)
        return tl::unexpected(failure(errno));
    if (m_folder && ::fsync(m_folder.number()) != 0 && errno != EINVAL) // some file systems sync no folders
        return tl::unexpected(failure(errno));
    return {};
}

bool NSFileHandle::standsAt(const std::filesystem::path &path) const
{
    struct stat open{};
    struct stat there{};
    return m_file && ::fstat(m_file.number(), &open) == 0 && ::lstat(path.c_str(), &there) == 0 &&
           open.st_dev == there.st_dev && open.st_ino == there.st_ino;
}

} // namespace platform
