/// @file
/// The base of the lockable synchronisation objects, as in MFC, so that CSingleLock guards any of
/// them.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"

class CPPUTIL_API CSyncObject
{
public:
    /// The name is kept for MFC's signature only; objects are unnamed.
    explicit CSyncObject(CppUtil::Platform::LPCSTR pstrName);
    /// Closes m_hObject.
    virtual ~CSyncObject();
    CSyncObject(const CSyncObject&) = delete;
    CSyncObject& operator=(const CSyncObject&) = delete;

    operator CppUtil::Platform::HANDLE() const { return m_hObject; }

    /// Waits for m_hObject; TRUE when it was acquired within the time.
    virtual CppUtil::Platform::BOOL
    Lock(CppUtil::Platform::DWORD dwTimeout = CppUtil::Platform::k_dwInfinite);
    virtual CppUtil::Platform::BOOL Unlock() = 0;

    /// Null for objects that are not kernel handles (CCriticalSection).
    CppUtil::Platform::HANDLE m_hObject;
};
