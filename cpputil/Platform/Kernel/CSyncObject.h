/// @file
/// The base of the lockable synchronisation objects, as in MFC, so that CSingleLock guards any of
/// them.
#pragma once

#include "../../CppUtil.Api.h"
#include "WinSync.h"

class CPPUTIL_API CSyncObject
{
public:
    /// The name is kept for MFC's signature only; objects are unnamed.
    explicit CSyncObject(LPCSTR pstrName);
    /// Closes m_hObject.
    virtual ~CSyncObject();
    CSyncObject(const CSyncObject&) = delete;
    CSyncObject& operator=(const CSyncObject&) = delete;

    operator HANDLE() const { return m_hObject; }

    /// Waits for m_hObject; TRUE when it was acquired within the time.
    virtual BOOL Lock(DWORD dwTimeout = INFINITE);
    virtual BOOL Unlock() = 0;

    /// Null for objects that are not kernel handles (CCriticalSection).
    HANDLE m_hObject;
};
