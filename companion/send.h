#pragma once

#include <string>

namespace companion {

/// What the command `send` is given.
struct SendOptions {
    std::string server;
    std::string to;
    std::string from;
    std::string file;
    std::string certificates;
    bool encrypted = false;
    int timeout = 60;                   ///< seconds
    char *const *commandLine = nullptr; ///< all of it, as main() has it
};

/// Sends one chat by mail. @return an exit code.
///
/// The mail library brings a runtime of its own, and loading that takes twice as long as all else at the
/// start of a command. So there are two programs with the same commands: in `prattlebug-send`, which is
/// linked with that library, this does it (sending.cpp); in `prattlebug` it hands over to that program
/// (handover.cpp).
[[nodiscard]] int send(const SendOptions &options);

} // namespace companion
