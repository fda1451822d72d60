/// @file
/// Holds one synchronisation object locked for a scope, as MFC's CSingleLock.
#pragma once

#include "../../CppUtil.Api.h"
#include "CSyncObject.h"

class CPPUTIL_API CSingleLock
{
public:
    explicit CSingleLock(CSyncObject* pObject, BOOL bInitialLock = FALSE);
    /// Unlocks the object when this lock holds it.
    ~CSingleLock();
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    BOOL Lock(DWORD dwTimeOut = INFINITE);
    BOOL Unlock();
    BOOL IsLocked() const { return m_bAcquired; }

private:
    CSyncObject* m_poObject;
    BOOL m_bAcquired;
};
