#include "platform/mail/pantomime/connecting.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <future>
#include <memory>
#include <netdb.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace platform::pantomime {

namespace {

QString sentenceFor(int error)
{
    return QString::fromLocal8Bit(std::strerror(error)) + u'.';
}

HostAddress lookUp(const QByteArray &host)
{
    addrinfo wanted{};
    wanted.ai_socktype = SOCK_STREAM;
    addrinfo *first = nullptr;
    const int error = getaddrinfo(host.constData(), nullptr, &wanted, &first);
    if (error == EAI_NONAME || error == EAI_NODATA)
        return {{}, QStringLiteral("There is no such host.")};
    if (error != 0)
        return {{}, QString::fromLocal8Bit(gai_strerror(error)) + u'.'};
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> all(first, freeaddrinfo);
    for (const addrinfo *info = first; info; info = info->ai_next) {
        if (info->ai_family != AF_INET)
            continue;
        std::array<char, INET_ADDRSTRLEN> text{};
        const in_addr address = reinterpret_cast<const sockaddr_in *>(info->ai_addr)->sin_addr;
        inet_ntop(AF_INET, &address, text.data(), text.size());
        return {QByteArray(text.data()), {}};
    }
    return {{}, QStringLiteral("It has IPv6 addresses only, which the mail library cannot use.")};
}

} // namespace

HostAddress addressOf(const QByteArray &host, std::chrono::seconds patience)
{
    // The system cannot be told how long it may take. Where it takes longer, it is left to itself: the thread
    // owns what it works on.
    std::packaged_task<HostAddress()> task([host] { return lookUp(host); });
    std::future<HostAddress> answer = task.get_future();
    std::thread(std::move(task)).detach();
    if (answer.wait_for(patience) == std::future_status::ready)
        return answer.get();
    return {{}, QStringLiteral("Its address could not be found within %1 s.").arg(patience.count())};
}

QString problemOfReaching(const QByteArray &ipv4)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(1); // any; to connect a datagram socket is to look for a route
    inet_pton(AF_INET, ipv4.constData(), &address.sin_addr);
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return sentenceFor(errno);
    const int result = ::connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    const int error = result == 0 ? 0 : errno;
    ::close(descriptor);
    return error == 0 ? QString() : sentenceFor(error);
}

} // namespace platform::pantomime
