/// @file
/// A thread with its own message loop, with the part of MFC's CWinThread the library's threads are
/// written against.
#pragma once

#include "../../CppUtil.Api.h"
#include "../Types/ApiTypes.h"

typedef CppUtil::Platform::UINT (*AFX_THREADPROC)(CppUtil::Platform::LPVOID pParam);

class CPPUTIL_API CWinThread
{
public:
    /// A thread whose work is InitInstance, Run and ExitInstance.
    CWinThread();
    /// A worker: the thread runs pfnThreadProc(pParam) and ends with its result.
    CWinThread(AFX_THREADPROC pfnThreadProc, CppUtil::Platform::LPVOID pParam);
    virtual ~CWinThread();
    CWinThread(const CWinThread&) = delete;
    CWinThread& operator=(const CWinThread&) = delete;

    /// Starts the thread. It has its message queue when this returns, so PostThreadMessage works
    /// at once; with CREATE_SUSPENDED it does nothing more until ResumeThread. A thread created
    /// suspended must be resumed before its object is deleted.
    CppUtil::Platform::BOOL
    CreateThread(CppUtil::Platform::DWORD dwCreateFlags = 0, CppUtil::Platform::UINT nStackSize = 0,
                 CppUtil::Platform::LPSECURITY_ATTRIBUTES lpSecurityAttrs = nullptr);
    /// Returns the previous suspend count: 1 when this call let the thread go on, otherwise 0.
    CppUtil::Platform::DWORD ResumeThread();
    CppUtil::Platform::BOOL SetThreadPriority(int nPriority);
    CppUtil::Platform::BOOL PostThreadMessage(CppUtil::Platform::UINT message,
                                              CppUtil::Platform::WPARAM wParam,
                                              CppUtil::Platform::LPARAM lParam);

    operator CppUtil::Platform::HANDLE() const { return m_hThread; }

    /// Run only when InitInstance returns TRUE; otherwise the thread goes straight to
    /// ExitInstance.
    virtual CppUtil::Platform::BOOL InitInstance();
    /// Dispatches the thread's messages until WM_QUIT, then returns ExitInstance().
    virtual int Run();
    /// The thread's exit code; by default the WM_QUIT's wParam.
    virtual int ExitInstance();
    /// Called last on the thread; deletes the object when m_bAutoDelete is set.
    virtual void Delete();

    /// With TRUE (the default), the object deletes itself when its thread ends: the creator must
    /// not touch it, nor m_hThread, once it has let the thread run.
    CppUtil::Platform::BOOL m_bAutoDelete;
    /// Waitable: signalled when the thread has ended. Closed by the destructor.
    CppUtil::Platform::HANDLE m_hThread;
    CppUtil::Platform::DWORD m_nThreadID;

protected:
    /// Run's handling of m_msgCur, the message it has just taken: translates and dispatches it.
    /// FALSE ends the loop there, as WM_QUIT would.
    virtual CppUtil::Platform::BOOL DispatchCurrentMessage();

    CppUtil::Platform::MSG m_msgCur;
    AFX_THREADPROC m_pfnThreadProc;
    CppUtil::Platform::LPVOID m_pThreadParams;

private:
    static CppUtil::Platform::DWORD ThreadEntry(CppUtil::Platform::LPVOID pParam);

    CppUtil::Platform::HANDLE m_hStarted;
    CppUtil::Platform::HANDLE m_hResume;
    CppUtil::Platform::DWORD m_dwSuspendCount;
};

/// Starts pThread (see CWinThread::CreateThread) and returns it, or deletes it (when it is
/// auto-deleting) and returns null when the thread cannot be started.
CPPUTIL_API CWinThread*
AfxBeginThread(CWinThread* pThread, int nPriority = CppUtil::Platform::k_iThreadPriorityNormal,
               CppUtil::Platform::UINT nStackSize = 0, CppUtil::Platform::DWORD dwCreateFlags = 0,
               CppUtil::Platform::LPSECURITY_ATTRIBUTES lpSecurityAttrs = nullptr);
CPPUTIL_API CWinThread*
AfxBeginThread(AFX_THREADPROC pfnThreadProc, CppUtil::Platform::LPVOID pParam,
               int nPriority = CppUtil::Platform::k_iThreadPriorityNormal,
               CppUtil::Platform::UINT nStackSize = 0, CppUtil::Platform::DWORD dwCreateFlags = 0,
               CppUtil::Platform::LPSECURITY_ATTRIBUTES lpSecurityAttrs = nullptr);
