#include "platform/host.h"

#include "platform/text/encoding.h"
#include "platform/text/terminaltext.h"

#include <cstdio>
#include <utility>

namespace platform {

namespace {

Host &defaultHost()
{
    static Host host;
    return host;
}

Host *installedHost = nullptr; // the process's one host; see the class

} // namespace

void Host::consoleLine(QByteArrayView line)
{
    writeText(stderr, line.toByteArray() + '\n'); // in one piece: lines of two programs do not mix
}

void Host::beep() {}

void Host::dialog(const QString &message)
{
    consoleLine(utf8FromString(message));
}

Host &Host::current()
{
    return installedHost ? *installedHost : defaultHost();
}

Host *Host::install(Host *host)
{
    return std::exchange(installedHost, host);
}

} // namespace platform
