#include "companion/send.h"

#include "companion/commands.h"

#include <CLI/Validators.hpp>

#include <memory>

namespace companion {

void addSendCommand(CLI::App &commands, Action &action, char *const *commandLine)
{
    const auto options = std::make_shared<SendOptions>();
    options->commandLine = commandLine;
    CLI::App *command = commands.add_subcommand("send", "Send one chat by mail");
    command->add_option("FILE", options->file, "Transcript, *.chat or *.ichat")->required();
    command
        ->add_option("--server", options->server,
                     "Mail server; the default port is 25, or 587 with --starttls")
        ->type_name("HOST[:PORT]")
        ->required();
    command->add_option("--to", options->to, "Recipient")->type_name("ADDRESS")->required();
    command->add_option("--from", options->from, "Sender; by default the preference emailAddress")
        ->type_name("ADDRESS");
    CLI::Option *encrypted = command->add_flag("--starttls", options->encrypted,
                                               "Send over an encrypted connection only, and only to a server "
                                               "with a trusted certificate");
    command
        ->add_option("--ca-file", options->certificates,
                     "PEM file of certificate authorities to trust in addition to the system's")
        ->type_name("FILE")
        ->check(CLI::ExistingFile)
        ->needs(encrypted);
    constexpr int longestTimeout = 3600;
    command->add_option("--timeout", options->timeout, "How long to wait for the server")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, longestTimeout))
        ->capture_default_str();
    command->footer(
        "If the server requires a login, set the preferences emailNeedsUsername to 1, emailUsername and\n"
        "emailPassword. Without --starttls the password is sent unencrypted.\n"
        "Example: prattlebug send --server mail.example.org --starttls --to kim@example.org "
        "\"Kim on 2005-03-01.ichat\"\n"
        "Exit code: 0 when the server has accepted the mail, otherwise 1.");
    command->callback([options, &action] { action = [options] { return send(*options); }; });
}

} // namespace companion
