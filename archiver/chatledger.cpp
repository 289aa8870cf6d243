#include "archiver/chatledger.h"

#include "galleries/supportfolder.h"

#include "platform/files/files.h"

#include <QByteArrayList>
#include <QCryptographicHash>

#include <algorithm>
#include <new>

namespace {

constexpr auto algorithm = QCryptographicHash::Blake2b_256; // three times as fast as SHA-256 here

QByteArray hexDigest(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, algorithm).toHex();
}

/// One digest of all three stores.
QByteArray storesDigest()
{
    QByteArray digests;
    for (const auto &store :
         {galleries::linkStorePath(), galleries::imageStorePath(), galleries::statisticsStorePath()}) {
        const auto file = platform::readWholeFile(store);
        digests += (file ? hexDigest(*file) : QByteArray()) + '\n';
    }
    return hexDigest(digests);
}

} // namespace

std::filesystem::path ChatLedger::path()
{
    return galleries::supportFolder() / "chats.ledger";
}

ChatLedger ChatLedger::load()
{
    ChatLedger ledger;
    const auto file = platform::readWholeFile(path());
    if (!file)
        return ledger;
    QByteArrayList lines = file->split('\n');
    if (lines.takeFirst() != storesDigest())
        return ledger;
    const qsizetype length = 2 * QCryptographicHash::hashLength(algorithm);
    for (const QByteArray &line : std::as_const(lines)) {
        if (line.size() == length)
            ledger.add(line);
    }
    return ledger;
}

void ChatLedger::save() const
{
    QByteArrayList lines(m_digests.cbegin(), m_digests.cend());
    std::sort(lines.begin(), lines.end());
    lines.prepend(storesDigest());
    static_cast<void>(platform::writeAtomically(path(), lines.join('\n') + '\n',
                                                {.durability = platform::Durability::Unsynced}));
}

bool ChatLedger::holdsFile(const std::filesystem::path &path) const
{
    try {
        const auto file = platform::readWholeFile(path);
        return file && holds(digestOf(*file));
    } catch (const std::bad_alloc &) {
        return false;
    }
}

QByteArray ChatLedger::digestOf(const QByteArray &transcript)
{
    return hexDigest(transcript);
}
