#include "tests/model/transcriptfile.h"

#include <QTemporaryDir>

#include <fstream>

namespace {

/// The objects of a keyed archive; each function adds one and gives a reference to it.
class Objects {
public:
    QByteArray string(const QByteArray &text) { return add("<string>" + text + "</string>"); }
    QByteArray object(const QByteArray &className, const QByteArray &keysAndValues)
    {
        const QByteArray classReference = add("<dict><key>$classname</key><string>" + className +
                                              "</string><key>$classes</key><array><string>" + className +
                                              "</string><string>NSObject</string></array></dict>");
        return add("<dict><key>$class</key>" + classReference + keysAndValues + "</dict>");
    }
    QByteArray array(const QByteArray &references)
    {
        return object("NSArray", "<key>NS.objects</key><array>" + references + "</array>");
    }
    QByteArray presentity(const QByteArray &identifier)
    {
        const QByteArray service = string("Jabber");
        const QByteArray name = string(identifier);
        return object("Presentity", "<key>ServiceName</key>" + service + "<key>ID</key>" + name);
    }
    QByteArray message(const TranscriptFile::Message &message)
    {
        const QByteArray sender = message.sender.isEmpty() ? nil() : presentity(message.sender);
        const QByteArray text = object("NSAttributedString", "<key>NSString</key>" + string(message.text));
        const QByteArray time =
            message.seconds ? object("NSDate", "<key>NS.time</key><real>" +
                                                   QByteArray::number(*message.seconds, 'f', 3) + "</real>")
                            : nil();
        return object("InstantMessage", "<key>Sender</key>" + sender + "<key>MessageText</key>" + text +
                                            "<key>Time</key>" + time +
                                            "<key>Flags</key><integer>5</integer>");
    }

    [[nodiscard]] QByteArray archive(const QByteArray &root) const
    {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
               "<key>$archiver</key><string>NSKeyedArchiver</string><key>$version</key><integer>100000</"
               "integer>"
               "<key>$objects</key><array><string>$null</string>" +
               m_objects + "</array><key>$top</key><dict><key>root</key>" + root + "</dict></dict></plist>\n";
    }

private:
    static QByteArray reference(int index)
    {
        return "<dict><key>CF$UID</key><integer>" + QByteArray::number(index) + "</integer></dict>";
    }
    static QByteArray nil() { return reference(0); }
    QByteArray add(const QByteArray &object)
    {
        m_objects += object;
        return reference(++m_count);
    }

    QByteArray m_objects;
    int m_count = 0;
};

} // namespace

std::filesystem::path TranscriptFile::write(const std::filesystem::path &folder) const
{
    Objects objects;
    QByteArray messageReferences;
    for (const Message &message : messages)
        messageReferences += objects.message(message);
    QByteArray participantReferences;
    for (const QByteArray &participant : participants)
        participantReferences += objects.presentity(participant);
    const QByteArray service = objects.string("Jabber");
    const QByteArray messageList = objects.array(messageReferences);
    const QByteArray participantList = objects.array(participantReferences);
    const QByteArray root = objects.array(service + service + messageList + participantList);

    const std::filesystem::path path = folder / (name + ".ichat");
    const QByteArray bytes = objects.archive(root);
    std::ofstream(path, std::ios::binary).write(bytes.constData(), bytes.size());
    return path;
}

std::unique_ptr<VORAChatLog> TranscriptFile::chatLog() const
{
    const QTemporaryDir folder;
    return VORAChatLog::initWithFilePath(write(folder.path().toStdString()));
}
