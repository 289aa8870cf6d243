#include "importing/copyledger.h"

#include "importing/failure.h"

#include "galleries/supportfolder.h"

#include "platform/files/descriptor.h"
#include "platform/files/files.h"
#include "platform/files/systemcalls.h"

#include <QList>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace importing {

namespace {

QByteArray encoded(const std::filesystem::path &path)
{
    return QByteArray::fromStdString(path.native()).toPercentEncoding("/");
}

QByteArray line(const LedgerEntry &entry)
{
    return entry.digest.toHex() + ' ' + QByteArray::number(qint64(entry.date.tv_sec)) + '.' +
           QByteArray::number(qint64(entry.date.tv_nsec)).rightJustified(9, '0') + ' ' +
           encoded(entry.place) + ' ' + encoded(entry.source) + '\n';
}

} // namespace

CopyLedger::CopyLedger(std::filesystem::path file) : m_file(std::move(file))
{
    const auto contents = platform::readWholeFile(m_file);
    if (!contents && contents.error().kind != platform::FailureKind::Missing)
        throw Failure(m_file.native() + " cannot be read: " + contents.error().reason);
    const QByteArray bytes = contents.value_or(QByteArray());
    m_endsWithLine = bytes.isEmpty() || bytes.endsWith('\n');
    QList<QByteArray> lines = bytes.split('\n');
    lines.removeLast(); // what stands behind the last line's end
    for (const QByteArray &entry : lines) {
        const QList<QByteArray> fields = entry.split(' ');
        if (fields.size() == 4)
            m_digests[QByteArray::fromPercentEncoding(fields.at(2)).toStdString()].insert(
                QByteArray::fromHex(fields.at(0)));
    }
}

std::filesystem::path CopyLedger::defaultFile()
{
    return galleries::supportFolder() / "copies.ledger";
}

bool CopyLedger::hasCopy(const std::filesystem::path &place, const QByteArray &digest) const
{
    const auto digests = m_digests.find(place.native());
    return digests != m_digests.end() && digests->second.contains(digest);
}

void CopyLedger::append(std::span<const LedgerEntry> entries)
{
    QByteArray lines(m_endsWithLine ? 0 : 1, '\n');
    for (const LedgerEntry &entry : entries)
        lines += line(entry);
    constexpr mode_t permissions = 0666;
    platform::Descriptor file(::open(m_file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, permissions));
    if (!file || !platform::writeAll(file.number(), lines) || ::fdatasync(file.number()) != 0 ||
        !file.close())
        throw Failure(m_file.native() + " cannot be written: " + platform::reasonOf(errno));
    m_endsWithLine = true;
    for (const LedgerEntry &entry : entries)
        m_digests[entry.place.native()].insert(entry.digest);
}

} // namespace importing
