#pragma once

#include "platform/failure.h"
#include "platform/host.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QElapsedTimer>
#include <QStringView>

namespace companion {

/// How much is told beside results and failures: nothing, as usual, or every step. Set once, at the start.
enum class Verbosity : quint8 { Quiet, Usual, Verbose };
void setVerbosity(Verbosity verbosity);
[[nodiscard]] Verbosity verbosity();

/// Whether a terminal shows standard output.
[[nodiscard]] bool outputIsTerminal();

// What is printed reaches pipes and files as it is. A terminal gets it without what it would obey: see
// platform::terminalText().

/// Writes bytes to standard output.
void print(QByteArrayView bytes);
/// Writes text and a line feed to standard output, or to standard error.
void printLine(QStringView text);
void printLine(QByteArrayView bytes);
void printError(QStringView text);
void printError(QByteArrayView bytes);
void printError(const platform::Failure &failure);

/// Whether all that was printed to standard output has arrived there; a disk may have been full.
[[nodiscard]] bool outputIsWhole();

/// The console as host of the model: the console log on standard error, and below it, when that is a
/// terminal, a progress bar that keeps the last line while the log scrolls above.
class ConsoleHost final : public platform::Host {
public:
    /// Installs itself for its lifetime.
    /// @param quiet whether to drop both the console log and the bar.
    explicit ConsoleHost(bool quiet);
    ~ConsoleHost() override;
    ConsoleHost(const ConsoleHost &) = delete;
    ConsoleHost &operator=(const ConsoleHost &) = delete;

    void consoleLine(QByteArrayView line) override;
    void beep() override;
    /// A line on standard error, also when quiet.
    void dialog(const QString &message) override;

    /// Shows the bar filled to @p part, from 0 to 1, and @p text beside it; no more than some times a second.
    void showProgress(double part, QByteArray text);
    /// The bar at @p value of @p maximum, and both in words; a value past the maximum shows it full.
    /// @param unit what is counted, in the plural.
    void showProgress(qsizetype value, qsizetype maximum, QByteArrayView unit = "entries");
    /// Names the file that is at work. While the bar is shown, a line of the console log that holds nothing
    /// but that name is left out, unless everything is to be told (Verbosity::Verbose).
    void setEntry(QByteArray path) { m_entry = std::move(path); }
    /// Takes the bar away.
    void endProgress();

private:
    void drawBar() const;
    void eraseBar() const;

    platform::Host *m_previous;
    bool m_quiet;
    bool m_terminal;
    bool m_barShown = false;
    QByteArray m_entry;
    double m_part = 0;
    QByteArray m_text;
    QElapsedTimer m_sinceDrawn;
};

} // namespace companion
