#include "CWinThread.h"
#include "WinMessages.h"

#include "CWnd.h"

CWinThread::CWinThread() : CWinThread(nullptr, nullptr) {}

CWinThread::CWinThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam)
    : m_bAutoDelete(TRUE), m_hThread(nullptr), m_nThreadID(0), m_msgCur(),
      m_pfnThreadProc(pfnThreadProc), m_pThreadParams(pParam), m_hStarted(nullptr),
      m_hResume(nullptr), m_dwSuspendCount(0)
{
}

CWinThread::~CWinThread()
{
    if (m_hThread)
        ::CloseHandle(m_hThread);
    if (m_hStarted)
        ::CloseHandle(m_hStarted);
    if (m_hResume)
        ::CloseHandle(m_hResume);
}

BOOL CWinThread::CreateThread(DWORD dwCreateFlags, UINT nStackSize,
                              LPSECURITY_ATTRIBUTES lpSecurityAttrs)
{
    if (m_hThread || m_hStarted)
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    m_hStarted = ::CreateEvent(nullptr, TRUE, FALSE, nullptr);
    m_hResume = ::CreateEvent(nullptr, TRUE, FALSE, nullptr);
    if (!m_hStarted || !m_hResume)
        return FALSE;
    // The thread always waits at the resume gate, also when it was not asked to: until the gate
    // opens, this object belongs to the creator, which may still be filling it in.
    m_dwSuspendCount = (dwCreateFlags & CREATE_SUSPENDED) ? 1 : 0;
    DWORD threadId = 0;
    const HANDLE hThread =
        ::CreateThread(lpSecurityAttrs, nStackSize, &ThreadEntry, this,
                       dwCreateFlags & STACK_SIZE_PARAM_IS_A_RESERVATION, &threadId);
    if (!hThread)
        return FALSE;
    m_hThread = hThread;
    m_nThreadID = threadId;
    ::WaitForSingleObject(m_hStarted, INFINITE);
    if (m_dwSuspendCount == 0)
        ::SetEvent(m_hResume);
    return TRUE;
}

DWORD CWinThread::ResumeThread()
{
    if (!m_hThread)
    {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return static_cast<DWORD>(-1);
    }
    const DWORD previous = m_dwSuspendCount;
    // The last touch of the object: an auto-deleting thread may be gone right after.
    if (previous != 0 && --m_dwSuspendCount == 0)
        ::SetEvent(m_hResume);
    return previous;
}

BOOL CWinThread::SetThreadPriority(int nPriority)
{
    return ::SetThreadPriority(m_hThread, nPriority);
}

BOOL CWinThread::PostThreadMessage(UINT message, WPARAM wParam, LPARAM lParam)
{
    return ::PostThreadMessage(m_nThreadID, message, wParam, lParam);
}

BOOL CWinThread::InitInstance()
{
    return FALSE;
}

int CWinThread::Run()
{
    for (;;)
    {
        CWnd::CHandlerCall call(true);
        const BOOL result = ::GetMessage(&m_msgCur, nullptr, 0, 0);
        // -1 cannot happen without a window filter; ending beats spinning if it ever does.
        if (result == 0 || result == -1)
        {
            // A handler failed while GetMessage waited: the failure leaves first, and the quit
            // stays queued for the next turn.
            if (result == 0 && call.Failed())
                ::PostQuitMessage(static_cast<int>(m_msgCur.wParam));
            call.Rethrow();
            return ExitInstance();
        }
        // The message is already taken: it is handled before a failure leaves, or it is lost.
        const BOOL goOn = DispatchCurrentMessage();
        call.Rethrow();
        if (!goOn)
            return ExitInstance();
    }
}

BOOL CWinThread::DispatchCurrentMessage()
{
    ::TranslateMessage(&m_msgCur);
    ::DispatchMessage(&m_msgCur);
    return TRUE;
}

int CWinThread::ExitInstance()
{
    return static_cast<int>(m_msgCur.wParam);
}

void CWinThread::Delete()
{
    if (m_bAutoDelete)
        delete this;
}

DWORD CWinThread::ThreadEntry(LPVOID pParam)
{
    CWinThread* const thread = static_cast<CWinThread*>(pParam);
    // Peeking makes the thread's message queue, so that messages posted to the thread as soon
    // as its creator goes on are not refused.
    MSG message;
    ::PeekMessage(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    ::SetEvent(thread->m_hStarted);
    ::WaitForSingleObject(thread->m_hResume, INFINITE);

    int exitCode = 0;
    if (thread->m_pfnThreadProc)
        exitCode = static_cast<int>(thread->m_pfnThreadProc(thread->m_pThreadParams));
    else if (!thread->InitInstance())
        exitCode = thread->ExitInstance();
    else
        exitCode = thread->Run();
    thread->Delete();
    return static_cast<DWORD>(exitCode);
}

CWinThread* AfxBeginThread(CWinThread* pThread, int nPriority, UINT nStackSize, DWORD dwCreateFlags,
                           LPSECURITY_ATTRIBUTES lpSecurityAttrs)
{
    if (!pThread->CreateThread(dwCreateFlags | CREATE_SUSPENDED, nStackSize, lpSecurityAttrs))
    {
        pThread->Delete();
        return nullptr;
    }
    pThread->SetThreadPriority(nPriority);
    if (!(dwCreateFlags & CREATE_SUSPENDED))
        pThread->ResumeThread();
    return pThread;
}

CWinThread* AfxBeginThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam, int nPriority,
                           UINT nStackSize, DWORD dwCreateFlags,
                           LPSECURITY_ATTRIBUTES lpSecurityAttrs)
{
    return AfxBeginThread(new CWinThread(pfnThreadProc, pParam), nPriority, nStackSize,
                          dwCreateFlags, lpSecurityAttrs);
}
