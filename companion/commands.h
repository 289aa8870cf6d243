#pragma once

#include <CLI/App.hpp>

#include <functional>

// The companion's subcommands. Each function adds one to the command line; when the user has chosen it, it
// puts what is to be done into `action`, whose result is the exit code.

namespace companion {

using Action = std::function<int()>;

// Exit codes.
inline constexpr int exitDone = 0;
inline constexpr int exitFailed = 1;
inline constexpr int exitWrongUsage = 2;
inline constexpr int exitSignalled = 128; // and the number of the signal that ended it

void addSetupCommand(CLI::App &commands, Action &action);
void addArchiveCommand(CLI::App &commands, Action &action);
void addExportCommand(CLI::App &commands, Action &action);
void addSearchCommand(CLI::App &commands, Action &action);
void addListCommand(CLI::App &commands, Action &action);
void addPeopleCommand(CLI::App &commands, Action &action);
void addIndexCommand(CLI::App &commands, Action &action);
void addShowCommand(CLI::App &commands, Action &action);
void addCheckCommand(CLI::App &commands, Action &action);
void addInspectCommand(CLI::App &commands, Action &action);
void addPrefsCommand(CLI::App &commands, Action &action);
void addStatsCommand(CLI::App &commands, Action &action);
void addPagesCommand(CLI::App &commands, Action &action);
void addLinkLogCommand(CLI::App &commands, Action &action);
void addImageLogCommand(CLI::App &commands, Action &action);
void addStatusCommand(CLI::App &commands, Action &action);
/// Built with PRATTLEBUG_MAIL alone. @param commandLine as main() has it.
void addSendCommand(CLI::App &commands, Action &action, char *const *commandLine);

} // namespace companion
