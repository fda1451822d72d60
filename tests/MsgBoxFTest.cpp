#include "LogRecorder.h"
#include "ScriptedUser.h"

#include <cpputil/CppUtil.Gui.HtmlDlg.h>
#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/Platform/Kernel/MessageBox.h>
#include <cpputil/Platform/Types/WinTypes.h>

#include <gmock/gmock.h>

using namespace CppUtil::Text;
using ::testing::ElementsAre;

namespace
{

class MsgBoxFTest : public ::testing::Test, protected SRecordedOutput
{
protected:
    CScriptedUser m_oUser{IDOK};
};

} // namespace

TEST_F(MsgBoxFTest, TemporaryShowsAtEndOfStatementAndIsLoggedHtmlAsHtml)
{
    m_oOut.MsgBoxF("Lot %s done", "Quillon", MB_OK, 77) % "A-17";
    ASSERT_EQ(1u, m_oUser.Shown().size());
    EXPECT_EQ("Lot A-17 done", m_oUser.Shown()[0].m_sText);
    EXPECT_EQ("Quillon", m_oUser.Shown()[0].m_sCaption);
    EXPECT_EQ(static_cast<unsigned int>(MB_OK | MB_SETFOREGROUND), m_oUser.Shown()[0].m_uType);
    EXPECT_EQ(77u, m_oUser.Shown()[0].m_uExtra);
    EXPECT_FALSE(m_oUser.Shown()[0].m_bCheckBox);
    EXPECT_THAT(m_oRecorder.Texts(), ElementsAre("Lot A-17 done"));

    // ShowOnShow: nothing until Show, and nothing at all without it.
    m_oOut.MsgBoxF("never", MB_OK, 0) % CMsgBoxF::ShowOnShow;
    {
        CMsgBoxF box = m_oOut.MsgBoxF("Continue %d?", MB_YESNO, 0);
        box % CMsgBoxF::ShowOnShow % CMsgBoxF::NoMessageLogging % 3;
        m_oUser.Answer(IDNO);
        EXPECT_EQ(IDNO, box.Show());
    }
    ASSERT_EQ(2u, m_oUser.Shown().size());
    EXPECT_EQ("Continue 3?", m_oUser.Shown()[1].m_sText);
    EXPECT_EQ(1u, m_oRecorder.Lines().size());

    // An HTML box shows plain text and logs the HTML.
    m_oOut.MsgBoxF("<b>Lot %s</b> failed:<br />3 &lt; 5", MB_OK | CMsgBoxF::k_uHtmlText, 0) %
        "A-17";
    ASSERT_EQ(3u, m_oUser.Shown().size());
    EXPECT_EQ("Lot A-17 failed:\r\n3 < 5", m_oUser.Shown()[2].m_sText);
    ASSERT_THAT(m_oRecorder.Texts(),
                ElementsAre("Lot A-17 done", "<b>Lot A-17</b> failed:<br />3 &lt; 5"));
    EXPECT_TRUE(m_oRecorder.Lines().back().m_bHtml);
}

TEST_F(MsgBoxFTest, DialogsDisabledLogsPlainBoxesOnlyAndStillRemembersThem)
{
    m_oOut.DialogsEnabled(false);
    {
        CMsgBoxF box = m_oOut.MsgBoxF("Nobody reads %s", MB_OK | MB_ICONEXCLAMATION, 0);
        box % "this";
        EXPECT_EQ(0, box.Show());
    }
    // Logged instead of shown, then logged as every shown box is.
    EXPECT_THAT(m_oRecorder.Texts(), ElementsAre("Nobody reads this", ::testing::_));
    auto warn = [this](int head, int selection)
    {
        CMsgBoxF box = m_oOut.MsgBoxF("Head %d is cold.", MB_OK, 0);
        box % CMsgBoxF::SuppressSimiliar % CMsgBoxF::ShowOnShow % head;
        box.SetRegisteredSelection(selection);
        return box.Show();
    };
    EXPECT_EQ(0, warn(1, 42));
    EXPECT_EQ(4u, m_oRecorder.Lines().size());
    EXPECT_EQ(42, warn(2, 7));
    ASSERT_EQ(5u, m_oRecorder.Lines().size());
    EXPECT_EQ("Head 2 is cold.", m_oRecorder.Lines()[4].m_sText);
    EXPECT_TRUE(m_oUser.Shown().empty());

    m_oUser.Answer(IDYES);
    EXPECT_EQ(IDYES, (m_oOut.MsgBoxF("Really?", MB_YESNO, 0) % CMsgBoxF::ShowOnShow).Show());
    EXPECT_EQ(1u, m_oUser.Shown().size());
}

TEST_F(MsgBoxFTest, TickedBoxIsRememberedUnlessCancelledAndSimilarBoxesAreSuppressed)
{
    auto ask = [this](const char* lot)
    {
        return (m_oOut.MsgBoxF("Overwrite lot %s?", MB_YESNOCANCEL, 0) %
                CMsgBoxF::SelectableShowOnlyOnce % CMsgBoxF::ShowOnShow % lot)
            .Show();
    };
    m_oUser.Answer(IDCANCEL, true);
    EXPECT_EQ(IDCANCEL, ask("A"));
    m_oUser.Answer(IDYES, true);
    EXPECT_EQ(IDYES, ask("A"));
    EXPECT_EQ(IDYES, ask("A"));
    EXPECT_EQ(2u, m_oUser.Shown().size());
    EXPECT_TRUE(m_oUser.Shown()[0].m_bCheckBox);
    // Another finished text is another box; not ticked, it keeps being shown.
    m_oUser.Answer(IDNO, false);
    m_oUser.Answer(IDNO, false);
    EXPECT_EQ(IDNO, ask("B"));
    EXPECT_EQ(IDNO, ask("B"));
    EXPECT_EQ(4u, m_oUser.Shown().size());
    EXPECT_TRUE(m_oOut.IsMessageRegistered("Overwrite lot A?"));

    // Suppressing similar boxes answers every box of the format.
    auto warn = [this](int nozzle)
    {
        return (m_oOut.MsgBoxF("Nozzle %d is worn.", MB_OKCANCEL, 0) % CMsgBoxF::SuppressSimiliar %
                CMsgBoxF::ShowOnShow % nozzle)
            .Show();
    };
    m_oUser.Answer(IDCANCEL);
    EXPECT_EQ(IDCANCEL, warn(1));
    EXPECT_EQ(IDCANCEL, warn(2));
    EXPECT_EQ(5u, m_oUser.Shown().size());
    EXPECT_EQ(IDCANCEL, m_oOut.GetValue("Nozzle %d is worn."));

    // The registered selection is remembered in place of the button.
    CMsgBoxF box = m_oOut.MsgBoxF("Head %d is cold.", MB_OK, 0);
    box % CMsgBoxF::SuppressSimiliar % CMsgBoxF::ShowOnShow % 4;
    box.SetRegisteredSelection(42);
    EXPECT_EQ(IDOK, box.Show());
    EXPECT_EQ(42, (m_oOut.MsgBoxF("Head %d is cold.", MB_OK, 0) % CMsgBoxF::SuppressSimiliar %
                   CMsgBoxF::ShowOnShow % 5)
                      .Show());
}

TEST(HtmlDlgTest, PlainTextOfAPage)
{
    using CppUtil::Gui::CHtmlDlg;
    const CString page = CHtmlDlg::BaseSystemFormatHtml("Head&nbsp;&nbsp;<i>2</i>");
    EXPECT_EQ(0, page.Find("<html>"));
    // Style and head contents are not text; blanks fold; entities decode.
    EXPECT_EQ(CString("Head  2"), CHtmlDlg::ToPlainText(page));
    EXPECT_EQ(CString("a b\r\nc <d> & \"e\" A A ?"),
              CHtmlDlg::ToPlainText("a \r\n  b<br/>c &lt;d&gt; &amp; &quot;e&quot; &#65; &#x41; "
                                    "&#8364;<!-- note --><script>x<y</script>"));
    // What is not markup stays as it is.
    EXPECT_EQ(CString("1 < 2 &bogus; <"), CHtmlDlg::ToPlainText("1 < 2 &bogus; <"));
    EXPECT_EQ(CString("title=\"a>b\""),
              CHtmlDlg::ToPlainText("<a title=\"a>b\">title=\"a>b\"</a>"));
}

TEST(CheckableMessageBoxTest, DefaultButtonOfEachStyle)
{
    using CppUtil::Platform::GetDefaultButton;
    EXPECT_EQ(IDOK, GetDefaultButton(MB_OK));
    EXPECT_EQ(IDCANCEL, GetDefaultButton(MB_OKCANCEL | MB_DEFBUTTON2));
    EXPECT_EQ(IDIGNORE, GetDefaultButton(MB_ABORTRETRYIGNORE | MB_DEFBUTTON3));
    EXPECT_EQ(IDNO, GetDefaultButton(MB_YESNO | MB_DEFBUTTON2 | MB_ICONQUESTION));
    // A default beyond the last button falls back to the first.
    EXPECT_EQ(IDYES, GetDefaultButton(MB_YESNO | MB_DEFBUTTON3));
    EXPECT_EQ(IDCONTINUE, GetDefaultButton(MB_CANCELTRYCONTINUE | MB_DEFBUTTON3));
}
