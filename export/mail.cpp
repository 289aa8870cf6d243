#include "export/document.h"
#include "export/htmlmarkup.h"
#include "export/maildir.h"
#include "export/moments.h"
#include "export/names.h"
#include "export/reading.h"

#include "conversation/palette.h"

#include <QMimeDatabase>

#include <algorithm>
#include <gmime/gmime.h>
#include <memory>

// Chats as mails (RFC 5322 and MIME): from the other party to the user, the text once plain and once as HTML
// with its pictures, and all other files attached. The same chat becomes the same bytes.
//
//     multipart/mixed
//         multipart/alternative
//             text/plain
//             multipart/related
//                 text/html
//                 image/…          inline, by Content-ID
//         …                        attached

namespace exporting {

namespace {

using conversation::Conversation;
using conversation::Message;
using conversation::Speaker;
using conversation::Stretch;

struct Unreference {
    void operator()(void *object) const { g_object_unref(object); }
};
template <class Object>
using Owned = std::unique_ptr<Object, Unreference>;

/// Without line breaks and other control characters, which could begin another header field.
QByteArray headerText(const QString &text)
{
    return platform::utf8FromString(withoutControls(text).simplified());
}

constexpr qsizetype longestLocalPart = 128; // bytes; header lines have limits, names in archives have none

/// The address of somebody who has none: the screen name below a domain that no mail reaches (RFC 2606).
QByteArray addressOf(const QString &screenName, const QString &service)
{
    QByteArray local;
    for (const char byte : headerText(screenName)) {
        constexpr char firstPrintable = ' ';
        constexpr char lastPrintable = '~';
        if (local.size() > longestLocalPart)
            break;
        if (byte < firstPrintable || byte > lastPrintable || byte == '%')
            local += '%' + QByteArray(1, byte).toHex().toUpper();
        else
            local += QByteArray(byte == '"' || byte == '\\' ? "\\" : "") + byte;
    }
    QByteArray domain;
    for (const char byte : service.toLower().toLatin1()) {
        if ((byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9'))
            domain += byte;
    }
    return '"' + (local.isEmpty() ? QByteArray("unknown") : local) + "\"@" +
           (domain.isEmpty() ? "chat" : domain) + ".invalid";
}

QByteArray addressOf(const Speaker &speaker)
{
    return addressOf(speaker.screenName.value_or(speaker.displayName), speaker.service.value_or(QString()));
}

/// Makes one mail.
class Mail {
public:
    Mail(const Chat &chat, const Options &options, qsizetype limit)
        : m_chat(chat), m_conversation(chat.conversation), m_options(options), m_left(limit)
    {
    }

    [[nodiscard]] QByteArray bytes()
    {
        const Owned<GMimeMessage> message(g_mime_message_new(FALSE));
        addHeader(message.get());
        const Owned<GMimeObject> body(makeBody());
        g_mime_message_set_mime_part(message.get(), body.get());

        GMimeFormatOptions *format = g_mime_format_options_new();
        if (m_options.format == Format::Eml)
            g_mime_format_options_set_newline_format(format, GMIME_NEWLINE_FORMAT_DOS);
        const Owned<GMimeStream> stream(g_mime_stream_mem_new());
        g_mime_object_write_to_stream(reinterpret_cast<GMimeObject *>(message.get()), format, stream.get());
        g_mime_format_options_free(format);
        const GByteArray *written =
            g_mime_stream_mem_get_byte_array(reinterpret_cast<GMimeStreamMem *>(stream.get()));
        return {reinterpret_cast<const char *>(written->data), qsizetype(written->len)};
    }

private:
    void addHeader(GMimeMessage *message) const
    {
        const auto add = [message](GMimeAddressType type, const QString &name, const QByteArray &address) {
            g_mime_message_add_mailbox(message, type, headerText(name).constData(), address.constData());
        };
        std::vector<const Speaker *> others;
        for (const Speaker &participant : m_conversation.participants) {
            if (!participant.isUser)
                others.push_back(&participant);
        }
        if (others.size() == 1) {
            add(GMIME_ADDRESS_TYPE_FROM, others.front()->displayName, addressOf(*others.front()));
        } else {
            const QString service = others.empty() ? QString() : others.front()->service.value_or(QString());
            add(GMIME_ADDRESS_TYPE_FROM, m_conversation.otherParty,
                addressOf(m_conversation.otherParty, service));
            // At once: the message writes its field anew with each change.
            const Owned<InternetAddressList> list(internet_address_list_new());
            for (const Speaker *other : others) {
                const Owned<InternetAddress> address(internet_address_mailbox_new(
                    headerText(other->displayName).constData(), addressOf(*other).constData()));
                internet_address_list_add(list.get(), address.get());
            }
            internet_address_list_append(g_mime_message_get_addresses(message, GMIME_ADDRESS_TYPE_CC),
                                         list.get());
        }
        const auto user = std::find_if(m_conversation.speakers.begin(), m_conversation.speakers.end(),
                                       [](const Speaker &speaker) { return speaker.isUser; });
        if (user != m_conversation.speakers.end())
            add(GMIME_ADDRESS_TYPE_TO, user->displayName, addressOf(*user));
        else
            add(GMIME_ADDRESS_TYPE_TO, QStringLiteral("Me"), addressOf(QStringLiteral("me"), {}));

        g_mime_message_set_subject(message, headerText(titleOf(m_conversation)).constData(), "utf-8");
        addDate(message);
        g_mime_message_set_message_id(message, (m_chat.mailIdentity + "@prattlebug.invalid").constData());
    }

    /// None where the chat has none, or one that mails cannot have (RFC 5322, 3.3).
    void addDate(GMimeMessage *message) const
    {
        const std::optional<qint64> first = firstMoment(m_conversation);
        if (!first)
            return;
        const platform::NSDate date = dateOf(*first);
        const int year = platform::calendarDate(date).year;
        constexpr int firstYear = 1900;
        constexpr int lastYear = 9998; // in every time zone
        if (year < firstYear || year > lastYear)
            return;
        GTimeZone *zone = g_time_zone_new_offset(platform::calendarDate(date).secondsFromUtc);
        GDateTime *utc = g_date_time_new_from_unix_utc(date.unixSeconds());
        GDateTime *local = g_date_time_to_timezone(utc, zone);
        g_mime_message_set_date(message, local);
        g_date_time_unref(local);
        g_date_time_unref(utc);
        g_time_zone_unref(zone);
    }

    [[nodiscard]] GMimeObject *makeBody()
    {
        for (quint32 file = 0; file < m_conversation.files.size(); ++file)
            addFile(file);
        Output plain(m_left);
        textWriter()->add(plain, m_chat);
        GMimeObject *html = textPart("html", htmlText());
        if (!m_inline.empty())
            html = multipart("related", html, m_inline);
        std::vector<Owned<GMimeObject>> alternatives;
        alternatives.emplace_back(html);
        GMimeObject *body = multipart("alternative", textPart("plain", plain.bytes()), alternatives);
        return m_attached.empty() ? body : multipart("mixed", body, m_attached);
    }

    [[nodiscard]] GMimeObject *multipart(const char *kind, GMimeObject *first,
                                         const std::vector<Owned<GMimeObject>> &others)
    {
        GMimeMultipart *parts = g_mime_multipart_new_with_subtype(kind);
        // No line of Base64 or quoted-printable holds "=_".
        const QByteArray boundary = "=_" + m_chat.mailIdentity.first(16) + '_' + kind;
        g_mime_multipart_set_boundary(parts, boundary.constData());
        const Owned<GMimeObject> owned(first);
        g_mime_multipart_add(parts, first);
        for (const auto &other : others)
            g_mime_multipart_add(parts, other.get());
        return reinterpret_cast<GMimeObject *>(parts);
    }

    [[nodiscard]] static GMimeObject *textPart(const char *kind, const QByteArray &text)
    {
        GMimeTextPart *part = g_mime_text_part_new_with_subtype(kind);
        g_mime_text_part_set_charset(part, "utf-8");
        setContent(reinterpret_cast<GMimePart *>(part), text, GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
        return reinterpret_cast<GMimeObject *>(part);
    }

    static void setContent(GMimePart *part, const QByteArray &contents, GMimeContentEncoding encoding)
    {
        const Owned<GMimeStream> stream(
            g_mime_stream_mem_new_with_buffer(contents.constData(), size_t(contents.size())));
        const Owned<GMimeDataWrapper> data(
            g_mime_data_wrapper_new_with_stream(stream.get(), GMIME_CONTENT_ENCODING_DEFAULT));
        g_mime_part_set_content(part, data.get());
        g_mime_part_set_content_encoding(part, encoding);
    }

    /// @param type media type; empty where the name is to tell it.
    GMimePart *filePart(const QByteArray &contents, const QString &name, QByteArray type)
    {
        m_left -= contents.size() * 4 / 3;
        if (m_left < 0)
            throw TooLarge();
        const bool isHarmless = attachmentName(name) == portableName(name);
        if (type.isEmpty())
            type =
                isHarmless
                    ? QMimeDatabase().mimeTypeForFile(name, QMimeDatabase::MatchExtension).name().toLatin1()
                    : QByteArray("application/octet-stream");
        const qsizetype slash = type.indexOf('/');
        GMimePart *part =
            g_mime_part_new_with_type(type.first(slash).constData(), type.sliced(slash + 1).constData());
        setContent(part, contents, GMIME_CONTENT_ENCODING_BASE64);
        g_mime_part_set_filename(part, headerText(name).constData());
        return part;
    }

    void addFile(quint32 position)
    {
        const AttachedFiles::File &file = m_chat.files[position];
        if (!file.wrapper || m_options.attachments == Attachments::None)
            return;
        if (!file.wrapper->isRegularFile())
            return addFolder(*file.wrapper, file.name);
        GMimePart *part = filePart(file.wrapper->regularFileContents(), file.name, file.image);
        auto *object = reinterpret_cast<GMimeObject *>(part);
        if (file.image.isEmpty()) {
            g_mime_object_set_disposition(object, "attachment");
            m_attached.emplace_back(object);
            return;
        }
        g_mime_object_set_disposition(object, "inline");
        g_mime_part_set_content_id(part, contentId(position).constData());
        m_inline.emplace_back(object);
    }

    /// A folder's files have its name in front of theirs.
    void addFolder(const platform::NSFileWrapper &folder, const QString &name)
    {
        for (const auto &child : folder.children()) {
            const QString childName = name + QStringLiteral(" - ") + child.name;
            if (!child.wrapper->isRegularFile()) {
                addFolder(*child.wrapper, childName);
                continue;
            }
            auto *part = reinterpret_cast<GMimeObject *>(
                filePart(child.wrapper->regularFileContents(), childName, {}));
            g_mime_object_set_disposition(part, "attachment");
            m_attached.emplace_back(part);
        }
    }

    [[nodiscard]] QByteArray contentId(quint32 position) const
    {
        return QByteArray::number(position) + '.' + m_chat.mailIdentity + "@prattlebug.invalid";
    }

    /// Few mail programs know style sheets: what is coloured says so itself.
    [[nodiscard]] QByteArray htmlText() const
    {
        Output output(m_left);
        output << "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>";
        addEscaped(output, titleOf(m_conversation));
        output << "</title></head>\n<body>\n";
        if (const QString note = faultsNote(m_conversation); !note.isEmpty())
            output << "<p><i>" << note << "</i></p>\n";
        QString day;
        for (const Message &message : m_conversation.messages) {
            if (const QString now = dayText(message.milliseconds);
                day.isEmpty() || (message.milliseconds && now != day)) {
                day = now;
                output << "<h3>" << day << "</h3>\n";
            }
            addMessage(output, message);
        }
        output << "</body></html>\n";
        return output.bytes();
    }

    void addMessage(Output &output, const Message &message) const
    {
        output << "<p dir=\"auto\"><small>" << minuteText(message.milliseconds) << "</small> ";
        if (message.isNotice())
            output << "<i>";
        if (const Speaker *speaker = speakerOf(m_conversation, message)) {
            constexpr int hexadecimal = 16;
            const auto color = conversation::speakerColors.at(speakerColor(m_conversation, *message.speaker));
            output << "<b style=\"color:#"
                   << QByteArray::number(color.onLight, hexadecimal).rightJustified(6, '0') << "\">";
            addEscaped(output, speaker->displayName);
            output << ":</b> ";
        }
        forEachStretch(m_conversation, message, [&](const Stretch &stretch, QStringView characters) {
            addStretch(output, stretch, characters);
        });
        if (!message.fault.isEmpty()) {
            output << " <i>(not read whole: ";
            addEscaped(output, message.fault);
            output << ")</i>";
        }
        output << (message.isNotice() ? "</i></p>\n" : "</p>\n");
    }

    void addStretch(Output &output, const Stretch &stretch, QStringView characters) const
    {
        if (stretch.file) {
            const AttachedFiles::File &file = m_chat.files[*stretch.file];
            const bool isShown =
                file.wrapper && !file.image.isEmpty() && m_options.attachments != Attachments::None;
            output << (isShown ? "<br><img src=\"cid:" + contentId(*stretch.file) + "\" alt=\"" : "[");
            addEscaped(output, file.name);
            output << (isShown ? "\" style=\"max-width:100%\"><br>" : "]");
            return;
        }
        const QString link = stretch.link ? m_conversation.links[*stretch.link] : QString();
        const bool isLink = isSafeLink(link);
        if (isLink) {
            output << "<a href=\"";
            addEscaped(output, link);
            output << "\">";
        }
        Output text(m_left);
        addEscaped(text, withoutControls(characters));
        output << text.bytes().replace("\n", "<br>\n") << (isLink ? "</a>" : "");
    }

    const Chat &m_chat;
    const Conversation &m_conversation;
    const Options &m_options;
    qsizetype m_left; ///< bytes that the mail may still take
    std::vector<Owned<GMimeObject>> m_inline;
    std::vector<Owned<GMimeObject>> m_attached;
};

class MailWriter final : public Writer {
public:
    explicit MailWriter(const Options &options) : m_options(options) { g_mime_init(); }

    [[nodiscard]] QString suffix() const override
    {
        return m_options.format == Format::Eml ? QStringLiteral(".eml") : maildirFlags.toString();
    }
    void begin(Output & /*output*/, const QString & /*title*/) const override {}
    void end(Output & /*output*/) const override {}
    void add(Output &output, const Chat &chat) const override
    {
        output << Mail(chat, m_options, output.limit()).bytes();
    }

private:
    Options m_options;
};

} // namespace

std::unique_ptr<const Writer> mailWriter(const Options &options)
{
    return std::make_unique<MailWriter>(options);
}

} // namespace exporting
