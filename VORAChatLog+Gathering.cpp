#include "VORAChatLog.h"

#include "platform/addressbook/addressbook.h"
#include "platform/log/nslog.h"

namespace {

/// What each link or file weighs beside its text: about what an entry of a store takes.
constexpr qsizetype entryWeight = 64;
/// What each run weighs that is looked through for them.
constexpr qsizetype runWeight = 4;

qsizetype weightOf(const LinkRecord &record)
{
    qsizetype weight = 0;
    for (const QString &url : record.urls)
        weight += url.size() + entryWeight;
    return weight;
}

qsizetype weightOf(const ImageRecord &record)
{
    qsizetype weight = 0;
    for (const auto &image : record.images)
        weight += (image->preferredFilename() ? image->preferredFilename()->size() : 0) + entryWeight;
    return weight;
}

/// The records that @p record makes of the messages that somebody sent; none when they weigh too much.
/// @param attribute of the text that a record is filled from.
template <class Record>
std::vector<Record> gathered(const VORAChatLog &chatLog, VORAChatLog::Records which, QStringView attribute,
                             Record (VORAInstantMessage::*record)() const)
{
    const platform::ABAddressBook::Reading reading;
    const bool onlyFilled = which == VORAChatLog::Records::Filled;
    std::vector<Record> records;
    qsizetype weight = 0;
    for (const auto &message : chatLog.messages()) {
        if (message->isStatusMessage())
            continue;
        weight += qsizetype(message->string()->runs().size()) * runWeight;
        if (!onlyFilled || message->string()->hasAttribute(attribute)) {
            Record made = (message.get()->*record)();
            const qsizetype ownWeight = weightOf(made);
            weight += ownWeight + (made.speaker ? made.speaker->size() : 0);
            if (!onlyFilled || ownWeight > 0)
                records.push_back(std::move(made));
        }
        if (weight > VORAChatLog::largestGathering) {
            platform::NSLog(QStringLiteral("The chat with %1 is too large for its links and files to be "
                                           "gathered.")
                                .arg(chatLog.primaryOtherParty()));
            return {};
        }
    }
    return records;
}

} // namespace

std::vector<LinkRecord> VORAChatLog::GatheredURLs(Records which) const
{
    auto records = gathered(*this, which, platform::NSLinkAttributeName, &VORAInstantMessage::allURLs);
    m_linkCount = 0;
    for (const LinkRecord &record : records)
        *m_linkCount += qint64(record.urls.size());
    return records;
}

std::vector<ImageRecord> VORAChatLog::GatheredImages(Records which) const
{
    auto records =
        gathered(*this, which, platform::NSAttachmentAttributeName, &VORAInstantMessage::allImages);
    m_fileCount = 0;
    for (const ImageRecord &record : records)
        *m_fileCount += qint64(record.images.size());
    return records;
}

qint64 VORAChatLog::linkCount() const
{
    if (!m_linkCount)
        static_cast<void>(GatheredURLs(Records::Filled));
    return *m_linkCount;
}

qint64 VORAChatLog::fileCount() const
{
    if (!m_fileCount)
        static_cast<void>(GatheredImages(Records::Filled));
    return *m_fileCount;
}

void VORAChatLog::logFilesLeftOut() const
{
    platform::NSLog(
        QStringLiteral(
            "The files of the chat with %1 are more than one chat may write; some have been left out.")
            .arg(m_primaryOtherParty));
}
