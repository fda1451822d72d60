// Stands in for the user at the library's message boxes while it lives: answers each box from a
// script, then with a default answer, and keeps what was shown. Boxes may come from any thread.
#pragma once

#include <cpputil/CppUtil.Gui.CheckableMessageBox.h>
#include <cpputil/CppUtil.Thread.MessageLoop.h>

#include <atomic>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

struct SShownBox
{
    std::string m_sText;
    std::string m_sCaption;
    unsigned int m_uType;
    unsigned int m_uExtra;
    bool m_bCheckBox;
};

class CScriptedUser
{
public:
    // An answer that behaves as a modal box whose thread is asked to quit: the box ends then and
    // hands the quit back to the thread's loop.
    static const int k_iAnswerAtQuit = -1;

    explicit CScriptedUser(int defaultAnswer)
    {
        CppUtil::Gui::CCheckableMessageBox::SetPresenter(
            [this, defaultAnswer](const CString& text, const CString& caption, unsigned int type,
                                  unsigned int extra, bool showCheckBox, bool& checked)
            {
                std::unique_lock<std::mutex> lock(m_oMutex);
                m_oShown.push_back(
                    {text.GetString(), caption.GetString(), type, extra, showCheckBox});
                std::pair<int, bool> answer(defaultAnswer, checked);
                if (!m_oAnswers.empty())
                    answer = m_oAnswers.front(), m_oAnswers.pop_front();
                lock.unlock();
                checked = answer.second;
                if (answer.first != k_iAnswerAtQuit)
                    return answer.first;
                m_bAtQuit = true;
                CppUtil::Thread::PostQuitMessage(CppUtil::Thread::RunMessageLoop());
                return defaultAnswer;
            });
    }
    ~CScriptedUser()
    {
        CppUtil::Gui::CCheckableMessageBox::SetPresenter(
            CppUtil::Gui::CCheckableMessageBox::TPresenter());
    }
    CScriptedUser(const CScriptedUser&) = delete;
    CScriptedUser& operator=(const CScriptedUser&) = delete;

    void Answer(int button, bool ticked = false)
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        m_oAnswers.push_back({button, ticked});
    }

    std::vector<SShownBox> Shown()
    {
        std::lock_guard<std::mutex> lock(m_oMutex);
        return m_oShown;
    }

    // Whether a box was answered with k_iAnswerAtQuit.
    bool AnsweredAtQuit() const { return m_bAtQuit; }

private:
    std::mutex m_oMutex;
    std::deque<std::pair<int, bool>> m_oAnswers;
    std::vector<SShownBox> m_oShown;
    std::atomic<bool> m_bAtQuit{false};
};
