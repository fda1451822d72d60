#include "CppUtil.Text.Output.h"

#include "CppUtil.Exception.QlException.h"

#include <mutex>

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

} // namespace

COutput::COutput(CMessageManager* messageManager)
    : m_poMessageManager(messageManager), m_bDialogsEnabled(true)
{
    if (m_poMessageManager)
        m_poMessageManager->SetOutput(*this);
}

COutput::COutput(const COutput& other) = default;
COutput& COutput::operator=(const COutput& other) = default;

COutput::~COutput()
{
    // A manager that outlives this output (shared with a copy) must not print through it.
    if (m_poMessageManager)
    {
        COutput* expected = this;
        m_poMessageManager->m_poOutput.compare_exchange_strong(expected, nullptr);
    }
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

void COutput::WriteToOutputWnd(const CString& text, unsigned int flags)
{
    TWriteOutputWndDelegate writer;
    {
        std::lock_guard<std::mutex> lock(WriterMutex());
        writer = Writer();
    }
    if (writer)
        writer(*this, text, flags);
}

// Until the throttling thread exists, queued text is written at once on the calling thread.
void COutput::AddText(const CString& text)
{
    WriteToOutputWnd(text, 0);
}

void COutput::AddDevelopmentText(const CString& text)
{
    WriteToOutputWnd(text, 1);
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

COutput& DefaultOutput()
{
    static COutput s_oDefaultOutput(nullptr);
    return s_oDefaultOutput;
}

} // namespace Text
} // namespace CppUtil
