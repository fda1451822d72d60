/// @file
/// Runs a piece of work again and again until it succeeds, asking the user after each failure
/// whether to try once more.
#pragma once

#include "CppUtil.Api.h"
#include "DaemonThread.h"
#include "Platform/Types/CString.h"

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include <mutex>

namespace CppUtil
{
namespace Thread
{

/// The work succeeds by returning true and fails by returning false or by throwing CQlException,
/// whose text then stands in the question. After each failure the user is asked, through the
/// output's message boxes (MB_RETRYCANCEL, the title as caption, the failure's text as text),
/// whether to try again: Retry tries again after the pause, Cancel ends the run. Where the library
/// holds back only plain OK boxes when the output's dialogs are disabled, patient execution
/// deliberately holds back its Retry/Cancel question too: the question is logged and answered by
/// its default, Retry while attempts are capped and Cancel otherwise, because a line that runs
/// unattended must come to an end rather than wait for an answer nobody gives. Every attempt,
/// failure and answer is logged through the output.
///
/// Cancel is an answer, not an error: Execute returns k_eCancelled and GetLastFailure keeps the
/// failure's text; no exception is re-thrown. Any other exception from the work is a defect that
/// retrying cannot mend: it ends the run, is logged and tunnelled as the worker's exceptions are,
/// and Wait or Execute throws it (as CQlException, with its text, when it was of another type).
///
/// The run lives on a worker thread; each attempt runs on a short-lived thread of its own, so that
/// work that never returns cannot hold the worker: Stop and destruction end the run within the
/// shut-down time-out whatever the work is doing. Work given up on that way runs on to its end
/// unobserved, so what it uses must not belong to this object. An answer that comes while the run
/// is being stopped is ignored. A box is shown on the worker, and must end when its thread is
/// asked to quit: Windows' own boxes do, and so must a presenter that the host installs.
class CPPUTIL_API CPatientExecution : public CDaemonThread
{
public:
    typedef boost::function<bool()> TWork;

    enum EResult
    {
        /// The work returned true.
        k_eSucceeded,
        /// The answer to the question was Cancel.
        k_eCancelled,
        /// The cap on attempts was reached without success; nobody is asked after the last one.
        k_eExhausted,
        /// Stop, destruction or an exception other than CQlException ended the run; also the
        /// result before the first run.
        k_eStopped
    };

    /// title names the work in the box's caption and in the log.
    CPatientExecution(Text::COutput& output, const TWork& work, const CString& title);
    /// Ends a run as Stop does, within the shut-down time-out; throws nothing.
    ~CPatientExecution() noexcept(false) override;
    CPatientExecution(const CPatientExecution&) = delete;
    CPatientExecution& operator=(const CPatientExecution&) = delete;

    /// Milliseconds to wait before each further attempt; 0, the default, tries again at once.
    void SetPause(unsigned int milliseconds);
    /// At most this many attempts per run; 0, the default, means no cap.
    void SetMaxAttempts(unsigned int attempts);

    /// Starts the worker when needed and a run on it, and returns at once. Throws CQlException
    /// while a run is going, or while an attempt given up on before is still running. May be
    /// called from several threads at once: exactly one call wins, the others throw.
    void Begin();
    /// Waits up to that long (CppUtil::Platform::k_dwInfinite for no limit) for the run to end,
    /// serving meanwhile the calls queued for this thread's proxy windows, which a presenter of the
    /// box may be waiting for. Returns whether the run has ended; then re-throws what ended it, if
    /// anything did.
    bool Wait(unsigned int milliseconds);
    /// Begin, then Wait without a limit; returns the run's result.
    EResult Execute();
    /// Ends the run, if any, and the worker: an attempt or a box that does not end within the
    /// shut-down time-out is given up on. Then re-throws what the worker left behind.
    void Stop();

    EResult GetResult() const;
    /// The text of the run's last failure; empty when none failed.
    CString GetLastFailure() const;

protected:
    /// A run whose worker ends ends with it.
    void OnThreadStop() override;
    /// Whatever escaped the worker's loop ends the current run.
    void OnUncaughtException() override;

private:
    struct SRun;

    /// On the worker, from the posted call.
    void RunAttempts(const boost::shared_ptr<SRun>& run);
    /// On the worker: the answer to the failure's question.
    int Ask(const SRun& run, const CString& failure);
    /// Asks the current run, if any, to end, and wakes its worker.
    void RequestStop();
    /// Ends the current run, if any, unless it has ended already.
    void EndRun();

    Text::COutput& m_oOutput;
    const TWork m_fnWork;
    const CString m_sTitle;
    unsigned int m_uPause;
    unsigned int m_uMaxAttempts;
    /// The last run begun; read by the worker's hooks.
    boost::shared_ptr<SRun> m_poRun;
    mutable std::mutex m_oRunMutex;
};

} // namespace Thread
} // namespace CppUtil
