#include "platform/text/filetext.h"

#include "platform/text/encoding.h"

#include <QString>
#include <QtEndian>

namespace platform {

FileText::FileText(QByteArray bytes)
    : m_bytes(std::move(bytes)), m_encoding(byteOrderMark(m_bytes).value_or(ByteOrderMark()).encoding)
{
}

void FileText::append(QStringView text)
{
    m_bytes.chop(m_bytes.size() % unitSize());
    m_bytes += encoded(text);
}

bool FileText::replace(QByteArrayView asciiToken, QStringView text, qsizetype largest)
{
    const QByteArray token = encoded(QString::fromLatin1(asciiToken));
    if (token.isEmpty())
        return true;
    qsizetype occurrences = 0;
    for (qsizetype at = find(token, 0); at >= 0; at = find(token, at + token.size()))
        ++occurrences;
    if (occurrences == 0)
        return true;

    const QByteArray insertion = encoded(text);
    const qsizetype kept = m_bytes.size() - occurrences * token.size();
    if (kept > largest || insertion.size() > (largest - kept) / occurrences)
        return false;
    QByteArray result;
    result.reserve(kept + occurrences * insertion.size());
    qsizetype from = 0;
    for (qsizetype at = find(token, 0); at >= 0; at = find(token, from)) {
        result += QByteArrayView(m_bytes).sliced(from, at - from);
        result += insertion;
        from = at + token.size();
    }
    result += QByteArrayView(m_bytes).sliced(from);
    m_bytes = std::move(result);
    return true;
}

QByteArray FileText::encoded(QStringView text) const
{
    if (m_encoding == UnicodeEncoding::Utf8)
        return utf8FromString(text);
    QByteArray bytes(text.size() * qsizetype(sizeof(char16_t)), Qt::Uninitialized);
    if (m_encoding == UnicodeEncoding::Utf16BigEndian)
        qToBigEndian<quint16>(text.utf16(), text.size(), bytes.data());
    else
        qToLittleEndian<quint16>(text.utf16(), text.size(), bytes.data());
    return bytes;
}

qsizetype FileText::find(QByteArrayView token, qsizetype from) const
{
    qsizetype at = m_bytes.indexOf(token, from);
    while (at >= 0 && at % unitSize() != 0) // across two units
        at = m_bytes.indexOf(token, at + 1);
    return at;
}

} // namespace platform
