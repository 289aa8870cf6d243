#include "VORAInstantMessage.h"

#include "platform/foundation/scalars.h"

using platform::NSAttributedString;

namespace {

/// Calls @p take with the values of one attribute along @p text, each once per stretch of the very same
/// object: text without the attribute in between does not end a stretch. Ends when it returns false.
template <class Take>
void walkValues(const NSAttributedString &text, QStringView attributeName, Take take)
{
    platform::ObjectRef last;
    for (const NSAttributedString::Run &run : text.runs()) {
        const platform::ObjectRef value =
            run.attributes ? run.attributes->objectForKey(attributeName) : nullptr;
        if (!value || value == last)
            continue;
        if (!take(*value))
            return;
        last = value;
    }
}

} // namespace

bool VORAInstantMessage::startRecord(MessageRecord &record) const
{
    if (isStatusMessage())
        return false;
    record.speaker = Speaker();
    if (record.speaker)
        record.time = TimeStamp();
    return record.time.has_value();
}

LinkRecord VORAInstantMessage::allURLs() const
{
    LinkRecord record;
    if (!startRecord(record))
        return record;
    qsizetype size = 0;
    walkValues(*m_string, platform::NSLinkAttributeName, [&](const platform::NSObject &value) {
        if (const auto *string = dynamic_cast<const platform::NSString *>(&value))
            record.urls.push_back(string->string());
        else if (const auto *url = dynamic_cast<const platform::NSURL *>(&value))
            record.urls.push_back(url->absoluteString());
        else
            return true;
        size += record.urls.back().size();
        return size <= largestGathering;
    });
    return record;
}

ImageRecord VORAInstantMessage::allImages() const
{
    ImageRecord record;
    if (!startRecord(record))
        return record;
    walkValues(*m_string, platform::NSAttachmentAttributeName, [&record](const platform::NSObject &value) {
        const auto *attachment = dynamic_cast<const platform::NSTextAttachment *>(&value);
        if (attachment && attachment->fileWrapper())
            record.images.push_back(attachment->fileWrapper());
        return true;
    });
    return record;
}
