#include "companion/commands.h"
#include "companion/console.h"
#include "companion/terminal.h"

#include "failurestatus.h"

#include "platform/text/encoding.h"

#include <memory>

namespace companion {

namespace {

int status(bool clear)
{
    if (clear && !clearFailureCount()) {
        printError(QStringLiteral("The preferences could not be written."));
        return exitFailed;
    }
    const FailureStatus status = FailureStatus::current();
    if (verbosity() != Verbosity::Quiet || status.sinceCleared > 0)
        printHeading(platform::utf8FromString(status.description()));
    return exitDone;
}

} // namespace

void addStatusCommand(CLI::App &commands, Action &action)
{
    const auto clear = std::make_shared<bool>(false);
    CLI::App *command = commands.add_subcommand("status", "Show the latest failure and how many there were");
    command->add_flag("--clear", *clear, "Reset the count of failures");
    command->footer("Example: prattlebug status --clear\n"
                    "With --quiet, nothing is printed unless there were failures.\n"
                    "Exit code: 1 when the count cannot be reset.");
    command->callback([clear, &action] { action = [clear] { return status(*clear); }; });
}

} // namespace companion
