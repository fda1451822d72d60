// Winsock's fd_set lists sockets, not descriptor numbers: no socket is ever beyond FD_SETSIZE,
// so there is nothing to hold.
#pragma once

#include <memory>

struct CDescriptorHog
{
    int m_iNext;
};

inline std::unique_ptr<CDescriptorHog> HogLowDescriptors()
{
    return nullptr;
}
