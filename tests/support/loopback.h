#pragma once

#include <QtGlobal>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

// Sockets on 127.0.0.1, which the servers and proxies of the tests are made of.

inline sockaddr_in loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// A listening socket; `port` becomes the free one that it has.
inline int listenOnLoopback(int &port)
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    auto *any = reinterpret_cast<sockaddr *>(&address);
    if (bind(listener, any, size) != 0 || listen(listener, 10) != 0 || getsockname(listener, any, &size) != 0)
        qFatal("no port to listen on");
    port = ntohs(address.sin_port);
    return listener;
}

// Below 0: nobody listens there.
inline int connectToLoopback(int port)
{
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = loopback(port);
    if (connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return descriptor;
    close(descriptor);
    return -1;
}

// Several packets a statement: the system would hold each back until the one before is confirmed.
inline void sendAtOnce(int descriptor)
{
    const int isOn = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof isOn);
}
