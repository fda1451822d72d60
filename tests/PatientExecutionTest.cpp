#include "LogRecorder.h"
#include "ScriptedUser.h"
#include "Thrown.h"

#include <cpputil/CppUtil.Thread.PatientExecution.h>
#include <cpputil/Platform/Kernel/MessageBox.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using CppUtil::Exception::CQlException;
using CppUtil::Thread::CPatientExecution;

namespace
{

// Lets a test hold an attempt inside the work and let it go again.
struct SGate
{
    std::promise<void> m_oEntered, m_oRelease, m_oLeft;
    std::shared_future<void> m_oReleased{m_oRelease.get_future().share()};
};

class PatientExecutionTest : public ::testing::Test, protected SRecordedOutput
{
protected:
    // One step an attempt: "" succeeds, "false" returns false, "block" succeeds once the gate lets
    // it go, "std" throws std::runtime_error, any other text is thrown as CQlException; past the
    // script, attempts return false.
    CPatientExecution::TWork Work(const std::vector<std::string>& script)
    {
        auto attempts = m_poAttempts = std::make_shared<int>(0);
        return [script, attempts, gate = m_poGate = std::make_shared<SGate>()]
        {
            const std::size_t at = static_cast<std::size_t>((*attempts)++);
            const std::string step = at < script.size() ? script[at] : "false";
            if (step == "block")
                gate->m_oEntered.set_value(), gate->m_oReleased.wait(), gate->m_oLeft.set_value();
            if (step == "std")
                throw std::runtime_error("Socket table corrupt.");
            if (!step.empty() && step != "false")
                throw CQlException(step.c_str(), "Device::Connect", "Device", 12);
            return step.empty() || step == "block";
        };
    }

    CScriptedUser m_oUser{IDCANCEL};
    std::shared_ptr<int> m_poAttempts;
    std::shared_ptr<SGate> m_poGate;
};

} // namespace

TEST_F(PatientExecutionTest, RetryCancelCapDefectsAndDisabledDialogs)
{
    CPatientExecution execution(m_oOut, Work({"Programmer not answering.", "false", ""}),
                                "Connect");
    execution.SetPause(5);
    m_oUser.Answer(IDRETRY), m_oUser.Answer(IDRETRY);
    EXPECT_EQ(CPatientExecution::k_eSucceeded, execution.Execute());
    EXPECT_EQ(3, *m_poAttempts);
    std::vector<SShownBox> shown = m_oUser.Shown();
    ASSERT_EQ(2u, shown.size());
    EXPECT_EQ("Connect", shown[0].m_sCaption);
    EXPECT_EQ("Programmer not answering.\r\n\r\nTry again?", shown[0].m_sText);
    EXPECT_EQ("The attempt did not succeed.\r\n\r\nTry again?", shown[1].m_sText);
    // Uncapped, the box's default is Cancel.
    EXPECT_EQ(static_cast<unsigned int>(MB_RETRYCANCEL | MB_DEFBUTTON2),
              shown[0].m_uType & (MB_TYPEMASK | MB_DEFMASK));
    EXPECT_EQ(1, m_oRecorder.Count("Connect: attempt 1 failed: Programmer not answering."));
    EXPECT_EQ(2, m_oRecorder.Count("Connect: answered Retry"));
    EXPECT_EQ(1, m_oRecorder.Count("Connect: attempt 3 succeeded"));

    // Cancel: nothing is thrown, the failure stays readable.
    CPatientExecution cancelled(m_oOut, Work({"Socket closed."}), "Connect");
    m_oUser.Answer(IDCANCEL);
    EXPECT_EQ(CPatientExecution::k_eCancelled, cancelled.Execute());
    EXPECT_EQ(1, *m_poAttempts);
    EXPECT_STREQ("Socket closed.", cancelled.GetLastFailure());
    EXPECT_EQ(1, m_oRecorder.Count("Connect: answered Cancel"));

    // Any other exception is no failure to retry: it ends the run, unasked, and reaches the owner;
    // the worker lives on.
    CPatientExecution defect(m_oOut, Work({"std", ""}), "Connect");
    EXPECT_EQ("Socket table corrupt.", Thrown<CQlException>([&] { defect.Execute(); }));
    EXPECT_EQ(CPatientExecution::k_eStopped, defect.GetResult());
    EXPECT_EQ(1,
              m_oRecorder.Count("The following exception has been caught: Socket table corrupt."));
    EXPECT_EQ(CPatientExecution::k_eSucceeded, defect.Execute());
    EXPECT_EQ(3u, m_oUser.Shown().size());

    // Capped: the boxes before the last attempt default to Retry.
    CPatientExecution capped(m_oOut, Work({}), "Erase");
    capped.SetMaxAttempts(3);
    m_oUser.Answer(IDRETRY), m_oUser.Answer(IDRETRY);
    EXPECT_EQ(CPatientExecution::k_eExhausted, capped.Execute());
    EXPECT_EQ(3, *m_poAttempts);
    // Nobody is asked after the last attempt.
    shown = m_oUser.Shown();
    ASSERT_EQ(5u, shown.size());
    EXPECT_EQ(0u, shown[3].m_uType & MB_DEFMASK);
    EXPECT_EQ(1, m_oRecorder.Count("Erase: given up after 3 attempts"));

    // No dialogs: no box, the question is logged and the default answers it.
    m_oOut.DialogsEnabled(false);
    EXPECT_EQ(CPatientExecution::k_eExhausted, capped.Execute());
    EXPECT_EQ(6, *m_poAttempts);
    EXPECT_EQ(2, m_oRecorder.Count("Erase: dialogs are disabled, so the default answer applies"));
    CPatientExecution uncapped(m_oOut, Work({"Head 2 cold."}), "Heat");
    EXPECT_EQ(CPatientExecution::k_eCancelled, uncapped.Execute());
    EXPECT_EQ(5u, m_oUser.Shown().size());
    EXPECT_EQ(1, m_oRecorder.Count("Head 2 cold.\r\n\r\nTry again?"));
    EXPECT_EQ(1, m_oRecorder.Count("Heat: answered Cancel"));
}

TEST_F(PatientExecutionTest, StopDestructionAndRacingBeginsGiveUpBlockedWork)
{
    // Stop gives the attempt up, and no attempt starts while it still runs.
    CPatientExecution stopped(m_oOut, Work({"block"}), "Read");
    stopped.Begin();
    m_poGate->m_oEntered.get_future().wait();
    EXPECT_FALSE(stopped.Wait(20));
    stopped.Stop();
    EXPECT_EQ(CPatientExecution::k_eStopped, stopped.GetResult());
    EXPECT_EQ(1, m_oRecorder.Count("Read: stopped during attempt 1, which is given up on"));
    EXPECT_THROW(stopped.Begin(), CQlException);
    m_poGate->m_oRelease.set_value();
    m_poGate->m_oLeft.get_future().wait();

    // A box answered while the run is being stopped: the answer is ignored.
    CPatientExecution asked(m_oOut, Work({"Timeout."}), "Write");
    m_oUser.Answer(CScriptedUser::k_iAnswerAtQuit);
    asked.Begin();
    while (!m_oUser.AnsweredAtQuit())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    asked.Stop();
    EXPECT_EQ(CPatientExecution::k_eStopped, asked.GetResult());
    EXPECT_EQ(1, *m_poAttempts);
    EXPECT_EQ(0, m_oRecorder.Count("Write: answered"));
    EXPECT_EQ(1, m_oRecorder.Count("Write: stopped"));

    // Of two Begins at once exactly one wins, and destruction gives up the winner's work.
    for (int round = 0; round < 50; ++round)
    {
        const auto start = std::chrono::steady_clock::now();
        {
            CPatientExecution execution(m_oOut, Work({"block"}), "Race");
            std::atomic<bool> go{false};
            const auto begin = [&]
            {
                while (!go)
                    std::this_thread::yield();
                try
                {
                    execution.Begin();
                    return 1;
                }
                catch (const CQlException&)
                {
                    return 0;
                }
            };
            auto other = std::async(std::launch::async, begin);
            go = true;
            ASSERT_EQ(1, begin() + other.get());
            // Every other round destroys it at once: with the run queued or its worker starting.
            if (round % 2 == 0)
                m_poGate->m_oEntered.get_future().wait();
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
        // The work given up on runs on to its end.
        m_poGate->m_oRelease.set_value();
        if (round % 2 == 0)
            m_poGate->m_oLeft.get_future().wait();
    }
}
