#include "reader/helperprocess.h"

#include "reader/helperwork.h"

#include <QCoreApplication>

#include <algorithm>
#include <limits>
#include <utility>

namespace reader {

namespace {

constexpr int patience = 60; // milliseconds: about what it takes to start another process

} // namespace

HelperProcess::HelperProcess(QString work, QObject *parent) : QObject(parent), m_work(std::move(work))
{
    m_limit.setSingleShot(true);
    m_patience.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, this, [this] {
        end();
        start();
        fail(tr("It takes too long."));
    });
    connect(&m_patience, &QTimer::timeout, this, [this] {
        end();
        start();
        if (m_next)
            send(*std::exchange(m_next, std::nullopt));
    });
    start();
}

HelperProcess::~HelperProcess()
{
    end();
    for (QProcess *process : findChildren<QProcess *>())
        process->waitForFinished(); // a moment: it was killed
}

void HelperProcess::start()
{
    m_process = new QProcess(this);
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    connect(m_process, &QProcess::readyReadStandardOutput, this, &HelperProcess::receive);
    connect(m_process, &QProcess::finished, this, [this] {
        end();
        start();
        if (m_next)
            send(*std::exchange(m_next, std::nullopt));
        else
            fail(tr("Reading it has ended the process that reads."));
    });
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            fail(tr("The process that reads could not be started: %1").arg(m_process->errorString()));
    });
    m_process->start(QCoreApplication::applicationFilePath(), {QLatin1String(helperOption), m_work});
}

void HelperProcess::end()
{
    m_limit.stop();
    m_patience.stop();
    m_unanswered = 0;
    m_hasSize = false;
    m_answer = {};
    if (!m_process)
        return;
    m_process->disconnect(this);
    m_process->kill();
    connect(m_process, &QProcess::finished, m_process, &QObject::deleteLater);
    if (m_process->state() == QProcess::NotRunning)
        m_process->deleteLater();
    m_process = nullptr;
}

void HelperProcess::ask(const QByteArray &request, int allowed)
{
    m_isBusy = true;
    m_nextAllowed = allowed;
    if (m_unanswered == 0) {
        send(request);
        return;
    }
    m_next = request;
    m_limit.stop();
    if (!m_patience.isActive())
        m_patience.start(patience);
}

void HelperProcess::giveUp()
{
    m_isBusy = false;
    m_next.reset();
}

void HelperProcess::send(const QByteArray &request)
{
    const auto size = quint64(request.size());
    m_process->write(reinterpret_cast<const char *>(&size), sizeof size);
    m_process->write(request);
    ++m_unanswered;
    if (m_nextAllowed > 0)
        m_limit.start(m_nextAllowed);
}

void HelperProcess::receive()
{
    while (m_process && m_process->bytesAvailable() > 0) {
        if (!m_hasSize) {
            if (m_process->bytesAvailable() < qint64(sizeof m_size))
                return;
            m_process->read(reinterpret_cast<char *>(&m_size), sizeof m_size);
            m_hasSize = true;
            m_answer.reserve(qsizetype(m_size));
        }
        const qsizetype before = m_answer.size();
        const qsizetype part = std::min<qsizetype>(qsizetype(m_size) - before, m_process->bytesAvailable());
        m_answer.resize(before + part);
        m_process->read(m_answer.data() + before, part);
        if (m_answer.size() < qsizetype(m_size))
            continue;
        m_hasSize = false;
        m_limit.stop();
        m_patience.stop();
        --m_unanswered;
        const QByteArray answer = std::exchange(m_answer, {});
        if (m_next) {
            send(*std::exchange(m_next, std::nullopt));
        } else if (std::exchange(m_isBusy, false)) {
            Q_EMIT answered(answer);
        }
    }
}

void HelperProcess::fail(const QString &reason)
{
    if (std::exchange(m_isBusy, false))
        Q_EMIT failed(reason);
}

} // namespace reader
