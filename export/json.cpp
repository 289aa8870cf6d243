#include "export/document.h"
#include "export/moments.h"

// Chats as JSON (RFC 8259), in the form that docs/export.md and docs/export.schema.json describe: a
// document of one line for each chat, so that a file of JSON lines is many such documents.

namespace exporting {

namespace {

using conversation::Conversation;
using conversation::Message;
using conversation::Speaker;
using conversation::Stretch;
using conversation::Style;

/// Appends @p text between quotes.
void addText(Output &output, QStringView text)
{
    QByteArray &bytes = output.bytes();
    bytes += '"';
    const qsizetype start = bytes.size();
    for (const char c : platform::utf8FromString(text)) {
        constexpr quint8 firstPrintable = 0x20;
        switch (c) {
        case '"': bytes += "\\\""; break;
        case '\\': bytes += "\\\\"; break;
        case '\n': bytes += "\\n"; break;
        case '\t': bytes += "\\t"; break;
        default:
            if (quint8(c) < firstPrintable)
                bytes += "\\u" + QByteArray::number(c, 16).rightJustified(4, '0');
            else
                bytes += c;
        }
    }
    // Some programs take these for the end of a line.
    for (const char16_t unit : {u'\u0085', u'\u2028', u'\u2029'}) {
        if (text.contains(QChar(unit)))
            bytes.replace(
                start, bytes.size() - start,
                bytes.sliced(start).replace(platform::utf8FromString(QStringView(&unit, 1)),
                                            "\\u" + QByteArray::number(unit, 16).rightJustified(4, '0')));
    }
    bytes += '"';
    output.check();
}

/// Writes the members of an object; its name is told with each.
class Object {
public:
    explicit Object(Output &output) : m_output(output) { m_output.bytes() += '{'; }
    ~Object() { m_output.bytes() += '}'; }
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    Output &key(QByteArrayView name)
    {
        m_output << QByteArrayView(m_isEmpty ? "\"" : ",\"") << name << "\":";
        m_isEmpty = false;
        return m_output;
    }
    void text(QByteArrayView name, QStringView value) { addText(key(name), value); }
    void text(QByteArrayView name, const std::optional<QString> &value)
    {
        if (value)
            text(name, QStringView(*value));
        else
            key(name) << "null";
    }
    void number(QByteArrayView name, qint64 value) { key(name) << QByteArray::number(value); }
    void boolean(QByteArrayView name, bool value) { key(name) << (value ? "true" : "false"); }

private:
    Output &m_output;
    bool m_isEmpty = true;
};

/// An array of what @p add writes of each element.
template <class Elements, class Add>
void addArray(Output &output, const Elements &elements, Add add)
{
    output << "[";
    bool isFirst = true;
    for (const auto &element : elements) {
        if (!isFirst)
            output << ",";
        isFirst = false;
        add(element);
    }
    output << "]";
}

void addSpeaker(Output &output, const Speaker &speaker)
{
    Object object(output);
    object.text("service", speaker.service);
    object.text("screenName", speaker.screenName);
    object.text("displayName", QStringView(speaker.displayName));
    object.boolean("isUser", speaker.isUser);
}

void addStyle(Output &output, const Style &style)
{
    Object object(output);
    if (!style.fontFamily.isEmpty())
        object.text("font", QStringView(style.fontFamily));
    if (style.pointSize > 0)
        object.key("size") << QByteArray::number(style.pointSize, 'g', 6);
    if (style.bold)
        object.boolean("bold", true);
    if (style.italic)
        object.boolean("italic", true);
    if (style.color) {
        QByteArray digits = "\"#";
        for (const quint8 part : *style.color)
            digits += QByteArray::number(part, 16).rightJustified(2, '0');
        object.key("color") << digits + '"';
    }
}

void addFile(Output &output, const AttachedFiles::File &file)
{
    Object object(output);
    object.text("name", file.wrapper ? file.wrapper->preferredFilename() : std::nullopt);
    if (!file.wrapper)
        return;
    object.number("bytes", file.wrapper->totalSize());
    object.boolean("isFolder", !file.wrapper->isRegularFile());
    if (!file.path.isEmpty())
        object.text("path", QStringView(file.path));
    if (file.isInside)
        object.key("data") << "\"" << file.wrapper->regularFileContents().toBase64() << "\"";
}

/// What is said of parts of a text; parts of which nothing is said are left out.
void addRuns(Object &object, Output &output, const conversation::Text &text)
{
    struct Run {
        qsizetype start;
        const Stretch *stretch;
    };
    std::vector<Run> runs;
    qsizetype position = 0;
    for (const Stretch &stretch : text.stretches) {
        if (stretch.style != 0 || stretch.link || stretch.file)
            runs.push_back({position, &stretch});
        position += stretch.length;
    }
    if (runs.empty())
        return;
    addArray(object.key("runs"), runs, [&output](const Run &run) {
        Object part(output);
        part.number("start", run.start);
        part.number("length", run.stretch->length);
        if (run.stretch->style != 0)
            part.number("style", run.stretch->style);
        if (run.stretch->link)
            part.number("link", *run.stretch->link);
        if (run.stretch->file)
            part.number("file", *run.stretch->file);
    });
}

void addMessage(Output &output, const Conversation &conversation, const Message &message)
{
    Object object(output);
    object.text("kind", QStringView(message.isNotice() ? u"notice" : u"message"));
    if (message.milliseconds) {
        object.text("time", QStringView(utcText(*message.milliseconds)));
        object.text("localTime", QStringView(isoText(*message.milliseconds)));
    }
    if (message.speaker)
        object.number("speaker", *message.speaker);
    if (message.text) {
        const conversation::Text &text = conversation.texts[*message.text];
        object.text("text", QStringView(text.characters));
        addRuns(object, output, text);
    }
    if (!message.fault.isEmpty())
        object.text("fault", QStringView(message.fault));
}

class JsonWriter final : public Writer {
public:
    explicit JsonWriter(bool isLines) : m_isLines(isLines) {}

    [[nodiscard]] QString suffix() const override
    {
        return m_isLines ? QStringLiteral(".jsonl") : QStringLiteral(".json");
    }
    void begin(Output &output, const QString & /*title*/) const override
    {
        if (!m_isLines)
            output << beginning;
    }
    void end(Output &output) const override
    {
        if (!m_isLines)
            output << ending;
    }

    [[nodiscard]] QByteArrayView separator() const override { return m_isLines ? "" : ",\n"; }

    void add(Output &output, const Chat &chat) const override
    {
        if (m_isLines)
            output << beginning;
        addChat(output, chat);
        if (m_isLines)
            output << ending;
    }

private:
    static constexpr QByteArrayView beginning = R"({"format":"prattlebug-chats","version":1,"chats":[)";
    static constexpr QByteArrayView ending = "]}\n";

    static void addChat(Output &output, const Chat &chat)
    {
        const Conversation &conversation = chat.conversation;
        Object object(output);
        object.text("transcript", QStringView(chat.transcript));
        object.text("otherParty", QStringView(conversation.otherParty));
        const auto speaker = [&output](const Speaker &each) { addSpeaker(output, each); };
        addArray(object.key("participants"), conversation.participants, speaker);
        addArray(object.key("speakers"), conversation.speakers, speaker);
        addArray(object.key("styles"), conversation.styles,
                 [&](const Style &style) { addStyle(output, style); });
        addArray(object.key("links"), conversation.links,
                 [&](const QString &link) { addText(output, link); });
        addArray(object.key("files"), chat.files.files(),
                 [&](const AttachedFiles::File &file) { addFile(output, file); });
        addArray(object.key("messages"), conversation.messages,
                 [&](const Message &message) { addMessage(output, conversation, message); });
    }

    bool m_isLines;
};

} // namespace

std::unique_ptr<const Writer> jsonWriter(const Options &options)
{
    return std::make_unique<JsonWriter>(options.format == Format::JsonLines);
}

} // namespace exporting
