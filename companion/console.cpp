#include "companion/console.h"

#include "platform/text/encoding.h"
#include "platform/text/terminaltext.h"

#include <algorithm>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace companion {

namespace {

Verbosity chosenVerbosity = Verbosity::Usual;

/// Has the terminal at standard error do something.
void control(QByteArrayView sequence)
{
    std::fwrite(sequence.data(), 1, size_t(sequence.size()), stderr);
    std::fflush(stderr);
}

int terminalWidth()
{
    winsize size{};
    constexpr int usual = 80;
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usual;
}

} // namespace

void setVerbosity(Verbosity verbosity)
{
    chosenVerbosity = verbosity;
}

Verbosity verbosity()
{
    return chosenVerbosity;
}

bool outputIsTerminal()
{
    return isatty(STDOUT_FILENO) == 1;
}

void print(QByteArrayView bytes)
{
    platform::writeText(stdout, bytes);
}

void printLine(QByteArrayView bytes)
{
    print(bytes.toByteArray() + '\n');
}

void printLine(QStringView text)
{
    printLine(QByteArrayView(platform::utf8FromString(text)));
}

void printError(QByteArrayView bytes)
{
    platform::writeText(stderr, bytes.toByteArray() + '\n');
}

void printError(QStringView text)
{
    printError(QByteArrayView(platform::utf8FromString(text)));
}

void printError(const platform::Failure &failure)
{
    printError(QByteArrayView(failure.line()));
}

bool outputIsWhole()
{
    return std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
}

ConsoleHost::ConsoleHost(bool quiet)
    : m_previous(Host::install(this)), m_quiet(quiet), m_terminal(isatty(STDERR_FILENO) == 1)
{
}

ConsoleHost::~ConsoleHost()
{
    endProgress();
    Host::install(m_previous);
}

void ConsoleHost::consoleLine(QByteArrayView line)
{
    const bool isEntry = !m_entry.isEmpty() && line.endsWith("] " + m_entry);
    if (m_quiet || (isEntry && m_barShown && verbosity() != Verbosity::Verbose))
        return;
    eraseBar();
    Host::consoleLine(line);
    drawBar();
}

void ConsoleHost::beep()
{
    if (m_terminal)
        control("\a");
}

void ConsoleHost::dialog(const QString &message)
{
    eraseBar();
    printError(message);
    drawBar();
}

void ConsoleHost::showProgress(double part, QByteArray text)
{
    constexpr qint64 interval = 100; // milliseconds
    if (m_quiet || !m_terminal)
        return;
    m_part = part;
    m_text = std::move(text);
    if (m_barShown && part < 1 && !m_sinceDrawn.hasExpired(interval))
        return;
    m_sinceDrawn.start();
    m_barShown = true;
    eraseBar();
    drawBar();
}

void ConsoleHost::showProgress(qsizetype value, qsizetype maximum, QByteArrayView unit)
{
    QByteArray text = QByteArray::number(value);
    if (value <= maximum) // files may be added meanwhile
        text += " of " + QByteArray::number(maximum);
    showProgress(maximum > 0 ? double(value) / double(maximum) : 1, text + ' ' + unit.toByteArray());
}

void ConsoleHost::endProgress()
{
    eraseBar();
    m_barShown = false;
}

void ConsoleHost::drawBar() const
{
    if (!m_barShown)
        return;
    const qsizetype width = std::max<qsizetype>(terminalWidth() - m_text.size() - 4, 10);
    const qsizetype filled = qsizetype(double(width) * std::clamp(m_part, 0.0, 1.0));
    control('[' + QByteArray(filled, '#') + QByteArray(width - filled, ' ') + "] " + m_text);
}

void ConsoleHost::eraseBar() const
{
    if (m_barShown)
        control("\r\033[K");
}

} // namespace companion
