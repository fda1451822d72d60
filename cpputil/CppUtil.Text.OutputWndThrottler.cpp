#include "CppUtil.Text.OutputWndThrottler.h"
#include "Platform/Kernel/WinMessages.h"

#include "CppUtil.Exception.QlException.h"
#include "CppUtil.Text.Output.h"
#include "GuiThreadCaller.h"
#include "Platform/Kernel/CSingleLock.h"
#include "TimerWindow.h"

#include <algorithm>
#include <boost/bind/bind.hpp>
#include <mutex>

namespace CppUtil
{
namespace Text
{

namespace
{

const Exception::CSourceFile k_oSource("CppUtil.Text.OutputWndThrottler");
// A text buffer up to this size is reused however little of it a batch needed.
const std::size_t k_uBufferAlwaysKept = 64 * 1024;

} // namespace

// A batch handed to the user-interface thread may run after the throttler is gone, when the timer
// was made before the host hooked its caller; the batch then finds the gate closed. Recursive,
// because a writer may release the last copy of its output and so close the gate it holds.
struct COutputWndThrottler::SBatchGate
{
    explicit SBatchGate(COutput& output) : m_oOutputs(1, &output) {}

    std::recursive_mutex m_oMutex;
    /// The outputs sharing the throttler, in the order they joined; empty once it is gone.
    std::vector<COutput*> m_oOutputs;
};

COutputWndThrottler::COutputWndThrottler(COutput& output)
    : SThrottlerReportOutput(output), CDaemonThread(m_oReportOutput), m_bStopped(false),
      m_poGate(std::make_shared<SBatchGate>(output))
{
    SetThreadName("OutputWndThrottler");
    Start();
    m_poTimer =
        Thread::CTimerWindow::Create(boost::bind(&COutputWndThrottler::OnTick, this), k_iPeriod);
    if (!m_poTimer)
        k_oSource.Throw(50, "CppUtil::Text::COutputWndThrottler::COutputWndThrottler",
                        "COutputWndThrottler: The timer window could not be created.");
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
        m_poGate->m_oOutputs.clear();
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
    // Logs, rather than throws, what the thread left behind.
    Shutdown();
    m_poTimer.reset();
}

void COutputWndThrottler::Attach(COutput& output)
{
    std::lock_guard<std::recursive_mutex> lock(m_poGate->m_oMutex);
    m_poGate->m_oOutputs.push_back(&output);
}

void COutputWndThrottler::Detach(COutput& output)
{
    std::lock_guard<std::recursive_mutex> lock(m_poGate->m_oMutex);
    std::vector<COutput*>& outputs = m_poGate->m_oOutputs;
    outputs.erase(std::remove(outputs.begin(), outputs.end(), &output), outputs.end());
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
        // Looked up for every line: a writer may let go of the output it was handed.
        if (gate.m_oOutputs.empty() || !writer)
            return;
        line.SetString(batch.m_sText.data() + begin, static_cast<int>(entry.first - begin));
        writer(*gate.m_oOutputs.front(), line, entry.second);
        begin = entry.first;
    }
}

} // namespace Text
} // namespace CppUtil
