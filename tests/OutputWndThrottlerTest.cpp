#include "UiThreadStandIn.h"

#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/CppUtil.Text.OutputWndThrottler.h>
#include <cpputil/GuiThreadCaller.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace CppUtil::Text;
using CppUtil::Thread::CGuiThreadCaller;

namespace
{

const char* const k_szBatchEnd = "<batch end>";

struct SWritten
{
    std::string m_sText;
    unsigned int m_uFlags;
    bool m_bOnUiThread;
    // The output the writer was handed, and what it read from it.
    const COutput* m_poOutput = nullptr;
    bool m_bDialogsEnabled = true;
};

// The test's thread is the user-interface thread. Behind the first line of each batch the writer
// queues a marker: the batch's later lines are written before the loop gets to it, while a line
// of another batch would come after it.
class OutputWndThrottlerTest : public ::testing::Test
{
protected:
    OutputWndThrottlerTest() : m_oUiThread(std::this_thread::get_id())
    {
        COutput::SetWriteOutputWndDelegate(
            [this](COutput& output, const CString& text, unsigned int flags)
            { Write(text.Str(), flags, output); });
    }
    ~OutputWndThrottlerTest() override
    {
        COutput::SetWriteOutputWndDelegate(COutput::TWriteOutputWndDelegate());
    }

    void Write(const std::string& text, unsigned int flags, const COutput& output)
    {
        const bool onUiThread = std::this_thread::get_id() == m_oUiThread;
        std::lock_guard<std::mutex> lock(m_oMutex);
        m_oWritten.push_back({text, flags, onUiThread, &output, output.DialogsEnabled()});
        ++m_uLines;
        if (!m_bBatchOpen)
        {
            m_bBatchOpen = true;
            CGuiThreadCaller::Fire(
                [this]
                {
                    std::lock_guard<std::mutex> lock(m_oMutex);
                    m_bBatchOpen = false;
                    m_oWritten.push_back({k_szBatchEnd, 0, true});
                });
        }
    }

    std::size_t LinesWritten()
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        return m_uLines;
    }

    // Waits for the lines and for the marker behind the last batch.
    std::vector<SWritten> PumpUntilWritten(std::size_t lines)
    {
        CUiThreadStandIn::PumpUntil(
            [&]
            {
                std::lock_guard<std::mutex> lock(m_oMutex);
                return m_uLines >= lines && !m_bBatchOpen;
            },
            std::chrono::seconds(120));
        std::lock_guard<std::mutex> lock(m_oMutex);
        return m_oWritten;
    }

    CUiThreadStandIn m_oUi;
    const std::thread::id m_oUiThread;
    std::mutex m_oMutex;
    std::vector<SWritten> m_oWritten;
    std::size_t m_uLines = 0;
    bool m_bBatchOpen = false;
};

} // namespace

TEST_F(OutputWndThrottlerTest, OnePeriodsTextArrivesAsOneBatchInCallOrder)
{
    // Lines of every length, the empty one and one with a NUL inside, come out as they went in;
    // printed text takes the same way.
    const std::string withNul("before\0after", 12);
    const std::string longLine(5000, 'x');
    COutput out(new CMessageManager);
    out.AddText("first");
    out.AddDevelopmentText("second");
    out.AddText("");
    out.AddText(CString(withNul.data(), static_cast<int>(withNul.size())));
    out.AddDevelopmentText(longLine.c_str());
    out.PrintF("printed %d", CString()) % 3;
    out.AddText("last");
    EXPECT_EQ(0u, LinesWritten()) << "written before the user-interface thread's loop ran";

    std::vector<std::pair<std::string, unsigned int>> lines;
    for (const SWritten& line : PumpUntilWritten(7))
    {
        lines.emplace_back(line.m_sText, line.m_uFlags);
        EXPECT_TRUE(line.m_bOnUiThread) << line.m_sText;
    }
    const std::vector<std::pair<std::string, unsigned int>> expected = {
        {"first", 0},  {"second", 1},    {"", 0},     {withNul, 0},
        {longLine, 1}, {"printed 3", 0}, {"last", 0}, {k_szBatchEnd, 0}};
    EXPECT_EQ(expected, lines);
}

TEST_F(OutputWndThrottlerTest, TextPendingAtDestructionIsNeverWritten)
{
    {
        COutput out(nullptr);
        out.AddText("delivered");
        PumpUntilWritten(1);
        out.AddText("dropped");
        out.AddDevelopmentText("dropped too");
    }
    CppUtil::Thread::PumpMessages(10 * COutputWndThrottler::k_iPeriod);
    const std::vector<SWritten> written = PumpUntilWritten(1);
    ASSERT_EQ(2u, written.size());
    EXPECT_EQ("delivered", written[0].m_sText);
}

// Four producers start together, so they also race to make the output's one throttler.
TEST_F(OutputWndThrottlerTest, ManyThreadsLoseNothingAndKeepTheirOrder)
{
    const int k_iThreads = 4;
    const int k_iLinesPerThread = 100000;
    COutput out(nullptr);
    std::vector<std::thread> producers;
    for (int thread = 0; thread < k_iThreads; ++thread)
        producers.emplace_back(
            [&out, thread]
            {
                char text[32];
                for (int line = 0; line < k_iLinesPerThread; ++line)
                {
                    std::snprintf(text, sizeof text, "%d %d", thread, line);
                    out.AddText(text);
                }
            });
    const std::vector<SWritten> written =
        PumpUntilWritten(static_cast<std::size_t>(k_iThreads) * k_iLinesPerThread);
    for (std::thread& producer : producers)
        producer.join();

    std::vector<int> next(k_iThreads, 0);
    std::size_t misplaced = 0;
    for (const SWritten& line : written)
    {
        if (!line.m_bOnUiThread)
            ++misplaced;
        int thread = -1;
        int number = -1;
        if (line.m_sText == k_szBatchEnd ||
            std::sscanf(line.m_sText.c_str(), "%d %d", &thread, &number) != 2)
            continue;
        ASSERT_TRUE(thread >= 0 && thread < k_iThreads) << line.m_sText;
        ASSERT_EQ(next[thread], number) << "thread " << thread;
        ++next[thread];
    }
    EXPECT_EQ(0u, misplaced);
    for (int thread = 0; thread < k_iThreads; ++thread)
        EXPECT_EQ(k_iLinesPerThread, next[thread]) << "thread " << thread;
}

TEST_F(OutputWndThrottlerTest, WriterIsHandedAnOutputThatStillSharesTheThrottler)
{
    auto maker = std::make_unique<COutput>(nullptr);
    // Addresses kept as numbers: the outputs they name are gone when they are compared.
    const auto address = [](const COutput* output)
    { return reinterpret_cast<std::uintptr_t>(output); };
    const std::uintptr_t makerAddress = address(maker.get());
    maker->AddText("maker");
    COutput assigned(nullptr);
    assigned.AddText("own");
    PumpUntilWritten(2);
    auto copy = std::make_unique<COutput>(*maker);
    const std::uintptr_t copyAddress = address(copy.get());
    copy->DialogsEnabled(false);
    // Assignment trades the output's own throttler for the shared one.
    assigned = *copy;
    maker.reset();
    assigned.AddText("maker gone");
    PumpUntilWritten(3);
    copy.reset();
    assigned.AddText("copy gone");
    const std::vector<SWritten> written = PumpUntilWritten(4);

    std::vector<std::pair<std::string, std::uintptr_t>> handed;
    for (const SWritten& line : written)
        if (line.m_sText != k_szBatchEnd)
            handed.emplace_back(line.m_sText, address(line.m_poOutput));
    EXPECT_THAT(handed,
                ::testing::UnorderedElementsAre(std::make_pair("maker", makerAddress),
                                                std::make_pair("own", address(&assigned)),
                                                std::make_pair("maker gone", copyAddress),
                                                std::make_pair("copy gone", address(&assigned))));
    for (const SWritten& line : written)
        EXPECT_TRUE(line.m_sText != "maker gone" || !line.m_bDialogsEnabled);
}
