/// @file
/// An auto- or manual-reset event, as MFC's CEvent. Lock waits for it; an auto-reset event lets
/// exactly one waiter through per SetEvent.
#pragma once

#include "../../CppUtil.Api.h"
#include "CSyncObject.h"

class CPPUTIL_API CEvent : public CSyncObject
{
public:
    /// Throws std::system_error when the system has no event left to give (or, on POSIX, when
    /// a name is given: named events are not supported there).
    explicit CEvent(CppUtil::Platform::BOOL bInitiallyOwn = 0,
                    CppUtil::Platform::BOOL bManualReset = 0,
                    CppUtil::Platform::LPCSTR lpszName = nullptr,
                    CppUtil::Platform::LPSECURITY_ATTRIBUTES lpsaAttribute = nullptr);

    CppUtil::Platform::BOOL SetEvent();
    CppUtil::Platform::BOOL ResetEvent();
    /// An event has nothing to give back.
    CppUtil::Platform::BOOL Unlock() override;
};
