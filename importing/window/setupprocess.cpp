#include "importing/window/setupprocess.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QStandardPaths>

SetupProcess::SetupProcess(QObject *parent) : QObject(parent) {}

SetupProcess::~SetupProcess()
{
    if (!m_process)
        return;
    m_process->disconnect(this);
    m_process->terminate();
    m_process->waitForFinished();
}

QString SetupProcess::companion()
{
    const QString name = QStringLiteral("prattlebug");
    const QString beside = QStandardPaths::findExecutable(name, {QCoreApplication::applicationDirPath()});
    return beside.isEmpty() ? QStandardPaths::findExecutable(name) : beside;
}

void SetupProcess::start(const QStringList &arguments)
{
    if (m_process) {
        m_process->disconnect(this);
        connect(m_process, &QProcess::finished, m_process, &QObject::deleteLater);
        m_process->terminate();
    }
    m_events = {};
    m_lines.clear();
    m_title.clear();
    m_errors.clear();
    m_process = new QProcess(this);
    connect(m_process, &QProcess::readyReadStandardOutput, this, &SetupProcess::readLines);
    connect(m_process, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
        readLines();
        if (code != 0 && m_errors.isEmpty())
            m_errors += QString::fromLocal8Bit(m_process->readAllStandardError()).trimmed();
        end(status == QProcess::NormalExit && code == 0);
    });
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        m_errors += tr("The program “prattlebug”, which imports the chats, could not be started: %1")
                        .arg(m_process->errorString());
        end(false);
    });
    m_process->start(companion(), QStringList{QStringLiteral("setup"), QStringLiteral("--json")} + arguments,
                     QIODevice::ReadOnly);
}

void SetupProcess::stop()
{
    if (m_process)
        m_process->terminate(); // what it takes for ^C
}

std::optional<QJsonObject> SetupProcess::event(const QString &name) const
{
    const QJsonValue event = m_events.value(name);
    return event.isObject() ? std::optional(event.toObject()) : std::nullopt;
}

void SetupProcess::readLines()
{
    while (m_process->canReadLine()) {
        const QJsonObject event = QJsonDocument::fromJson(m_process->readLine()).object();
        const QString name = event.value(u"event").toString();
        const QString text = event.value(u"text").toString();
        if (name == u"missing" || name == u"next")
            continue; // how to go on at the console
        if (name == u"progress") {
            Q_EMIT progressed(text, event.value(u"part").toDouble());
            continue;
        }
        m_events.insert(name, event);
        if (name == u"error") {
            m_errors += text;
            continue;
        }
        const QString title = event.value(u"title").toString();
        if (!title.isEmpty() && title != m_title)
            m_lines += title;
        m_title = title;
        m_lines += title.isEmpty() ? text : QStringLiteral("    ") + text;
    }
}

void SetupProcess::end(bool succeeded)
{
    m_process->disconnect(this);
    m_process->deleteLater();
    m_process = nullptr;
    Q_EMIT finished(succeeded);
}
