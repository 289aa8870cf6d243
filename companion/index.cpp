#include "companion/chatindexuse.h"
#include "companion/commands.h"

#include <memory>

namespace companion {

void addIndexCommand(CLI::App &commands, Action &action)
{
    const auto again = std::make_shared<bool>(false);
    CLI::App *command =
        commands.add_subcommand("index", "Bring the index for search, list and people up to date");
    command->add_flag("--rebuild", *again, "Read all transcripts again");
    command->footer(
        "Example: prattlebug index\n"
        "The other commands do this themselves; run it beforehand to get their first answer at once. "
        "The index is kept in Library/Caches/Prattlebug and may be deleted at any time.\n"
        "Exit code: 1 when the index cannot be written, or a folder cannot be read.");
    command->callback([again, &action] { action = [again] { return bringIndexUpToDate(*again); }; });
}

} // namespace companion
