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

    operator CppUtil::Platform::CRITICAL_SECTION*() { return &m_sect; }

    CppUtil::Platform::BOOL Lock();
    /// A critical section cannot wait with a time limit: other than 0 and INFINITE, the time is
    /// spent retrying, a millisecond apart.
    CppUtil::Platform::BOOL Lock(CppUtil::Platform::DWORD dwTimeout) override;
    CppUtil::Platform::BOOL Unlock() override;

    CppUtil::Platform::CRITICAL_SECTION m_sect;
};
