#include "MessageQueue.h"

#include <algorithm>
#include <exception>

namespace CppUtil
{
namespace Platform
{
namespace Posix
{
namespace
{

// Ends the thread's queue when its thread-local storage goes, for threads that never called
// EndCurrent (threads the library did not start). POSIX only, where thread_local objects with
// destructors are safe.
struct SQueueHolder
{
    std::shared_ptr<CMessageQueue> m_poQueue;

    ~SQueueHolder()
    {
        if (m_poQueue)
            m_poQueue->Close();
    }
};

thread_local SQueueHolder t_oQueue;

bool InRange(UINT message, UINT first, UINT last)
{
    return (first == 0 && last == 0) || (message >= first && message <= last);
}

bool WindowMatches(HWND messageWindow, HWND filter)
{
    // -1 asks for thread messages only.
    if (filter == reinterpret_cast<HWND>(static_cast<LONG_PTR>(-1)))
        return messageWindow == nullptr;
    return filter == nullptr || messageWindow == filter;
}

} // namespace

// Replies to a sent message when its handler is done, also when the handler throws: a sender
// must never wait for a reply that cannot come. The lock is released while the handler runs.
class CMessageQueue::CReply
{
public:
    CReply(SSent& sent, std::unique_lock<std::mutex>& lock)
        : m_lResult(0), m_roSent(sent), m_roLock(lock)
    {
        m_roLock.unlock();
    }
    ~CReply()
    {
        m_roLock.lock();
        Complete(m_roSent, m_lResult);
    }
    CReply(const CReply&) = delete;
    CReply& operator=(const CReply&) = delete;

    LRESULT m_lResult;

private:
    SSent& m_roSent;
    std::unique_lock<std::mutex>& m_roLock;
};

CMessageQueue::CMessageQueue(DWORD threadId)
    : m_dwThreadId(threadId), m_uReadyCount(0), m_bQuit(false), m_iQuitCode(0)
{
}

const std::shared_ptr<CMessageQueue>& CMessageQueue::Current()
{
    if (!t_oQueue.m_poQueue)
    {
        std::shared_ptr<CMessageQueue> queue =
            std::make_shared<CMessageQueue>(::GetCurrentThreadId());
        CHandleTable& table = CHandleTable::Instance();
        std::lock_guard<std::mutex> lock(table.Mutex());
        table.AddQueue(queue->m_dwThreadId, queue);
        t_oQueue.m_poQueue = queue;
    }
    return t_oQueue.m_poQueue;
}

CMessageQueue* CMessageQueue::CurrentIfAny()
{
    return t_oQueue.m_poQueue.get();
}

void CMessageQueue::EndCurrent()
{
    if (t_oQueue.m_poQueue)
    {
        t_oQueue.m_poQueue->Close();
        t_oQueue.m_poQueue.reset();
    }
}

DWORD CMessageQueue::Now()
{
    return static_cast<DWORD>(
        std::chrono::duration_cast<std::chrono::milliseconds>(TClock::now().time_since_epoch())
            .count());
}

void CMessageQueue::Post(const MSG& message, CDeferredWake& wake)
{
    m_oPosted.push_back(message);
    wake.Add(Waker());
}

void CMessageQueue::SetQuit(int exitCode)
{
    m_bQuit = true;
    m_iQuitCode = exitCode;
    m_oWake.notify_all();
}

UINT_PTR CMessageQueue::SetTimer(HWND window, UINT_PTR id, UINT elapse, TIMERPROC proc)
{
    elapse = std::min<UINT>(std::max<UINT>(elapse, USER_TIMER_MINIMUM), USER_TIMER_MAXIMUM);
    const TClock::duration period = std::chrono::milliseconds(elapse);
    const TClock::time_point due = TClock::now() + period;
    std::vector<STimer>::iterator timer =
        std::find_if(m_oTimers.begin(), m_oTimers.end(),
                     [&](const STimer& candidate)
                     { return candidate.m_hWnd == window && candidate.m_uId == id; });
    // Setting a timer again restarts it with the new period; its WM_TIMER, made only when the
    // queue is read, goes with the old one as on Win32.
    if (timer == m_oTimers.end())
        m_oTimers.push_back({window, id, period, due, false, 0, proc});
    else
        *timer = {window, id, period, due, false, 0, proc};
    // The owner may be asleep until a later deadline.
    m_oWake.notify_all();
    // A window timer's result only has to be nonzero; Win32 gives the id, or 1 for id 0.
    return id != 0 ? id : 1;
}

bool CMessageQueue::KillTimer(HWND window, UINT_PTR id)
{
    std::vector<STimer>::iterator timer =
        std::find_if(m_oTimers.begin(), m_oTimers.end(),
                     [&](const STimer& candidate)
                     { return candidate.m_hWnd == window && candidate.m_uId == id; });
    if (timer == m_oTimers.end())
        return false;
    // A tick that has fallen due but not been read goes with the timer, as on Win32.
    m_oTimers.erase(timer);
    return true;
}

void CMessageQueue::ForgetWindow(HWND window)
{
    m_oTimers.erase(std::remove_if(m_oTimers.begin(), m_oTimers.end(),
                                   [window](const STimer& timer)
                                   { return timer.m_hWnd == window; }),
                    m_oTimers.end());
    m_oPosted.erase(std::remove_if(m_oPosted.begin(), m_oPosted.end(),
                                   [window](const MSG& message) { return message.hwnd == window; }),
                    m_oPosted.end());
    for (std::deque<SSent*>::iterator sent = m_oSent.begin(); sent != m_oSent.end();)
    {
        if ((*sent)->m_oMessage.hwnd == window)
        {
            Complete(**sent, 0);
            sent = m_oSent.erase(sent);
        }
        else
        {
            ++sent;
        }
    }
}

bool CMessageQueue::HasInput(DWORD wakeMask, TClock::time_point now) const
{
    if ((wakeMask & (QS_POSTMESSAGE | QS_ALLPOSTMESSAGE)) && (!m_oPosted.empty() || m_bQuit))
        return true;
    if ((wakeMask & QS_SENDMESSAGE) && !m_oSent.empty())
        return true;
    if (wakeMask & QS_TIMER)
    {
        return std::any_of(m_oTimers.begin(), m_oTimers.end(),
                           [now](const STimer& timer)
                           { return timer.m_bReady || timer.m_oDue <= now; });
    }
    return false;
}

TClock::time_point CMessageQueue::NextTimerDue() const
{
    TClock::time_point due = TClock::time_point::max();
    for (const STimer& timer : m_oTimers)
        due = std::min(due, timer.m_oDue);
    return due;
}

bool CMessageQueue::Retrieve(MSG& message, HWND window, UINT first, UINT last, bool remove,
                             bool wait)
{
    std::unique_lock<std::mutex> lock(CHandleTable::Instance().Mutex());
    for (;;)
    {
        DispatchSent(lock);
        const TClock::time_point now = TClock::now();
        if (TakePosted(message, window, first, last, remove) || TakeQuit(message, remove) ||
            TakeTimer(message, window, first, last, remove, now))
        {
            return true;
        }
        if (!wait)
            return false;
        const TClock::time_point due = NextTimerDue();
        if (due == TClock::time_point::max())
            m_oWake.wait(lock);
        else
            m_oWake.wait_until(lock, due);
    }
}

LRESULT CMessageQueue::Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    CMessageQueue& self = *Current();
    CHandleTable& table = CHandleTable::Instance();
    std::unique_lock<std::mutex> lock(table.Mutex());
    SWindow* target = table.WindowOrFail(window);
    if (!target)
        return 0;
    if (target->m_poQueue.get() == &self)
    {
        const WNDPROC proc = target->m_pfnProc;
        lock.unlock();
        return proc(window, message, wParam, lParam);
    }

    SSent sent = {{window, message, wParam, lParam, Now()}, 0, false, &self};
    target->m_poQueue->m_oSent.push_back(&sent);
    target->m_poQueue->m_oWake.notify_all();
    // Messages sent to this thread meanwhile are handled here: two threads sending to each
    // other would otherwise wait for ever. The record must stay queued-for until the reply, so a
    // handler's exception waits for it too.
    std::exception_ptr failure;
    while (!sent.m_bDone)
    {
        if (self.m_oSent.empty())
        {
            self.m_oWake.wait(lock);
            continue;
        }
        try
        {
            self.DispatchSent(lock);
        }
        catch (...)
        {
            if (!failure)
                failure = std::current_exception();
        }
    }
    lock.unlock();
    if (failure)
        std::rethrow_exception(failure);
    return sent.m_lResult;
}

void CMessageQueue::Close()
{
    CHandleTable& table = CHandleTable::Instance();
    std::lock_guard<std::mutex> lock(table.Mutex());
    table.RemoveQueue(m_dwThreadId, this);
    for (HWND window : table.WindowsOf(this))
        table.RemoveWindow(window);
    for (SSent* sent : m_oSent)
        Complete(*sent, 0);
    m_oSent.clear();
    m_oPosted.clear();
    m_oTimers.clear();
    m_bQuit = false;
}

void CMessageQueue::Complete(SSent& sent, LRESULT result)
{
    sent.m_lResult = result;
    sent.m_bDone = true;
    sent.m_poSender->m_oWake.notify_all();
}

void CMessageQueue::DispatchSent(std::unique_lock<std::mutex>& lock)
{
    CHandleTable& table = CHandleTable::Instance();
    while (!m_oSent.empty())
    {
        SSent* sent = m_oSent.front();
        m_oSent.pop_front();
        const SWindow* window = table.Window(sent->m_oMessage.hwnd);
        if (!window)
        {
            Complete(*sent, 0);
            continue;
        }
        const WNDPROC proc = window->m_pfnProc;
        const MSG message = sent->m_oMessage;
        CReply reply(*sent, lock);
        reply.m_lResult = proc(message.hwnd, message.message, message.wParam, message.lParam);
    }
}

bool CMessageQueue::TakePosted(MSG& message, HWND window, UINT first, UINT last, bool remove)
{
    for (std::deque<MSG>::iterator posted = m_oPosted.begin(); posted != m_oPosted.end(); ++posted)
    {
        // WM_QUIT passes any range, as Win32 documents.
        if (WindowMatches(posted->hwnd, window) &&
            (posted->message == WM_QUIT || InRange(posted->message, first, last)))
        {
            message = *posted;
            if (remove)
                m_oPosted.erase(posted);
            return true;
        }
    }
    return false;
}

bool CMessageQueue::TakeQuit(MSG& message, bool remove)
{
    // A pending quit is reported whatever the filter, as on Win32.
    if (!m_bQuit)
        return false;
    message = {nullptr, WM_QUIT, static_cast<WPARAM>(m_iQuitCode), 0, Now()};
    if (remove)
        m_bQuit = false;
    return true;
}

bool CMessageQueue::TakeTimer(MSG& message, HWND window, UINT first, UINT last, bool remove,
                              TClock::time_point now)
{
    // A timer that expires while its WM_TIMER is still pending stays pending once; it is not
    // made up for later, so a busy thread gets one WM_TIMER per timer, not a burst.
    STimer* oldest = nullptr;
    for (STimer& timer : m_oTimers)
    {
        if (now >= timer.m_oDue)
        {
            if (!timer.m_bReady)
            {
                timer.m_bReady = true;
                timer.m_uReadyOrder = ++m_uReadyCount;
            }
            timer.m_oDue += timer.m_oPeriod * ((now - timer.m_oDue) / timer.m_oPeriod + 1);
        }
        if (timer.m_bReady && WindowMatches(timer.m_hWnd, window) &&
            InRange(WM_TIMER, first, last) &&
            (!oldest || timer.m_uReadyOrder < oldest->m_uReadyOrder))
        {
            oldest = &timer;
        }
    }
    if (!oldest)
        return false;
    // Win32 makes WM_TIMER when the queue is read, so it carries that moment.
    message = {oldest->m_hWnd, WM_TIMER, oldest->m_uId, reinterpret_cast<LPARAM>(oldest->m_pfnProc),
               Now()};
    if (remove)
        oldest->m_bReady = false;
    return true;
}

} // namespace Posix
} // namespace Platform
} // namespace CppUtil
