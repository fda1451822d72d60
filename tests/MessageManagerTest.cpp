#include "LogRecorder.h"
#include "UiThreadStandIn.h"

#include <cpputil/CppUtil.Text.Output.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>
#include <gmock/gmock.h>
#include <memory>
#include <thread>

using namespace CppUtil::Text;

namespace
{

class MessageManagerTest : public ::testing::Test, protected SRecordedOutputAndWindow
{
};

} // namespace

TEST_F(MessageManagerTest, PrintedTextIsLoggedLineByLineAndVerboseAreasGateLogLines)
{
    CUiThreadStandIn ui;
    m_oOut.PrintF("a\r\n\r\nb", "second");
    m_oOut.PrintF("\n\rc\r", "");
    std::vector<std::pair<std::string, std::string>> lines;
    for (const SLogLine& line : m_oRecorder.Lines())
        lines.emplace_back(line.m_sText, line.m_sSecondText);
    EXPECT_EQ((std::vector<std::pair<std::string, std::string>>{
                  {"a", "second"}, {"b", "second"}, {"c", ""}}),
              lines);
    // The output window gets the text whole.
    EXPECT_TRUE(ui.PumpUntil([this] { return m_oRecorder.WindowLines().size() >= 2; }));
    ASSERT_EQ(2u, m_oRecorder.WindowLines().size());
    EXPECT_EQ("a\r\n\r\nb", m_oRecorder.WindowLines()[0].m_sText);

    // Log and trace texts keep their line breaks.
    m_poManager->SetTraceLogging(true);
    m_oOut.LogF("x\r\ny", 0u);
    m_oOut.TraceF("p\nq");
    // With every verbose-logging area off, lines naming an area are dropped, HTML ones too.
    m_oOut.LogF("gated", 0x8u);
    m_oOut.HtmlLegacyLogF("gated", 0x10000u);
    using ::testing::_;
    EXPECT_THAT(m_oRecorder.Texts(), ::testing::ElementsAre(_, _, _, "x\r\ny", "p\nq"));
}

TEST_F(MessageManagerTest, SwitchesAndHandler)
{
    CUiThreadStandIn ui;
    m_oOut.TraceF("trace off by default");
    m_poManager->SetPrintLogging(false);
    m_oOut.PrintF("window only", "");
    EXPECT_TRUE(m_oRecorder.Lines().empty());
    EXPECT_TRUE(ui.PumpUntil([this] { return m_oRecorder.WindowLines().size() >= 1; }));
    EXPECT_EQ(1u, m_oRecorder.WindowLines().size());

    m_poManager->SetPrintLogging(true);
    m_poManager->SetLoggingEventHandler(CMessageManager::TLoggingEventHandler());
    m_oOut.PrintF("no handler", "");
    m_oOut.LogF("no handler", 0u);
    EXPECT_TRUE(m_oRecorder.Lines().empty());
    EXPECT_TRUE(ui.PumpUntil([this] { return m_oRecorder.WindowLines().size() >= 2; }));
    EXPECT_EQ(2u, m_oRecorder.WindowLines().size());

    CLogRecorder replacement;
    m_poManager->SetLoggingEventHandler(replacement.Handler());
    m_oOut.LogF("new handler", 0u);
    EXPECT_EQ(1u, replacement.Lines().size());
}

TEST_F(MessageManagerTest, BroadcastReachesEveryLiveManagerInAddressOrder)
{
    std::vector<const CMessageManager*> order;
    auto recordOrder = [&order](const CMessageManager* manager)
    {
        return [&order, manager](const char*, bool, const char*, ELogEntryDestination)
        { order.push_back(manager); };
    };
    m_poManager->SetLoggingEventHandler(recordOrder(m_poManager));
    CMessageManager second;
    second.SetLoggingEventHandler(recordOrder(&second));
    // A copy is a live manager of its own, with the original's handler.
    CMessageManager copy(second);
    copy.SetLoggingEventHandler(recordOrder(&copy));

    COutput orphan(nullptr);
    orphan.LogF("to all", 0u);
    std::vector<const CMessageManager*> expected{m_poManager, &second, &copy};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(expected, order);
}

TEST_F(MessageManagerTest, ManagerDestructionWaitsForABroadcastInProgress)
{
    std::mutex mutex;
    std::condition_variable changed;
    bool inHandler = false;
    bool release = false;
    std::atomic<bool> handlerDone(false);

    auto* blocking = new CMessageManager;
    blocking->SetLoggingEventHandler(
        [&](const char*, bool, const char*, ELogEntryDestination)
        {
            std::unique_lock<std::mutex> lock(mutex);
            inHandler = true;
            changed.notify_all();
            changed.wait(lock, [&] { return release; });
            handlerDone = true;
        });
    m_poManager->SetLoggingEventHandler(CMessageManager::TLoggingEventHandler());

    std::thread writer([] { DefaultOutput().LogF("broadcast", 0u); });
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return inHandler; });
    }
    std::future<bool> destroyed = std::async(std::launch::async,
                                             [&]
                                             {
                                                 delete blocking;
                                                 return handlerDone.load();
                                             });
    EXPECT_EQ(std::future_status::timeout, destroyed.wait_for(std::chrono::milliseconds(100)));
    {
        std::lock_guard<std::mutex> lock(mutex);
        release = true;
        changed.notify_all();
    }
    EXPECT_TRUE(destroyed.get());
    writer.join();
}

TEST_F(MessageManagerTest, WritingWhileManagersComeAndGoIsRaceFree)
{
    m_poManager->SetLoggingEventHandler(CMessageManager::TLoggingEventHandler());
    std::atomic<bool> stop(false);
    std::atomic<int> received(0);
    auto counting = [&received](const char*, bool, const char*, ELogEntryDestination)
    { ++received; };

    std::thread churn(
        [&]
        {
            while (!stop)
            {
                CMessageManager transient;
                transient.SetLoggingEventHandler(counting);
                transient.SetTraceLogging(true);
                CMessageManager copy(transient);
            }
        });
    CMessageManager steady;
    steady.SetLoggingEventHandler(counting);
    std::thread writers[2];
    for (std::thread& writer : writers)
        writer = std::thread(
            [&]
            {
                COutput orphan(nullptr);
                for (int i = 0; i < 2000; ++i)
                    orphan.LogF("line %d", 0u) % i;
            });
    for (std::thread& writer : writers)
        writer.join();
    stop = true;
    churn.join();
    // The steady manager sees every line; the transient ones add whatever they caught.
    EXPECT_GE(received.load(), 4000);
}

TEST_F(MessageManagerTest, AssignedOrCopiedManagerOutlivesItsSourceAndReplacedHandlersAreFreed)
{
    CUiThreadStandIn ui;
    // The token counts the copies of the handler that are still alive.
    auto token = std::make_shared<int>(0);
    CLogRecorder recorder;
    const CMessageManager::TLoggingEventHandler record = recorder.Handler();
    auto* target = new CMessageManager;
    COutput out(target);
    {
        COutput source(new CMessageManager);
        source.MessageManager().SetLoggingEventHandler(
            [token, record](const char* text, bool html, const char* second,
                            ELogEntryDestination destination)
            { record(text, html, second, destination); });
        source.MessageManager().SetTraceLogging(true);
        *target = source.MessageManager();
        const CMessageManager& same = *target;
        *target = same;
    }
    EXPECT_EQ(2, token.use_count());
    out.TraceF("after the source died");
    EXPECT_EQ(std::vector<std::string>{"after the source died"}, recorder.Texts());

    // A copy made from the manager of an output that then dies prints nowhere, rather than through
    // the dead output; the assigned manager still prints through its own.
    auto* original = new COutput(new CMessageManager);
    CMessageManager copy(original->MessageManager());
    delete original;
    COutput(nullptr).PrintF("to all", CString());
    EXPECT_TRUE(ui.PumpUntil([this] { return m_oRecorder.WindowLines().size() >= 2; }));
    std::vector<const COutput*> printedThrough;
    for (const SWindowLine& line : m_oRecorder.WindowLines())
        printedThrough.push_back(line.m_poOutput);
    EXPECT_THAT(printedThrough, ::testing::UnorderedElementsAre(&m_oOut, &out));

    // Assigning a manager without a handler takes the handler away.
    *target = CMessageManager();
    out.LogF("nowhere", 0u);
    EXPECT_EQ(2u, recorder.Lines().size());

    // A replaced handler is freed once no call uses it.
    auto counter = std::make_shared<int>(0);
    const auto counted = [counter](const char*, bool, const char*, ELogEntryDestination) {};
    CMessageManager other;
    for (int i = 0; i < 1000; ++i)
    {
        m_poManager->SetLoggingEventHandler(counted);
        other.SetLoggingEventHandler(counted);
        *m_poManager = other;
    }
    EXPECT_LE(counter.use_count(), 4);

    // A handler replaced while it runs on another thread lives until that call returns.
    std::promise<void> entered, release;
    std::shared_future<void> released = release.get_future().share();
    auto running = std::make_shared<int>(7);
    std::atomic<int> seen(0);
    m_poManager->SetLoggingEventHandler(
        [running, &entered, released, &seen](const char*, bool, const char*, ELogEntryDestination)
        {
            entered.set_value();
            released.wait();
            seen = *running;
        });
    std::thread writer([this] { m_oOut.LogF("once", 0u); });
    entered.get_future().wait();
    m_poManager->SetLoggingEventHandler(counted);
    EXPECT_EQ(2, running.use_count());
    release.set_value();
    writer.join();
    EXPECT_EQ(7, seen.load());
    EXPECT_EQ(1, running.use_count());
}
