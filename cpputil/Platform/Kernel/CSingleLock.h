/// @file
/// Holds one synchronisation object locked for a scope, as MFC's CSingleLock.
#pragma once

#include "../../CppUtil.Api.h"
#include "CSyncObject.h"

class CPPUTIL_API CSingleLock
{
public:
    explicit CSingleLock(CSyncObject* pObject, CppUtil::Platform::BOOL bInitialLock = 0);
    /// Unlocks the object when this lock holds it.
    ~CSingleLock();
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    CppUtil::Platform::BOOL
    Lock(CppUtil::Platform::DWORD dwTimeOut = CppUtil::Platform::k_dwInfinite);
    CppUtil::Platform::BOOL Unlock();
    CppUtil::Platform::BOOL IsLocked() const { return m_bAcquired; }

private:
    CSyncObject* m_poObject;
    CppUtil::Platform::BOOL m_bAcquired;
};
