/// @file
/// Routes finished texts to the host's logging delegate and to the output window.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Text.TextOutputBase.h"
#include "Platform/Types/CString.h"

#include <atomic>
#include <boost/function.hpp>
#include <memory>
#include <mutex>
#include <set>

namespace CppUtil
{
namespace Text
{

class COutput;

/// Where the host writes a log line.
enum ELogEntryDestination
{
    Log = 0,
    JobLog = 1,
    LegacyLog = 2,
    ApsLog = 3
};

class CPPUTIL_API CMessageManager
{
public:
    typedef boost::function<void(const char* text, bool html, const char* secondText,
                                 ELogEntryDestination destination)>
        TLoggingEventHandler;

    CMessageManager();
    /// A copy takes the original's output, handler and switches and joins the set of live
    /// managers as a manager of its own.
    CMessageManager(const CMessageManager& other);
    /// Takes the other manager's handler and switches; the output stays this manager's own.
    CMessageManager& operator=(const CMessageManager& other);
    ~CMessageManager();

    void SetOutput(COutput& output);
    void SetLoggingEventHandler(TLoggingEventHandler handler);
    void SetTraceLogging(bool enabled);
    void SetPrintLogging(bool enabled);

    void WriteMessage(const CTextOutputBase<TLogF>& text);
    void WriteMessage(const CTextOutputBase<TJobLogF>& text);
    void WriteMessage(const CTextOutputBase<TLegacyLogF>& text);
    void WriteMessage(const CTextOutputBase<TApsLogF>& text);
    void WriteMessage(const CTextOutputBase<THtmlLogF>& text);
    void WriteMessage(const CTextOutputBase<THtmlJobLogF>& text);
    void WriteMessage(const CTextOutputBase<THtmlLegacyLogF>& text);
    void WriteMessage(const CTextOutputBase<THtmlApsLogF>& text);
    void WriteMessage(const CTextOutputBase<TPrintF>& text);
    void WriteMessage(const CTextOutputBase<TTraceF>& text);

private:
    friend class COutput;

    /// The live managers, ordered by address. Guarded by a lock of the set's own; use
    /// ForEachManager rather than walking it.
    static std::set<CMessageManager*>& GetMessageManagers();

    /// Calls action for every live manager in the set's order. A manager stays alive while the
    /// action runs on it: its destructor waits until no writer uses it. The set's lock is not held
    /// while the action runs, so a handler may itself log or create managers.
    static void ForEachManager(const boost::function<void(CMessageManager&)>& action);
    /// Unlinks every live manager from an output that is going away, copies of its manager too.
    static void ForgetOutput(const COutput& output);

    void WriteMessageToLogHelper(const CString& text, bool html, const CString& secondText,
                                 unsigned int messageId, ELogEntryDestination destination);
    void WriteMessageToLog(const CString& text, bool html, const CString& secondText,
                           bool splitLines, ELogEntryDestination destination);
    void WriteMessageToTrace(const CString& text);
    void WriteMessageToPrint(const CString& text, const CString& secondText);

    /// A copy of the current handler, taken under the lock.
    std::shared_ptr<const TLoggingEventHandler> LoggingEventHandler() const;

    /// The handler and the switches may be changed while other threads write. A writer calls a
    /// shared copy of the handler taken under the lock (and calls it outside the lock, so that a
    /// handler may log or replace itself): a replaced handler lives until the last call that
    /// started with it returns, and no longer.
    std::atomic<COutput*> m_poOutput;
    mutable std::mutex m_oHandlerMutex;
    std::shared_ptr<const TLoggingEventHandler> m_poLoggingEventHandler;
    std::atomic<bool> m_bTraceLogging;
    std::atomic<bool> m_bPrintLogging;
    /// Writers inside ForEachManager using this manager; guarded by the set's lock.
    unsigned int m_uBroadcastUsers;
};

} // namespace Text
} // namespace CppUtil
