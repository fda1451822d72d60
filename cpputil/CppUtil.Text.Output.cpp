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

const Exception::CSourceFile k_oSource("CppUtil.Text.Output");

// What all outputs share.
struct SShared
{
    // The output-window writer is installed once by the host but read from any thread.
    std::mutex m_oWriterMutex;
    COutput::TWriteOutputWndDelegate m_oWriter;
    // Guards the making and copying of each output's throttler. A throttler is not made under
    // it: making one waits for the user-interface thread, which may be adding text itself.
    std::mutex m_oThrottlerMutex;
};

SShared& Shared()
{
    static SShared s_oShared;
    return s_oShared;
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
      m_bDialogsEnabled(other.m_bDialogsEnabled.load()), m_poPublishedThrottler(nullptr)
{
    ShareThrottlerOf(other);
}

COutput::COutput(const COutput& other, SWithoutThrottler)
    : m_poMessageManager(other.m_poMessageManager),
      m_oActiveOutputGetter(other.m_oActiveOutputGetter),
      m_bDialogsEnabled(other.m_bDialogsEnabled.load()), m_poPublishedThrottler(nullptr)
{
}

COutput& COutput::operator=(const COutput& other)
{
    if (this == &other)
        return *this;
    // The manager, still shared with a copy, must not print through an output that has left it.
    if (m_poMessageManager && m_poMessageManager != other.m_poMessageManager)
        m_poMessageManager->LeaveOutput(*this);
    m_poMessageManager = other.m_poMessageManager;
    m_oActiveOutputGetter = other.m_oActiveOutputGetter;
    m_oRegisteredMessages = other.m_oRegisteredMessages;
    m_bDialogsEnabled.store(other.m_bDialogsEnabled.load());
    ShareThrottlerOf(other);
    return *this;
}

COutput::~COutput()
{
    CMessageManager::ForgetOutput(*this);
    if (m_poOutputWndThrottler)
        m_poOutputWndThrottler->Detach(*this);
}

void COutput::ShareThrottlerOf(const COutput& other)
{
    std::shared_ptr<COutputWndThrottler> poShared;
    std::shared_ptr<COutputWndThrottler> poPrevious;
    {
        std::lock_guard<std::mutex> lock(Shared().m_oThrottlerMutex);
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
        k_oSource.Throw(139, "CppUtil::Text::COutput::MessageManager",
                        "COutput::MessageManager: This output has no message manager.");
    return *m_poMessageManager;
}

void COutput::SetActiveOutputGetter(const TActiveOutputGetter& getter)
{
    m_oActiveOutputGetter = getter;
}

void COutput::SetWriteOutputWndDelegate(const TWriteOutputWndDelegate& writer)
{
    SShared& shared = Shared();
    std::lock_guard<std::mutex> lock(shared.m_oWriterMutex);
    shared.m_oWriter = writer;
}

COutput::TWriteOutputWndDelegate COutput::GetWriteOutputWndDelegate()
{
    SShared& shared = Shared();
    std::lock_guard<std::mutex> lock(shared.m_oWriterMutex);
    return shared.m_oWriter;
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
    std::lock_guard<std::mutex> lock(Shared().m_oThrottlerMutex);
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
        k_oSource.Throw(209, "CppUtil::Text::COutput::GetValue",
                        "CMessageManager::GetValue: Could not find message \n" + name +
                            "\nMessage is has not been registered.");
    return it->second;
}

CString COutput::LoadFormat(const CCompiledMsgBase& format)
{
    return format.LoadCStr();
}

void COutput::Write(const SFinishedText& text)
{
    if (CMessageManager* manager = ActiveMessageManager())
    {
        manager->WriteMessage(text);
        return;
    }
    CMessageManager::ForEachManager([&text](CMessageManager& manager)
                                    { manager.WriteMessage(text); });
}

void WriteText(COutput& output, const SFinishedText& text)
{
    output.Write(text);
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
