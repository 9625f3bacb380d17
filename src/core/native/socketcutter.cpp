#include "core/native/socketcutter.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

void SocketCutter::watch(int socket)
{
    release();
    const std::lock_guard lock(m_mutex);
    m_socket = fcntl(socket, F_DUPFD_CLOEXEC, 0);
}

void SocketCutter::release()
{
    const std::lock_guard lock(m_mutex);
    if (m_socket >= 0)
        close(m_socket);
    m_socket = -1;
}

bool SocketCutter::cut()
{
    const std::lock_guard lock(m_mutex);
    return m_socket >= 0 && shutdown(m_socket, SHUT_RDWR) == 0;
}
