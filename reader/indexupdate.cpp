#include "reader/indexupdate.h"

#include "reader/helperwork.h"

#include "index/chatindex.h"

#include "platform/addressbook/addressbook.h"
#include "platform/text/encoding.h"

#include <QCoreApplication>
#include <QFile>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <utility>

namespace reader {

namespace {

QString argumentOf(const std::filesystem::path &path)
{
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

} // namespace

IndexUpdate::IndexUpdate(Collection collection, QObject *parent)
    : QObject(parent), m_collection(std::move(collection))
{
}

IndexUpdate::~IndexUpdate()
{
    if (!m_process)
        return;
    m_process->disconnect(this);
    m_process->terminate();
    constexpr int aMoment = 1000; // milliseconds
    m_process->waitForFinished(aMoment);
}

void IndexUpdate::start()
{
    if (m_process) {
        m_again = true;
        return;
    }
    m_changed = false;
    m_process = new QProcess(this);
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(m_process, &QProcess::readyReadStandardOutput, this, &IndexUpdate::readLines);
    connect(m_process, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        readLines();
        end(status == QProcess::NormalExit && code == 0 ? QString()
                                                        : tr("The process that reads has ended early."));
    });
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            end(m_process->errorString());
    });
    QStringList arguments{QLatin1String(helperOption), QLatin1String(indexWork),
                          argumentOf(m_collection.index), argumentOf(m_collection.folder)};
    for (const auto &path : m_collection.linked)
        arguments += argumentOf(path);
    m_process->start(QCoreApplication::applicationFilePath(), arguments, QIODevice::ReadOnly);
}

void IndexUpdate::readLines()
{
    while (m_process && m_process->canReadLine()) {
        const QByteArray line = m_process->readLine().trimmed();
        const QByteArrayList words = line.split(' ');
        constexpr qsizetype reasonStart = sizeof "failed";
        if (words.size() == 3 && words[0] == "progress") {
            Q_EMIT progressed(words[1].toInt(), words[2].toInt());
        } else if (words[0] == "changed") {
            m_changed = true;
        } else if (words[0] == "failed") {
            end(QString::fromUtf8(line.mid(reasonStart)));
        }
    }
}

void IndexUpdate::end(const QString &failure)
{
    if (!m_process)
        return;
    m_process->disconnect(this);
    m_process->deleteLater();
    m_process = nullptr;
    Q_EMIT finished(m_changed, failure);
    if (std::exchange(m_again, false))
        start();
}

int updateIndex(int argc, char **argv)
{
    if (argc < 2)
        return 2;
    const std::filesystem::path folder = argv[1];
    const std::vector<std::filesystem::path> linked(argv + 2, argv + argc);
    if (!linked.empty())
        linkTranscripts(folder, linked);
    static volatile std::sig_atomic_t isToStop = 0;
    std::signal(SIGTERM, [](int) { isToStop = 1; });

    using Clock = std::chrono::steady_clock;
    constexpr auto betweenLines = std::chrono::milliseconds(200);
    auto nextLine = Clock::now() + betweenLines;
    indexing::ChatIndex index(folder, argv[0]);
    const platform::ABAddressBook::Reading oneReading;
    const auto contents = [&index] {
        std::vector<qint64> ids;
        for (const indexing::Chat &chat : index.chats())
            ids.push_back(chat.id);
        return std::pair(std::move(ids), index.unreadable().size());
    };
    const bool wasUsable = !index.takeKept(); // else it is made anew
    const auto before = contents();
    const auto failure = index.update([&](size_t done, size_t total) {
        if (Clock::now() >= nextLine) {
            std::printf("progress %zu %zu\n", done, total);
            std::fflush(stdout);
            nextLine = Clock::now() + betweenLines;
        }
        return isToStop == 0;
    });
    if (failure)
        std::printf("failed %s\n", failure->c_str());
    else
        std::puts(wasUsable && contents() == before ? "same" : "changed");
    return 0;
}

} // namespace reader
