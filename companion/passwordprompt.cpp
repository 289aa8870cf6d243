#include "companion/passwordprompt.h"

#include "platform/text/encoding.h"

#include <array>
#include <csignal>
#include <iostream>
#include <string>
#include <termios.h>
#include <unistd.h>

namespace companion {

namespace {

constexpr std::array<int, 4> endingSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

termios shownTyping{}; // what a signal's handler restores

extern "C" void restoreAndEnd(int signal)
{
    tcsetattr(STDIN_FILENO, TCSANOW, &shownTyping);
    raise(signal); // whose handling is the default again, once this returns
}

/// Has the terminal at standard input, if it is one, not show what is typed, as long as it lives.
class HiddenTyping {
public:
    HiddenTyping() : m_isTerminal(tcgetattr(STDIN_FILENO, &shownTyping) == 0)
    {
        if (!m_isTerminal)
            return;
        for (size_t i = 0; i < endingSignals.size(); ++i) {
            struct sigaction restoring{};
            restoring.sa_handler = restoreAndEnd;
            restoring.sa_flags = int(SA_RESETHAND);
            sigaction(endingSignals.at(i), nullptr, &m_before.at(i));
            if (m_before.at(i).sa_handler != SIG_IGN)
                sigaction(endingSignals.at(i), &restoring, nullptr);
        }
        termios hidden = shownTyping;
        hidden.c_lflag &= ~tcflag_t(ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
    }
    ~HiddenTyping()
    {
        if (!m_isTerminal)
            return;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &shownTyping);
        for (size_t i = 0; i < endingSignals.size(); ++i)
            sigaction(endingSignals.at(i), &m_before.at(i), nullptr);
    }
    HiddenTyping(const HiddenTyping &) = delete;
    HiddenTyping &operator=(const HiddenTyping &) = delete;

    [[nodiscard]] bool isTerminal() const { return m_isTerminal; }

private:
    bool m_isTerminal;
    std::array<struct sigaction, endingSignals.size()> m_before{};
};

} // namespace

std::optional<QString> readPassword()
{
    const HiddenTyping hidden;
    if (hidden.isTerminal())
        std::cerr << "Password: " << std::flush;
    std::string line;
    const bool isRead = bool(std::getline(std::cin, line));
    if (hidden.isTerminal())
        std::cerr << '\n';
    return isRead ? std::optional(platform::stringFromUtf8(line)) : std::nullopt;
}

} // namespace companion
