#include "CppUtil.Thread.PatientExecution.h"

#include "CppUtil.Exception.QlException.h"
#include "CppUtil.Text.MsgBoxF.h"
#include "CppUtil.Text.Output.h"
#include "Platform/Kernel/MessageBox.h"
#include "Platform/Kernel/WinMessages.h"
#include "SeTranslate.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <thread>
#include <utility>

namespace CppUtil
{
namespace Thread
{

namespace
{

// How often a waiting owner serves the calls queued for its thread.
const std::chrono::milliseconds k_oServeInterval(10);

const char* const k_szFunction = "CppUtil::Thread::CPatientExecution::Begin";
const Exception::CSourceFile k_oSource("CppUtil.Thread.PatientExecution");

// Runs the calls queued for this thread's proxy windows and nothing else; a quit is handed back
// to the thread's own loop.
void ServeQueuedCalls()
{
    MSG message;
    while (::PeekMessage(&message, nullptr, WM_USER, WM_USER, PM_REMOVE))
    {
        if (message.message == WM_QUIT)
        {
            ::PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
        ::DispatchMessage(&message);
    }
}

} // namespace

// What a run shares between its owner, its worker and the thread of its current attempt, which
// may outlive both.
struct CPatientExecution::SRun
{
    SRun(const TWork& work, unsigned int pause, unsigned int maxAttempts)
        : m_fnWork(work), m_uPause(pause), m_uMaxAttempts(maxAttempts)
    {
    }

    void End(EResult result)
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        if (m_bEnded)
            return;
        m_bEnded = true;
        m_eResult = result;
        m_oChanged.notify_all();
    }

    // On the attempt's own thread.
    void Work()
    {
        Exception::InstallStructuredExceptionTranslator();
        bool succeeded = false;
        CString failure;
        std::exception_ptr defect;
        try
        {
            succeeded = m_fnWork();
            if (!succeeded)
                failure = "The attempt did not succeed.";
        }
        catch (const Exception::CQlException& e)
        {
            failure = e.what();
        }
        catch (...)
        {
            defect = std::current_exception();
        }
        std::lock_guard<std::mutex> lock(m_oMutex);
        m_bAttemptRunning = false;
        m_bSucceeded = succeeded;
        m_sFailure = failure;
        // Moved, so that the last reference, and the exception with it, goes on the worker.
        m_oDefect = std::move(defect);
        m_oChanged.notify_all();
    }

    const TWork m_fnWork;
    const unsigned int m_uPause;
    const unsigned int m_uMaxAttempts;
    std::mutex m_oMutex;
    std::condition_variable m_oChanged;
    bool m_bStopRequested = false;
    bool m_bEnded = false;
    EResult m_eResult = k_eStopped;
    CString m_sLastFailure;
    // The attempt under way, or the last one.
    bool m_bAttemptRunning = false;
    bool m_bSucceeded = false;
    CString m_sFailure;
    std::exception_ptr m_oDefect;
};

CPatientExecution::CPatientExecution(Text::COutput& output, const TWork& work, const CString& title)
    : CDaemonThread(output), m_oOutput(output), m_fnWork(work), m_sTitle(title), m_uPause(0),
      m_uMaxAttempts(0)
{
    SetThreadName("CPatientExecution (" + title + ")");
}

CPatientExecution::~CPatientExecution() noexcept(false)
{
    // The run ends first, so that the worker's posted call returns and Shutdown does not wait
    // for work that may never return.
    RequestStop();
    Shutdown();
    EndRun();
}

void CPatientExecution::SetPause(unsigned int milliseconds)
{
    m_uPause = milliseconds;
}

void CPatientExecution::SetMaxAttempts(unsigned int attempts)
{
    m_uMaxAttempts = attempts;
}

void CPatientExecution::Begin()
{
    boost::shared_ptr<SRun> run(new SRun(m_fnWork, m_uPause, m_uMaxAttempts));
    boost::shared_ptr<SRun> previous;
    {
        // Checked and taken in one go, so that of two callers at once exactly one wins.
        std::lock_guard<std::mutex> lock(m_oRunMutex);
        if (m_poRun)
        {
            std::lock_guard<std::mutex> runLock(m_poRun->m_oMutex);
            if (!m_poRun->m_bEnded)
                k_oSource.Throw(150, k_szFunction, m_sTitle + ": a run is going already.");
            // Two attempts at once would surprise work written for one.
            if (m_poRun->m_bAttemptRunning)
                k_oSource.Throw(153, k_szFunction,
                                m_sTitle + ": an attempt given up on before is still running.");
        }
        previous = m_poRun;
        m_poRun = run;
    }
    try
    {
        Start();
        Proxy().Post([this, run] { RunAttempts(run); });
    }
    catch (...)
    {
        run->End(k_eStopped);
        std::lock_guard<std::mutex> lock(m_oRunMutex);
        if (m_poRun == run)
            m_poRun = previous;
        throw;
    }
}

bool CPatientExecution::Wait(unsigned int milliseconds)
{
    boost::shared_ptr<SRun> run;
    {
        std::lock_guard<std::mutex> lock(m_oRunMutex);
        run = m_poRun;
    }
    if (run)
    {
        const auto start = std::chrono::steady_clock::now();
        std::unique_lock<std::mutex> lock(run->m_oMutex);
        while (!run->m_bEnded)
        {
            if (milliseconds != INFINITE &&
                std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(milliseconds))
                return false;
            run->m_oChanged.wait_for(lock, k_oServeInterval);
            lock.unlock();
            ServeQueuedCalls();
            lock.lock();
        }
    }
    RethrowPendingException();
    return true;
}

CPatientExecution::EResult CPatientExecution::Execute()
{
    Begin();
    Wait(INFINITE);
    return GetResult();
}

void CPatientExecution::Stop()
{
    RequestStop();
    try
    {
        CDaemonThread::Stop();
    }
    catch (...)
    {
        EndRun();
        throw;
    }
    // The worker may have been given up on inside a box.
    EndRun();
}

CPatientExecution::EResult CPatientExecution::GetResult() const
{
    std::lock_guard<std::mutex> lock(m_oRunMutex);
    if (!m_poRun)
        return k_eStopped;
    std::lock_guard<std::mutex> runLock(m_poRun->m_oMutex);
    return m_poRun->m_eResult;
}

CString CPatientExecution::GetLastFailure() const
{
    std::lock_guard<std::mutex> lock(m_oRunMutex);
    if (!m_poRun)
        return CString();
    std::lock_guard<std::mutex> runLock(m_poRun->m_oMutex);
    return m_poRun->m_sLastFailure;
}

void CPatientExecution::OnThreadStop()
{
    // A run still queued when the loop ended on its own never gets its turn.
    EndRun();
}

void CPatientExecution::OnUncaughtException()
{
    EndRun();
}

void CPatientExecution::RequestStop()
{
    std::lock_guard<std::mutex> lock(m_oRunMutex);
    if (!m_poRun)
        return;
    std::lock_guard<std::mutex> runLock(m_poRun->m_oMutex);
    m_poRun->m_bStopRequested = true;
    m_poRun->m_oChanged.notify_all();
}

void CPatientExecution::EndRun()
{
    boost::shared_ptr<SRun> run;
    {
        std::lock_guard<std::mutex> lock(m_oRunMutex);
        run = m_poRun;
    }
    if (run)
        run->End(k_eStopped);
}

void CPatientExecution::RunAttempts(const boost::shared_ptr<SRun>& run)
{
    for (unsigned int attempt = 1;; ++attempt)
    {
        {
            // A run that is no longer the current one cannot be reached by RequestStop.
            std::lock_guard<std::mutex> lock(m_oRunMutex);
            if (m_poRun != run)
                break;
        }
        if (run->m_uMaxAttempts != 0)
            m_oOutput.LogF("%s: attempt %u of %u", CString()) % m_sTitle % attempt %
                run->m_uMaxAttempts;
        else
            m_oOutput.LogF("%s: attempt %u", CString()) % m_sTitle % attempt;

        std::unique_lock<std::mutex> lock(run->m_oMutex);
        if (run->m_bStopRequested)
            break;
        run->m_bAttemptRunning = true;
        lock.unlock();
        try
        {
            // The attempt's thread holds the run, never this object.
            std::thread([run] { run->Work(); }).detach();
        }
        catch (...)
        {
            lock.lock();
            run->m_bAttemptRunning = false;
            throw;
        }
        lock.lock();
        run->m_oChanged.wait(lock,
                             [&run] { return !run->m_bAttemptRunning || run->m_bStopRequested; });
        if (run->m_bAttemptRunning)
        {
            lock.unlock();
            m_oOutput.LogF("%s: stopped during attempt %u, which is given up on", CString()) %
                m_sTitle % attempt;
            run->End(k_eStopped);
            return;
        }
        if (run->m_oDefect)
        {
            // Not a failure that a retry could mend: the worker's loop logs it and tunnels it to
            // the owner, and OnUncaughtException ends the run.
            std::exception_ptr defect;
            defect.swap(run->m_oDefect);
            lock.unlock();
            std::rethrow_exception(defect);
        }
        const bool succeeded = run->m_bSucceeded;
        const CString failure = run->m_sFailure;
        if (!succeeded)
            run->m_sLastFailure = failure;
        lock.unlock();

        if (succeeded)
        {
            m_oOutput.LogF("%s: attempt %u succeeded", CString()) % m_sTitle % attempt;
            run->End(k_eSucceeded);
            return;
        }
        m_oOutput.LogF("%s: attempt %u failed: %s", CString()) % m_sTitle % attempt % failure;
        if (run->m_uMaxAttempts != 0 && attempt >= run->m_uMaxAttempts)
        {
            m_oOutput.LogF("%s: given up after %u attempts", CString()) % m_sTitle % attempt;
            run->End(k_eExhausted);
            return;
        }

        const int answer = Ask(*run, failure);
        lock.lock();
        if (run->m_bStopRequested)
            break;
        lock.unlock();
        const bool retry = answer == IDRETRY;
        m_oOutput.LogF("%s: answered %s", CString()) % m_sTitle % (retry ? "Retry" : "Cancel");
        if (!retry)
        {
            run->End(k_eCancelled);
            return;
        }
        lock.lock();
        if (run->m_oChanged.wait_for(lock, std::chrono::milliseconds(run->m_uPause),
                                     [&run] { return run->m_bStopRequested; }))
            break;
    }
    // Here once a stop was asked for.
    m_oOutput.LogF("%s: stopped", CString()) % m_sTitle;
    run->End(k_eStopped);
}

int CPatientExecution::Ask(const SRun& run, const CString& failure)
{
    // Retry by default only while the attempts are capped: a run nobody watches must end.
    const unsigned int type =
        MB_RETRYCANCEL | MB_ICONWARNING | (run.m_uMaxAttempts != 0 ? 0u : MB_DEFBUTTON2);
    const CString question = failure + "\r\n\r\nTry again?";
    if (m_oOutput.DialogsEnabled())
    {
        Text::CMsgBoxF box(m_oOutput, "%s", m_sTitle, type, 0);
        box % Text::CMsgBoxF::ShowOnShow % question;
        return box.Show();
    }
    // Nobody may be there to answer: logged as a box that is not shown is, and answered by the
    // box's default button.
    m_oOutput.LogF("%s", CString()) % question;
    const int answer = Platform::GetDefaultButton(type);
    m_oOutput.LogF("%s: dialogs are disabled, so the default answer applies", CString()) % m_sTitle;
    return answer;
}

} // namespace Thread
} // namespace CppUtil
