#pragma once

#include <QByteArray>
#include <QString>

#include <filesystem>

struct gnutls_session_int;
struct gnutls_certificate_credentials_st;

namespace platform::pantomime {

/// Why @p file, in PEM form, gives no authorities to trust, a sentence in English; empty when it gives some.
[[nodiscard]] QString problemOfAuthorities(const std::filesystem::path &file);

/// What is wrong with the certificate that the server has shown in @p session, a sentence in English; empty
/// when it is to be trusted and @p host's own.
/// @param credentials of the session; the authorities are added to them.
/// @param host the name, or the address in digits, that the user has asked for.
/// @param authorities a file of authorities to trust besides the system's; may be empty.
[[nodiscard]] QString problemOfCertificate(gnutls_session_int *session,
                                           gnutls_certificate_credentials_st *credentials,
                                           const QByteArray &host, const std::filesystem::path &authorities);

} // namespace platform::pantomime
