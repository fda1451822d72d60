#include "CppUtil.Text.MessageManager.h"
#include "CppUtil.Text.Output.h"
#include "Platform/Kernel/WinMessages.h"

#include "CppUtil.Settings.VerboseLogging.h"

#include <condition_variable>
#include <mutex>
#include <vector>

namespace CppUtil
{
namespace Text
{
namespace
{

// One lock for the set of managers and their broadcast counts; the condition wakes a manager's
// destructor when the last broadcast writer leaves it.
struct SManagerSet
{
    std::mutex m_oMutex;
    std::condition_variable m_oReleased;
    std::set<CMessageManager*> m_oManagers;
};

SManagerSet& ManagerSet()
{
    // Never destroyed: managers with static storage may unregister after it would have gone.
    static SManagerSet* s_poManagerSet = new SManagerSet;
    return *s_poManagerSet;
}

} // namespace

CMessageManager::CMessageManager()
    : m_poOutput(nullptr), m_bTraceLogging(false), m_bPrintLogging(true), m_uBroadcastUsers(0)
{
    SManagerSet& managerSet = ManagerSet();
    std::lock_guard<std::mutex> lock(managerSet.m_oMutex);
    managerSet.m_oManagers.insert(this);
}

CMessageManager::CMessageManager(const CMessageManager& other)
    : m_poOutput(other.m_poOutput.load()), m_poLoggingEventHandler(other.LoggingEventHandler()),
      m_bTraceLogging(other.m_bTraceLogging.load()), m_bPrintLogging(other.m_bPrintLogging.load()),
      m_uBroadcastUsers(0)
{
    SManagerSet& managerSet = ManagerSet();
    std::lock_guard<std::mutex> lock(managerSet.m_oMutex);
    managerSet.m_oManagers.insert(this);
}

CMessageManager& CMessageManager::operator=(const CMessageManager& other)
{
    if (this != &other)
    {
        // A share in the other's handler, as a copy has: the other manager may die first.
        std::shared_ptr<const TLoggingEventHandler> handler = other.LoggingEventHandler();
        {
            std::lock_guard<std::mutex> lock(m_oHandlerMutex);
            m_poLoggingEventHandler.swap(handler);
        }
        m_bTraceLogging = other.m_bTraceLogging.load();
        m_bPrintLogging = other.m_bPrintLogging.load();
    }
    return *this;
}

CMessageManager::~CMessageManager()
{
    SManagerSet& managerSet = ManagerSet();
    std::unique_lock<std::mutex> lock(managerSet.m_oMutex);
    managerSet.m_oManagers.erase(this);
    managerSet.m_oReleased.wait(lock, [this] { return m_uBroadcastUsers == 0; });
}

std::set<CMessageManager*>& CMessageManager::GetMessageManagers()
{
    return ManagerSet().m_oManagers;
}

void CMessageManager::ForEachManager(const boost::function<void(CMessageManager&)>& action)
{
    SManagerSet& managerSet = ManagerSet();
    std::vector<CMessageManager*> managers;
    {
        std::lock_guard<std::mutex> lock(managerSet.m_oMutex);
        const std::set<CMessageManager*>& live = GetMessageManagers();
        managers.assign(live.begin(), live.end());
        for (CMessageManager* manager : managers)
            ++manager->m_uBroadcastUsers;
    }

    // Each manager is given back after its action; the guard gives back the rest when an action
    // throws.
    std::size_t next = 0;
    struct SGiveBack
    {
        SManagerSet& m_oManagerSet;
        std::vector<CMessageManager*>& m_oManagers;
        std::size_t& m_nNext;
        ~SGiveBack()
        {
            std::lock_guard<std::mutex> lock(m_oManagerSet.m_oMutex);
            for (std::size_t i = m_nNext; i < m_oManagers.size(); ++i)
                --m_oManagers[i]->m_uBroadcastUsers;
            m_oManagerSet.m_oReleased.notify_all();
        }
    } giveBack{managerSet, managers, next};

    while (next < managers.size())
    {
        CMessageManager* manager = managers[next];
        action(*manager);
        std::lock_guard<std::mutex> lock(managerSet.m_oMutex);
        --manager->m_uBroadcastUsers;
        ++next;
        managerSet.m_oReleased.notify_all();
    }
}

void CMessageManager::ForgetOutput(const COutput& output)
{
    SManagerSet& managerSet = ManagerSet();
    std::lock_guard<std::mutex> lock(managerSet.m_oMutex);
    for (CMessageManager* manager : managerSet.m_oManagers)
        manager->LeaveOutput(output);
}

void CMessageManager::LeaveOutput(const COutput& output)
{
    COutput* expected = const_cast<COutput*>(&output);
    m_poOutput.compare_exchange_strong(expected, nullptr);
}

void CMessageManager::SetOutput(COutput& output)
{
    m_poOutput = &output;
}

void CMessageManager::SetLoggingEventHandler(TLoggingEventHandler handler)
{
    std::shared_ptr<const TLoggingEventHandler> installed;
    if (handler)
        installed = std::make_shared<const TLoggingEventHandler>(std::move(handler));
    // The replaced handler dies here, outside the lock, unless a writer is still calling it.
    std::lock_guard<std::mutex> lock(m_oHandlerMutex);
    m_poLoggingEventHandler.swap(installed);
}

std::shared_ptr<const CMessageManager::TLoggingEventHandler>
CMessageManager::LoggingEventHandler() const
{
    std::lock_guard<std::mutex> lock(m_oHandlerMutex);
    return m_poLoggingEventHandler;
}

void CMessageManager::SetTraceLogging(bool enabled)
{
    m_bTraceLogging = enabled;
}

void CMessageManager::SetPrintLogging(bool enabled)
{
    m_bPrintLogging = enabled;
}

void CMessageManager::WriteMessage(const SFinishedText& text)
{
    switch (text.m_eRoute)
    {
    case ETextRoute::Log:
        WriteMessageToLogHelper(text.m_oText(), text.m_bHtml, text.m_sSecondText, text.m_uMessageId,
                                text.m_eDestination);
        break;
    case ETextRoute::Print:
        WriteMessageToPrint(text.m_oText(), text.m_sSecondText);
        break;
    case ETextRoute::Trace:
        WriteMessageToTrace(text.m_oText());
        break;
    }
}

void CMessageManager::WriteMessageToLogHelper(const CString& text, bool html,
                                              const CString& secondText, unsigned int messageId,
                                              ELogEntryDestination destination)
{
    CString prefix;
    if (!Settings::CVerboseLogging::IsMessageEnabled(messageId, prefix))
        return;
    if (prefix.IsEmpty())
        WriteMessageToLog(text, html, secondText, false, destination);
    else
        WriteMessageToLog(prefix + text, html, secondText, false, destination);
}

void CMessageManager::WriteMessageToLog(const CString& text, bool html, const CString& secondText,
                                        bool splitLines, ELogEntryDestination destination)
{
    const std::shared_ptr<const TLoggingEventHandler> handler = LoggingEventHandler();
    if (!handler)
        return;
    if (!splitLines)
    {
        (*handler)(text, html, secondText, destination);
        return;
    }
    int start = 0;
    for (CString piece = text.Tokenize("\r\n", start); start != -1;
         piece = text.Tokenize("\r\n", start))
    {
        if (!piece.IsEmpty())
            (*handler)(piece, html, secondText, destination);
    }
}

void CMessageManager::WriteMessageToTrace(const CString& text)
{
    if (m_bTraceLogging)
        WriteMessageToLog(text, false, CString(), false, Log);
}

void CMessageManager::WriteMessageToPrint(const CString& text, const CString& secondText)
{
    if (COutput* output = m_poOutput.load())
        output->AddText(text);
    if (m_bPrintLogging)
        WriteMessageToLog(text, false, secondText, true, Log);
}

} // namespace Text
} // namespace CppUtil
