#include "platform/files/temporaries.h"

#include "platform/files/directorywalk.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <optional>
#include <string_view>
#include <system_error>
#include <unistd.h>

namespace platform {

namespace {

constexpr std::string_view prefix = ".prattlebug-";
constexpr std::string_view fileSuffix = ".tmp";
constexpr std::string_view folderSuffix = ".folder";

/// The process that made the temporary of this name; nothing when it is not the name of one.
std::optional<pid_t> makerOf(std::string_view name)
{
    if (!name.starts_with(prefix))
        return std::nullopt;
    name.remove_prefix(prefix.size());
    pid_t process = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), process);
    const std::string_view suffix = name.substr(size_t(end - name.data()));
    if (error != std::errc() || process <= 0 || (suffix != fileSuffix && suffix != folderSuffix))
        return std::nullopt;
    return process;
}

bool isAnotherAlive(pid_t process)
{
    return process != ::getpid() && (::kill(process, 0) == 0 || errno != ESRCH);
}

} // namespace

std::filesystem::path temporaryBeside(const std::filesystem::path &target, TemporaryKind kind)
{
    std::string name(prefix);
    name += std::to_string(::getpid());
    name += kind == TemporaryKind::File ? fileSuffix : folderSuffix;
    return target.parent_path() / name;
}

void removeLeftTemporaries(const std::filesystem::path &folder)
{
    for (const std::string &name : contentsOfDirectory(folder)) {
        const auto maker = makerOf(name);
        std::error_code ignored;
        if (maker && !isAnotherAlive(*maker))
            std::filesystem::remove_all(folder / name, ignored);
    }
}

} // namespace platform
