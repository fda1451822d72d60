/// @file
/// The output hub: every text the library and its host emit goes through a COutput.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Text.MessageManager.h"
#include "CppUtil.Text.MsgBoxF.h"
#include "CppUtil.Text.TextOutputBase.h"
#include "Platform/Types/CString.h"

#include <atomic>
#include <boost/function.hpp>
#include <map>
#include <memory>

namespace CppUtil
{

class CCompiledMsgBase;

namespace Text
{

class COutputWndThrottler;
struct SThrottlerReportOutput;

class CPPUTIL_API COutput
{
public:
    typedef boost::function<COutput&()> TActiveOutputGetter;
    typedef boost::function<void(COutput& output, const CString& text, unsigned int flags)>
        TWriteOutputWndDelegate;

    /// Takes the manager into shared ownership (it may be null) and tells it of this output.
    explicit COutput(CMessageManager* messageManager);
    COutput(const COutput& other);
    COutput& operator=(const COutput& other);
    ~COutput();

    /// Throws CQlException when the output has no manager.
    CMessageManager& MessageManager();

    /// Used when this output has no manager: texts go to the output the getter returns.
    void SetActiveOutputGetter(const TActiveOutputGetter& getter);

    /// The host's output-window writer, shared by all outputs.
    static void SetWriteOutputWndDelegate(const TWriteOutputWndDelegate& writer);
    /// A copy of the writer, for callers that write many texts at once.
    static TWriteOutputWndDelegate GetWriteOutputWndDelegate();
    /// Calls the output-window writer now, on the calling thread.
    void WriteToOutputWnd(const CString& text, unsigned int flags);

    /// Queues text for the output window with flags 0 (AddText) or 1 (AddDevelopmentText); it is
    /// written on the user-interface thread within about 50 ms. The first call starts the
    /// throttler, which waits for the user-interface thread's message loop when made elsewhere.
    void AddText(const CString& text);
    void AddDevelopmentText(const CString& text);

    void RegisterMessage(const CString& name, int value);
    bool IsMessageRegistered(const CString& name) const;
    /// Throws CQlException when name is not registered.
    int GetValue(const CString& name) const;

    bool DialogsEnabled() const { return m_bDialogsEnabled; }
    void DialogsEnabled(bool enabled) { m_bDialogsEnabled = enabled; }

    /// Text builders. (format, text): second text; (format, unsigned) of the log, legacy and
    /// HTML legacy builders: verbose-logging message id. The job and APS builders ignore the
    /// number and set the flag word to 1 instead.
    CTextOutputBase<TLogF> LogF(const CString& format, const CString& secondText);
    CTextOutputBase<TLogF> LogF(const CString& format, unsigned int messageId);
    CTextOutputBase<TLegacyLogF> LegacyLogF(const CString& format, const CString& secondText);
    CTextOutputBase<TLegacyLogF> LegacyLogF(const CString& format, unsigned int messageId);
    CTextOutputBase<TJobLogF> JobLogF(const CString& format, const CString& secondText);
    CTextOutputBase<TJobLogF> JobLogF(const CString& format, unsigned int ignored);
    CTextOutputBase<TApsLogF> ApsLogF(const CString& format, const CString& secondText);
    CTextOutputBase<TApsLogF> ApsLogF(const CString& format, unsigned int ignored);
    CTextOutputBase<THtmlLegacyLogF> HtmlLegacyLogF(const CString& format,
                                                    const CString& secondText);
    CTextOutputBase<THtmlLegacyLogF> HtmlLegacyLogF(const CString& format, unsigned int messageId);
    CTextOutputBase<THtmlJobLogF> HtmlJobLogF(const CString& format, const CString& secondText);
    CTextOutputBase<THtmlJobLogF> HtmlJobLogF(const CString& format, unsigned int ignored);
    CTextOutputBase<THtmlApsLogF> HtmlApsLogF(const CString& format, const CString& secondText);
    CTextOutputBase<THtmlApsLogF> HtmlApsLogF(const CString& format, unsigned int ignored);
    CTextOutputBase<THtmlLogF> HtmlLogF(const CString& format, const CString& secondText);
    CTextOutputBase<TPrintF> PrintF(const CString& format, const CString& secondText);
    CTextOutputBase<TTraceF> TraceF(const CString& format);

    /// The same builders with a compiled message as the format.
    CTextOutputBase<TLogF> LogF(const CCompiledMsgBase& format, const CString& secondText);
    CTextOutputBase<TLogF> LogF(const CCompiledMsgBase& format, unsigned int messageId);
    CTextOutputBase<TLegacyLogF> LegacyLogF(const CCompiledMsgBase& format,
                                            const CString& secondText);
    CTextOutputBase<TLegacyLogF> LegacyLogF(const CCompiledMsgBase& format, unsigned int messageId);
    CTextOutputBase<TJobLogF> JobLogF(const CCompiledMsgBase& format, const CString& secondText);
    CTextOutputBase<TJobLogF> JobLogF(const CCompiledMsgBase& format, unsigned int ignored);
    CTextOutputBase<TApsLogF> ApsLogF(const CCompiledMsgBase& format, const CString& secondText);
    CTextOutputBase<TApsLogF> ApsLogF(const CCompiledMsgBase& format, unsigned int ignored);
    CTextOutputBase<THtmlLegacyLogF> HtmlLegacyLogF(const CCompiledMsgBase& format,
                                                    const CString& secondText);
    CTextOutputBase<THtmlLegacyLogF> HtmlLegacyLogF(const CCompiledMsgBase& format,
                                                    unsigned int messageId);
    CTextOutputBase<THtmlJobLogF> HtmlJobLogF(const CCompiledMsgBase& format,
                                              const CString& secondText);
    CTextOutputBase<THtmlJobLogF> HtmlJobLogF(const CCompiledMsgBase& format, unsigned int ignored);
    CTextOutputBase<THtmlApsLogF> HtmlApsLogF(const CCompiledMsgBase& format,
                                              const CString& secondText);
    CTextOutputBase<THtmlApsLogF> HtmlApsLogF(const CCompiledMsgBase& format, unsigned int ignored);
    CTextOutputBase<THtmlLogF> HtmlLogF(const CCompiledMsgBase& format, const CString& secondText);
    CTextOutputBase<TPrintF> PrintF(const CCompiledMsgBase& format, const CString& secondText);
    CTextOutputBase<TTraceF> TraceF(const CCompiledMsgBase& format);

    /// Message boxes of this output: type holds MB_* style bits (0x04000000 marks HTML text),
    /// extra is passed through to the box.
    CMsgBoxF MsgBoxF(const char* format, unsigned int type, unsigned int extra);
    CMsgBoxF MsgBoxF(const char* format, const CString& title, unsigned int type,
                     unsigned int extra);
    CMsgBoxF MsgBoxF(const CCompiledMsgBase& format, unsigned int type, unsigned int extra);
    CMsgBoxF MsgBoxF(const CCompiledMsgBase& format, const CString& title, unsigned int type,
                     unsigned int extra);

    /// Hands a finished builder to the manager, the active output, or every live manager.
    template <class Tag>
    void Write(const CTextOutputBase<Tag>& text);

private:
    friend struct SThrottlerReportOutput;
    struct SWithoutThrottler
    {
    };
    /// A copy that shares the manager and the getter but takes no part in the throttler.
    COutput(const COutput& other, SWithoutThrottler);

    /// Made on first use; copies made after that share it.
    COutputWndThrottler& OutputWndThrottler();
    /// Shares other's throttler (none, if other has none) in place of this output's.
    void ShareThrottlerOf(const COutput& other);
    /// The manager of this output or, following the getters, of the active output; null when the
    /// text goes to every live manager.
    CMessageManager* ActiveMessageManager();
    /// Tells the manager that this output no longer prints for it.
    void LeaveMessageManager();

    std::shared_ptr<CMessageManager> m_poMessageManager;
    TActiveOutputGetter m_oActiveOutputGetter;
    std::map<CString, int> m_oRegisteredMessages;
    bool m_bDialogsEnabled;
    std::shared_ptr<COutputWndThrottler> m_poOutputWndThrottler;
    /// The same throttler, published once it is made: every AddText reads it, and a lock there
    /// would make producers on several threads queue behind one another.
    std::atomic<COutputWndThrottler*> m_poPublishedThrottler;
};

/// The library's process-wide output, made without a manager: its texts go to the active output
/// or to every live manager.
CPPUTIL_API COutput& DefaultOutput();

template <class Tag>
void COutput::Write(const CTextOutputBase<Tag>& text)
{
    if (CMessageManager* manager = ActiveMessageManager())
    {
        manager->WriteMessage(text);
        return;
    }
    CMessageManager::ForEachManager([&text](CMessageManager& manager)
                                    { manager.WriteMessage(text); });
}

template <class Tag>
CTextOutputBase<Tag>::~CTextOutputBase() noexcept(false)
{
    if (!m_poOutput)
        return;
    /// Checked here rather than at construction: a builder made inside a destructor that runs
    /// during unwinding must not throw into it either.
    if (std::uncaught_exceptions() > 0)
    {
        try
        {
            m_poOutput->Write(*this);
        }
        catch (...)
        {
        }
        return;
    }
    m_poOutput->Write(*this);
}

} // namespace Text
} // namespace CppUtil
