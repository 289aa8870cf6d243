#include "VORAInstantMessage.h"

#include <QStringBuilder>

using platform::LayoutError;
using platform::NSAttributedString;
using platform::NSCoder;
using platform::NSDate;
using platform::ObjectRef;

VORAInstantMessage::VORAInstantMessage(std::shared_ptr<const VORAPresentity> speaker,
                                       std::shared_ptr<const NSAttributedString> string,
                                       std::optional<NSDate> timestamp, qint32 flags)
    : m_speaker(std::move(speaker)), m_string(std::move(string)), m_timestamp(std::move(timestamp)),
      m_mystery(flags)
{
}

std::shared_ptr<const VORAInstantMessage> VORAInstantMessage::initWithCoder(NSCoder &coder)
{
    const auto message =
        std::make_shared<VORAInstantMessage>(nullptr, nullptr, std::nullopt); // filled as far as it goes
    try {
        if (coder.allowsKeyedCoding()) {
            message->takeSender(coder.decodeObjectForKey("Sender"), coder);
            message->takeTime(coder.decodeObjectForKey("Time"), coder);
            message->takeText(coder.decodeObjectForKey("MessageText"), coder);
            message->m_mystery = coder.decodeInt32ForKey("Flags");
        } else {
            message->takeSender(coder.decodeObject(), coder);
            message->takeTime(coder.decodeObject(), coder);
            message->takeText(coder.decodeObject(), coder);
            quint32 word = 0;
            coder.decodeValueOfObjCType('I', word);
            message->m_mystery = qint32(word);
        }
    } catch (const LayoutError &error) {
        message->note(error.fault());
    }
    return message;
}

void VORAInstantMessage::takeSender(const ObjectRef &object, const NSCoder &coder)
{
    m_speaker = std::dynamic_pointer_cast<const VORAPresentity>(object);
    if (!m_speaker)
        noteUnlessNil(object, coder, "a sender that is no presentity");
}

void VORAInstantMessage::takeTime(const ObjectRef &object, const NSCoder &coder)
{
    if (const auto *time = dynamic_cast<const NSDate *>(object.get()))
        m_timestamp = *time;
    else
        noteUnlessNil(object, coder, "a time that is no date");
}

void VORAInstantMessage::takeText(const ObjectRef &object, NSCoder &coder)
{
    m_string = std::dynamic_pointer_cast<const NSAttributedString>(object);
    if (m_string)
        return;
    if (const auto *plain = dynamic_cast<const platform::NSString *>(object.get())) {
        coder.charge(1, sizeof(NSAttributedString) + 2 * sizeof(NSAttributedString::Run));
        m_string = std::make_shared<NSAttributedString>(plain->string());
    } else {
        noteUnlessNil(object, coder, "a text that is no string");
    }
}

void VORAInstantMessage::noteUnlessNil(const ObjectRef &object, const NSCoder &coder, const char *reason)
{
    if (const auto *unreadable = dynamic_cast<const platform::UnreadableObject *>(object.get()))
        note(unreadable->fault());
    else if (object)
        note({coder.offset(), reason});
}

void VORAInstantMessage::note(const platform::LayoutFault &fault)
{
    if (!m_fault)
        m_fault = fault;
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
