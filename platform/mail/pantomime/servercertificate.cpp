#include "platform/mail/pantomime/servercertificate.h"

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

namespace platform::pantomime {

namespace {

QString sentenceFor(const QString &problem, int error)
{
    return problem + QStringLiteral(": ") + QString::fromUtf8(gnutls_strerror(error));
}

QString addAuthorities(gnutls_certificate_credentials_t credentials, const std::filesystem::path &file)
{
    const int added = gnutls_certificate_set_x509_trust_file(credentials, file.c_str(), GNUTLS_X509_FMT_PEM);
    if (added < 0)
        return sentenceFor(QStringLiteral("The file of authorities to trust cannot be used"), added);
    return added == 0 ? QStringLiteral("The file of authorities to trust holds none.") : QString();
}

} // namespace

QString problemOfAuthorities(const std::filesystem::path &file)
{
    gnutls_certificate_credentials_t credentials = nullptr;
    const int error = gnutls_certificate_allocate_credentials(&credentials);
    if (error != GNUTLS_E_SUCCESS)
        return sentenceFor(QStringLiteral("The file of authorities to trust cannot be used"), error);
    QString problem = addAuthorities(credentials, file);
    gnutls_certificate_free_credentials(credentials);
    return problem;
}

QString problemOfCertificate(gnutls_session_int *session, gnutls_certificate_credentials_st *credentials,
                             const QByteArray &host, const std::filesystem::path &authorities)
{
    gnutls_certificate_set_x509_system_trust(credentials);
    if (!authorities.empty()) {
        if (QString problem = addAuthorities(credentials, authorities); !problem.isEmpty())
            return problem;
    }
    unsigned status = 0;
    const int error = gnutls_certificate_verify_peers3(session, host.constData(), &status);
    if (error != GNUTLS_E_SUCCESS)
        return sentenceFor(QStringLiteral("The server's certificate could not be checked"), error);
    if (status == 0)
        return {};
    gnutls_datum_t text{};
    if (gnutls_certificate_verification_status_print(status, GNUTLS_CRT_X509, &text, 0) != GNUTLS_E_SUCCESS)
        return QStringLiteral("The server's certificate is not to be trusted.");
    QString reason = QString::fromUtf8(reinterpret_cast<const char *>(text.data), qsizetype(text.size));
    gnutls_free(text.data);
    return reason.remove(QChar::Null).trimmed();
}

} // namespace platform::pantomime
