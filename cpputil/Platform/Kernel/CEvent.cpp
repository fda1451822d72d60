#include "CEvent.h"
#include "WinSync.h"

#include <system_error>

CEvent::CEvent(BOOL bInitiallyOwn, BOOL bManualReset, LPCSTR lpszName,
               LPSECURITY_ATTRIBUTES lpsaAttribute)
    : CSyncObject(lpszName)
{
    m_hObject = ::CreateEvent(lpsaAttribute, bManualReset, bInitiallyOwn, lpszName);
    if (!m_hObject)
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(),
                                "CEvent");
}

BOOL CEvent::SetEvent()
{
    return ::SetEvent(m_hObject);
}

BOOL CEvent::ResetEvent()
{
    return ::ResetEvent(m_hObject);
}

BOOL CEvent::Unlock()
{
    return TRUE;
}
