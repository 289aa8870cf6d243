#include "companion/commands.h"
#include "companion/console.h"
#include "companion/send.h"

#include "platform/files/systemcalls.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <unistd.h>

namespace companion {

int send(const SendOptions &options)
{
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    // Where it is installed, and where it is built.
    const std::array places{folder / PRATTLEBUG_PRIVATE_PROGRAMS / "prattlebug-send",
                            folder / "prattlebug-send"};
    for (const std::filesystem::path &program : places)
        ::execv(program.c_str(), options.commandLine);
    printError(QByteArrayView("The program that sends mail cannot be started: " +
                              QByteArray::fromStdString(places.front().lexically_normal().native()) + ": " +
                              QByteArray::fromStdString(platform::reasonOf(errno))));
    return exitFailed;
}

} // namespace companion
