#include "platform/files/processfiles.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <unistd.h>

namespace platform {

void prepareProcessForFiles()
{
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(number, F_GETFD) >= 0 || errno != EBADF)
            continue;
        // Takes the lowest free number, which is this one. It stays open as long as the process runs.
        [[maybe_unused]] const int opened = ::open("/dev/null", number == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace platform
