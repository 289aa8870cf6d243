#include "reader/helperwork.h"

#include "reader/indexupdate.h"

#include "archiver/transcript.h"

#include "conversation/conversation.h"

#include "platform/addressbook/addressbook.h"
#include "platform/files/systemcalls.h"
#include "platform/text/encoding.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <QImageReader>

#include <csignal>
#include <cstring>
#include <functional>
#include <new>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace reader {

namespace {

int serve(const std::function<QByteArray(const QByteArray &request)> &work)
{
    quint64 size = 0;
    while (platform::readAll(STDIN_FILENO, &size, sizeof size)) {
        QByteArray request(qsizetype(size), Qt::Uninitialized);
        if (!platform::readAll(STDIN_FILENO, request.data(), size))
            break;
        const QByteArray answer = work(request);
        size = quint64(answer.size());
        if (!platform::writeAll(STDOUT_FILENO, {reinterpret_cast<const char *>(&size), sizeof size}) ||
            !platform::writeAll(STDOUT_FILENO, answer))
            break;
    }
    return 0;
}

QByteArray chat(const QByteArray &path)
{
    try {
        const platform::ABAddressBook::Reading oneReading;
        const VORAChatLog::Loading loading = loadTranscript(path.toStdString());
        if (!loading)
            return 'u' + QByteArray::fromStdString(loading.error().reason);
        return 'c' + conversation::serialized(conversation::conversationOf(**loading));
    } catch (const std::bad_alloc &) {
        return QByteArrayLiteral("uit does not fit into memory");
    }
}

QByteArray picture(const QByteArray &request)
{
    PictureRequest wanted;
    if (request.size() < qsizetype(sizeof wanted))
        return {};
    std::memcpy(&wanted, request.constData(), sizeof wanted);
    QByteArray file = QByteArray::fromRawData(request.constData() + sizeof wanted,
                                              request.size() - qsizetype(sizeof wanted));
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    QSize most(wanted.width, wanted.height);
    QSize whole = reader.size();
    const bool isTurned = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
    if (isTurned)
        most.transpose();
    if (whole.isValid() && (whole.width() > most.width() || whole.height() > most.height()))
        reader.setScaledSize(whole.scaled(most, Qt::KeepAspectRatio).expandedTo(QSize(1, 1)));
    QImage image = reader.read();
    if (image.isNull())
        return {};
    if (isTurned)
        most.transpose();
    if (isTurned && whole.isValid())
        whole.transpose();
    if (!whole.isValid())
        whole = image.size();
    if (image.width() > most.width() || image.height() > most.height())
        image = image.scaled(most, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    image.convertTo(QImage::Format_ARGB32_Premultiplied);
    const PictureAnswer head{image.width(), image.height(), whole.width(), whole.height()};
    QByteArray answer(reinterpret_cast<const char *>(&head), sizeof head);
    answer.append(reinterpret_cast<const char *>(image.constBits()), image.sizeInBytes());
    return answer;
}

} // namespace

std::optional<int> workForTheWindow(int argc, char **argv)
{
    if (argc < 3 || std::string_view(argv[1]) != helperOption)
        return std::nullopt;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const std::string_view work = argv[2];
    if (work == indexWork)
        return updateIndex(argc - 3, argv + 3);
    if (work == chatsWork)
        return serve(chat);
    if (work != picturesWork)
        return 2;
    constexpr rlim_t mostMemory = rlim_t(768) << 20;
    const rlimit limit{mostMemory, mostMemory};
#ifndef __SANITIZE_ADDRESS__ // the sanitizer's own tables take more
    setrlimit(RLIMIT_AS, &limit);
#else
    (void)limit;
#endif
    const QCoreApplication application(argc, argv); // knows where the plug-ins are
    return serve(picture);
}

} // namespace reader
