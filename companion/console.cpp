#include "companion/console.h"

#include "platform/text/encoding.h"

#include <algorithm>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace companion {

namespace {

Verbosity chosenVerbosity = Verbosity::Usual;

void write(std::FILE *stream, QByteArrayView bytes)
{
    std::fwrite(bytes.data(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
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

void printLine(QByteArrayView bytes)
{
    write(stdout, bytes.toByteArray() + '\n');
}

void printLine(QStringView text)
{
    printLine(QByteArrayView(platform::utf8FromString(text)));
}

void printError(QByteArrayView bytes)
{
    write(stderr, bytes.toByteArray() + '\n');
}

void printError(QStringView text)
{
    printError(QByteArrayView(platform::utf8FromString(text)));
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
        write(stderr, "\a");
}

void ConsoleHost::dialog(const QString &message)
{
    eraseBar();
    printError(message);
    drawBar();
}

void ConsoleHost::showProgress(qsizetype value, qsizetype maximum)
{
    if (m_quiet || !m_terminal)
        return;
    m_value = value;
    m_maximum = maximum;
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
    const QByteArray entries = ' ' + QByteArray::number(m_value) + " entries"; // may pass the maximum
    const qsizetype width = std::max<qsizetype>(terminalWidth() - entries.size() - 3, 10);
    const qsizetype filled = m_maximum > 0 ? width * done / m_maximum : width;
    write(stderr, '[' + QByteArray(filled, '#') + QByteArray(width - filled, ' ') + ']' + entries);
}

void ConsoleHost::eraseBar() const
{
    if (m_barShown)
        write(stderr, "\r\033[K");
}

} // namespace companion
