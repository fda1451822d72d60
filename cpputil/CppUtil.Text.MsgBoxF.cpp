#include "CppUtil.Text.MsgBoxF.h"

#include "CppUtil.CompiledMsg.h"
#include "CppUtil.Gui.CheckableMessageBox.h"
#include "CppUtil.Gui.HtmlDlg.h"
#include "CppUtil.Text.Output.h"

#include <exception>

namespace CppUtil
{
namespace Text
{
namespace
{

const unsigned int k_uSetForeground = 0x10000;
const unsigned int k_uButtonMask = 0xF;
const int k_iCancel = 2;
const int k_iAbort = 3;

} // namespace

CMsgBoxF::CMsgBoxF(COutput& output, const char* format, unsigned int type, unsigned int extra)
    : TFeeder(format)
{
    Initialize(output, CString(), type, extra);
}

CMsgBoxF::CMsgBoxF(COutput& output, const char* format, const CString& title, unsigned int type,
                   unsigned int extra)
    : TFeeder(format)
{
    Initialize(output, title, type, extra);
}

CMsgBoxF::CMsgBoxF(COutput& output, const CCompiledMsgBase& message, unsigned int type,
                   unsigned int extra)
    : TFeeder(message.LoadCStrWithMsgId())
{
    Initialize(output, CString(), type, extra);
}

CMsgBoxF::CMsgBoxF(COutput& output, const CCompiledMsgBase& message, const CString& title,
                   unsigned int type, unsigned int extra)
    : TFeeder(message.LoadCStrWithMsgId())
{
    Initialize(output, title, type, extra);
}

CMsgBoxF::CMsgBoxF(const CMsgBoxF& other) = default;
CMsgBoxF& CMsgBoxF::operator=(const CMsgBoxF& other) = default;

CMsgBoxF::~CMsgBoxF() noexcept(false)
{
    if (!m_bShowOnDestruction)
        return;
    // As with log lines: a failure escapes unless another exception is already propagating.
    if (std::uncaught_exceptions() > 0)
    {
        try
        {
            Show();
        }
        catch (...)
        {
        }
        return;
    }
    Show();
}

void CMsgBoxF::Initialize(COutput& output, const CString& title, unsigned int type,
                          unsigned int extra)
{
    m_poOutput = &output;
    m_bShowOnDestruction = true;
    m_bShowOnlyOnce = false;
    m_bLogMessage = true;
    m_bSelectableShowOnlyOnce = false;
    m_bSuppressSimilar = false;
    m_iRegisteredSelection = 0;
    m_sTitle = title;
    m_sKey = GetFormatText();
    m_uType = type;
    m_uExtra = extra;
}

void CMsgBoxF::ShowOnShow(CMsgBoxF& box)
{
    box.m_bShowOnDestruction = false;
}

void CMsgBoxF::ShowOnlyOnce(CMsgBoxF& box)
{
    box.m_bShowOnlyOnce = true;
}

void CMsgBoxF::NoMessageLogging(CMsgBoxF& box)
{
    box.m_bLogMessage = false;
}

void CMsgBoxF::SelectableShowOnlyOnce(CMsgBoxF& box)
{
    box.m_bSelectableShowOnlyOnce = true;
}

void CMsgBoxF::SuppressSimiliar(CMsgBoxF& box)
{
    box.m_bSuppressSimilar = true;
}

CMsgBoxF& CMsgBoxF::operator%(void (*manipulator)(CMsgBoxF&))
{
    manipulator(*this);
    return *this;
}

void CMsgBoxF::SetRegisteredSelection(int selection)
{
    m_iRegisteredSelection = selection;
}

int CMsgBoxF::Show()
{
    m_bShowOnDestruction = false;
    COutput& output = *m_poOutput;
    int answer = 0;
    const bool exact = output.IsMessageRegistered(m_sKey);
    if (!exact && m_bSuppressSimilar)
        answer = DisplayMessageBox();
    else
    {
        const CString text = GetString(false);
        const bool textKnown = output.IsMessageRegistered(text);
        if ((textKnown || m_bSuppressSimilar) &&
            (m_bShowOnlyOnce || m_bSelectableShowOnlyOnce || m_bSuppressSimilar))
            answer = output.GetValue(m_bSuppressSimilar ? m_sKey : text);
        else
            answer = DisplayMessageBox();
    }
    if (m_bLogMessage)
    {
        if (m_uType & k_uHtmlText)
            output.HtmlLogF("%s", CString()) % GetString(true);
        else
            output.LogF("%s", CString()) % GetString(false);
    }
    return answer;
}

CString CMsgBoxF::GetString(bool html) const
{
    CString text = TFeeder::GetString();
    if (!html && (m_uType & k_uHtmlText))
        text = Gui::CHtmlDlg::ToPlainText(Gui::CHtmlDlg::BaseSystemFormatHtml(text));
    return text;
}

CString CMsgBoxF::GetTitle() const
{
    return m_sTitle;
}

int CMsgBoxF::DisplayMessageBox()
{
    Gui::CCheckableMessageBox box(m_bSelectableShowOnlyOnce);
    COutput& output = *m_poOutput;
    // Nobody may be there to press OK: the box is logged instead and answers 0. That answer is
    // remembered like a pressed button, so that a box meant to be shown once is logged once.
    int answer = 0;
    if (!output.DialogsEnabled() && (m_uType & k_uButtonMask) == 0)
        output.LogF("%s", CString()) % GetString(false);
    else
        answer =
            box.MessageBoxA(GetString(false), GetTitle(), m_uType | k_uSetForeground, m_uExtra);
    const bool cancelled = answer == k_iCancel || answer == k_iAbort;
    // Overwrites what ShowOnlyOnce set: only the user's tick makes a box show only once.
    m_bShowOnlyOnce = m_bSelectableShowOnlyOnce && box.IsChecked() && !cancelled;
    if (m_bShowOnlyOnce || (m_bSuppressSimilar && !m_bSelectableShowOnlyOnce))
        RegisterMessage(answer);
    return answer;
}

void CMsgBoxF::RegisterMessage(int answer)
{
    const int value = m_iRegisteredSelection != 0 ? m_iRegisteredSelection : answer;
    m_poOutput->RegisterMessage(m_bSuppressSimilar ? m_sKey : GetString(false), value);
}

} // namespace Text
} // namespace CppUtil
