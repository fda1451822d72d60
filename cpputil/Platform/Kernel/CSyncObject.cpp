#include "CSyncObject.h"
#include "WinSync.h"

CSyncObject::CSyncObject(LPCSTR) : m_hObject(nullptr) {}

CSyncObject::~CSyncObject()
{
    if (m_hObject)
        ::CloseHandle(m_hObject);
}

BOOL CSyncObject::Lock(DWORD dwTimeout)
{
    return ::WaitForSingleObject(m_hObject, dwTimeout) == WAIT_OBJECT_0 ? TRUE : FALSE;
}
