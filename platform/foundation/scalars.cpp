#include "platform/foundation/scalars.h"

#include <QUrl>

#include <array>
#include <charconv>

namespace platform {

QString NSNumber::description() const
{
    if (const bool *truth = std::get_if<bool>(&m_value))
        return *truth ? QStringLiteral("1") : QStringLiteral("0");
    if (const qint64 *integer = std::get_if<qint64>(&m_value))
        return QString::number(*integer);
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), std::get<double>(m_value)).ptr;
    return QString::fromLatin1(digits.data(), end - digits.data());
}

QString NSData::description() const
{
    return u'<' + QString::fromLatin1(m_bytes.toHex()) + u'>';
}

NSURL::NSURL(QString string, std::shared_ptr<const NSURL> base)
    : m_string(std::move(string)), m_base(std::move(base)), m_absolute(m_string)
{
    if (!m_base)
        return;
    const QUrl resolved = QUrl(m_base->absoluteString()).resolved(QUrl(m_string));
    if (resolved.isValid())
        m_absolute = resolved.toString(QUrl::FullyEncoded);
}

} // namespace platform
