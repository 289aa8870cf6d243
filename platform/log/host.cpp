#include "platform/host.h"

#include "platform/text/encoding.h"

#include <cstdio>

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
    QByteArray text = line.toByteArray();
    text += '\n';
    std::fwrite(text.constData(), 1, size_t(text.size()),
                stderr); // one write: lines of two programs do not mix
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
