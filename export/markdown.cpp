#include "export/document.h"
#include "export/moments.h"
#include "export/names.h"
#include "export/reading.h"

#include <QRegularExpression>

// Chats as Markdown (CommonMark 0.30): a heading for the chat and for each day, a paragraph for each message.
// Whatever means something to Markdown in what people wrote has a backslash in front of it.

namespace exporting {

namespace {

using conversation::Conversation;
using conversation::Message;
using conversation::Stretch;

/// Whether Markdown takes the character at @p position of @p text for a mark, wherever it stands.
bool isMark(const QString &text, qsizetype position)
{
    const QChar character = text[position];
    const QChar next = position + 1 < text.size() ? text[position + 1] : QChar();
    return QStringView(u"\\`*_[]<~$|").contains(character) ||
           (character == u'&' && (next == u'#' || next.isLetter())); // it may begin an entity
}

/// @p text so that Markdown shows it as it is, line breaks included; to stand behind other text on its line.
QString escaped(QStringView given)
{
    const QString text = withoutControls(given);
    QString result;
    bool atLineStart = false; // the first line begins behind a name
    bool inNumber = false;    // at a line's start, as of a list
    for (qsizetype position = 0; position < text.size(); ++position) {
        const QChar character = text[position];
        if (character == u'\n') {
            result += QStringLiteral("\\\n");
            atLineStart = true;
            inNumber = false;
            continue;
        }
        const bool isBlank = character == u' ' || character == u'\t';
        inNumber = (atLineStart || inNumber) && character.isDigit() ? true : inNumber;
        const bool isBlockMark = (atLineStart && QStringView(u"#+-=>:").contains(character)) ||
                                 (inNumber && (character == u'.' || character == u')'));
        if (isMark(text, position) || isBlockMark)
            result += u'\\';
        // Blanks at a line's start are nothing to Markdown.
        if (atLineStart && isBlank)
            result += QChar(QChar::Nbsp);
        else
            result += character;
        atLineStart = atLineStart && isBlank;
        inNumber = inNumber && character.isDigit();
    }
    return result;
}

QString onOneLine(const QString &text)
{
    return escaped(withoutControls(text).simplified());
}

class MarkdownWriter final : public Writer {
public:
    [[nodiscard]] QString suffix() const override { return QStringLiteral(".md"); }
    void begin(Output & /*output*/, const QString & /*title*/) const override {}
    void end(Output & /*output*/) const override {}
    [[nodiscard]] QByteArrayView separator() const override { return "\n"; }

    void add(Output &output, const Chat &chat) const override
    {
        const Conversation &conversation = chat.conversation;
        output << u"# " << onOneLine(titleOf(conversation)) << u"\n";
        if (const QString note = faultsNote(conversation); !note.isEmpty())
            output << u"\n*" << note << u"*\n";
        QString day;
        for (const Message &message : conversation.messages) {
            if (const QString now = dayText(message.milliseconds);
                day.isEmpty() || (message.milliseconds && now != day)) {
                day = now;
                output << u"\n## " << day << u"\n";
            }
            output << u"\n" << lineOf(chat, message) << u"\n";
        }
    }

private:
    static QString lineOf(const Chat &chat, const Message &message)
    {
        const auto *speaker = speakerOf(chat.conversation, message);
        QString line = minuteText(message.milliseconds) + u' ';
        if (speaker)
            line += QStringLiteral("**") + onOneLine(speaker->displayName) + QStringLiteral(":** ");
        QString text = textOf(chat, message);
        while (text.endsWith(QStringLiteral("\\\n")))
            text.chop(2);
        if (message.isNotice() && !speaker && !text.isEmpty())
            text = QStringLiteral("– ") + text;
        line += text;
        if (!message.fault.isEmpty())
            line += QStringLiteral(" *(not read whole: %1)*").arg(onOneLine(message.fault));
        return line;
    }

    static QString textOf(const Chat &chat, const Message &message)
    {
        QString text;
        forEachStretch(chat.conversation, message, [&](const Stretch &stretch, QStringView characters) {
            if (stretch.file) {
                const AttachedFiles::File &file = chat.files[*stretch.file];
                const QString name = onOneLine(file.name);
                if (file.path.isEmpty())
                    text += QStringLiteral("\\[") + name + QStringLiteral("\\]");
                else
                    text += QLatin1String(file.image.isEmpty() ? "[" : "![") + name + QStringLiteral("](") +
                            urlOfPath(file.path) + u')';
                return;
            }
            const QString link = stretch.link ? chat.conversation.links[*stretch.link] : QString();
            if (isSafeLink(link))
                text += u'[' + escaped(characters) + QStringLiteral("](") + destination(link) + u')';
            else
                text += escaped(characters);
        });
        return text;
    }

    /// Characters that would end the destination of a link become those that stand for them in URLs.
    static QString destination(const QString &link)
    {
        QString result;
        for (const QChar character : link) {
            if (QStringView(u"()<>\\\"'`*_[]|&").contains(character))
                result += u'%' + QString::number(character.unicode(), 16).toUpper();
            else
                result += character;
        }
        return result.replace(QStringLiteral("%26"), QStringLiteral("&"))
            .replace(QStringLiteral("%5F"), QStringLiteral("_"));
    }
};

} // namespace

std::unique_ptr<const Writer> markdownWriter()
{
    return std::make_unique<MarkdownWriter>();
}

} // namespace exporting
