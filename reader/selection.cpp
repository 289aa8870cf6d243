#include "reader/selection.h"

#include "reader/names.h"
#include "reader/times.h"

#include <QCoreApplication>

namespace reader {

using conversation::Conversation;
using conversation::Message;
using conversation::Text;

Selection::Range Selection::in(size_t message, qsizetype length) const
{
    const TextPosition from = first();
    const TextPosition to = last();
    if (message < from.message || message > to.message)
        return {};
    return {message == from.message ? from.character : 0, message == to.message ? to.character : length};
}

qsizetype textLength(const Conversation &chat, size_t message)
{
    const Message &said = chat.messages[message];
    return said.text ? chat.texts[*said.text].characters.size() : 0;
}

QString plainText(const Conversation &chat, const Text &text, qsizetype first, qsizetype last)
{
    QString result;
    qsizetype start = 0;
    for (const conversation::Stretch &stretch : text.stretches) {
        const qsizetype from = std::max(start, first);
        const qsizetype to = std::min(start + stretch.length, last);
        start += stretch.length;
        if (from >= to)
            continue;
        if (!stretch.file) {
            result += QStringView(text.characters).sliced(from, to - from);
            continue;
        }
        const auto &file = chat.files[*stretch.file];
        result += u'[' +
                  (file ? harmless(file->preferredFilename().value_or(
                              QCoreApplication::translate("reader", "file without a name")))
                        : QCoreApplication::translate("reader", "missing file")) +
                  u']';
    }
    return result;
}

std::optional<QString> copied(const Conversation &chat, const Selection &selection, qsizetype longest)
{
    const TextPosition from = selection.first();
    const TextPosition to = selection.last();
    const bool isOne = from.message == to.message;
    QString result;
    QDate day;
    for (size_t number = from.message; number <= to.message && number < chat.messages.size(); ++number) {
        const Message &message = chat.messages[number];
        const Selection::Range range = selection.in(number, textLength(chat, number));
        if (!isOne) {
            if (message.milliseconds && dateOf(*message.milliseconds) != day) {
                day = dateOf(*message.milliseconds);
                result += (result.isEmpty() ? QString() : QStringLiteral("\n")) + longDate(day) + u'\n';
            }
            if (message.milliseconds)
                result += shortTime(*message.milliseconds) + u' ';
            if (message.speaker)
                result += harmless(chat.speakers[*message.speaker].displayName) + QStringLiteral(": ");
        }
        if (message.text)
            result += plainText(chat, chat.texts[*message.text], range.first, range.last);
        if (!isOne && !message.fault.isEmpty())
            result +=
                QStringLiteral(" [") +
                QCoreApplication::translate("reader", "could not be read whole: %1").arg(message.fault) +
                u']';
        if (!isOne)
            result += u'\n';
        if (result.size() > longest)
            return std::nullopt;
    }
    return result;
}

} // namespace reader
