#include "companion/commands.h"
#include "companion/console.h"

#include "platform/files/processfiles.h"
#include "platform/text/terminaltext.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <numeric>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

// The product's console companion: the archiver and the tools around it, for terminals and scripts.

namespace {

/// How many letters have to be put in, left out or exchanged to make @p one of @p other.
size_t distance(std::string_view one, std::string_view other)
{
    std::vector<size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), size_t(0));
    for (size_t i = 0; i < one.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i + 1);
        for (size_t j = 0; j < other.size(); ++j) {
            const size_t exchanged = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({diagonal + 1, row[j] + 1, exchanged});
        }
    }
    return row.back();
}

/// What is said of a command that there is not.
std::string unknownCommand(const CLI::App &program, const std::string &name)
{
    const std::string text = "There is no command \"" + name + "\".";
    size_t least = name.size() / 2; // beyond, the two have hardly anything in common
    std::string nearest;
    for (const CLI::App *command : program.get_subcommands({})) {
        const std::string known = command->get_name();
        const size_t away = known.starts_with(name) ? 0 : distance(name, known);
        if (away <= least && (nearest.empty() || away < least)) {
            least = away;
            nearest = known;
        }
    }
    return text + (nearest.empty() ? " prattlebug help lists them." : " Did you mean \"" + nearest + "\"?");
}

/// Prints what CLI11 has to say and maps its exit codes to ours: help is no failure, anything else is wrong
/// usage.
int exitAfterParsing(const CLI::App &program, const CLI::ParseError &error)
{
    if (error.get_exit_code() != 0 && program.get_subcommands().empty()) {
        for (const std::string &word : program.remaining()) {
            if (!word.starts_with('-')) {
                companion::printError(QByteArrayView(unknownCommand(program, word)));
                return companion::exitWrongUsage;
            }
        }
    }
    std::ostringstream output;
    std::ostringstream errors;
    const int code = program.exit(error, output, errors);
    companion::print(output.str());
    platform::writeText(stderr, errors.str());
    return code == 0 ? companion::exitDone : companion::exitWrongUsage;
}

void addHelpCommand(CLI::App &program, companion::Action &action)
{
    const auto name = std::make_shared<std::string>();
    CLI::App *command = program.add_subcommand("help", "Explain a command and give an example");
    command->add_option("COMMAND", *name, "Command to explain; without it, all commands are listed");
    command->footer("Example: prattlebug help archive");
    command->callback([name, &program, &action] {
        action = [name, &program = std::as_const(program)] {
            const std::vector<const CLI::App *> asked = program.get_subcommands(
                [&name](const CLI::App *known) { return known->get_name() == *name; });
            if (!name->empty() && asked.empty()) {
                companion::printError(QByteArrayView(unknownCommand(program, *name)));
                return companion::exitWrongUsage;
            }
            // Asked for its own help, the program would give that of the command at work.
            const std::string text = name->empty()
                                         ? program.get_formatter()->make_help(&program, program.get_name(),
                                                                              CLI::AppFormatMode::Normal)
                                         : asked.front()->help(program.get_name());
            companion::printLine(QByteArrayView(text).chopped(text.ends_with('\n') ? 1 : 0));
            return companion::exitDone;
        };
    });
}

int run(int argc, char **argv)
{
    CLI::App program("Archives iChat transcripts into one mbox file that any mail program imports.",
                     "prattlebug");
    program.set_version_flag("--version", PRATTLEBUG_VERSION);
    program.require_subcommand(1);
    program.footer("Example: prattlebug setup --email sam@example.org /media/sam/Backup\n"
                   "         prattlebug archive ~/\"Prattlebug Archive\"\n"
                   "Options can be given before or after the command. `prattlebug COMMAND --help` explains a "
                   "command and "
                   "gives an example.\n"
                   "Exit code: 0 when done, 1 when something failed, 2 for wrong usage.");
    program.fallthrough();
    std::string home;
    program.add_option("--home", home, "Use another home folder than your own")->type_name("DIR");

    bool quiet = false;
    bool verbose = false;
    CLI::Option *quietFlag = program.add_flag(
        "--quiet,-q", quiet, "Print results and failures only: no console log, no progress bar");
    program.add_flag("--verbose,-v", verbose, "Report every step on standard error")->excludes(quietFlag);

    companion::Action action;
    companion::addSetupCommand(program, action);
    companion::addArchiveCommand(program, action);
    companion::addExportCommand(program, action);
    companion::addSearchCommand(program, action);
    companion::addListCommand(program, action);
    companion::addPeopleCommand(program, action);
    companion::addIndexCommand(program, action);
    companion::addShowCommand(program, action);
    companion::addStatsCommand(program, action);
    companion::addPagesCommand(program, action);
    companion::addLinkLogCommand(program, action);
    companion::addImageLogCommand(program, action);
    companion::addCheckCommand(program, action);
    companion::addInspectCommand(program, action);
    companion::addPrefsCommand(program, action);
    companion::addStatusCommand(program, action);
    addHelpCommand(program, action);
#ifdef PRATTLEBUG_MAIL
    companion::addSendCommand(program, action, argv);
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
    } catch (const std::bad_alloc &) {
        std::fputs("prattlebug: it does not fit into memory\n", stderr);
        return companion::exitFailed;
    } catch (const std::exception &error) {
        companion::printError(QByteArrayView("prattlebug: " + QByteArray(error.what())));
        return companion::exitFailed;
    }
}
