#include "FreshThreadTest.h"

#include <cpputil/Platform/Kernel/CEvent.h>
#include <cpputil/Platform/Kernel/CWinThread.h>
#include <cpputil/Platform/Kernel/WinMessages.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

namespace
{

// A thread that tells the test what it did; the test reads the record once the thread has ended.
class CProbeThread : public CWinThread
{
public:
    explicit CProbeThread(BOOL initResult, int exitBonus = 0)
        : m_bInitResult(initResult), m_iExitBonus(exitBonus), m_oInitialised(FALSE, TRUE)
    {
        m_bAutoDelete = FALSE;
    }

    BOOL InitInstance() override
    {
        m_dwInitThread = GetCurrentThreadId();
        if (m_bInitResult)
            m_poWindow = new CRecorderWnd;
        m_oInitialised.SetEvent();
        return m_bInitResult;
    }

    int Run() override
    {
        m_bRan = true;
        return CWinThread::Run();
    }

    int ExitInstance() override
    {
        m_bExited = true;
        if (m_poWindow)
        {
            m_oWindowMessages = m_poWindow->m_oMessages;
            delete m_poWindow;
        }
        return CWinThread::ExitInstance() + m_iExitBonus;
    }

    const BOOL m_bInitResult;
    const int m_iExitBonus;
    CEvent m_oInitialised;
    CRecorderWnd* m_poWindow = nullptr;
    DWORD m_dwInitThread = 0;
    bool m_bRan = false;
    bool m_bExited = false;
    std::vector<UINT> m_oWindowMessages;
};

DWORD ExitCode(HANDLE thread)
{
    DWORD code = 0;
    EXPECT_TRUE(GetExitCodeThread(thread, &code));
    return code;
}

} // namespace

TEST(WinThreadTest, SuspendedThreadWaitsForResumeAndFailedInitStillExits)
{
    CProbeThread* thread = new CProbeThread(TRUE);
    ASSERT_EQ(thread, AfxBeginThread(thread, THREAD_PRIORITY_NORMAL, 0, CREATE_SUSPENDED));
    EXPECT_NE(0u, thread->m_nThreadID);
    EXPECT_FALSE(thread->m_oInitialised.Lock(200));
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), WaitForSingleObject(thread->m_hThread, 0));
    EXPECT_EQ(static_cast<DWORD>(STILL_ACTIVE), ExitCode(thread->m_hThread));

    // The thread can take messages before it runs; its loop reads them once resumed.
    EXPECT_TRUE(thread->PostThreadMessage(WM_QUIT, 9, 0));
    EXPECT_EQ(1u, thread->ResumeThread());
    EXPECT_EQ(0u, thread->ResumeThread());
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread->m_hThread, 10000));
    EXPECT_EQ(9u, ExitCode(thread->m_hThread));
    EXPECT_EQ(thread->m_nThreadID, thread->m_dwInitThread);
    EXPECT_TRUE(thread->m_bRan);
    EXPECT_TRUE(thread->m_bExited);
    delete thread;

    // A failed InitInstance skips Run but not ExitInstance.
    thread = new CProbeThread(FALSE, 4);
    ASSERT_EQ(thread, AfxBeginThread(thread));
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread->m_hThread, 10000));
    EXPECT_FALSE(thread->m_bRan);
    EXPECT_TRUE(thread->m_bExited);
    EXPECT_EQ(4u, ExitCode(thread->m_hThread));
    delete thread;
}

TEST(WinThreadTest, RunServesTheWindowsOfItsThread)
{
    CProbeThread* thread = new CProbeThread(TRUE, 100);
    ASSERT_EQ(thread, AfxBeginThread(thread));
    ASSERT_TRUE(thread->m_oInitialised.Lock(10000));
    const HWND hWnd = thread->m_poWindow->m_hWnd;
    EXPECT_EQ(thread->m_nThreadID, GetWindowThreadProcessId(hWnd, nullptr));

    EXPECT_TRUE(PostMessage(hWnd, WM_USER + 2, 0, 0));
    EXPECT_EQ(0, SendMessage(hWnd, WM_USER + 3, 0, 0));
    // A quit posted to the thread's window ends its loop, as a quit posted to the thread does.
    EXPECT_TRUE(PostMessage(hWnd, WM_QUIT, 1, 0));
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread->m_hThread, 10000));
    EXPECT_EQ(101u, ExitCode(thread->m_hThread));
    EXPECT_THAT(thread->m_oWindowMessages, ::testing::IsSupersetOf({WM_USER + 2u, WM_USER + 3u}));
    delete thread;
}

TEST_ON_FRESH_THREAD(WinThreadTest, MsgWaitSeesTheThreadEndAndTheCallersInput)
{
    CProbeThread* thread = new CProbeThread(TRUE);
    ASSERT_EQ(thread, AfxBeginThread(thread));
    HANDLE handle = thread->m_hThread;
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT),
              MsgWaitForMultipleObjects(1, &handle, FALSE, 100, QS_ALLINPUT));

    EXPECT_TRUE(PostThreadMessage(GetCurrentThreadId(), WM_USER, 0, 0));
    EXPECT_EQ(WAIT_OBJECT_0 + 1, MsgWaitForMultipleObjects(1, &handle, FALSE, 10000, QS_ALLINPUT));
    // Without a wake mask the caller's queue does not end the wait.
    EXPECT_EQ(static_cast<DWORD>(WAIT_TIMEOUT),
              MsgWaitForMultipleObjects(1, &handle, FALSE, 100, 0));

    EXPECT_TRUE(thread->PostThreadMessage(WM_QUIT, 0, 0));
    EXPECT_EQ(WAIT_OBJECT_0, MsgWaitForMultipleObjects(1, &handle, FALSE, 10000, 0));
    // The handle stays signalled.
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(handle, 0));
    EXPECT_EQ(WAIT_OBJECT_0, MsgWaitForMultipleObjects(1, &handle, FALSE, 0, QS_ALLINPUT));
    delete thread;
}

namespace
{

class CSelfDeletingThread : public CWinThread
{
public:
    explicit CSelfDeletingThread(CEvent& deleted) : m_roDeleted(deleted) {}
    ~CSelfDeletingThread() override { m_roDeleted.SetEvent(); }
    BOOL InitInstance() override { return FALSE; }

private:
    CEvent& m_roDeleted;
};

struct SWork
{
    std::atomic<DWORD> m_dwThread{0};
    CEvent m_oDone;
};

UINT Work(LPVOID parameter)
{
    SWork* work = static_cast<SWork*>(parameter);
    work->m_dwThread = GetCurrentThreadId();
    work->m_oDone.SetEvent();
    return 0;
}

} // namespace

TEST(WinThreadTest, AutoDeletingThreadsDeleteThemselves)
{
    CEvent deleted;
    ASSERT_NE(nullptr, AfxBeginThread(new CSelfDeletingThread(deleted)));
    EXPECT_TRUE(deleted.Lock(10000));

    SWork work;
    ASSERT_NE(nullptr, AfxBeginThread(&Work, &work));
    EXPECT_TRUE(work.m_oDone.Lock(10000));
    EXPECT_NE(0u, work.m_dwThread.load());
    EXPECT_NE(GetCurrentThreadId(), work.m_dwThread.load());
}
