#include "VORAInstantMessage.h"

#include <QStringBuilder>

using platform::NSAttributedString;
using platform::NSCoder;
using platform::NSDate;

VORAInstantMessage::VORAInstantMessage(std::shared_ptr<const VORAPresentity> speaker,
                                       std::shared_ptr<const NSAttributedString> string,
                                       std::optional<NSDate> timestamp, qint32 flags)
    : m_speaker(std::move(speaker)), m_string(std::move(string)), m_timestamp(std::move(timestamp)),
      m_mystery(flags)
{
}

std::shared_ptr<const VORAInstantMessage> VORAInstantMessage::initWithCoder(NSCoder &coder)
{
    std::shared_ptr<const VORAPresentity> speaker;
    std::shared_ptr<const NSDate> time;
    std::shared_ptr<const NSAttributedString> string;
    qint32 flags = 0;
    if (coder.allowsKeyedCoding()) {
        speaker = coder.decodeForKey<VORAPresentity>("Sender");
        time = coder.decodeForKey<NSDate>("Time");
        string = coder.decodeForKey<NSAttributedString>("MessageText");
        flags = coder.decodeInt32ForKey("Flags");
    } else {
        speaker = coder.decode<VORAPresentity>();
        time = coder.decode<NSDate>();
        string = coder.decode<NSAttributedString>();
        quint32 word = 0;
        coder.decodeValueOfObjCType('I', word);
        flags = qint32(word);
    }
    return std::make_shared<VORAInstantMessage>(std::move(speaker), std::move(string),
                                                time ? std::optional(*time) : std::nullopt, flags);
}

std::optional<QString> VORAInstantMessage::Speaker() const
{
    return m_speaker ? m_speaker->Name() : std::nullopt;
}

std::optional<QString> VORAInstantMessage::rawSpeaker() const
{
    return m_speaker ? m_speaker->rawName() : std::nullopt;
}

bool VORAInstantMessage::isStatusMessage() const
{
    return !m_speaker || !m_string || m_string->length() == 0;
}

QString VORAInstantMessage::PlainString() const
{
    if (!m_string)
        return {};
    return Speaker().value_or(QString()) % QStringView(u": ") % m_string->string() % u'\n';
}

NSAttributedString VORAInstantMessage::LoggedString() const
{
    NSAttributedString line = m_speaker ? m_speaker->RichName() : NSAttributedString();
    line.append(u": ", nullptr);
    if (m_string)
        line.append(*m_string);
    line.append(u"\n\n", nullptr);
    return line;
}
