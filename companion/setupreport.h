#pragma once

#include "companion/interruption.h"

#include "importing/observer.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QJsonObject>
#include <QList>

#include <string>
#include <vector>

namespace companion {

class ConsoleHost;

/// What `setup` tells when it has come to its end: lines for people, or for programs a JSON object a line.
///
/// Each object has an "event", and a "text" that says the same to people.
class SetupReport {
public:
    explicit SetupReport(bool asJson) : m_asJson(asJson) {}

    /// A line. @p text is bytes for people, UTF-8 but for names of files that are not.
    void line(QLatin1StringView event, const QByteArray &text, QJsonObject fields = {});
    /// Lines below a title, which JSON objects have as "title"; nothing when there are none.
    struct Entry {
        QByteArray text;
        QJsonObject fields = {};
    };
    void list(QLatin1StringView event, const QByteArray &title, const std::vector<Entry> &entries);
    /// Prints on standard error, at once, what went wrong. What was told before and not printed is dropped:
    /// it has not come to pass.
    void error(const QByteArray &text);

    /// Prints what was told since the last time.
    void print();

private:
    struct Line {
        QByteArray text;
        bool isTitle = false;
    };

    bool m_asJson;
    std::vector<Line> m_lines;
};

/// Shows how far an import is: as a bar on the console, or as events for programs. Stops it when a signal has
/// come that asks for it.
class SetupProgress final : public importing::Observer {
public:
    SetupProgress(ConsoleHost &host, bool asJson);

    using Observer::progress;
    void progress(importing::Stage stage, qsizetype done, qsizetype total, double part) override;
    void copied(const std::filesystem::path &source, const std::filesystem::path &destination) override;
    [[nodiscard]] bool isStopped() const override;
    void end();
    /// The signal that has come; 0 when none has.
    [[nodiscard]] int signal() const { return m_interruption.signal(); }

    /// How far it came, in words.
    [[nodiscard]] QByteArray reached() const;

private:
    ConsoleHost &m_host;
    bool m_asJson;
    Interruption m_interruption;
    QElapsedTimer m_sinceShown;
    importing::Stage m_stage = importing::Stage::Looking;
    qsizetype m_done = 0;
    qsizetype m_total = 0;
};

} // namespace companion
