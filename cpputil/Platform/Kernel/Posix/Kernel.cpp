#include "Kernel.h"

#include "MessageQueue.h"

#include <algorithm>
#include <cctype>
#include <strings.h>

namespace CppUtil
{
namespace Platform
{
namespace Posix
{
namespace
{

// Win32 class names match without regard to case.
std::string ClassKey(const char* name)
{
    std::string key(name);
    for (char& ch : key)
        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return key;
}

// Unregisters a waiter from the objects however the wait ends.
class CWaitRegistration
{
public:
    CWaitRegistration(const std::vector<std::shared_ptr<SWaitable>>& objects, const TWaker& waiter)
        : m_roObjects(objects), m_roWaiter(waiter)
    {
        for (const std::shared_ptr<SWaitable>& object : m_roObjects)
            object->m_oWaiters.push_back(m_roWaiter);
    }
    ~CWaitRegistration()
    {
        for (const std::shared_ptr<SWaitable>& object : m_roObjects)
        {
            std::vector<TWaker>& waiters = object->m_oWaiters;
            waiters.erase(std::find(waiters.begin(), waiters.end(), m_roWaiter));
        }
    }
    CWaitRegistration(const CWaitRegistration&) = delete;
    CWaitRegistration& operator=(const CWaitRegistration&) = delete;

private:
    const std::vector<std::shared_ptr<SWaitable>>& m_roObjects;
    const TWaker& m_roWaiter;
};

} // namespace

CKernel& CKernel::Instance()
{
    // Never destroyed: threads may still end, and static objects be destroyed, after exit begins.
    static CKernel* s_poKernel = new CKernel;
    return *s_poKernel;
}

std::uintptr_t CKernel::NextHandle()
{
    // Handles are never reused, so a stale one fails cleanly instead of reaching a newer object.
    m_uLastHandle += 4;
    return 0x10000 + m_uLastHandle;
}

HANDLE CKernel::AddObject(const std::shared_ptr<SWaitable>& object)
{
    HANDLE handle = reinterpret_cast<HANDLE>(NextHandle());
    m_oObjects.emplace(handle, object);
    return handle;
}

std::shared_ptr<SWaitable> CKernel::FindObject(HANDLE handle) const
{
    std::unordered_map<HANDLE, std::shared_ptr<SWaitable>>::const_iterator found =
        m_oObjects.find(handle);
    return found == m_oObjects.end() ? std::shared_ptr<SWaitable>() : found->second;
}

bool CKernel::RemoveObject(HANDLE handle)
{
    return m_oObjects.erase(handle) != 0;
}

void CKernel::Signal(SWaitable& object, CDeferredWake& wake)
{
    object.m_bSignaled = true;
    for (const TWaker& waiter : object.m_oWaiters)
        wake.Add(waiter);
}

HWND CKernel::AddWindow(SWindow&& window)
{
    HWND handle = reinterpret_cast<HWND>(NextHandle());
    m_oWindows.emplace(handle, std::move(window));
    return handle;
}

SWindow* CKernel::Window(HWND handle)
{
    std::unordered_map<HWND, SWindow>::iterator found = m_oWindows.find(handle);
    return found == m_oWindows.end() ? nullptr : &found->second;
}

SWindow* CKernel::WindowOrFail(HWND handle)
{
    SWindow* window = Window(handle);
    if (!window)
        ::SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return window;
}

void CKernel::RemoveWindow(HWND handle)
{
    m_oWindows.erase(handle);
}

HWND CKernel::FindWindowByName(const char* className, const char* windowName) const
{
    HWND result = nullptr;
    for (const std::pair<const HWND, SWindow>& entry : m_oWindows)
    {
        const SWindow& window = entry.second;
        if (window.m_bMessageOnly || window.m_bDestroying)
            continue;
        if (className && ::strcasecmp(window.m_sClass.c_str(), className) != 0)
            continue;
        if (windowName && ::strcasecmp(window.m_sName.c_str(), windowName) != 0)
            continue;
        // Handles grow, so the largest is the newest, which Win32 would find first.
        if (reinterpret_cast<std::uintptr_t>(entry.first) >
            reinterpret_cast<std::uintptr_t>(result))
            result = entry.first;
    }
    return result;
}

std::vector<HWND> CKernel::WindowsOf(const CMessageQueue* queue) const
{
    std::vector<HWND> windows;
    for (const std::pair<const HWND, SWindow>& entry : m_oWindows)
    {
        if (entry.second.m_poQueue.get() == queue)
            windows.push_back(entry.first);
    }
    return windows;
}

bool CKernel::AddClass(const char* name, WNDPROC proc)
{
    return m_oClasses.emplace(ClassKey(name), proc).second;
}

WNDPROC CKernel::FindClass(const char* name) const
{
    std::unordered_map<std::string, WNDPROC>::const_iterator found =
        m_oClasses.find(ClassKey(name));
    return found == m_oClasses.end() ? nullptr : found->second;
}

void CKernel::AddQueue(DWORD threadId, const std::shared_ptr<CMessageQueue>& queue)
{
    m_oQueues[threadId] = queue;
}

void CKernel::RemoveQueue(DWORD threadId, const CMessageQueue* queue)
{
    std::unordered_map<DWORD, std::shared_ptr<CMessageQueue>>::iterator found =
        m_oQueues.find(threadId);
    if (found != m_oQueues.end() && found->second.get() == queue)
        m_oQueues.erase(found);
}

std::shared_ptr<CMessageQueue> CKernel::FindQueue(DWORD threadId) const
{
    std::unordered_map<DWORD, std::shared_ptr<CMessageQueue>>::const_iterator found =
        m_oQueues.find(threadId);
    return found == m_oQueues.end() ? std::shared_ptr<CMessageQueue>() : found->second;
}

DWORD CKernel::Wait(DWORD count, const HANDLE* handles, bool waitAll, DWORD milliseconds,
                    CMessageQueue* queue, DWORD wakeMask)
{
    const DWORD maximum = queue ? MAXIMUM_WAIT_OBJECTS - 1 : MAXIMUM_WAIT_OBJECTS;
    if (count > maximum || (count != 0 && !handles) || (count == 0 && !queue))
    {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return WAIT_FAILED;
    }

    std::unique_lock<std::mutex> lock(m_oMutex);
    std::vector<std::shared_ptr<SWaitable>> objects;
    objects.reserve(count);
    for (DWORD i = 0; i < count; ++i)
    {
        objects.push_back(FindObject(handles[i]));
        if (!objects.back())
        {
            ::SetLastError(ERROR_INVALID_HANDLE);
            return WAIT_FAILED;
        }
    }

    // A thread that waits with its queue sleeps on the queue's own condition, so that posts and
    // sends to it wake it as well.
    const TWaker waker = queue ? queue->Waker() : std::make_shared<std::condition_variable>();
    std::condition_variable& waiter = *waker;
    CWaitRegistration registration(objects, waker);

    const bool forever = milliseconds == INFINITE;
    const TClock::time_point deadline = TClock::now() + std::chrono::milliseconds(milliseconds);
    for (;;)
    {
        const TClock::time_point now = TClock::now();
        const bool input = queue && wakeMask != 0 && queue->HasInput(wakeMask, now);
        if (waitAll)
        {
            const bool all = std::all_of(objects.begin(), objects.end(),
                                         [](const std::shared_ptr<SWaitable>& object)
                                         { return object->m_bSignaled; });
            // Win32 documents a wait for all with a queue as ending on all objects and input.
            if (all && (!queue || wakeMask == 0 || input))
            {
                for (const std::shared_ptr<SWaitable>& object : objects)
                {
                    if (!object->m_bManualReset)
                        object->m_bSignaled = false;
                }
                return WAIT_OBJECT_0;
            }
        }
        else
        {
            for (DWORD i = 0; i < count; ++i)
            {
                if (objects[i]->m_bSignaled)
                {
                    if (!objects[i]->m_bManualReset)
                        objects[i]->m_bSignaled = false;
                    return WAIT_OBJECT_0 + i;
                }
            }
            if (input)
                return WAIT_OBJECT_0 + count;
        }
        if (!forever && now >= deadline)
            return WAIT_TIMEOUT;

        TClock::time_point until = forever ? TClock::time_point::max() : deadline;
        if (queue && (wakeMask & QS_TIMER))
            until = std::min(until, queue->NextTimerDue());
        if (until == TClock::time_point::max())
            waiter.wait(lock);
        else
            waiter.wait_until(lock, until);
    }
}

} // namespace Posix
} // namespace Platform
} // namespace CppUtil
