/// @file
/// Carries text for the host's output window from any thread to the user-interface thread.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Text.Output.h"
#include "DaemonThread.h"
#include "Platform/Kernel/CCriticalSection.h"
#include "Platform/Types/CString.h"

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace CppUtil
{
namespace Thread
{
class CTimerWindow;
} // namespace Thread

namespace Text
{

/// The output the throttler's thread reports through. A base rather than a member, so that it is
/// made before the thread and outlives it; an output of the throttler's own, since the outputs that
/// share the throttler may all be gone before it stops.
struct CPPUTIL_API SThrottlerReportOutput
{
    explicit SThrottlerReportOutput(const COutput& output)
        : m_oReportOutput(output, COutput::SWithoutThrottler())
    {
    }

    COutput m_oReportOutput;
};

/// Collects text and hands it to the user-interface thread at most once a period, in the order it
/// was added, so that producers never wait for that thread and the window is repainted in batches
/// rather than once a line. Made by COutput on first use and shared by its copies.
class CPPUTIL_API COutputWndThrottler : private SThrottlerReportOutput, public Thread::CDaemonThread
{
public:
    static constexpr int k_iPeriod = 50;

    /// Starts the thread and the timer; waits for the user-interface thread's message loop when
    /// called from another thread. Throws CQlException when either cannot be started.
    explicit COutputWndThrottler(COutput& output);
    /// Text still pending is dropped; nothing is written once this has returned, not even a batch
    /// already queued to the user-interface thread.
    ~COutputWndThrottler() override;
    COutputWndThrottler(const COutputWndThrottler&) = delete;
    COutputWndThrottler& operator=(const COutputWndThrottler&) = delete;

    /// Any thread; takes only the throttler's lock, for the append.
    void Add(const CString& text, unsigned int flags);

private:
    /// Pending lines, packed: their characters back to back in one buffer, and for each line where
    /// it ends and its flags. A line costs one copy into storage that is reused batch after batch,
    /// rather than a heap block of its own that the user-interface thread would have to free
    /// against the producers' allocations.
    struct SEntries
    {
        /// Strong guarantee: when memory runs out the list is as it was.
        void Append(const std::string& text, unsigned int flags);
        /// Whether the text buffer is much larger than the text it holds.
        bool IsOversized() const;
        void Clear();
        void Swap(SEntries& other);

        std::string m_sText;
        std::vector<std::pair<std::size_t, unsigned int>> m_oLines;
    };
    struct SBatchGate;
    friend class COutput;

    /// The writer is handed the first output still sharing the throttler: the one that made it
    /// while it lives, then the oldest copy. COutput calls these when it takes part in a throttler
    /// and when it leaves it; Detach waits for a batch being written.
    void Attach(COutput& output);
    void Detach(COutput& output);

    void OnTick();
    static void WriteBatch(SBatchGate& gate, const SEntries& batch);

    SEntries m_oPending;
    CCriticalSection m_oLock;
    bool m_bStopped;
    std::shared_ptr<SBatchGate> m_poGate;
    /// Touched only by the tick, on the user-interface thread: the list of the batch written last,
    /// emptied, which becomes the next pending list. Reusing its storage spares the producers the
    /// page faults of a fresh list every period.
    std::shared_ptr<SEntries> m_poSpareEntries;
    boost::shared_ptr<Thread::CTimerWindow> m_poTimer;
};

} // namespace Text
} // namespace CppUtil
