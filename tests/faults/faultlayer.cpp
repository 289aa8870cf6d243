// Preloaded into a program under test, where it stands between the program and the system's calls that change
// the disk. The environment's PRATTLEBUG_FAULT says what it does:
//
// - count:FILE: at the end, writes into FILE how many such calls there were, and how many bytes were written.
// - kill:N: kills the program (SIGKILL) instead of call N, counted from 1; of a write, half is done before.
// - interrupt:N: has the program get SIGINT at call N, and goes on.
// - full:N:ERRNO: the disk takes N bytes; a write beyond is done in part, and every one after that fails.
// - locked:FOLDER: everything in FOLDER and below it is read-only.
// - listed:FOLDER: the listing of FOLDER ends after one entry, with EIO.
//
// A call counts when it makes, changes, renames or removes something; writing to a terminal or a pipe does
// not.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

template <class Function>
Function *original(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

enum class Fault { None, Count, Kill, Interrupt, Full, Locked, Listed };

struct State {
    Fault fault = Fault::None;
    std::string path; // of Count, Locked and Listed
    long number = 0;  // of Kill, Interrupt and Full
    int error = ENOSPC;
    long calls = 0;
    long bytes = 0;

    State()
    {
        const char *text = std::getenv("PRATTLEBUG_FAULT");
        const char *colon = text ? std::strchr(text, ':') : nullptr;
        if (!colon)
            return;
        const std::string kind(text, colon);
        fault = kind == "count"       ? Fault::Count
                : kind == "kill"      ? Fault::Kill
                : kind == "interrupt" ? Fault::Interrupt
                : kind == "full"      ? Fault::Full
                : kind == "locked"    ? Fault::Locked
                                      : Fault::Listed;
        path = colon + 1;
        char *end = nullptr;
        number = std::strtol(colon + 1, &end, 10);
        if (fault == Fault::Full && *end == ':')
            error = std::atoi(end + 1);
    }
    ~State()
    {
        if (fault != Fault::Count)
            return;
        fault = Fault::None;
        if (FILE *file = std::fopen(path.c_str(), "w")) {
            std::fprintf(file, "%ld %ld\n", calls, bytes);
            std::fclose(file);
        }
    }
    State(const State &) = delete;
    State &operator=(const State &) = delete;
};

State &state()
{
    static State theState;
    return theState;
}

bool isToBeKilled()
{
    if (++state().calls != state().number)
        return false;
    if (state().fault == Fault::Interrupt)
        raise(SIGINT);
    return state().fault == Fault::Kill;
}

[[noreturn]] void die()
{
    kill(getpid(), SIGKILL);
    std::abort();
}

std::string pathOf(int descriptor)
{
    char target[4096];
    const ssize_t size =
        readlink(("/proc/self/fd/" + std::to_string(descriptor)).c_str(), target, sizeof target);
    return {target, size_t(std::max<ssize_t>(size, 0))};
}

/// Whether the call may go on, which is about @p path.
bool mayChange(int folder, const char *path)
{
    if (isToBeKilled())
        die();
    if (state().fault != Fault::Locked)
        return true;
    std::string whole = path;
    if (!whole.starts_with('/') && folder != AT_FDCWD)
        whole = pathOf(folder) + "/" + whole;
    if (!whole.starts_with(state().path))
        return true;
    errno = EROFS;
    return false;
}

bool isFile(int descriptor)
{
    struct stat status{};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// How many of @p size bytes the disk takes; nothing left is -1 and an error.
ssize_t taken(size_t size)
{
    long left = long(size);
    if (state().fault == Fault::Full)
        left = std::min(left, state().number - state().bytes);
    state().bytes += left;
    if (left == 0 && size > 0) {
        errno = state().error;
        return -1;
    }
    return left;
}

bool changes(int flags)
{
    return (flags & O_ACCMODE) != O_RDONLY || (flags & O_CREAT) != 0;
}

int openThrough(const char *name, int folder, const char *path, int flags, mode_t mode)
{
    if (changes(flags) && !mayChange(folder, path))
        return -1;
    return original<int(int, const char *, int, ...)>(name)(folder, path, flags, mode);
}

mode_t modeOf(int flags, va_list arguments)
{
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

} // namespace

extern "C" {

#define OPEN(NAME, THROUGH)                                                                                  \
    int NAME(const char *path, int flags, ...)                                                               \
    {                                                                                                        \
        va_list arguments;                                                                                   \
        va_start(arguments, flags);                                                                          \
        const mode_t mode = modeOf(flags, arguments);                                                        \
        va_end(arguments);                                                                                   \
        return openThrough(THROUGH, AT_FDCWD, path, flags, mode);                                            \
    }
OPEN(open, "openat")
OPEN(open64, "openat64")

#define OPENAT(NAME)                                                                                         \
    int NAME(int folder, const char *path, int flags, ...)                                                   \
    {                                                                                                        \
        va_list arguments;                                                                                   \
        va_start(arguments, flags);                                                                          \
        const mode_t mode = modeOf(flags, arguments);                                                        \
        va_end(arguments);                                                                                   \
        return openThrough(#NAME, folder, path, flags, mode);                                                \
    }
OPENAT(openat)
OPENAT(openat64)

ssize_t write(int descriptor, const void *bytes, size_t size)
{
    const auto next = original<ssize_t(int, const void *, size_t)>("write");
    if (!isFile(descriptor))
        return next(descriptor, bytes, size);
    if (isToBeKilled()) {
        static_cast<void>(next(descriptor, bytes, size / 2));
        die();
    }
    const ssize_t fits = taken(size);
    return fits < 0 ? fits : next(descriptor, bytes, size_t(fits));
}

ssize_t sendfile(int to, int from, off_t *offset, size_t size)
{
    if (isToBeKilled())
        die();
    const ssize_t fits = taken(size);
    return fits < 0 ? fits : original<decltype(sendfile)>("sendfile")(to, from, offset, size_t(fits));
}

int fsync(int descriptor)
{
    if (isToBeKilled())
        die();
    return original<decltype(fsync)>("fsync")(descriptor);
}

int ftruncate(int descriptor, off_t size)
{
    if (isToBeKilled())
        die();
    return original<decltype(ftruncate)>("ftruncate")(descriptor, size);
}

int rename(const char *from, const char *to)
{
    return mayChange(AT_FDCWD, to) ? original<decltype(rename)>("rename")(from, to) : -1;
}

int renameat2(int fromFolder, const char *from, int toFolder, const char *to, unsigned flags)
{
    return mayChange(toFolder, to)
               ? original<decltype(renameat2)>("renameat2")(fromFolder, from, toFolder, to, flags)
               : -1;
}

int link(const char *from, const char *to)
{
    return mayChange(AT_FDCWD, to) ? original<decltype(link)>("link")(from, to) : -1;
}

int unlink(const char *path)
{
    return mayChange(AT_FDCWD, path) ? original<decltype(unlink)>("unlink")(path) : -1;
}

int unlinkat(int folder, const char *path, int flags)
{
    return mayChange(folder, path) ? original<decltype(unlinkat)>("unlinkat")(folder, path, flags) : -1;
}

int remove(const char *path)
{
    return mayChange(AT_FDCWD, path) ? original<decltype(remove)>("remove")(path) : -1;
}

dirent *readdir(DIR *folder)
{
    static int listed = 0;
    if (state().fault == Fault::Listed && pathOf(dirfd(folder)) == state().path && listed++ > 0) {
        errno = EIO;
        return nullptr;
    }
    return original<decltype(readdir)>("readdir")(folder);
}

int mkdir(const char *path, mode_t mode)
{
    return mayChange(AT_FDCWD, path) ? original<decltype(mkdir)>("mkdir")(path, mode) : -1;
}

} // extern "C"
