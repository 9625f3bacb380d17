// Preloaded: a socket that would listen on every address of the machine listens on 127.0.0.1 only.
#include <arpa/inet.h>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace {

// Programs that the program starts are none of our business.
[[gnu::constructor]] void keepFromChildren()
{
    unsetenv("LD_PRELOAD");
}

} // namespace

extern "C" int bind(int socket, const sockaddr *address, socklen_t length) noexcept
{
    using Bind = int (*)(int, const sockaddr *, socklen_t);
    static const auto realBind = reinterpret_cast<Bind>(dlsym(RTLD_NEXT, "bind"));
    if (address->sa_family == AF_INET && length >= sizeof(sockaddr_in)) {
        sockaddr_in narrowed;
        std::memcpy(&narrowed, address, sizeof narrowed);
        if (narrowed.sin_addr.s_addr == htonl(INADDR_ANY))
            narrowed.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return realBind(socket, reinterpret_cast<const sockaddr *>(&narrowed), sizeof narrowed);
    }
    if (address->sa_family == AF_INET6 && length >= sizeof(sockaddr_in6)) {
        sockaddr_in6 narrowed;
        std::memcpy(&narrowed, address, sizeof narrowed);
        // Qt's socket serves both families; the IPv4 address within IPv6 keeps 127.0.0.1 reachable.
        if (std::memcmp(&narrowed.sin6_addr, &in6addr_any, sizeof in6addr_any) == 0)
            inet_pton(AF_INET6, "::ffff:127.0.0.1", &narrowed.sin6_addr);
        return realBind(socket, reinterpret_cast<const sockaddr *>(&narrowed), sizeof narrowed);
    }
    return realBind(socket, address, length);
}
