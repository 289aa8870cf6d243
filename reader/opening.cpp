#include "reader/opening.h"

#include "reader/filekind.h"
#include "reader/names.h"

#include "galleries/savedfiles.h"

#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardPaths>
#include <QUrl>

#include <limits>

namespace reader {

using platform::NSFileWrapper;

namespace {

/// The address that @p link means: without a scheme, one that begins like a web page's is one.
QUrl addressOf(const QString &link)
{
    const QString trimmed = link.trimmed();
    return trimmed.startsWith(u"www.", Qt::CaseInsensitive) ? QUrl(QStringLiteral("http://") + trimmed)
                                                            : QUrl(trimmed);
}

bool opensAtOnce(const QUrl &address)
{
    const QString scheme = address.scheme();
    return address.isValid() &&
           (scheme == u"http" || scheme == u"https" || scheme == u"mailto" || scheme == u"ftp");
}

} // namespace

Opening::Opening(QWidget &window) : QObject(&window), m_window(window) {}

bool Opening::asked(const QString &question, const QString &detail, const QString &button)
{
    QMessageBox box(&m_window);
    box.setWindowTitle(tr("Prattlebug Reader"));
    box.setIcon(QMessageBox::Warning);
    box.setTextFormat(Qt::PlainText);
    box.setText(question);
    box.setInformativeText(detail);
    const QPushButton *const yes = box.addButton(button, QMessageBox::AcceptRole);
    box.setDefaultButton(box.addButton(tr("Cancel"), QMessageBox::RejectRole));
    for (QLabel *const label : box.findChildren<QLabel *>())
        label->setTextFormat(Qt::PlainText);
    box.exec();
    return box.clickedButton() == yes;
}

void Opening::openLink(const QString &link)
{
    const QUrl address = addressOf(link);
    if (!opensAtOnce(address) &&
        !asked(tr("This link does not lead to a web page or a mail address. Open it all the same?"),
               harmless(link), tr("Open Link")))
        return;
    if (!address.isValid() || !QDesktopServices::openUrl(address))
        Q_EMIT told(tr("Nothing on this computer opens %1").arg(harmless(link)));
}

void Opening::openFile(const NSFileWrapper &file)
{
    if (mightRun(file) &&
        !asked(tr("“%1” may be a program, or hold one. Opening it may run it.").arg(shownName(file)),
               tr("It is of the kind: %1. It came from somebody in a chat.").arg(kindAndSize(file)),
               tr("Open File")))
        return;
    if (!m_folder)
        m_folder =
            std::make_unique<QTemporaryDir>(QStandardPaths::writableLocation(QStandardPaths::TempLocation) +
                                            QStringLiteral("/prattlebug-files-XXXXXX"));
    const QString folder = m_folder->filePath(QString::number(++m_opened)); // files may have the same name
    QDir().mkdir(folder);
    const QString path = folder + u'/' + nameToSave(file.preferredFilename().value_or(QString()));
    if (const auto failure = write(file, path))
        Q_EMIT told(tr("The file could not be opened: %1").arg(*failure));
    else if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        Q_EMIT told(tr("Nothing on this computer opens %1").arg(shownName(file)));
}

void Opening::saveFile(const NSFileWrapper &file)
{
    if (m_lastFolder.isEmpty())
        m_lastFolder = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    if (!QFileInfo(m_lastFolder).isDir())
        m_lastFolder = QDir::homePath();
    const QString path = QFileDialog::getSaveFileName(
        &m_window, tr("Save File"),
        m_lastFolder + u'/' + nameToSave(file.preferredFilename().value_or(QString())));
    if (path.isEmpty())
        return;
    m_lastFolder = QFileInfo(path).path();
    if (const auto failure = write(file, path))
        QMessageBox::warning(&m_window, tr("Prattlebug Reader"),
                             tr("The file could not be saved: %1").arg(*failure));
    else
        Q_EMIT told(tr("Saved as %1").arg(harmless(QDir::toNativeSeparators(path))));
}

std::optional<QString> Opening::write(const NSFileWrapper &file, const QString &path)
{
    const std::filesystem::path whole = QFile::encodeName(path).toStdString();
    if (file.isRegularFile()) {
        constexpr unsigned notToRun = 0666;
        const auto written = platform::writeAtomically(whole, file.regularFileContents(), {notToRun});
        return written ? std::nullopt : std::optional(QString::fromStdString(written.error().reason));
    }
    std::optional<QString> failure;
    galleries::SavedFiles saved(
        whole.parent_path(),
        [&failure](const platform::Failure &reason) { failure = QString::fromStdString(reason.reason); },
        std::numeric_limits<qint64>::max());
    const auto lent = std::shared_ptr<const NSFileWrapper>(std::shared_ptr<const NSFileWrapper>(), &file);
    if (!saved.save(lent, {platform::displayPath(whole.filename()), {}}))
        failure = tr("it is too large");
    return failure;
}

} // namespace reader
