#include "export/document.h"
#include "export/htmlmarkup.h"
#include "export/moments.h"
#include "export/names.h"
#include "export/reading.h"

#include "conversation/palette.h"

#include <QLocale>

#include <set>

// Chats as HTML pages that need nothing else: the style sheet is the same for all of them, so that the
// content policy can name it by its hash. How texts were written stands in <font> elements, whose attributes
// no policy has to allow; a check box on the page brings it out, without a script.

namespace exporting {

namespace {

using conversation::Conversation;
using conversation::Message;
using conversation::Stretch;
using conversation::Style;

QByteArray colorRules()
{
    QByteArray light;
    QByteArray dark;
    constexpr int hexadecimal = 16;
    constexpr int digits = 6;
    int number = 0;
    for (const conversation::SpeakerColor &color : conversation::speakerColors) {
        const auto rule = [&](quint32 value) {
            return ".p" + QByteArray::number(number) + " { color: #" +
                   QByteArray::number(value, hexadecimal).rightJustified(digits, '0') + " }\n";
        };
        light += rule(color.onLight);
        dark += rule(color.onDark);
        ++number;
    }
    return light + "@media screen and (prefers-color-scheme: dark) {\n" + dark + "}\n";
}

const QByteArray &styleSheet()
{
    static const QByteArray sheet = pageResource("page.css") + pageResource("chat.css") + colorRules();
    return sheet;
}

/// The size of a `<font>`, 1 to 7, that comes nearest to @p points; 3 is that of a page's text.
int fontSize(double points)
{
    if (points <= 0)
        return 3;
    static constexpr std::array<double, 6> limits{9, 10, 13, 16, 20, 28};
    int size = 1;
    for (const double limit : limits)
        size += points > limit ? 1 : 0;
    return size;
}

/// The beginning of the element that shows @p style; empty when it shows nothing.
QByteArray openingOf(const Style &style)
{
    Output attributes(Output::limitFor(0));
    if (style.bold || style.italic)
        attributes << " class=\"" << (style.bold ? "b" : "") << (style.bold && style.italic ? " " : "")
                   << (style.italic ? "i" : "") << "\"";
    if (style.color) {
        attributes << " color=\"#";
        for (const quint8 part : *style.color)
            attributes << QByteArray::number(part, 16).rightJustified(2, '0');
        attributes << "\"";
    }
    if (!style.fontFamily.isEmpty()) {
        attributes << " face=\"";
        addEscaped(attributes, style.fontFamily);
        attributes << "\"";
    }
    if (const int size = fontSize(style.pointSize); size != fontSize(0))
        attributes << " size=\"" << QByteArray::number(size) << "\"";
    return attributes.bytes().isEmpty() ? QByteArray() : "<font" + attributes.bytes() + '>';
}

/// Writes the messages of one chat.
class Page {
public:
    Page(Output &output, const Chat &chat) : m_output(output), m_chat(chat), m_conversation(chat.conversation)
    {
        for (const Style &style : m_conversation.styles)
            m_openings.push_back(openingOf(style));
        for (size_t speaker = 0; speaker < m_conversation.speakers.size(); ++speaker)
            m_colors.push_back(QByteArray::number(qulonglong(speakerColor(m_conversation, speaker))));
    }

    void add(const Message &message)
    {
        const bool isNewDay = addDay(message);
        const bool isNotice = message.isNotice();
        const bool isSameSpeaker =
            !isNewDay && m_previous && !m_previous->isNotice() && m_previous->speaker == message.speaker;
        if (isNotice) {
            m_output << "<div class=\"n\">";
        } else {
            const conversation::Speaker &speaker = m_conversation.speakers[*message.speaker];
            m_output << (speaker.isUser ? "<div class=\"m u\">" : "<div class=\"m\">");
            if (!isSameSpeaker) {
                m_output << "<b class=\"p" << m_colors[*message.speaker] << "\"><bdi>";
                addEscaped(m_output, speaker.displayName);
                m_output << "</bdi></b>";
            }
        }
        if (message.text) {
            m_output << "<div class=\"t\" dir=\"auto\">";
            addText(message);
            m_output << "</div>";
        }
        if (!message.fault.isEmpty()) {
            m_output << "<div class=\"e\">This message could not be read whole: ";
            addEscaped(m_output, message.fault);
            m_output << ".</div>";
        }
        if (message.milliseconds)
            m_output << "<time datetime=\"" << isoText(*message.milliseconds) << "\" title=\""
                     << exactText(*message.milliseconds) << "\">" << minuteText(message.milliseconds)
                     << "</time>";
        m_output << "</div>\n";
        m_previous = &message;
    }

private:
    /// @return whether a heading was written.
    bool addDay(const Message &message)
    {
        const QString day = dayText(message.milliseconds);
        if (!m_day.isEmpty() && (!message.milliseconds || day == m_day))
            return false;
        m_day = day;
        m_output << "<h2>" << day << "</h2>\n";
        return true;
    }

    void addText(const Message &message)
    {
        forEachStretch(m_conversation, message, [this](const Stretch &stretch, QStringView characters) {
            if (stretch.file) {
                addFile(*stretch.file);
                return;
            }
            const QByteArray &opening = m_openings[stretch.style];
            const QString link = stretch.link ? m_conversation.links[*stretch.link] : QString();
            const bool isLink = isSafeLink(link);
            if (isLink) {
                m_output << "<a rel=\"noopener noreferrer\" href=\"";
                addEscaped(m_output, link);
                m_output << "\">";
            }
            m_output << opening;
            addEscaped(m_output, characters);
            m_output << (opening.isEmpty() ? "" : "</font>") << (isLink ? "</a>" : "");
        });
    }

    void addFile(quint32 position)
    {
        const AttachedFiles::File &file = m_chat.files[position];
        const bool isRepeated = !m_embedded.insert(position).second;
        const bool isEmbedded = file.isInside && !isRepeated;
        const bool hasPicture = !file.image.isEmpty() && (isEmbedded || !file.path.isEmpty());
        if (!file.path.isEmpty())
            m_output << (hasPicture ? "<a href=\"" : "<a class=\"f\" href=\"") << urlOfPath(file.path)
                     << "\">";
        else if (isEmbedded && !hasPicture) {
            m_output << "<a class=\"f\" download=\"" << urlOfPath(attachmentName(file.name))
                     << "\" href=\"data:application/octet-stream;base64,"
                     << file.wrapper->regularFileContents().toBase64() << "\">";
        } else if (!hasPicture)
            m_output << "<span class=\"f\">";
        if (hasPicture) {
            m_output << "<img loading=\"lazy\" alt=\"";
            addEscaped(m_output, file.name);
            m_output << "\" src=\"";
            if (isEmbedded)
                m_output << "data:" << file.image << ";base64,"
                         << file.wrapper->regularFileContents().toBase64();
            else
                m_output << urlOfPath(file.path);
            m_output << "\">";
        } else {
            addCard(file, file.isInside && isRepeated);
        }
        if (!file.path.isEmpty() || (isEmbedded && !hasPicture))
            m_output << "</a>";
        else if (!hasPicture)
            m_output << "</span>";
    }

    void addCard(const AttachedFiles::File &file, bool isAbove)
    {
        m_output << "<bdi>";
        addEscaped(m_output, file.name);
        m_output << "</bdi> <small>";
        if (!file.wrapper)
            m_output << "not in the transcript";
        else if (isAbove)
            m_output << "shown above";
        else
            m_output << QLocale::c().formattedDataSize(file.wrapper->totalSize(), 1,
                                                       QLocale::DataSizeSIFormat);
        m_output << "</small>";
    }

    Output &m_output;
    const Chat &m_chat;
    const Conversation &m_conversation;
    std::vector<QByteArray> m_openings; // of each style
    std::vector<QByteArray> m_colors;   // of each speaker, the number
    std::set<quint32> m_embedded;       // files that have been shown
    const Message *m_previous = nullptr;
    QString m_day;
};

class HtmlWriter final : public Writer {
public:
    explicit HtmlWriter(const Options &options) : m_mayHaveFiles(options.attachments == Attachments::Beside)
    {
    }

    [[nodiscard]] QString suffix() const override { return QStringLiteral(".html"); }

    void begin(Output &output, const QString &title) const override
    {
        addPageHead(output, title, styleSheet(), {}, m_mayHaveFiles);
        output << "<input type=\"checkbox\" id=\"styled\"><label for=\"styled\">Fonts and colours as "
                  "written</label>\n<main>\n";
    }
    void add(Output &output, const Chat &chat) const override
    {
        output << "<article>\n<h1><bdi>";
        addEscaped(output, titleOf(chat.conversation));
        output << "</bdi></h1>\n";
        if (const QString note = faultsNote(chat.conversation); !note.isEmpty())
            output << "<p class=\"n\">" << note << "</p>\n";
        Page page(output, chat);
        for (const Message &message : chat.conversation.messages)
            page.add(message);
        output << "</article>\n";
    }
    void end(Output &output) const override { output << "</main>\n</body>\n</html>\n"; }

private:
    bool m_mayHaveFiles;
};

} // namespace

std::unique_ptr<const Writer> htmlWriter(const Options &options)
{
    return std::make_unique<HtmlWriter>(options);
}

} // namespace exporting
