#include "archiver/window/filemanager.h"

#include "platform/files/files.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QStringList>
#include <QUrl>

#include <system_error>

namespace {

/// The file URI of @p path byte by byte, which QUrl::fromLocalFile() cannot do: a name need not be text.
QByteArray fileUri(const std::filesystem::path &path)
{
    return "file://" + QByteArray::fromStdString(path.native()).toPercentEncoding("/");
}

} // namespace

void revealInFileManager(const std::filesystem::path &path)
{
    std::error_code ignored;
    std::filesystem::path shown = std::filesystem::absolute(path, ignored);
    while (!platform::fileExists(shown) && shown.has_relative_path())
        shown = shown.parent_path();
    const std::filesystem::path folder =
        std::filesystem::is_directory(shown, ignored) ? shown : shown.parent_path();

    const auto openFolder = [folder] { QDesktopServices::openUrl(QUrl::fromEncoded(fileUri(folder))); };
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) { // a call would fail before anybody can be told
        openFolder();
        return;
    }

    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QString::fromLatin1(fileUri(shown))} << QString(); // no startup notification
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), QCoreApplication::instance());
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [openFolder](QDBusPendingCallWatcher *finished) {
                         // One that does not answer in time may still be starting, and will show the file.
                         if (finished->isError() && finished->error().type() != QDBusError::NoReply)
                             openFolder();
                         finished->deleteLater();
                     });
}
