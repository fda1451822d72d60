/// @file
/// Appends lines from any thread to a file, in batches, from a worker thread of its own.
#pragma once

#include "CppUtil.Api.h"
#include "DaemonThread.h"
#include "Platform/Types/CString.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>

namespace CppUtil
{
namespace Thread
{

class COneShotTimer;

/// Lines are queued by AddLine and appended by the worker once a period, each followed by "\n",
/// whole and in the order they were added. Stop writes what is still queued. A file that cannot be
/// opened or written is reported through LogF and its lines stay queued for the next attempt, so
/// nothing is lost to a full disk or a locked file.
///
/// A process killed while it appends can leave the file's last line unfinished; the next Start on
/// the file cuts that remnant off, so readers only ever get whole lines after it.
class CPPUTIL_API CBufferedOutFile : public CDaemonThread
{
public:
    static constexpr unsigned int k_uFlushInterval = 1000;

    /// Nothing is touched before Start.
    CBufferedOutFile(Text::COutput& output, const CString& sFileName);
    /// Stops the worker, then writes, on the calling thread, whatever is still queued.
    ~CBufferedOutFile() noexcept(false) override;
    CBufferedOutFile(const CBufferedOutFile&) = delete;
    CBufferedOutFile& operator=(const CBufferedOutFile&) = delete;

    CString GetFileName() const;
    /// Any thread, started or not; takes only the queue's lock.
    void AddLine(const CString& sLine);
    /// Appends the queued lines now, on the calling thread; false when some stay queued because
    /// the file could not be written.
    bool Flush();
    std::size_t GetPendingCount() const;

protected:
    void OnThreadStart() override;
    void OnThreadStop() override;

private:
    void OnFlushTimer();
    /// Cuts an unfinished last line off the file, left there by a writer that died mid-append.
    void RepairTail();
    void ReportFailure(const char* szWhat, int iError);

    Text::COutput& m_oOutput;
    const CString m_sFileName;
    mutable std::mutex m_oQueueMutex;
    std::deque<CString> m_oQueue;
    /// Serialises writers of the file: the worker's timer, Flush callers and the destructor.
    std::mutex m_oFileMutex;
    /// Guarded by m_oFileMutex: reported once until the file works again.
    bool m_bFailureReported;
    /// Lives on the worker, from its start to its stop.
    std::unique_ptr<COneShotTimer> m_poTimer;
};

} // namespace Thread
} // namespace CppUtil
