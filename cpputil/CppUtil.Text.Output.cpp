#include "CppUtil.Text.Output.h"

#include "CppUtil.CompiledMsg.h"
#include "CppUtil.Exception.QlException.h"
#include "CppUtil.Text.OutputWndThrottler.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace CppUtil
{
namespace Text
{
namespace
{

const char* const k_szSource = "CppUtil.Text.Output";

// The writer is installed once by the host but read from any thread.
std::mutex& WriterMutex()
{
    static std::mutex s_oMutex;
    return s_oMutex;
}

COutput::TWriteOutputWndDelegate& Writer()
{
    static COutput::TWriteOutputWndDelegate s_oWriteOutputWndDelegate;
    return s_oWriteOutputWndDelegate;
}

// Guards the making and copying of each output's throttler. A throttler is not made under it:
// making one waits for the user-interface thread, which may be adding text itself.
std::mutex& ThrottlerMutex()
{
    static std::mutex s_oMutex;
    return s_oMutex;
}

} // namespace

COutput::COutput(CMessageManager* messageManager)
    : m_poMessageManager(messageManager), m_bDialogsEnabled(true), m_poPublishedThrottler(nullptr)
{
    if (m_poMessageManager)
        m_poMessageManager->SetOutput(*this);
}

COutput::COutput(const COutput& other)
    : m_poMessageManager(other.m_poMessageManager),
      m_oActiveOutputGetter(other.m_oActiveOutputGetter),
      m_oRegisteredMessages(other.m_oRegisteredMessages),
      m_bDialogsEnabled(other.m_bDialogsEnabled), m_poPublishedThrottler(nullptr)
{
    ShareThrottlerOf(other);
}

COutput::COutput(const COutput& other, SWithoutThrottler)
    : m_poMessageManager(other.m_poMessageManager),
      m_oActiveOutputGetter(other.m_oActiveOutputGetter),
      m_bDialogsEnabled(other.m_bDialogsEnabled), m_poPublishedThrottler(nullptr)
{
}

COutput& COutput::operator=(const COutput& other)
{
    if (this == &other)
        return *this;
    if (m_poMessageManager != other.m_poMessageManager)
        LeaveMessageManager();
    m_poMessageManager = other.m_poMessageManager;
    m_oActiveOutputGetter = other.m_oActiveOutputGetter;
    m_oRegisteredMessages = other.m_oRegisteredMessages;
    m_bDialogsEnabled = other.m_bDialogsEnabled;
    ShareThrottlerOf(other);
    return *this;
}

COutput::~COutput()
{
    CMessageManager::ForgetOutput(*this);
    if (m_poOutputWndThrottler)
        m_poOutputWndThrottler->Detach(*this);
}

void COutput::LeaveMessageManager()
{
    // The manager, still shared with a copy, must not print through an output that has left it.
    if (m_poMessageManager)
    {
        COutput* expected = this;
        m_poMessageManager->m_poOutput.compare_exchange_strong(expected, nullptr);
    }
}

void COutput::ShareThrottlerOf(const COutput& other)
{
    std::shared_ptr<COutputWndThrottler> poShared;
    std::shared_ptr<COutputWndThrottler> poPrevious;
    {
        std::lock_guard<std::mutex> lock(ThrottlerMutex());
        if (m_poOutputWndThrottler == other.m_poOutputWndThrottler)
            return;
        poShared = other.m_poOutputWndThrottler;
        poPrevious = std::move(m_poOutputWndThrottler);
        m_poOutputWndThrottler = poShared;
        m_poPublishedThrottler.store(poShared.get(), std::memory_order_release);
    }
    // Outside the lock: a batch being written holds the throttler's own lock and its writer may
    // copy outputs; and the last release of a throttler waits for the user-interface thread.
    if (poShared)
        poShared->Attach(*this);
    if (poPrevious)
        poPrevious->Detach(*this);
}

CMessageManager* COutput::ActiveMessageManager()
{
    COutput* output = this;
    // Outputs already asked: a getter that leads back to one of them would forward for ever.
    std::vector<const COutput*> oAsked;
    while (!output->m_poMessageManager)
    {
        if (!output->m_oActiveOutputGetter)
            return nullptr;
        oAsked.push_back(output);
        output = &output->m_oActiveOutputGetter();
        if (std::find(oAsked.begin(), oAsked.end(), output) != oAsked.end())
            return nullptr;
    }
    return output->m_poMessageManager.get();
}

CMessageManager& COutput::MessageManager()
{
    if (!m_poMessageManager)
        Exception::ThrowQlException("COutput::MessageManager: This output has no message manager.",
                                    "CppUtil::Text::COutput::MessageManager", k_szSource, __LINE__);
    return *m_poMessageManager;
}

void COutput::SetActiveOutputGetter(const TActiveOutputGetter& getter)
{
    m_oActiveOutputGetter = getter;
}

void COutput::SetWriteOutputWndDelegate(const TWriteOutputWndDelegate& writer)
{
    std::lock_guard<std::mutex> lock(WriterMutex());
    Writer() = writer;
}

COutput::TWriteOutputWndDelegate COutput::GetWriteOutputWndDelegate()
{
    std::lock_guard<std::mutex> lock(WriterMutex());
    return Writer();
}

void COutput::WriteToOutputWnd(const CString& text, unsigned int flags)
{
    const TWriteOutputWndDelegate writer = GetWriteOutputWndDelegate();
    if (writer)
        writer(*this, text, flags);
}

void COutput::AddText(const CString& text)
{
    OutputWndThrottler().Add(text, 0);
}

void COutput::AddDevelopmentText(const CString& text)
{
    OutputWndThrottler().Add(text, 1);
}

COutputWndThrottler& COutput::OutputWndThrottler()
{
    if (COutputWndThrottler* throttler = m_poPublishedThrottler.load(std::memory_order_acquire))
        return *throttler;
    // Two threads may both get here first; the one that loses drops its throttler, outside the
    // lock.
    std::shared_ptr<COutputWndThrottler> poThrottler = std::make_shared<COutputWndThrottler>(*this);
    std::lock_guard<std::mutex> lock(ThrottlerMutex());
    if (!m_poOutputWndThrottler)
    {
        m_poOutputWndThrottler = poThrottler;
        m_poPublishedThrottler.store(m_poOutputWndThrottler.get(), std::memory_order_release);
    }
    return *m_poOutputWndThrottler;
}

void COutput::RegisterMessage(const CString& name, int value)
{
    m_oRegisteredMessages[name] = value;
}

bool COutput::IsMessageRegistered(const CString& name) const
{
    return m_oRegisteredMessages.count(name) != 0;
}

int COutput::GetValue(const CString& name) const
{
    auto it = m_oRegisteredMessages.find(name);
    if (it == m_oRegisteredMessages.end())
        Exception::ThrowQlException("CMessageManager::GetValue: Could not find message \n" + name +
                                        "\nMessage is has not been registered.",
                                    "CppUtil::Text::COutput::GetValue", k_szSource, __LINE__);
    return it->second;
}

CTextOutputBase<TLogF> COutput::LogF(const CString& format, const CString& secondText)
{
    return CTextOutputBase<TLogF>(this, format, secondText, 0, 0);
}

CTextOutputBase<TLogF> COutput::LogF(const CString& format, unsigned int messageId)
{
    return CTextOutputBase<TLogF>(this, format, CString(), messageId, 0);
}

CTextOutputBase<TLegacyLogF> COutput::LegacyLogF(const CString& format, const CString& secondText)
{
    return CTextOutputBase<TLegacyLogF>(this, format, secondText, 0, 0);
}

CTextOutputBase<TLegacyLogF> COutput::LegacyLogF(const CString& format, unsigned int messageId)
{
    return CTextOutputBase<TLegacyLogF>(this, format, CString(), messageId, 0);
}

CTextOutputBase<TJobLogF> COutput::JobLogF(const CString& format, const CString& secondText)
{
    return CTextOutputBase<TJobLogF>(this, format, secondText, 0, 0);
}

// The number is dropped on purpose: job and APS lines are never gated by a message id.
CTextOutputBase<TJobLogF> COutput::JobLogF(const CString& format, unsigned int)
{
    return CTextOutputBase<TJobLogF>(this, format, CString(), 0, 1);
}

CTextOutputBase<TApsLogF> COutput::ApsLogF(const CString& format, const CString& secondText)
{
    return CTextOutputBase<TApsLogF>(this, format, secondText, 0, 0);
}

CTextOutputBase<TApsLogF> COutput::ApsLogF(const CString& format, unsigned int)
{
    return CTextOutputBase<TApsLogF>(this, format, CString(), 0, 1);
}

CTextOutputBase<THtmlLegacyLogF> COutput::HtmlLegacyLogF(const CString& format,
                                                         const CString& secondText)
{
    return CTextOutputBase<THtmlLegacyLogF>(this, format, secondText, 0, 0);
}

CTextOutputBase<THtmlLegacyLogF> COutput::HtmlLegacyLogF(const CString& format,
                                                         unsigned int messageId)
{
    return CTextOutputBase<THtmlLegacyLogF>(this, format, CString(), messageId, 0);
}

CTextOutputBase<THtmlJobLogF> COutput::HtmlJobLogF(const CString& format, const CString& secondText)
{
    return CTextOutputBase<THtmlJobLogF>(this, format, secondText, 0, 0);
}

CTextOutputBase<THtmlJobLogF> COutput::HtmlJobLogF(const CString& format, unsigned int)
{
    return CTextOutputBase<THtmlJobLogF>(this, format, CString(), 0, 1);
}

CTextOutputBase<THtmlApsLogF> COutput::HtmlApsLogF(const CString& format, const CString& secondText)
{
    return CTextOutputBase<THtmlApsLogF>(this, format, secondText, 0, 0);
}

CTextOutputBase<THtmlApsLogF> COutput::HtmlApsLogF(const CString& format, unsigned int)
{
    return CTextOutputBase<THtmlApsLogF>(this, format, CString(), 0, 1);
}

CTextOutputBase<THtmlLogF> COutput::HtmlLogF(const CString& format, const CString& secondText)
{
    return CTextOutputBase<THtmlLogF>(this, format, secondText, 0, 0);
}

CTextOutputBase<TPrintF> COutput::PrintF(const CString& format, const CString& secondText)
{
    return CTextOutputBase<TPrintF>(this, format, secondText, 0, 0);
}

CTextOutputBase<TTraceF> COutput::TraceF(const CString& format)
{
    return CTextOutputBase<TTraceF>(this, format, CString(), 0, 0);
}

CTextOutputBase<TLogF> COutput::LogF(const CCompiledMsgBase& format, const CString& secondText)
{
    return LogF(format.LoadCStr(), secondText);
}

CTextOutputBase<TLogF> COutput::LogF(const CCompiledMsgBase& format, unsigned int messageId)
{
    return LogF(format.LoadCStr(), messageId);
}

CTextOutputBase<TLegacyLogF> COutput::LegacyLogF(const CCompiledMsgBase& format,
                                                 const CString& secondText)
{
    return LegacyLogF(format.LoadCStr(), secondText);
}

CTextOutputBase<TLegacyLogF> COutput::LegacyLogF(const CCompiledMsgBase& format,
                                                 unsigned int messageId)
{
    return LegacyLogF(format.LoadCStr(), messageId);
}

CTextOutputBase<TJobLogF> COutput::JobLogF(const CCompiledMsgBase& format,
                                           const CString& secondText)
{
    return JobLogF(format.LoadCStr(), secondText);
}

CTextOutputBase<TJobLogF> COutput::JobLogF(const CCompiledMsgBase& format, unsigned int ignored)
{
    return JobLogF(format.LoadCStr(), ignored);
}

CTextOutputBase<TApsLogF> COutput::ApsLogF(const CCompiledMsgBase& format,
                                           const CString& secondText)
{
    return ApsLogF(format.LoadCStr(), secondText);
}

CTextOutputBase<TApsLogF> COutput::ApsLogF(const CCompiledMsgBase& format, unsigned int ignored)
{
    return ApsLogF(format.LoadCStr(), ignored);
}

CTextOutputBase<THtmlLegacyLogF> COutput::HtmlLegacyLogF(const CCompiledMsgBase& format,
                                                         const CString& secondText)
{
    return HtmlLegacyLogF(format.LoadCStr(), secondText);
}

CTextOutputBase<THtmlLegacyLogF> COutput::HtmlLegacyLogF(const CCompiledMsgBase& format,
                                                         unsigned int messageId)
{
    return HtmlLegacyLogF(format.LoadCStr(), messageId);
}

CTextOutputBase<THtmlJobLogF> COutput::HtmlJobLogF(const CCompiledMsgBase& format,
                                                   const CString& secondText)
{
    return HtmlJobLogF(format.LoadCStr(), secondText);
}

CTextOutputBase<THtmlJobLogF> COutput::HtmlJobLogF(const CCompiledMsgBase& format,
                                                   unsigned int ignored)
{
    return HtmlJobLogF(format.LoadCStr(), ignored);
}

CTextOutputBase<THtmlApsLogF> COutput::HtmlApsLogF(const CCompiledMsgBase& format,
                                                   const CString& secondText)
{
    return HtmlApsLogF(format.LoadCStr(), secondText);
}

CTextOutputBase<THtmlApsLogF> COutput::HtmlApsLogF(const CCompiledMsgBase& format,
                                                   unsigned int ignored)
{
    return HtmlApsLogF(format.LoadCStr(), ignored);
}

CTextOutputBase<THtmlLogF> COutput::HtmlLogF(const CCompiledMsgBase& format,
                                             const CString& secondText)
{
    return HtmlLogF(format.LoadCStr(), secondText);
}

CTextOutputBase<TPrintF> COutput::PrintF(const CCompiledMsgBase& format, const CString& secondText)
{
    return PrintF(format.LoadCStr(), secondText);
}

CTextOutputBase<TTraceF> COutput::TraceF(const CCompiledMsgBase& format)
{
    return TraceF(format.LoadCStr());
}

CMsgBoxF COutput::MsgBoxF(const char* format, unsigned int type, unsigned int extra)
{
    return CMsgBoxF(*this, format, type, extra);
}

CMsgBoxF COutput::MsgBoxF(const char* format, const CString& title, unsigned int type,
                          unsigned int extra)
{
    return CMsgBoxF(*this, format, title, type, extra);
}

CMsgBoxF COutput::MsgBoxF(const CCompiledMsgBase& format, unsigned int type, unsigned int extra)
{
    return CMsgBoxF(*this, format, type, extra);
}

CMsgBoxF COutput::MsgBoxF(const CCompiledMsgBase& format, const CString& title, unsigned int type,
                          unsigned int extra)
{
    return CMsgBoxF(*this, format, title, type, extra);
}

COutput& DefaultOutput()
{
    static COutput s_oDefaultOutput(nullptr);
    return s_oDefaultOutput;
}

} // namespace Text
} // namespace CppUtil
