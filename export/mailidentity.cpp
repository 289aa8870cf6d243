#include "export/mailidentity.h"

#include "platform/text/encoding.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QIODevice>

#include <algorithm>
#include <limits>

namespace exporting {

namespace {

using conversation::Conversation;
using conversation::Message;
using conversation::Speaker;

/// Services and screen names do not change; names in the address book do.
QByteArray bytesOf(const Speaker &speaker)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << speaker.service.value_or(QString()) << speaker.screenName.value_or(QString());
    return bytes;
}

QByteArray bytesOf(const Conversation &conversation, const Message &message)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << message.milliseconds.value_or(0);
    if (message.speaker)
        stream << bytesOf(conversation.speakers[*message.speaker]);
    if (message.text)
        stream << conversation.texts[*message.text].characters;
    return bytes;
}

QByteArray participantsOf(const Conversation &conversation)
{
    std::vector<QByteArray> participants;
    for (const Speaker &participant : conversation.participants)
        participants.push_back(bytesOf(participant));
    std::sort(participants.begin(), participants.end());
    QByteArray bytes;
    for (const QByteArray &participant : participants)
        bytes += participant;
    return bytes;
}

QByteArray digitsOf(const QCryptographicHash &hash)
{
    constexpr qsizetype digits = 32;
    return hash.result().toHex().first(digits);
}

} // namespace

QByteArray mailIdentity(const Conversation &conversation)
{
    // The earliest by its time, which the index knows of each chat: only chats of which that is the same can
    // share an identity.
    const auto key = [](const Message &message) {
        return std::pair(message.isNotice(),
                         message.milliseconds.value_or(std::numeric_limits<qint64>::max()));
    };
    const auto &messages = conversation.messages;
    const auto earliest =
        std::min_element(messages.begin(), messages.end(),
                         [&](const Message &a, const Message &b) { return key(a) < key(b); });
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(participantsOf(conversation));
    if (earliest != messages.end())
        hash.addData(bytesOf(conversation, *earliest));
    return digitsOf(hash);
}

QByteArray wholeMailIdentity(const Conversation &conversation)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData("whole"); // another identity than the one above, also where there is one message
    hash.addData(participantsOf(conversation));
    for (const Message &message : conversation.messages)
        hash.addData(bytesOf(conversation, message));
    return digitsOf(hash);
}

} // namespace exporting
