#include <cpputil/Platform/Kernel/CCriticalSection.h>
#include <cpputil/Platform/Kernel/CEvent.h>
#include <cpputil/Platform/Kernel/CSingleLock.h>
#include <cpputil/Platform/Kernel/WinMessages.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace
{

// Waits (generously) until the counter reaches the value.
bool Reaches(const std::atomic<int>& counter, int value)
{
    for (int i = 0; i < 1000 && counter < value; ++i)
        Sleep(10);
    return counter >= value;
}

// Whether another thread can take the section right now.
bool FreeForOthers(CCriticalSection& section)
{
    bool taken = false;
    std::thread(
        [&]
        {
            taken = section.Lock(0) != FALSE;
            if (taken)
                section.Unlock();
        })
        .join();
    return taken;
}

} // namespace

TEST(SyncObjectTest, AutoResetLetsOneWaiterThroughPerSetAndManualResetAllUntilReset)
{
    CEvent initiallySet(TRUE);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(initiallySet, 0));
    EXPECT_FALSE(initiallySet.Lock(0));
    for (const BOOL manual : {FALSE, TRUE})
    {
        SCOPED_TRACE(manual);
        CEvent event(FALSE, manual);
        const steady_clock::time_point start = steady_clock::now();
        EXPECT_FALSE(event.Lock(100));
        EXPECT_GE(steady_clock::now() - start, milliseconds(90));
        EXPECT_TRUE(event.SetEvent());
        EXPECT_TRUE(event.Lock(0));
        EXPECT_EQ(manual != FALSE, event.Lock(0) != FALSE);
        EXPECT_TRUE(event.ResetEvent());
        EXPECT_FALSE(event.Lock(0));

        std::atomic<int> released(0);
        std::vector<std::thread> waiters;
        for (int i = 0; i < 3; ++i)
            waiters.emplace_back(
                [&]
                {
                    if (event.Lock(20000))
                        ++released;
                });
        event.SetEvent();
        EXPECT_TRUE(Reaches(released, manual ? 3 : 1));
        Sleep(100);
        EXPECT_EQ(manual ? 3 : 1, released);
        for (int set = 2; set <= 3 && !manual; ++set)
        {
            event.SetEvent();
            EXPECT_TRUE(Reaches(released, set));
        }
        for (std::thread& waiter : waiters)
            waiter.join();
        EXPECT_EQ(3, released);
    }
}

TEST(SyncObjectTest, CriticalSectionIsRecursiveAndExclusive)
{
    CCriticalSection section;
    EXPECT_TRUE(section.Lock());
    EXPECT_TRUE(section.Lock());
    EXPECT_FALSE(FreeForOthers(section));
    section.Unlock();
    EXPECT_FALSE(FreeForOthers(section));
    section.Unlock();
    EXPECT_TRUE(FreeForOthers(section));

    {
        CSingleLock lock(&section);
        EXPECT_FALSE(lock.IsLocked());
        EXPECT_TRUE(lock.Lock());
        EXPECT_TRUE(lock.IsLocked());
        EXPECT_FALSE(FreeForOthers(section));
        EXPECT_TRUE(lock.Unlock());
        EXPECT_TRUE(FreeForOthers(section));
        EXPECT_TRUE(lock.Lock());
    }
    EXPECT_TRUE(FreeForOthers(section));

    int counter = 0;
    std::vector<std::thread> workers;
    for (int i = 0; i < 4; ++i)
    {
        workers.emplace_back(
            [&]
            {
                for (int j = 0; j < 5000; ++j)
                {
                    CSingleLock lock(&section, TRUE);
                    ++counter;
                }
            });
    }
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(20000, counter);
}
