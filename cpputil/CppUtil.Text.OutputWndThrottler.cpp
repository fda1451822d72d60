#include "CppUtil.Text.OutputWndThrottler.h"

#include "CppUtil.Exception.QlException.h"
#include "CppUtil.Text.Output.h"
#include "GuiThreadCaller.h"
#include "Platform/CSingleLock.h"
#include "TimerWindow.h"

#include <boost/bind/bind.hpp>
#include <mutex>

namespace CppUtil
{
namespace Text
{

namespace
{

const char* const k_szSource = "CppUtil.Text.OutputWndThrottler";
// A text buffer up to this size is reused however little of it a batch needed.
const std::size_t k_uBufferAlwaysKept = 64 * 1024;

} // namespace

// A batch handed to the user-interface thread may run after the throttler is gone, when the timer
// was made before the host hooked its caller; the batch then finds the gate closed. Recursive,
// because a writer may release the last copy of its output and so close the gate it holds.
struct COutputWndThrottler::SBatchGate
{
    explicit SBatchGate(COutput& output) : m_poOutput(&output) {}

    std::recursive_mutex m_oMutex;
    COutput* m_poOutput;
};

COutputWndThrottler::COutputWndThrottler(COutput& output)
    : CDaemonThread(output), m_oOutput(output), m_bStopped(false),
      m_poGate(std::make_shared<SBatchGate>(m_oOutput))
{
    SetThreadName("OutputWndThrottler");
    Start();
    m_poTimer =
        Thread::CTimerWindow::Create(boost::bind(&COutputWndThrottler::OnTick, this), k_iPeriod);
    if (!m_poTimer)
        Exception::ThrowQlException("COutputWndThrottler: The timer window could not be created.",
                                    "CppUtil::Text::COutputWndThrottler::COutputWndThrottler",
                                    k_szSource, __LINE__);
    // SetTimer belongs to the thread that owns the window.
    Thread::CGuiThreadCaller::Invoke(
        boost::bind(&Thread::CTimerWindow::StartTimer, m_poTimer.get()));
}

COutputWndThrottler::~COutputWndThrottler()
{
    // The lock is not held while the timer is stopped: that waits for the user-interface thread,
    // whose tick may be waiting for the lock. The flag keeps a tick already under way from
    // handing anything over.
    {
        CSingleLock lock(&m_oLock, TRUE);
        m_bStopped = true;
        m_oPending = SEntries();
    }
    {
        std::lock_guard<std::recursive_mutex> lock(m_poGate->m_oMutex);
        m_poGate->m_poOutput = nullptr;
    }
    // Nothing here may throw: a failure the thread tunnelled has nobody left to tell.
    try
    {
        Thread::CGuiThreadCaller::Invoke(
            boost::bind(&Thread::CTimerWindow::StopTimer, m_poTimer.get()));
    }
    catch (...)
    {
    }
    try
    {
        Stop();
    }
    catch (...)
    {
        // A failure left pending is thrown before the thread is asked to end; ask again.
        try
        {
            Stop();
        }
        catch (...)
        {
        }
    }
    m_poTimer.reset();
}

void COutputWndThrottler::Add(const CString& text, unsigned int flags)
{
    CSingleLock lock(&m_oLock, TRUE);
    if (!m_bStopped)
        m_oPending.Append(text.Str(), flags);
}

void COutputWndThrottler::OnTick()
{
    // Shared, so that handing the batch on copies a pointer rather than every text.
    std::shared_ptr<SEntries> poBatch =
        m_poSpareEntries ? std::move(m_poSpareEntries) : std::make_shared<SEntries>();
    {
        CSingleLock lock(&m_oLock, TRUE);
        if (m_bStopped || m_oPending.m_oLines.empty())
        {
            m_poSpareEntries = std::move(poBatch);
            return;
        }
        poBatch->Swap(m_oPending);
    }
    std::shared_ptr<SBatchGate> poGate = m_poGate;
    Thread::CGuiThreadCaller::BeginInvoke([poGate, poBatch] { WriteBatch(*poGate, *poBatch); });
    // On the user-interface thread, where the tick runs once the host has hooked its caller, the
    // batch was written inline and is ours alone again; a batch still queued is left to its call.
    // Storage far larger than what it held is let go, so that a burst does not keep its memory.
    if (poBatch.use_count() == 1 && !poBatch->IsOversized())
    {
        poBatch->Clear();
        m_poSpareEntries = std::move(poBatch);
    }
}

void COutputWndThrottler::SEntries::Append(const std::string& text, unsigned int flags)
{
    m_oLines.emplace_back(m_sText.size() + text.size(), flags);
    try
    {
        m_sText += text;
    }
    catch (...)
    {
        m_oLines.pop_back();
        throw;
    }
}

bool COutputWndThrottler::SEntries::IsOversized() const
{
    return m_sText.capacity() > k_uBufferAlwaysKept && m_sText.size() < m_sText.capacity() / 4;
}

void COutputWndThrottler::SEntries::Clear()
{
    m_sText.clear();
    m_oLines.clear();
}

void COutputWndThrottler::SEntries::Swap(SEntries& other)
{
    m_sText.swap(other.m_sText);
    m_oLines.swap(other.m_oLines);
}

void COutputWndThrottler::WriteBatch(SBatchGate& gate, const SEntries& batch)
{
    // The writer is fetched once a batch rather than once a line: the batch may hold thousands.
    const COutput::TWriteOutputWndDelegate writer = COutput::GetWriteOutputWndDelegate();
    std::lock_guard<std::recursive_mutex> lock(gate.m_oMutex);
    // One string for every line, so that its storage is reused from line to line.
    CString line;
    std::size_t begin = 0;
    for (const auto& entry : batch.m_oLines)
    {
        if (!gate.m_poOutput || !writer)
            return;
        line.SetString(batch.m_sText.data() + begin, static_cast<int>(entry.first - begin));
        writer(*gate.m_poOutput, line, entry.second);
        begin = entry.first;
    }
}

} // namespace Text
} // namespace CppUtil
