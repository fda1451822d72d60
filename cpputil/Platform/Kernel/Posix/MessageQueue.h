// A thread's message queue on POSIX: posted messages in arrival order, messages sent from other
// threads, the quit flag and the timers of the thread's windows.
#pragma once

#include "HandleTable.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace CppUtil
{
namespace Platform
{
namespace Posix
{

class CMessageQueue : public std::enable_shared_from_this<CMessageQueue>
{
public:
    explicit CMessageQueue(DWORD threadId);
    CMessageQueue(const CMessageQueue&) = delete;
    CMessageQueue& operator=(const CMessageQueue&) = delete;

    // The calling thread's queue, made on first use as Win32 makes one on a thread's first call
    // that needs it; it ends with the thread.
    static const std::shared_ptr<CMessageQueue>& Current();
    static CMessageQueue* CurrentIfAny();
    // Ends the calling thread's queue now rather than when its thread-local storage goes, so
    // that whoever waits for the thread finds its windows gone.
    static void EndCurrent();

    DWORD ThreadId() const { return m_dwThreadId; }
    // The condition the owner sleeps on, kept alive by the queue.
    TWaker Waker() { return TWaker(shared_from_this(), &m_oWake); }

    // The members below expect the handle table's mutex to be held.

    void Post(const MSG& message, CDeferredWake& wake);
    void SetQuit(int exitCode);
    UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT elapse, TIMERPROC proc);
    // A tick the timer has not yet delivered goes with it, as on Win32.
    bool KillTimer(HWND window, UINT_PTR id);
    // Drops the window's timers and queued messages and releases its waiting senders.
    void ForgetWindow(HWND window);
    bool HasInput(DWORD wakeMask, TClock::time_point now) const;
    // TClock::time_point::max() when the queue has no timer.
    TClock::time_point NextTimerDue() const;

    // The members below take the handle table's mutex themselves.

    // Handles the messages sent from other threads first, then looks for a posted message, the
    // quit flag and a ready timer, in that order, as Win32 does. With wait, blocks until one
    // turns up.
    bool Retrieve(MSG& message, HWND window, UINT first, UINT last, bool remove, bool wait);
    // Calls the handler directly on the window's own thread; from any other thread, queues the
    // message for the owner and handles messages sent to this thread until the owner replies.
    static LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void Close();

    // MSG::time: milliseconds of a clock that never goes back.
    static DWORD Now();

private:
    struct SSent
    {
        MSG m_oMessage;
        LRESULT m_lResult;
        bool m_bDone;
        CMessageQueue* m_poSender;
    };

    struct STimer
    {
        HWND m_hWnd;
        UINT_PTR m_uId;
        TClock::duration m_oPeriod;
        TClock::time_point m_oDue;
        bool m_bReady;
        std::uint64_t m_uReadyOrder;
        TIMERPROC m_pfnProc;
    };

    class CReply;

    static void Complete(SSent& sent, LRESULT result);
    void DispatchSent(std::unique_lock<std::mutex>& lock);
    bool TakePosted(MSG& message, HWND window, UINT first, UINT last, bool remove);
    bool TakeQuit(MSG& message, bool remove);
    bool TakeTimer(MSG& message, HWND window, UINT first, UINT last, bool remove,
                   TClock::time_point now);

    const DWORD m_dwThreadId;
    std::condition_variable m_oWake;
    std::deque<MSG> m_oPosted;
    std::deque<SSent*> m_oSent;
    std::vector<STimer> m_oTimers;
    std::uint64_t m_uReadyCount;
    bool m_bQuit;
    int m_iQuitCode;
};

} // namespace Posix
} // namespace Platform
} // namespace CppUtil
