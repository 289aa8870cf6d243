#include "companion/setupreport.h"

#include "companion/console.h"
#include "companion/terminal.h"

#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <QJsonDocument>

#include <array>
#include <utility>

namespace companion {

namespace {

QByteArray jsonLine(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

const char *nameOf(importing::Stage stage)
{
    static constexpr std::array names{"looking", "reading", "copying"};
    return names.at(size_t(stage));
}

const char *unitOf(importing::Stage stage)
{
    static constexpr std::array units{"files looked at", "transcripts read", "transcripts copied"};
    return units.at(size_t(stage));
}

} // namespace

void SetupReport::line(QLatin1StringView event, const QByteArray &text, QJsonObject fields)
{
    if (m_asJson) {
        fields.insert(QStringLiteral("event"), event);
        fields.insert(QStringLiteral("text"), platform::stringFromUtf8(text));
    }
    m_lines.push_back({m_asJson ? jsonLine(fields) : text});
}

void SetupReport::list(QLatin1StringView event, const QByteArray &title, const std::vector<Entry> &entries)
{
    if (!m_asJson && !entries.empty())
        m_lines.push_back({title, true});
    for (const Entry &entry : entries) {
        QJsonObject fields = entry.fields;
        fields.insert(QStringLiteral("title"), platform::stringFromUtf8(title));
        line(event, m_asJson ? entry.text : "    " + entry.text, fields);
    }
}

void SetupReport::error(const QByteArray &text)
{
    m_lines.clear();
    if (m_asJson)
        line(QLatin1StringView("error"), text);
    print();
    printFailure(text);
}

void SetupReport::print()
{
    if (!m_asJson && verbosity() == Verbosity::Quiet)
        m_lines.clear();
    for (const Line &line : std::exchange(m_lines, {})) {
        if (line.isTitle)
            printHeading(line.text);
        else
            printLine(QByteArrayView(line.text));
    }
}

SetupProgress::SetupProgress(ConsoleHost &host, bool asJson) : m_host(host), m_asJson(asJson) {}

void SetupProgress::progress(importing::Stage stage, qsizetype done, qsizetype total, double part)
{
    constexpr qint64 interval = 100; // milliseconds
    const bool isNew = stage != m_stage || !m_sinceShown.isValid();
    m_stage = stage;
    m_done = done;
    m_total = total;
    if (!m_asJson) {
        m_host.showProgress(part, reached());
    } else if (verbosity() != Verbosity::Quiet &&
               (isNew || done == total || m_sinceShown.hasExpired(interval))) {
        m_sinceShown.start();
        QJsonObject event{{QStringLiteral("event"), QStringLiteral("progress")},
                          {QStringLiteral("stage"), QLatin1StringView(nameOf(stage))},
                          {QStringLiteral("done"), done},
                          {QStringLiteral("part"), part},
                          {QStringLiteral("text"), platform::stringFromUtf8(reached())}};
        if (total > 0)
            event.insert(QStringLiteral("total"), total);
        printLine(QByteArrayView(jsonLine(event)));
    }
}

void SetupProgress::copied(const std::filesystem::path &source, const std::filesystem::path &destination)
{
    if (verbosity() == Verbosity::Verbose)
        printError(
            QByteArrayView(QByteArray::fromStdString(source.native() + " -> " + destination.native())));
}

bool SetupProgress::isStopped() const
{
    return signal() != 0;
}

void SetupProgress::end()
{
    m_host.endProgress();
}

QByteArray SetupProgress::reached() const
{
    const QByteArray total = m_total > 0 ? " of " + QByteArray::number(m_total) : QByteArray();
    return QByteArray::number(m_done) + total + ' ' + unitOf(m_stage);
}

} // namespace companion
