#pragma once

#include <csignal>
#include <sys/resource.h>

// While it lives, no file of this process grows beyond so many bytes, as on a disk that is full; 0: any does.
class SmallDisk {
public:
    explicit SmallDisk(long bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        if (bytes <= 0)
            return;
        const rlimit small{static_cast<rlim_t>(bytes), m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallDisk() { setrlimit(RLIMIT_FSIZE, &m_before); }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

private:
    rlimit m_before{};
};
