#include "export/document.h"
#include "export/moments.h"
#include "export/reading.h"

#include <QStringList>

// Chats as a table (RFC 4180) in UTF-8, a row for each message, described in docs/export.md.

namespace exporting {

namespace {

using conversation::Message;
using conversation::Stretch;

/// A field between quotes. A spreadsheet takes text that begins with one of these characters for a formula,
/// and would work it out; an apostrophe in front keeps it text.
QString field(const QString &text)
{
    QString result = text;
    if (!result.isEmpty() && QStringView(u"=+-@\t\r").contains(result.front()))
        result.prepend(u'\'');
    return u'"' + result.replace(u'"', QStringLiteral("\"\"")) + u'"';
}

class CsvWriter final : public Writer {
public:
    [[nodiscard]] QString suffix() const override { return QStringLiteral(".csv"); }
    void begin(Output &output, const QString & /*title*/) const override
    {
        output << u"transcript,chat,message,time,local_time,service,screen_name,name,is_user,kind,text,links,"
                  u"files,fault\r\n";
    }
    void end(Output & /*output*/) const override {}

    void add(Output &output, const Chat &chat) const override
    {
        const QString before = field(chat.transcript) + u',' + field(chat.conversation.otherParty) + u',';
        qint64 number = 0;
        for (const Message &message : chat.conversation.messages)
            addMessage(output << before, chat, message, number++);
    }

private:
    static void addMessage(Output &output, const Chat &chat, const Message &message, qint64 number)
    {
        QString text;
        QStringList links;
        QStringList files;
        forEachStretch(chat.conversation, message, [&](const Stretch &stretch, QStringView characters) {
            text += characters;
            if (stretch.link)
                links += chat.conversation.links[*stretch.link];
            if (stretch.file) {
                const AttachedFiles::File &file = chat.files[*stretch.file];
                files += file.path.isEmpty() ? file.name : file.path;
            }
        });
        links.removeDuplicates();
        files.removeDuplicates();
        const auto *speaker = speakerOf(chat.conversation, message);
        QStringList fields{QString::number(number), {}, {}, {}, {}, {}, {}};
        if (message.milliseconds) {
            fields[1] = utcText(*message.milliseconds);
            fields[2] = isoText(*message.milliseconds);
        }
        if (speaker) {
            fields[3] = field(speaker->service.value_or(QString()));
            fields[4] = field(speaker->screenName.value_or(QString()));
            fields[5] = field(speaker->displayName);
            fields[6] = speaker->isUser ? QStringLiteral("true") : QStringLiteral("false");
        }
        fields += message.isNotice() ? QStringLiteral("notice") : QStringLiteral("message");
        fields += field(text);
        fields += field(links.join(u'\n'));
        fields += field(files.join(u'\n'));
        fields += field(message.fault);
        output << fields.join(u',') << u"\r\n";
    }
};

} // namespace

std::unique_ptr<const Writer> csvWriter()
{
    return std::make_unique<CsvWriter>();
}

} // namespace exporting
