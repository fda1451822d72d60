#include "LogRecorder.h"
#include "Thrown.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Gui.CheckableMessageBox.h>
#include <cpputil/CppUtil.Thread.MessageLoop.h>
#include <cpputil/CppUtil.Thread.PatientExecution.h>
#include <cpputil/Platform/Kernel/MessageBox.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using CppUtil::Exception::CQlException;
using CppUtil::Gui::CCheckableMessageBox;
using CppUtil::Thread::CPatientExecution;

namespace
{

// Answers like a modal box whose thread is asked to quit: it ends then, handing the quit back.
const int k_iAnswerAtQuit = -1;

// Work whose first call blocks until released; later calls succeed at once.
struct SGate
{
    std::promise<void> m_oEntered, m_oRelease, m_oLeft;
    std::shared_future<void> m_oReleased{m_oRelease.get_future().share()};
    std::atomic<int> m_iCalls{0};
};

CPatientExecution::TWork BlockOnce(const std::shared_ptr<SGate>& gate)
{
    return [gate]
    {
        if (gate->m_iCalls++ == 0)
        {
            gate->m_oEntered.set_value();
            gate->m_oReleased.wait();
            gate->m_oLeft.set_value();
        }
        return true;
    };
}

class PatientExecutionTest : public ::testing::Test, protected SRecordedOutput
{
protected:
    PatientExecutionTest()
    {
        CCheckableMessageBox::SetPresenter(
            [this](const CString& text, const CString& caption, unsigned int type, unsigned int,
                   bool, bool&)
            {
                std::unique_lock<std::mutex> lock(m_oMutex);
                m_oShown.push_back(caption + "|" + text);
                m_oTypes.push_back(type);
                const int answer = m_oAnswers.empty() ? IDCANCEL : m_oAnswers.front();
                if (!m_oAnswers.empty())
                    m_oAnswers.pop_front();
                lock.unlock();
                if (answer != k_iAnswerAtQuit)
                    return answer;
                m_bAtQuit = true;
                CppUtil::Thread::PostQuitMessage(CppUtil::Thread::RunMessageLoop());
                return IDRETRY;
            });
    }
    ~PatientExecutionTest() override
    {
        CCheckableMessageBox::SetPresenter(CCheckableMessageBox::TPresenter());
    }

    // One step an attempt: "" succeeds, "false" returns false, "std" throws std::runtime_error,
    // any other text is thrown as CQlException; past the script, attempts return false.
    CPatientExecution::TWork Work(const std::vector<std::string>& script)
    {
        auto attempts = m_poAttempts = std::make_shared<int>(0);
        return [script, attempts]
        {
            const std::size_t at = static_cast<std::size_t>((*attempts)++);
            const std::string step = at < script.size() ? script[at] : "false";
            if (step == "std")
                throw std::runtime_error("Socket table corrupt.");
            if (!step.empty() && step != "false")
                throw CQlException(step.c_str(), "Device::Connect", "Device", 12);
            return step.empty();
        };
    }

    int Count(const std::string& text)
    {
        int count = 0;
        for (const SLogLine& line : m_oRecorder.Lines())
            count += line.m_sText.find(text) != std::string::npos;
        return count;
    }

    std::mutex m_oMutex;
    std::deque<int> m_oAnswers;
    std::vector<CString> m_oShown;
    std::vector<unsigned int> m_oTypes;
    std::atomic<bool> m_bAtQuit{false};
    std::shared_ptr<int> m_poAttempts;
};

} // namespace

TEST_F(PatientExecutionTest, RetryCancelCapAndDisabledDialogs)
{
    CPatientExecution execution(m_oOut, Work({"Programmer not answering.", "false", ""}),
                                "Connect");
    execution.SetPause(5);
    m_oAnswers = {IDRETRY, IDRETRY};
    EXPECT_EQ(CPatientExecution::k_eSucceeded, execution.Execute());
    EXPECT_EQ(3, *m_poAttempts);
    ASSERT_EQ(2u, m_oShown.size());
    EXPECT_STREQ("Connect|Programmer not answering.\r\n\r\nTry again?", m_oShown[0]);
    EXPECT_STREQ("Connect|The attempt did not succeed.\r\n\r\nTry again?", m_oShown[1]);
    // Uncapped, the box's default is Cancel.
    EXPECT_EQ(static_cast<unsigned int>(MB_RETRYCANCEL | MB_DEFBUTTON2),
              m_oTypes[0] & (MB_TYPEMASK | MB_DEFMASK));
    EXPECT_EQ(1, Count("Connect: attempt 1 failed: Programmer not answering."));
    EXPECT_EQ(2, Count("Connect: answered Retry"));
    EXPECT_EQ(1, Count("Connect: attempt 3 succeeded"));

    // Cancel: nothing is thrown, the failure stays readable.
    CPatientExecution cancelled(m_oOut, Work({"Socket closed."}), "Connect");
    m_oAnswers = {IDCANCEL};
    EXPECT_EQ(CPatientExecution::k_eCancelled, cancelled.Execute());
    EXPECT_EQ(1, *m_poAttempts);
    EXPECT_STREQ("Socket closed.", cancelled.GetLastFailure());
    EXPECT_EQ(1, Count("Connect: answered Cancel"));

    // Capped: the boxes before the last attempt default to Retry.
    CPatientExecution capped(m_oOut, Work({}), "Erase");
    capped.SetMaxAttempts(3);
    m_oAnswers = {IDRETRY, IDRETRY};
    EXPECT_EQ(CPatientExecution::k_eExhausted, capped.Execute());
    EXPECT_EQ(3, *m_poAttempts);
    // Nobody is asked after the last attempt.
    ASSERT_EQ(5u, m_oShown.size());
    EXPECT_EQ(0u, m_oTypes[3] & MB_DEFMASK);
    EXPECT_EQ(1, Count("Erase: given up after 3 attempts"));

    // No dialogs: no box, the question is logged and the default answers it.
    m_oOut.DialogsEnabled(false);
    EXPECT_EQ(CPatientExecution::k_eExhausted, capped.Execute());
    EXPECT_EQ(6, *m_poAttempts);
    EXPECT_EQ(2, Count("Erase: dialogs are disabled, so the default answer applies"));
    CPatientExecution uncapped(m_oOut, Work({"Head 2 cold."}), "Heat");
    EXPECT_EQ(CPatientExecution::k_eCancelled, uncapped.Execute());
    EXPECT_EQ(5u, m_oShown.size());
    EXPECT_EQ(1, Count("Head 2 cold.\r\n\r\nTry again?"));
    EXPECT_EQ(1, Count("Heat: answered Cancel"));
}

TEST_F(PatientExecutionTest, OtherExceptionsReachTheOwner)
{
    CPatientExecution execution(m_oOut, Work({"std", ""}), "Connect");
    EXPECT_EQ("Socket table corrupt.", Thrown<CQlException>([&] { execution.Execute(); }));
    EXPECT_EQ(CPatientExecution::k_eStopped, execution.GetResult());
    EXPECT_TRUE(m_oShown.empty());
    EXPECT_EQ(1, Count("The following exception has been caught: Socket table corrupt."));
    // The worker lives on.
    EXPECT_EQ(CPatientExecution::k_eSucceeded, execution.Execute());
}

TEST_F(PatientExecutionTest, StopAndDestructionDoNotWaitForBlockedWork)
{
    // Stop gives the attempt up, and no attempt starts while it still runs.
    auto first = std::make_shared<SGate>();
    CPatientExecution stopped(m_oOut, BlockOnce(first), "Read");
    stopped.Begin();
    first->m_oEntered.get_future().wait();
    EXPECT_FALSE(stopped.Wait(20));
    stopped.Stop();
    EXPECT_EQ(CPatientExecution::k_eStopped, stopped.GetResult());
    EXPECT_EQ(1, Count("Read: stopped during attempt 1, which is given up on"));
    EXPECT_THROW(stopped.Begin(), CQlException);
    first->m_oRelease.set_value();
    first->m_oLeft.get_future().wait();

    // Destroyed while the work blocks; the work runs on to its end afterwards.
    auto second = std::make_shared<SGate>();
    {
        CPatientExecution destroyed(m_oOut, BlockOnce(second), "Read");
        destroyed.Begin();
        second->m_oEntered.get_future().wait();
    }
    second->m_oRelease.set_value();
    second->m_oLeft.get_future().wait();

    // A box answered while the run is being stopped: the answer is ignored.
    CPatientExecution asked(m_oOut, Work({"Timeout."}), "Write");
    m_oAnswers = {k_iAnswerAtQuit};
    asked.Begin();
    while (!m_bAtQuit)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    asked.Stop();
    EXPECT_EQ(CPatientExecution::k_eStopped, asked.GetResult());
    EXPECT_EQ(1, *m_poAttempts);
    EXPECT_EQ(0, Count("Write: answered"));
    EXPECT_EQ(1, Count("Write: stopped"));
}

TEST_F(PatientExecutionTest, ConcurrentBeginsAndDialogToggles)
{
    // Of two Begins at once exactly one wins, and destruction gives up the winner's blocked work.
    for (int round = 0; round < 50; ++round)
    {
        auto gate = std::make_shared<SGate>();
        const auto start = std::chrono::steady_clock::now();
        {
            CPatientExecution execution(m_oOut, BlockOnce(gate), "Race");
            std::atomic<int> won{0};
            std::atomic<bool> go{false};
            auto begin = [&]
            {
                while (!go)
                    std::this_thread::yield();
                try
                {
                    execution.Begin();
                    ++won;
                }
                catch (const CQlException&)
                {
                }
            };
            std::thread other(begin);
            go = true;
            begin();
            other.join();
            EXPECT_EQ(1, won.load());
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
        gate->m_oRelease.set_value();
    }

    // Turning dialogs on and off while the run asks.
    CPatientExecution asked(m_oOut, Work({}), "Toggle");
    asked.SetMaxAttempts(200);
    m_oAnswers.assign(200, IDRETRY);
    asked.Begin();
    bool enabled = false;
    while (!asked.Wait(0))
        m_oOut.DialogsEnabled(enabled = !enabled);
    EXPECT_EQ(CPatientExecution::k_eExhausted, asked.GetResult());
    m_oOut.DialogsEnabled(true);
}
