#include "CppUtil.Text.FormatCache.h"

#include <atomic>
#include <mutex>
#include <thread>
#include <unordered_map>

namespace CppUtil
{
namespace Text
{
namespace
{

// Bounds that keep the pool small even when a caller builds format texts on the fly: a handful
// of formats per text covers nested builders and a few threads, and past the text limit the
// pool simply starts over.
const std::size_t k_nMaxFormatsPerText = 8;
const std::size_t k_nMaxTexts = 512;

typedef std::vector<std::unique_ptr<CPooledFormat>> TSlot;

// The pool is held for a few pointer moves per line, where a mutex would cost more than the work.
// A parse (a miss) holds it longer; waiters yield meanwhile.
class CSpinLock
{
public:
    void lock()
    {
        while (m_bLocked.exchange(true, std::memory_order_acquire))
        {
            while (m_bLocked.load(std::memory_order_relaxed))
                std::this_thread::yield();
        }
    }
    void unlock() { m_bLocked.store(false, std::memory_order_release); }

private:
    std::atomic<bool> m_bLocked{false};
};

// One pool for the process rather than one per thread: objects with destructors in the
// thread-local storage of a MinGW DLL crash the runtime when two threads exit at once.
struct SPool
{
    CSpinLock m_oLock;
    // Slots stay where they are until the pool starts over, which bumps the generation.
    std::unordered_map<CString, TSlot> m_oSlots;
    unsigned int m_uGeneration = 0;
};

SPool& Pool()
{
    // Never destroyed: builders in static objects may give formats back during exit.
    static SPool* s_poPool = new SPool;
    return *s_poPool;
}

} // namespace

std::unique_ptr<CPooledFormat> CFormatCache::Acquire(const CString& text)
{
    SPool& pool = Pool();
    std::lock_guard<CSpinLock> lock(pool.m_oLock);
    auto it = pool.m_oSlots.find(text);
    if (it == pool.m_oSlots.end())
    {
        if (pool.m_oSlots.size() >= k_nMaxTexts)
        {
            pool.m_oSlots.clear();
            ++pool.m_uGeneration;
        }
        it = pool.m_oSlots.emplace(text, TSlot()).first;
    }
    TSlot& slot = it->second;
    if (!slot.empty())
    {
        std::unique_ptr<CPooledFormat> format = std::move(slot.back());
        slot.pop_back();
        return format;
    }
    // Parsed under the lock: parsing fills the locale's lazily built character tables, which
    // two threads must not do at once, and a miss is rare once the pool is warm.
    auto format = std::make_unique<CPooledFormat>(text, boost::format(text.Str()));
    format->m_poSlot = &slot;
    format->m_uGeneration = pool.m_uGeneration;
    return format;
}

void CFormatCache::Release(std::unique_ptr<CPooledFormat> format)
{
    if (!format)
        return;
    // clear() drops the fed arguments but keeps the parsed directives.
    format->m_oFormat.clear();
    SPool& pool = Pool();
    std::lock_guard<CSpinLock> lock(pool.m_oLock);
    if (format->m_uGeneration != pool.m_uGeneration)
        return;
    if (format->m_poSlot->size() < k_nMaxFormatsPerText)
        format->m_poSlot->push_back(std::move(format));
}

std::size_t CFormatCache::GetPooledCount()
{
    SPool& pool = Pool();
    std::lock_guard<CSpinLock> lock(pool.m_oLock);
    std::size_t count = 0;
    for (const auto& entry : pool.m_oSlots)
        count += entry.second.size();
    return count;
}

} // namespace Text
} // namespace CppUtil
