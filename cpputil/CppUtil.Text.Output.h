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

    /// May be read and set from any thread: a box can be asked for on a worker.
    bool DialogsEnabled() const { return m_bDialogsEnabled.load(); }
    void DialogsEnabled(bool enabled) { m_bDialogsEnabled.store(enabled); }

    /// Text builders, all made by Build. The first argument is the format: a CString (or text that
    /// makes one) or a CCompiledMsgBase, whose text is loaded. A text second argument is the second
    /// text; a number (unsigned int) is the verbose-logging message id of the log, legacy and HTML
    /// legacy builders, while the job and APS builders ignore it and set the flag word to 1.
    template <class Format, class Second>
    CTextOutputBase<TLogF> LogF(const Format& format, const Second& second)
    {
        return Build<TLogF>(format, second);
    }
    template <class Format, class Second>
    CTextOutputBase<TLegacyLogF> LegacyLogF(const Format& format, const Second& second)
    {
        return Build<TLegacyLogF>(format, second);
    }
    template <class Format, class Second>
    CTextOutputBase<TJobLogF> JobLogF(const Format& format, const Second& second)
    {
        return Build<TJobLogF>(format, second);
    }
    template <class Format, class Second>
    CTextOutputBase<TApsLogF> ApsLogF(const Format& format, const Second& second)
    {
        return Build<TApsLogF>(format, second);
    }
    template <class Format, class Second>
    CTextOutputBase<THtmlLegacyLogF> HtmlLegacyLogF(const Format& format, const Second& second)
    {
        return Build<THtmlLegacyLogF>(format, second);
    }
    template <class Format, class Second>
    CTextOutputBase<THtmlJobLogF> HtmlJobLogF(const Format& format, const Second& second)
    {
        return Build<THtmlJobLogF>(format, second);
    }
    template <class Format, class Second>
    CTextOutputBase<THtmlApsLogF> HtmlApsLogF(const Format& format, const Second& second)
    {
        return Build<THtmlApsLogF>(format, second);
    }
    template <class Format>
    CTextOutputBase<THtmlLogF> HtmlLogF(const Format& format, const CString& secondText)
    {
        return Build<THtmlLogF>(format, secondText);
    }
    template <class Format>
    CTextOutputBase<TPrintF> PrintF(const Format& format, const CString& secondText)
    {
        return Build<TPrintF>(format, secondText);
    }
    template <class Format>
    CTextOutputBase<TTraceF> TraceF(const Format& format)
    {
        return Build<TTraceF>(format, CString());
    }

    /// Message boxes of this output: type holds MB_* style bits (0x04000000 marks HTML text),
    /// extra is passed through to the box.
    CMsgBoxF MsgBoxF(const char* format, unsigned int type, unsigned int extra);
    CMsgBoxF MsgBoxF(const char* format, const CString& title, unsigned int type,
                     unsigned int extra);
    CMsgBoxF MsgBoxF(const CCompiledMsgBase& format, unsigned int type, unsigned int extra);
    CMsgBoxF MsgBoxF(const CCompiledMsgBase& format, const CString& title, unsigned int type,
                     unsigned int extra);

    /// Hands a finished text to the manager, the active output, or every live manager.
    void Write(const SFinishedText& text);

private:
    friend struct SThrottlerReportOutput;
    struct SWithoutThrottler
    {
    };
    /// A copy that shares the manager and the getter but takes no part in the throttler.
    COutput(const COutput& other, SWithoutThrottler);

    template <class Tag, class Second>
    CTextOutputBase<Tag> Build(const CString& format, const Second& second)
    {
        return CTextOutputBase<Tag>(this, format, second);
    }
    template <class Tag, class Second>
    CTextOutputBase<Tag> Build(const CCompiledMsgBase& format, const Second& second)
    {
        return Build<Tag>(LoadFormat(format), second);
    }
    static CString LoadFormat(const CCompiledMsgBase& format);

    /// Made on first use; copies made after that share it.
    COutputWndThrottler& OutputWndThrottler();
    /// Shares other's throttler (none, if other has none) in place of this output's.
    void ShareThrottlerOf(const COutput& other);
    /// The manager of this output or, following the getters, of the active output; null when the
    /// text goes to every live manager.
    CMessageManager* ActiveMessageManager();

    std::shared_ptr<CMessageManager> m_poMessageManager;
    TActiveOutputGetter m_oActiveOutputGetter;
    std::map<CString, int> m_oRegisteredMessages;
    std::atomic<bool> m_bDialogsEnabled;
    std::shared_ptr<COutputWndThrottler> m_poOutputWndThrottler;
    /// The same throttler, published once it is made: every AddText reads it, and a lock there
    /// would make producers on several threads queue behind one another.
    std::atomic<COutputWndThrottler*> m_poPublishedThrottler;
};

/// The library's process-wide output, made without a manager: its texts go to the active output
/// or to every live manager.
CPPUTIL_API COutput& DefaultOutput();

} // namespace Text
} // namespace CppUtil
