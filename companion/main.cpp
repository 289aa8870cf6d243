#include "companion/commands.h"
#include "companion/console.h"

#include "platform/files/processfiles.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <exception>

// The product's console companion: the archiver and the tools around it, for terminals and scripts.

namespace {

/// Prints what CLI11 has to say and maps its exit codes to ours: help is no failure, anything else is wrong
/// usage.
int exitAfterParsing(const CLI::App &program, const CLI::ParseError &error)
{
    return program.exit(error) == 0 ? companion::exitDone : companion::exitWrongUsage;
}

int run(int argc, char **argv)
{
    CLI::App program("Archives iChat transcripts into one mbox file that any mail program imports.",
                     "prattlebug");
    program.set_version_flag("--version", PRATTLEBUG_VERSION);
    program.require_subcommand(1);
    program.footer(
        "Example: prattlebug setup --email sam@example.org /media/sam/Backup\n"
        "         prattlebug archive ~/\"Prattlebug Archive\"\n"
        "The options stand before or behind the command; --help behind it tells more of it, with an "
        "example.\n"
        "Exit code: 0 done, 1 failed, 2 wrong usage.");
    program.fallthrough();
    std::string home;
    program.add_option("--home", home, "Home folder to work in, instead of the user's own")->type_name("DIR");

    bool quiet = false;
    bool verbose = false;
    CLI::Option *quietFlag =
        program.add_flag("--quiet,-q", quiet, "Only results and failures: no console log, no progress bar");
    program.add_flag("--verbose,-v", verbose, "Also what is done on the way")->excludes(quietFlag);

    companion::Action action;
    companion::addSetupCommand(program, action);
    companion::addArchiveCommand(program, action);
    companion::addSearchCommand(program, action);
    companion::addShowCommand(program, action);
    companion::addStatsCommand(program, action);
    companion::addPagesCommand(program, action);
    companion::addLinkLogCommand(program, action);
    companion::addImageLogCommand(program, action);
    companion::addCheckCommand(program, action);
    companion::addInspectCommand(program, action);
    companion::addPrefsCommand(program, action);
    companion::addStatusCommand(program, action);
#ifdef PRATTLEBUG_MAIL
    companion::addSendCommand(program, action);
#endif

    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return exitAfterParsing(program, error);
    }
    if (!home.empty())
        setenv("HOME", home.c_str(), 1); // one thread
    companion::setVerbosity(quiet     ? companion::Verbosity::Quiet
                            : verbose ? companion::Verbosity::Verbose
                                      : companion::Verbosity::Usual);
    const companion::ConsoleHost host(quiet);
    const int code = action();
    if (companion::outputIsWhole())
        return code;
    companion::printError(QStringLiteral("The output could not be written whole."));
    return companion::exitFailed;
}

} // namespace

int main(int argc, char **argv)
{
    platform::prepareProcessForFiles();
    try {
        return run(argc, argv);
    } catch (const std::exception &error) { // out of memory, for one
        std::fprintf(stderr, "prattlebug: %s\n", error.what());
        return companion::exitFailed;
    }
}
