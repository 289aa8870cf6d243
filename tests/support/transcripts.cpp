#include "tests/support/transcripts.h"

namespace {

/// The object table of a keyed archive under construction.
class Objects {
public:
    /// @return a reference to the added object.
    QByteArray add(const QByteArray &object)
    {
        m_objects += object;
        return reference(m_count++);
    }

    QByteArray addText(const QByteArray &text) { return add("<string>" + text + "</string>"); }

    QByteArray addClass(const QByteArray &name)
    {
        return add("<dict><key>$classname</key><string>" + name +
                   "</string><key>$classes</key><array><string>" + name +
                   "</string><string>NSObject</string></array></dict>");
    }

    [[nodiscard]] const QByteArray &table() const { return m_objects; }

    static QByteArray reference(int number)
    {
        return "<dict><key>CF$UID</key><integer>" + QByteArray::number(number) + "</integer></dict>";
    }

private:
    QByteArray m_objects = "<string>$null</string>";
    int m_count = 1;
};

QByteArray pair(const char *key, const QByteArray &value)
{
    return "<key>" + QByteArray(key) + "</key>" + value;
}

QByteArray dictionary(const QByteArray &pairs)
{
    return "<dict>" + pairs + "</dict>";
}

} // namespace

QByteArray keyedTranscript(const std::vector<TestMessage> &messages,
                           const std::vector<QByteArray> &participants)
{
    Objects objects;
    const QByteArray arrayClass = objects.addClass("NSArray");
    const QByteArray messageClass = objects.addClass("InstantMessage");
    const QByteArray presentityClass = objects.addClass("Presentity");
    const QByteArray textClass = objects.addClass("NSAttributedString");
    const QByteArray dateClass = objects.addClass("NSDate");
    const auto addArray = [&](const QByteArray &references) {
        return objects.add(
            dictionary(pair("$class", arrayClass) + pair("NS.objects", "<array>" + references + "</array>")));
    };
    const auto addPresentity = [&](const QByteArray &service, const QByteArray &identifier) {
        return objects.add(dictionary(pair("$class", presentityClass) +
                                      pair("ServiceName", objects.addText(service)) +
                                      pair("ID", objects.addText(identifier))));
    };

    QByteArray list;
    for (const TestMessage &message : messages) {
        const QByteArray sender = message.service.isEmpty()
                                      ? Objects::reference(0)
                                      : addPresentity(message.service, message.identifier);
        const QByteArray text = objects.add(
            dictionary(pair("$class", textClass) + pair("NSString", objects.addText(message.text))));
        const QByteArray time = objects.add(
            dictionary(pair("$class", dateClass) +
                       pair("NS.time", "<real>" + QByteArray::number(message.time, 'f', 6) + "</real>")));
        list += objects.add(dictionary(pair("$class", messageClass) + pair("Sender", sender) +
                                       pair("Time", time) + pair("MessageText", text) +
                                       pair("Flags", "<integer>5</integer>")));
    }
    const QByteArray messageList = addArray(list);
    QByteArray others;
    for (const QByteArray &participant : participants)
        others += addPresentity("AIM", participant);
    const QByteArray root =
        addArray(objects.addText("AIM") + objects.addText("") + messageList + addArray(others));
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" +
           dictionary(pair("$archiver", "<string>NSKeyedArchiver</string>") +
                      pair("$version", "<integer>100000</integer>") +
                      pair("$objects", "<array>" + objects.table() + "</array>") +
                      pair("$top", dictionary(pair("root", root)))) +
           "</plist>\n";
}

std::shared_ptr<const VORAInstantMessage> makeMessage(const char16_t *service, const char16_t *identifier,
                                                      const platform::NSAttributedString &text)
{
    return std::make_shared<VORAInstantMessage>(
        std::make_shared<VORAPresentity>(QString::fromUtf16(service), QString::fromUtf16(identifier)),
        std::make_shared<platform::NSAttributedString>(text), platform::NSDate::fromInterval(0));
}

platform::AttributesRef makeAttributes(std::vector<platform::NSDictionary::Entry> entries)
{
    return std::make_shared<platform::NSDictionary>(std::move(entries));
}
