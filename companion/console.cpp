#include "companion/console.h"

#include "platform/text/encoding.h"
#include "platform/text/terminaltext.h"

#include <algorithm>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

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

void ConsoleHost::showProgress(qsizetype value, qsizetype maximum, QByteArrayView unit)
{
    if (m_quiet || !m_terminal)
        return;
    m_value = value;
    m_maximum = maximum;
    m_unit = unit.toByteArray();
    m_barShown = true;
    eraseBar();
    drawBar();
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
    const qsizetype done = std::min(m_value, m_maximum);
    const QByteArray entries = ' ' + QByteArray::number(m_value) + ' ' + m_unit; // may pass the maximum
    if (m_maximum == 0 && m_value > 0)
        return control(entries.sliced(1)); // how far it is to the end nobody knows
    const qsizetype width = std::max<qsizetype>(terminalWidth() - entries.size() - 3, 10);
    const qsizetype filled = m_maximum > 0 ? width * done / m_maximum : width;
    control('[' + QByteArray(filled, '#') + QByteArray(width - filled, ' ') + ']' + entries);
}

void ConsoleHost::eraseBar() const
{
    if (m_barShown)
        control("\r\033[K");
}

} // namespace companion
