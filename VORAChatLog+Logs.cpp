#include "VORAChatLog.h"

namespace {

/// The records that @p record makes of the messages that somebody sent.
template <class Record>
std::vector<Record> gathered(const VORAChatLog::Messages &messages,
                             Record (VORAInstantMessage::*record)() const)
{
    std::vector<Record> records;
    for (const auto &message : messages) {
        if (!message->isStatusMessage())
            records.push_back((message.get()->*record)());
    }
    return records;
}

} // namespace

std::vector<LinkRecord> VORAChatLog::GatheredURLs() const
{
    return gathered(m_messages, &VORAInstantMessage::allURLs);
}

std::vector<ImageRecord> VORAChatLog::GatheredImages() const
{
    return gathered(m_messages, &VORAInstantMessage::allImages);
}
