#include "LogRecorder.h"
#include "ScratchFolder.h"
#include "SelfProcess.h"

#include <cpputil/CppUtil.Thread.BufferedOutFile.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

using CppUtil::Thread::CBufferedOutFile;
using ::testing::HasSubstr;

namespace
{

const char* const k_szWriterFileVariable = "CPPUTIL_TEST_WRITER_FILE";

std::vector<std::string> ReadLines(const std::filesystem::path& path, std::string* tail = nullptr)
{
    std::vector<std::string> lines;
    const std::string all = ReadAll(path.string());
    std::size_t start = 0;
    for (std::size_t end; (end = all.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(all.substr(start, end - start));
    if (tail)
        *tail = all.substr(start);
    return lines;
}

std::string WriterLine(unsigned int number)
{
    // Long enough that a batch spans many pages of the file.
    return "line " + std::to_string(number) + " " + std::string(200, 'a' + number % 26);
}

class BufferedOutFileTest : public ::testing::Test, protected SRecordedOutput
{
protected:
    const CScratchFolder m_oScratch;
    const std::filesystem::path& m_oDir = m_oScratch.Path();
};

TEST_F(BufferedOutFileTest, LinesFromManyThreadsArriveWholeInOrderAndNoneIsLostAtStop)
{
    const std::filesystem::path path = m_oDir / "main.log";
    {
        CBufferedOutFile file(m_oOut, path.string().c_str());
        file.Start();
        file.AddLine("first");
        // Written by the worker's own period, without a stop.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (ReadLines(path).empty() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(std::vector<std::string>{"first"}, ReadLines(path));
        EXPECT_EQ(0u, file.GetPendingCount());

        std::vector<std::thread> writers;
        for (int t = 0; t < 4; ++t)
            writers.emplace_back(
                [&file, t]
                {
                    for (int i = 0; i < 2000; ++i)
                        file.AddLine(("t" + std::to_string(t) + " " + std::to_string(i)).c_str());
                });
        for (std::thread& writer : writers)
            writer.join();
        file.Stop();
        // Added after the stop: the destructor writes it.
        file.AddLine("last");
    }
    const std::vector<std::string> lines = ReadLines(path);
    ASSERT_EQ(1u + 4 * 2000 + 1, lines.size());
    EXPECT_EQ("first", lines.front());
    EXPECT_EQ("last", lines.back());
    int next[4] = {0, 0, 0, 0};
    for (std::size_t i = 1; i + 1 < lines.size(); ++i)
    {
        const int t = lines[i][1] - '0';
        ASSERT_TRUE(t >= 0 && t < 4) << lines[i];
        EXPECT_EQ("t" + std::to_string(t) + " " + std::to_string(next[t]++), lines[i]);
    }
}

TEST_F(BufferedOutFileTest, UnopenableFileKeepsItsLinesAndStartCutsAnUnfinishedLastLine)
{
    const std::filesystem::path dir = m_oDir / "later";
    const std::filesystem::path path = dir / "job.log";
    CBufferedOutFile file(m_oOut, path.string().c_str());
    file.AddLine("one");
    file.AddLine("two");
    EXPECT_FALSE(file.Flush());
    file.AddLine("three");
    EXPECT_FALSE(file.Flush());
    EXPECT_EQ(3u, file.GetPendingCount());
    EXPECT_THAT(m_oRecorder.Texts(),
                ::testing::ElementsAre(
                    ::testing::AllOf(HasSubstr("could not be opened"), HasSubstr(path.string()))));

    std::filesystem::create_directories(dir);
    file.AddLine("four");
    EXPECT_TRUE(file.Flush());
    EXPECT_EQ((std::vector<std::string>{"one", "two", "three", "four"}), ReadLines(path));
    EXPECT_THAT(m_oRecorder.Texts(),
                ::testing::ElementsAre(::testing::_, HasSubstr("is written again")));

    // Start cuts an unfinished last line and keeps everything before.
    const std::filesystem::path aps = m_oDir / "aps.log";
    // More than one read chunk of whole lines, then a remnant with no line end.
    std::string text;
    for (int i = 0; i < 500; ++i)
        text += WriterLine(i) + "\n";
    std::ofstream(aps, std::ios::binary) << text << "line 500 aaa";
    {
        CBufferedOutFile reopened(m_oOut, aps.string().c_str());
        reopened.Start();
        reopened.AddLine("after");
    }
    std::string tail;
    std::vector<std::string> lines = ReadLines(aps, &tail);
    EXPECT_EQ("", tail);
    ASSERT_EQ(501u, lines.size());
    EXPECT_EQ(WriterLine(499), lines[499]);
    EXPECT_EQ("after", lines[500]);

    // A file of one unfinished line is emptied; a whole file is left alone.
    std::ofstream(aps, std::ios::binary) << "no line end";
    for (int round = 0; round < 2; ++round)
    {
        CBufferedOutFile reopened(m_oOut, aps.string().c_str());
        reopened.Start();
        reopened.AddLine("kept");
    }
    EXPECT_EQ((std::vector<std::string>{"kept", "kept"}), ReadLines(aps, &tail));
    EXPECT_EQ("", tail);
}

// Run as a separate process by the next test, which kills it while it appends: without the
// fixture, whose folder a killed process would leave behind.
TEST(BufferedOutFileWriter, DISABLED_Process)
{
    const char* target = std::getenv(k_szWriterFileVariable);
    ASSERT_NE(nullptr, target);
    SRecordedOutput recorded;
    CBufferedOutFile file(recorded.m_oOut, target);
    file.Start();
    for (unsigned int number = 0;; ++number)
    {
        file.AddLine(WriterLine(number).c_str());
        // Some 20 MB a period: each append spans thousands of pages of the file.
        if (number % 100 == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

TEST_F(BufferedOutFileTest, AWriterKilledWhileAppendingLeavesOnlyWholeLinesAfterTheNextStart)
{
    const std::filesystem::path path = m_oDir / "killed.log";
    std::mt19937 random(std::random_device{}());
    for (int round = 0; round < 3; ++round)
    {
        CSelfProcess writer(k_szWriterFileVariable, path.string(),
                            "BufferedOutFileWriter.DISABLED_Process");
        ASSERT_TRUE(writer.m_bStarted);
        // Killed a moment after an append has begun, while that append is likely still going.
        const auto size = [&path]
        {
            std::error_code error;
            const std::uintmax_t bytes = std::filesystem::file_size(path, error);
            return error ? 0 : bytes;
        };
        const std::uintmax_t before = size();
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (size() <= before && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        std::this_thread::sleep_for(
            std::chrono::milliseconds(std::uniform_int_distribution<int>(0, 20)(random)));
        writer.Kill();
        // Wine signals a terminated process's handle before its threads are gone, so a write
        // under way may still land: wait until the file stops growing.
        std::uintmax_t last = size();
        for (int stable = 0; stable < 3;)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            const std::uintmax_t now = size();
            stable = now == last ? stable + 1 : 0;
            last = now;
        }

        // Whatever reached the file is the writer's lines in order, each whole but maybe the
        // last.
        std::string tail;
        const std::vector<std::string> lines = ReadLines(path, &tail);
        ASSERT_FALSE(lines.empty());
        unsigned int expected = 0;
        for (const std::string& line : lines)
        {
            if (line == "resumed")
            {
                expected = 0;
                continue;
            }
            ASSERT_EQ(WriterLine(expected), line);
            ++expected;
        }
        EXPECT_THAT(WriterLine(expected), ::testing::StartsWith(tail));

        CBufferedOutFile next(m_oOut, path.string().c_str());
        next.Start();
        next.AddLine("resumed");
        next.Stop();
        const std::vector<std::string> repaired = ReadLines(path, &tail);
        EXPECT_EQ("", tail);
        ASSERT_EQ(lines.size() + 1, repaired.size());
        EXPECT_EQ("resumed", repaired.back());
    }
}

} // namespace
