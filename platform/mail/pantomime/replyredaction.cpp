#include "platform/mail/pantomime/replyredaction.h"

#include "platform/text/encoding.h"

#include <algorithm>

namespace platform::pantomime {

namespace {

constexpr qsizetype shortestPassword = 8;
constexpr qsizetype codeSize = 3;

bool holdsWord(const QString &text, const QString &word)
{
    const auto ends = [&text](qsizetype position) {
        return position < 0 || position >= text.size() || !text.at(position).isLetterOrNumber();
    };
    for (qsizetype at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + 1)) {
        if (ends(at - 1) && ends(at + word.size()))
            return true;
    }
    return false;
}

} // namespace

ReplyRedaction::ReplyRedaction(const QString &password)
{
    if (qsizetype(password.toStdU32String().size()) < shortestPassword)
        return;
    m_forms.push_back(password);
    for (const QByteArray &bytes : {utf8FromString(password), password.toLatin1()})
        m_forms.push_back(QString::fromLatin1(bytes.toBase64(QByteArray::OmitTrailingEquals)));
}

QByteArray ReplyRedaction::redacted(const QByteArray &reply) const
{
    const QByteArray text = reply.sliced(std::min(codeSize, reply.size()));
    for (const QString &decoded : {stringFromUtf8(text), QString::fromLatin1(text)}) {
        if (std::any_of(m_forms.begin(), m_forms.end(),
                        [&decoded](const QString &form) { return holdsWord(decoded, form); }))
            return reply.first(codeSize) + " (withheld: the server repeats the password)";
    }
    return reply;
}

} // namespace platform::pantomime
