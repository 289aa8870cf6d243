#include "companion/interruption.h"

#include <array>
#include <csignal>

namespace companion {

namespace {

constexpr std::array signals{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t received = 0;

void restoreAll()
{
    for (const int number : signals) {
        struct sigaction current{};
        if (::sigaction(number, nullptr, &current) == 0 && current.sa_handler != SIG_IGN)
            std::signal(number, SIG_DFL);
    }
}

void note(int number)
{
    received = number;
    restoreAll();
}

} // namespace

Interruption::Interruption()
{
    received = 0;
    for (const int number : signals) {
        struct sigaction action{};
        if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN)
            continue;
        action = {};
        action.sa_handler = note;
        action.sa_flags = SA_RESTART;
        ::sigaction(number, &action, nullptr);
    }
}

Interruption::~Interruption()
{
    restoreAll();
}

int Interruption::signal() const
{
    return received;
}

} // namespace companion
