#include "CCriticalSection.h"
#include "WinSync.h"

#include <chrono>

CCriticalSection::CCriticalSection() : CSyncObject(nullptr)
{
    ::InitializeCriticalSection(&m_sect);
}

CCriticalSection::~CCriticalSection()
{
    ::DeleteCriticalSection(&m_sect);
}

BOOL CCriticalSection::Lock()
{
    ::EnterCriticalSection(&m_sect);
    return TRUE;
}

BOOL CCriticalSection::Lock(DWORD dwTimeout)
{
    if (dwTimeout == INFINITE)
        return Lock();
    const std::chrono::steady_clock::time_point deadline =
        std::chrono::steady_clock::now() + std::chrono::milliseconds(dwTimeout);
    while (!::TryEnterCriticalSection(&m_sect))
    {
        if (std::chrono::steady_clock::now() >= deadline)
            return FALSE;
        ::Sleep(1);
    }
    return TRUE;
}

BOOL CCriticalSection::Unlock()
{
    ::LeaveCriticalSection(&m_sect);
    return TRUE;
}
