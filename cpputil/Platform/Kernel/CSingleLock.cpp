#include "CSingleLock.h"
#include "WinSync.h"

CSingleLock::CSingleLock(CSyncObject* pObject, BOOL bInitialLock)
    : m_poObject(pObject), m_bAcquired(FALSE)
{
    if (bInitialLock)
        Lock();
}

CSingleLock::~CSingleLock()
{
    Unlock();
}

BOOL CSingleLock::Lock(DWORD dwTimeOut)
{
    // Locking twice through one guard would need two unlocks the guard cannot count.
    if (m_bAcquired)
        return TRUE;
    m_bAcquired = m_poObject->Lock(dwTimeOut);
    return m_bAcquired;
}

BOOL CSingleLock::Unlock()
{
    if (m_bAcquired)
        m_bAcquired = m_poObject->Unlock() ? FALSE : TRUE;
    return !m_bAcquired;
}
