/// @file
/// A recursive lock, as MFC's CCriticalSection: the owning thread may lock it again, and must
/// unlock it as often as it locked it.
#pragma once

#include "../../CppUtil.Api.h"
#include "CSyncObject.h"

class CPPUTIL_API CCriticalSection : public CSyncObject
{
public:
    CCriticalSection();
    ~CCriticalSection() override;

    operator CRITICAL_SECTION*() { return &m_sect; }

    BOOL Lock();
    /// A critical section cannot wait with a time limit: other than 0 and INFINITE, the time is
    /// spent retrying, a millisecond apart.
    BOOL Lock(DWORD dwTimeout) override;
    BOOL Unlock() override;

    CRITICAL_SECTION m_sect;
};
