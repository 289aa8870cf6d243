#include "export/document.h"
#include "export/moments.h"
#include "export/reading.h"

// Chats as plain text in UTF-8:
//
//     Kim Lee
//     =======
//
//     Saturday, 20 August 2005
//
//     21:07  Kim Lee: hello
//     21:08  * Kim Lee has left the chat.
//     21:09  Sam: a message
//              of two lines
//     21:10  Kim Lee: [picture.png: Kim Lee on 2005-08-20 at 21.07 files/picture.png]
//
// Further lines of a message are indented, so that no message looks like another one's beginning.

namespace exporting {

namespace {

using conversation::Conversation;
using conversation::Message;
using conversation::Stretch;

class TextWriter final : public Writer {
public:
    [[nodiscard]] QString suffix() const override { return QStringLiteral(".txt"); }
    void begin(Output & /*output*/, const QString & /*title*/) const override {}
    void end(Output & /*output*/) const override {}
    [[nodiscard]] QByteArrayView separator() const override { return "\n\n"; }

    void add(Output &output, const Chat &chat) const override
    {
        const Conversation &conversation = chat.conversation;
        const QString title = withoutControls(titleOf(conversation)).simplified();
        output << title << u"\n" << QString(std::max<qsizetype>(title.size(), 1), u'=') << u"\n";
        if (const QString note = faultsNote(conversation); !note.isEmpty())
            output << u"\n" << note << u"\n";
        QString day;
        for (const Message &message : conversation.messages) {
            if (const QString now = dayText(message.milliseconds);
                day.isEmpty() || (message.milliseconds && now != day)) {
                day = now;
                output << u"\n" << day << u"\n\n";
            }
            addMessage(output, chat, message);
        }
    }

private:
    static void addMessage(Output &output, const Chat &chat, const Message &message)
    {
        const auto *speaker = speakerOf(chat.conversation, message);
        QString line;
        if (message.isNotice())
            line = QStringLiteral("* ");
        if (speaker)
            line += speaker->displayName.simplified() + QStringLiteral(": ");
        line += textOf(chat, message);
        if (!message.fault.isEmpty())
            line += QStringLiteral(" [not read whole: %1]").arg(message.fault);
        line = withoutControls(line);
        while (line.endsWith(u'\n'))
            line.chop(1);
        line.replace(u'\n', QStringLiteral("\n         "));
        output << minuteText(message.milliseconds) << u"  " << line << u"\n";
    }

    static QString textOf(const Chat &chat, const Message &message)
    {
        QString text;
        forEachStretch(chat.conversation, message, [&](const Stretch &stretch, QStringView characters) {
            if (stretch.file) {
                const AttachedFiles::File &file = chat.files[*stretch.file];
                text += u'[' + file.name +
                        (file.path.isEmpty() ? QString() : QStringLiteral(": ") + file.path) + u']';
                return;
            }
            text += characters;
            if (stretch.link) {
                const QString &link = chat.conversation.links[*stretch.link];
                if (!isSame(link, characters))
                    text += QStringLiteral(" <") + link + u'>';
            }
        });
        return text;
    }

    /// Whether the text of a link says where it leads.
    static bool isSame(QStringView link, QStringView characters)
    {
        const auto bare = [](QStringView text) {
            text = text.trimmed();
            const qsizetype scheme = text.indexOf(u"://");
            text = text.sliced(scheme < 0 ? (text.startsWith(u"mailto:") ? 7 : 0) : scheme + 3);
            return text.endsWith(u'/') ? text.chopped(1) : text;
        };
        return bare(link) == bare(characters);
    }
};

} // namespace

std::unique_ptr<const Writer> textWriter()
{
    return std::make_unique<TextWriter>();
}

} // namespace exporting
