#include "LogRecorder.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Gui.CheckableMessageBox.h>
#include <cpputil/CppUtil.Thread.PatientExecution.h>
#include <cpputil/Platform/Kernel/MessageBox.h>
#include <cpputil/Platform/Kernel/WinMessages.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

using CppUtil::Exception::CQlException;
using CppUtil::Gui::CCheckableMessageBox;
using CppUtil::Text::CMessageManager;
using CppUtil::Text::COutput;
using CppUtil::Thread::CPatientExecution;

namespace
{

const int k_iWaitForQuit = -1;

struct SShownBox
{
    std::string m_sText;
    std::string m_sCaption;
    unsigned int m_uType;
};

// Stands in for the user: answers each box from a script. k_iWaitForQuit behaves as a modal box
// whose thread is asked to quit: it ends then, handing the quit back, and answers Retry.
class CScriptedUser
{
public:
    CScriptedUser()
    {
        CCheckableMessageBox::SetPresenter(
            [this](const CString& text, const CString& caption, unsigned int type, unsigned int,
                   bool, bool&)
            {
                int answer = IDCANCEL;
                {
                    std::lock_guard<std::mutex> lock(m_oMutex);
                    m_oShown.push_back({text.GetString(), caption.GetString(), type});
                    if (!m_oAnswers.empty())
                    {
                        answer = m_oAnswers.front();
                        m_oAnswers.pop_front();
                    }
                }
                if (answer == k_iWaitForQuit)
                    return AnswerAtQuit();
                return answer;
            });
    }
    ~CScriptedUser() { CCheckableMessageBox::SetPresenter(CCheckableMessageBox::TPresenter()); }

    void Answer(int button)
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        m_oAnswers.push_back(button);
    }
    std::vector<SShownBox> Shown()
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        return m_oShown;
    }

    std::atomic<bool> m_bWaitingForQuit{false};

private:
    int AnswerAtQuit()
    {
        m_bWaitingForQuit = true;
        for (;;)
        {
            MSG message;
            if (!::PeekMessage(&message, nullptr, 0, 0, PM_REMOVE))
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                continue;
            }
            if (message.message == WM_QUIT)
            {
                ::PostQuitMessage(static_cast<int>(message.wParam));
                return IDRETRY;
            }
            ::DispatchMessage(&message);
        }
    }

    std::mutex m_oMutex;
    std::deque<int> m_oAnswers;
    std::vector<SShownBox> m_oShown;
};

// Work that fails as scripted, one entry an attempt: "" succeeds, "false" returns false, any
// other text is thrown as CQlException, "std" as std::runtime_error.
struct SScriptedWork
{
    std::deque<std::string> m_oScript;
    int m_iAttempts = 0;

    bool operator()()
    {
        ++m_iAttempts;
        std::string step = m_oScript.empty() ? "false" : m_oScript.front();
        if (!m_oScript.empty())
            m_oScript.pop_front();
        if (step == "std")
            throw std::runtime_error("Socket table corrupt.");
        if (step == "false")
            return false;
        if (!step.empty())
            throw CQlException(step.c_str(), "Device::Connect", "Device", 12);
        return true;
    }
};

class PatientExecutionTest : public ::testing::Test
{
protected:
    PatientExecutionTest() : m_poManager(new CMessageManager), m_oOut(m_poManager)
    {
        m_poManager->SetLoggingEventHandler(m_oRecorder.Handler());
    }

    CPatientExecution::TWork Work(std::initializer_list<const char*> script)
    {
        m_poWork = std::make_shared<SScriptedWork>();
        m_poWork->m_oScript.assign(script.begin(), script.end());
        std::shared_ptr<SScriptedWork> work = m_poWork;
        return [work] { return (*work)(); };
    }

    bool Logged(const std::string& text)
    {
        for (const SLogLine& line : m_oRecorder.Lines())
            if (line.m_sText.find(text) != std::string::npos)
                return true;
        return false;
    }

    CScriptedUser m_oUser;
    CLogRecorder m_oRecorder;
    CMessageManager* m_poManager;
    COutput m_oOut;
    std::shared_ptr<SScriptedWork> m_poWork;
};

} // namespace

TEST_F(PatientExecutionTest, RetriesAfterFailuresUntilSuccess)
{
    CPatientExecution execution(m_oOut, Work({"Programmer not answering.", "false", ""}),
                                "Connect");
    execution.SetPause(5);
    m_oUser.Answer(IDRETRY);
    m_oUser.Answer(IDRETRY);
    EXPECT_EQ(CPatientExecution::k_eSucceeded, execution.Execute());
    EXPECT_EQ(3, m_poWork->m_iAttempts);
    const std::vector<SShownBox> shown = m_oUser.Shown();
    ASSERT_EQ(2u, shown.size());
    EXPECT_EQ("Programmer not answering.\r\n\r\nTry again?", shown[0].m_sText);
    EXPECT_EQ("Connect", shown[0].m_sCaption);
    EXPECT_EQ(static_cast<unsigned int>(MB_RETRYCANCEL), shown[0].m_uType & MB_TYPEMASK);
    // Without a cap, the box's own default is Cancel.
    EXPECT_EQ(static_cast<unsigned int>(MB_DEFBUTTON2), shown[0].m_uType & MB_DEFMASK);
    EXPECT_EQ("The attempt did not succeed.\r\n\r\nTry again?", shown[1].m_sText);
    EXPECT_EQ("The attempt did not succeed.", std::string(execution.GetLastFailure().GetString()));
    EXPECT_TRUE(Logged("Connect: attempt 1 failed: Programmer not answering."));
    EXPECT_TRUE(Logged("Connect: answered Retry"));
    EXPECT_TRUE(Logged("Connect: attempt 3 succeeded"));

    // Cancel: the failure stays readable, nothing is thrown.
    CPatientExecution cancelled(m_oOut, Work({"Socket closed."}), "Connect");
    m_oUser.Answer(IDCANCEL);
    EXPECT_EQ(CPatientExecution::k_eCancelled, cancelled.Execute());
    EXPECT_EQ(1, m_poWork->m_iAttempts);
    EXPECT_EQ("Socket closed.", std::string(cancelled.GetLastFailure().GetString()));
    EXPECT_TRUE(Logged("Connect: answered Cancel"));
}

TEST_F(PatientExecutionTest, CapEndsTheRunAndDisabledDialogsTakeTheDefault)
{
    CPatientExecution capped(m_oOut, Work({}), "Erase");
    capped.SetMaxAttempts(3);
    m_oUser.Answer(IDRETRY);
    m_oUser.Answer(IDRETRY);
    EXPECT_EQ(CPatientExecution::k_eExhausted, capped.Execute());
    EXPECT_EQ(3, m_poWork->m_iAttempts);
    // Nobody is asked after the last attempt; a capped box defaults to Retry.
    ASSERT_EQ(2u, m_oUser.Shown().size());
    EXPECT_EQ(0u, m_oUser.Shown()[0].m_uType & MB_DEFMASK);
    EXPECT_TRUE(Logged("Erase: given up after 3 attempts"));

    // No dialogs: the question is logged, nobody is shown a box, the default answers. Capped, that
    // is Retry until the cap; uncapped, Cancel at once.
    m_oOut.DialogsEnabled(false);
    const std::size_t logged = m_oRecorder.Lines().size();
    EXPECT_EQ(CPatientExecution::k_eExhausted, capped.Execute());
    EXPECT_EQ(2u, m_oUser.Shown().size());
    CPatientExecution uncapped(m_oOut, Work({"Head 2 cold."}), "Heat");
    EXPECT_EQ(CPatientExecution::k_eCancelled, uncapped.Execute());
    EXPECT_EQ(1, m_poWork->m_iAttempts);
    EXPECT_EQ(2u, m_oUser.Shown().size());
    std::vector<SLogLine> lines = m_oRecorder.Lines();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(logged));
    int questions = 0;
    for (const SLogLine& line : lines)
        questions += line.m_sText == "The attempt did not succeed.\r\n\r\nTry again?";
    EXPECT_EQ(2, questions);
    EXPECT_TRUE(Logged("Head 2 cold.\r\n\r\nTry again?"));
    EXPECT_TRUE(Logged("Heat: dialogs are disabled, so the default answer applies"));
    EXPECT_TRUE(Logged("Heat: answered Cancel"));
}

TEST_F(PatientExecutionTest, OtherExceptionsEndTheRunAndReachTheOwner)
{
    CPatientExecution execution(m_oOut, Work({"std", ""}), "Connect");
    try
    {
        execution.Execute();
        ADD_FAILURE() << "Execute did not throw";
    }
    catch (const CQlException& e)
    {
        EXPECT_STREQ("Socket table corrupt.", e.what());
    }
    EXPECT_EQ(CPatientExecution::k_eStopped, execution.GetResult());
    EXPECT_TRUE(m_oUser.Shown().empty());
    EXPECT_TRUE(Logged("The following exception has been caught: Socket table corrupt."));
    // The worker lives on.
    EXPECT_EQ(CPatientExecution::k_eSucceeded, execution.Execute());
}

TEST_F(PatientExecutionTest, StopAndDestructionDoNotWaitForWorkThatBlocks)
{
    struct SGate
    {
        std::promise<void> m_oEntered;
        std::promise<void> m_oRelease;
        std::shared_future<void> m_oReleased{m_oRelease.get_future().share()};
        std::promise<void> m_oLeft;
        std::atomic<int> m_iCalls{0};
    };
    auto gate = std::make_shared<SGate>();
    auto blocking = [gate]
    {
        if (gate->m_iCalls++ == 0)
        {
            gate->m_oEntered.set_value();
            gate->m_oReleased.wait();
            gate->m_oLeft.set_value();
        }
        return true;
    };

    // Stop gives the attempt up; no second attempt while it still runs.
    CPatientExecution stopped(m_oOut, blocking, "Read");
    stopped.Begin();
    gate->m_oEntered.get_future().wait();
    EXPECT_FALSE(stopped.Wait(20));
    stopped.Stop();
    EXPECT_EQ(CPatientExecution::k_eStopped, stopped.GetResult());
    EXPECT_TRUE(Logged("Read: stopped during attempt 1, which is given up on"));
    EXPECT_THROW(stopped.Begin(), CQlException);
    gate->m_oRelease.set_value();
    gate->m_oLeft.get_future().wait();
    // The attempt's thread lets go of the run just after the work returns.
    bool begun = false;
    for (int i = 0; i < 10000 && !begun; ++i)
    {
        try
        {
            stopped.Begin();
            begun = true;
        }
        catch (const CQlException&)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    ASSERT_TRUE(begun);
    EXPECT_TRUE(stopped.Wait(INFINITE));
    EXPECT_EQ(CPatientExecution::k_eSucceeded, stopped.GetResult());

    // Destroyed while its work blocks, and while it holds no references but the work's own.
    auto second = std::make_shared<SGate>();
    {
        CPatientExecution destroyed(
            m_oOut,
            [second]
            {
                second->m_oEntered.set_value();
                second->m_oReleased.wait();
                second->m_oLeft.set_value();
                return false;
            },
            "Read");
        destroyed.Begin();
        second->m_oEntered.get_future().wait();
    }
    second->m_oRelease.set_value();
    second->m_oLeft.get_future().wait();

    // Answered while it is being stopped: the box ends with its thread's quit, and its answer is
    // ignored.
    CPatientExecution asked(m_oOut, Work({"Timeout."}), "Write");
    m_oUser.Answer(k_iWaitForQuit);
    asked.Begin();
    while (!m_oUser.m_bWaitingForQuit)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    asked.Stop();
    EXPECT_EQ(CPatientExecution::k_eStopped, asked.GetResult());
    EXPECT_EQ(1, m_poWork->m_iAttempts);
    EXPECT_FALSE(Logged("Write: answered"));
    EXPECT_TRUE(Logged("Write: stopped"));
}
