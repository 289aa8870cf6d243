#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>

// What the library leaves to others on the way to a connection: finding a server's address in time, and
// saying why there is no connection. Problems are sentences in English.

namespace platform::pantomime {

/// An address, or what is in the way of one.
struct HostAddress {
    QByteArray ipv4; ///< in digits; empty when there is a problem
    QString problem;
};

/// Asks the system for an IPv4 address of @p host, which is all that the library can connect to.
/// @param host ASCII; may be such an address itself.
/// @param patience how long the system may take.
[[nodiscard]] HostAddress addressOf(const QByteArray &host, std::chrono::seconds patience);

/// Why no connection to @p ipv4 can be begun, such as a missing network; empty when one can. Asks the system
/// alone: nothing is sent.
[[nodiscard]] QString problemOfReaching(const QByteArray &ipv4);

} // namespace platform::pantomime
