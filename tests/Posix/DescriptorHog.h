// Sockets whose descriptor numbers lie beyond FD_SETSIZE, which select() cannot watch.
#pragma once

#include <fcntl.h>
#include <memory>
#include <sys/resource.h>
#include <sys/select.h>
#include <unistd.h>
#include <vector>

// Holds every free descriptor below FD_SETSIZE (raising the soft limit when it is lower), so that
// the next socket gets one at or above it.
class CDescriptorHog
{
public:
    CDescriptorHog()
    {
        ::getrlimit(RLIMIT_NOFILE, &m_oLimit);
        const rlim_t wanted = FD_SETSIZE + 16;
        if (m_oLimit.rlim_cur < wanted)
        {
            rlimit raised = m_oLimit;
            raised.rlim_cur = wanted;
            if (m_oLimit.rlim_max != RLIM_INFINITY && m_oLimit.rlim_max < wanted)
                raised.rlim_cur = m_oLimit.rlim_max;
            ::setrlimit(RLIMIT_NOFILE, &raised);
        }
        int fd;
        while ((fd = ::open("/dev/null", O_RDONLY)) >= 0 && fd < FD_SETSIZE)
            m_oHeld.push_back(fd);
        if (fd >= 0)
            ::close(fd);
        m_iNext = fd;
    }
    ~CDescriptorHog()
    {
        for (int fd : m_oHeld)
            ::close(fd);
        ::setrlimit(RLIMIT_NOFILE, &m_oLimit);
    }
    // The lowest free descriptor, or -1 when the limit stops below FD_SETSIZE.
    int m_iNext;

private:
    rlimit m_oLimit;
    std::vector<int> m_oHeld;
};

inline std::unique_ptr<CDescriptorHog> HogLowDescriptors()
{
    return std::unique_ptr<CDescriptorHog>(new CDescriptorHog);
}
