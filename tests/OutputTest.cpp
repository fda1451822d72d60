#include "LogRecorder.h"
#include "Thrown.h"
#include "UiThreadStandIn.h"

#include <cpputil/CppUtil.Text.Output.h>

#include <boost/format/group.hpp>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace CppUtil::Text;
using ::testing::_;
using ::testing::ElementsAre;

namespace
{

class OutputTest : public ::testing::Test, protected SRecordedOutputAndWindow
{
};

struct SRoute
{
    const char* m_szName;
    std::function<void(COutput&)> m_oWrite;
    ELogEntryDestination m_eDestination;
    bool m_bHtml;
    const char* m_szSecondText;
};

} // namespace

TEST_F(OutputTest, EveryBuilderReachesItsDestination)
{
    const SRoute routes[] = {
        {"LogF", [](COutput& o) { o.LogF("n=%d", "s") % 1; }, Log, false, "s"},
        {"LegacyLogF", [](COutput& o) { o.LegacyLogF("n=%d", "s") % 1; }, LegacyLog, false, "s"},
        {"JobLogF", [](COutput& o) { o.JobLogF("n=%d", "s") % 1; }, JobLog, false, "s"},
        {"ApsLogF", [](COutput& o) { o.ApsLogF("n=%d", "s") % 1; }, ApsLog, false, "s"},
        {"HtmlLogF", [](COutput& o) { o.HtmlLogF("n=%d", "s") % 1; }, Log, true, "s"},
        {"HtmlLegacyLogF", [](COutput& o) { o.HtmlLegacyLogF("n=%d", "s") % 1; }, LegacyLog, true,
         "s"},
        {"PrintF", [](COutput& o) { o.PrintF("n=%d", "s") % 1; }, Log, false, "s"},
        {"LogF id 0", [](COutput& o) { o.LogF("n=%d", 0u) % 1; }, Log, false, ""},
        {"JobLogF 7", [](COutput& o) { o.JobLogF("n=%d", 7u) % 1; }, JobLog, false, ""},
        {"HtmlJobLogF 7", [](COutput& o) { o.HtmlJobLogF("n=%d", 7u) % 1; }, JobLog, true, ""},
        {"HtmlApsLogF 7", [](COutput& o) { o.HtmlApsLogF("n=%d", 7u) % 1; }, ApsLog, true, ""},
    };
    m_poManager->SetTraceLogging(true);
    for (const SRoute& route : routes)
    {
        SCOPED_TRACE(route.m_szName);
        const std::size_t before = m_oRecorder.Lines().size();
        route.m_oWrite(m_oOut);
        const std::vector<SLogLine> lines = m_oRecorder.Lines();
        ASSERT_EQ(before + 1, lines.size());
        EXPECT_EQ("n=1", lines.back().m_sText);
        EXPECT_EQ(route.m_eDestination, lines.back().m_eDestination);
        EXPECT_EQ(route.m_bHtml, lines.back().m_bHtml);
        EXPECT_EQ(route.m_szSecondText, lines.back().m_sSecondText);
    }
    m_oOut.TraceF("trace %s") % "on";
    EXPECT_EQ("trace on", m_oRecorder.Lines().back().m_sText);
    EXPECT_EQ(Log, m_oRecorder.Lines().back().m_eDestination);
}

TEST_F(OutputTest, NumberIsMessageIdForLogButDroppedForJobAndAps)
{
    {
        auto job = m_oOut.JobLogF("job", 7u);
        EXPECT_EQ(0u, job.GetMessageId());
        EXPECT_EQ(1u, job.GetFlags());
        EXPECT_TRUE(job.GetSecondText().IsEmpty());
        auto jobText = m_oOut.JobLogF("job", CString());
        EXPECT_EQ(0u, jobText.GetFlags());
        auto log = m_oOut.LogF("log", 7u);
        EXPECT_EQ(7u, log.GetMessageId());
        EXPECT_EQ(0u, log.GetFlags());
        EXPECT_EQ(0u, m_oOut.HtmlApsLogF("aps", 7u).GetMessageId());
        EXPECT_EQ(7u, m_oOut.HtmlLegacyLogF("legacy", 7u).GetMessageId());
    }
    // Message ids are verbose-logging areas, all off here: only the job and APS lines remain.
    EXPECT_EQ((std::vector<std::string>{"aps", "job", "job"}), m_oRecorder.Texts());
    m_oOut.LegacyLogF("legacy %d", 0x10000u) % 1;
    EXPECT_EQ(3u, m_oRecorder.Lines().size());
}

TEST_F(OutputTest, ArgumentsFollowBoostFormatAndReusedFormatsStartClean)
{
    m_oOut.LogF("Lot %s: %d devices, yield %.2f%%", 0u) % CString("A-17") % 1200 % 99.254;
    m_oOut.LogF("%2%-%1%|%1%", 0u) % "a" % 'b';
    m_oOut.LogF("[%s]", 0u) % boost::io::group(std::hex, std::showbase, 255);
    // A missing argument is reported when the line is written, an extra one when it is fed; the
    // line fed so far is still written.
    EXPECT_THROW(m_oOut.LogF("%d and %d", 0u) % 1, boost::io::too_few_args);
    EXPECT_THROW(m_oOut.LogF("%d", 0u) % 1 % 2, boost::io::too_many_args);

    // The same text in quick succession, nested, and after a failed feed: each line must see
    // only its own arguments.
    for (int i = 0; i < 2; ++i)
        m_oOut.LogF("value %d of %s", 0u) % i % "run";
    EXPECT_THROW(m_oOut.LogF("value %d of %s", 0u) % 1 % "x" % "extra", boost::io::too_many_args);
    m_oOut.LogF("value %d of %s", 0u) % 9 % "after";
    {
        auto outer = m_oOut.LogF("value %d of %s", 0u);
        outer % 1;
        m_oOut.LogF("value %d of %s", 0u) % 2 % "inner";
        outer % "outer";
    }
    EXPECT_EQ(
        (std::vector<std::string>{"Lot A-17: 1200 devices, yield 99.25%", "b-a|a", "[0xff]", "1",
                                  "value 0 of run", "value 1 of run", "value 1 of x",
                                  "value 9 of after", "value 2 of inner", "value 1 of outer"}),
        m_oRecorder.Texts());
    EXPECT_GT(CFormatCache::GetPooledCount(), 0u);
}

TEST_F(OutputTest, WriteFailureEscapesOnlyWhenNothingElsePropagates)
{
    int calls = 0;
    m_poManager->SetLoggingEventHandler(
        [&calls](const char*, bool, const char*, ELogEntryDestination)
        {
            ++calls;
            throw std::runtime_error("disk full");
        });
    EXPECT_THROW(m_oOut.LogF("plain", CString()), std::runtime_error);

    EXPECT_EQ("first", Thrown<std::logic_error>(
                           [this]
                           {
                               auto line = m_oOut.LogF("unwinding", CString());
                               throw std::logic_error("first");
                           }));

    // A line written from a destructor that runs during unwinding must not throw into it.
    struct SLogsOnExit
    {
        COutput& m_oOut;
        ~SLogsOnExit() { m_oOut.LogF("leaving", CString()); }
    };
    EXPECT_EQ("second", Thrown<std::logic_error>(
                            [this]
                            {
                                SLogsOnExit guard{m_oOut};
                                throw std::logic_error("second");
                            }));
    EXPECT_EQ(3, calls);
}

TEST_F(OutputTest, RegisteredMessages)
{
    EXPECT_FALSE(m_oOut.IsMessageRegistered("Box A"));
    m_oOut.RegisterMessage("Box A", 6);
    m_oOut.RegisterMessage("Box A", 7);
    EXPECT_TRUE(m_oOut.IsMessageRegistered("Box A"));
    EXPECT_EQ(7, m_oOut.GetValue("Box A"));
    EXPECT_EQ("CMessageManager::GetValue: Could not find message \nBox B\n"
              "Message is has not been registered.",
              ThrownAt([this] { m_oOut.GetValue("Box B"); }, "CppUtil::Text::COutput::GetValue",
                       "CppUtil.Text.Output", 209));
}

TEST_F(OutputTest, OutputWindowGetsTextAndFlags)
{
    CUiThreadStandIn ui;
    m_oOut.WriteToOutputWnd("direct", 5);
    m_oOut.AddText("text");
    m_oOut.AddDevelopmentText("development");
    m_oOut.PrintF("printed %d", CString()) % 3;
    EXPECT_TRUE(ui.PumpUntil([this] { return m_oRecorder.WindowLines().size() >= 4; }));
    const std::vector<SWindowLine> window = m_oRecorder.WindowLines();
    ASSERT_EQ(4u, window.size());
    EXPECT_EQ(&m_oOut, window[0].m_poOutput);
    EXPECT_EQ("direct", window[0].m_sText);
    EXPECT_EQ(5u, window[0].m_uFlags);
    EXPECT_EQ(0u, window[1].m_uFlags);
    EXPECT_EQ("development", window[2].m_sText);
    EXPECT_EQ(1u, window[2].m_uFlags);
    EXPECT_EQ("printed 3", window[3].m_sText);
}

TEST_F(OutputTest, OutputWithoutManagerForwardsAndCopiesShareTheManager)
{
    COutput orphan(nullptr);
    EXPECT_THROW(orphan.MessageManager(), CppUtil::Exception::CQlException);

    // No getter: every live manager (here the fixture's and a second one) gets the line once.
    CLogRecorder second;
    {
        CMessageManager other;
        other.SetLoggingEventHandler(second.Handler());
        orphan.LogF("to all", CString());
        DefaultOutput().JobLogF("default", CString());
    }
    EXPECT_EQ(2u, second.Lines().size());
    EXPECT_EQ(2u, m_oRecorder.Lines().size());

    // With a getter: only the active output's manager.
    orphan.SetActiveOutputGetter([this]() -> COutput& { return m_oOut; });
    orphan.LogF("to active", CString());
    EXPECT_THAT(m_oRecorder.Texts(), ElementsAre(_, _, "to active"));

    // A getter that answers with the output itself falls back to every manager.
    orphan.SetActiveOutputGetter([&orphan]() -> COutput& { return orphan; });
    orphan.LogF("self", CString());
    EXPECT_EQ("self", m_oRecorder.Lines().back().m_sText);

    // Copies share the manager, which outlives the output it printed through.
    std::unique_ptr<COutput> original(new COutput(new CMessageManager));
    CLogRecorder recorder;
    original->MessageManager().SetLoggingEventHandler(recorder.Handler());
    COutput copy(*original);
    EXPECT_EQ(&original->MessageManager(), &copy.MessageManager());
    copy.LogF("from copy", CString());
    original.reset();
    copy.PrintF("after", CString());
    EXPECT_THAT(recorder.Texts(), ElementsAre(_, "after"));
}

TEST_F(OutputTest, GetterCycleFallsBackToEveryManagerAndAssignmentLeavesTheOldManager)
{
    // Two outputs that name each other as the active one.
    COutput first(nullptr);
    COutput second(nullptr);
    first.SetActiveOutputGetter([&second]() -> COutput& { return second; });
    second.SetActiveOutputGetter([&first]() -> COutput& { return first; });
    first.LogF("round %d", CString()) % 1;
    second.LogF("round %d", CString()) % 2;
    EXPECT_THAT(m_oRecorder.Texts(), ElementsAre(_, "round 2"));

    // A manager shared with a copy prints through the output it was made for, until that output
    // is given another manager.
    CUiThreadStandIn ui;
    auto* original = new COutput(new CMessageManager);
    COutput copy(*original);
    *original = m_oOut;
    copy.PrintF("after assignment", CString());
    // Ten periods of the throttler: long enough for a line to reach the window.
    CppUtil::Thread::PumpMessages(500);
    delete original;
    copy.PrintF("after destruction", CString());
    m_oOut.AddText("marker");
    EXPECT_TRUE(ui.PumpUntil(
        [this]
        {
            return !m_oRecorder.WindowLines().empty() &&
                   m_oRecorder.WindowLines().back().m_sText == "marker";
        }));
    for (const SWindowLine& line : m_oRecorder.WindowLines())
        EXPECT_EQ(&m_oOut, line.m_poOutput) << line.m_sText;
}
