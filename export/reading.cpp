#include "export/reading.h"

#include <QStringList>

#include <algorithm>

namespace exporting {

using conversation::Conversation;
using conversation::Message;
using conversation::Speaker;
using conversation::Stretch;

QString titleOf(const Conversation &conversation)
{
    QStringList names;
    for (const Speaker &participant : conversation.participants) {
        if (!participant.isUser && !names.contains(participant.displayName))
            names += participant.displayName;
    }
    return names.isEmpty() ? conversation.otherParty : names.join(QStringLiteral(", "));
}

QString faultsNote(const Conversation &conversation)
{
    const auto count = std::count_if(conversation.messages.begin(), conversation.messages.end(),
                                     [](const Message &message) { return !message.fault.isEmpty(); });
    if (count == 0)
        return {};
    return count == 1 ? QStringLiteral("One message could not be read whole.")
                      : QStringLiteral("%1 messages could not be read whole.").arg(count);
}

std::optional<qint64> firstMoment(const Conversation &conversation)
{
    for (const Message &message : conversation.messages) {
        if (message.milliseconds)
            return message.milliseconds;
    }
    return std::nullopt;
}

const Speaker *speakerOf(const Conversation &conversation, const Message &message)
{
    return message.speaker ? &conversation.speakers[*message.speaker] : nullptr;
}

void forEachStretch(const Conversation &conversation, const Message &message,
                    const std::function<void(const Stretch &, QStringView)> &take)
{
    if (!message.text)
        return;
    const conversation::Text &text = conversation.texts[*message.text];
    qsizetype position = 0;
    for (const Stretch &stretch : text.stretches) {
        take(stretch, QStringView(text.characters).sliced(position, stretch.length));
        position += stretch.length;
    }
}

QString withoutControls(QStringView text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype position = 0; position < text.size(); ++position) {
        const QChar character = text[position];
        if (character == u'\r') {
            const bool isPair = position + 1 < text.size() && text[position + 1] == u'\n';
            if (!isPair)
                result += u'\n';
        } else if (character == u'\v' || character == u'\f' || character == QChar(0x85) ||
                   character == QChar::LineSeparator || character == QChar::ParagraphSeparator) {
            result += u'\n';
        } else {
            const bool isControl =
                character.category() == QChar::Other_Control && character != u'\n' && character != u'\t';
            result += isControl ? QChar(QChar::ReplacementCharacter) : character;
        }
    }
    return result;
}

} // namespace exporting
