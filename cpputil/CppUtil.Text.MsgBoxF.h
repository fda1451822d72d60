/// @file
/// A formatted message box: fed arguments like a log builder, shown when it goes out of scope or
/// when Show is called, able to remember answers, logged after it was shown.
#pragma once

#include "CppUtil.Api.h"
#include "CppUtil.Text.FormatFeederBase.h"
#include "Platform/Types/CString.h"

namespace CppUtil
{

class CCompiledMsgBase;

namespace Text
{

class COutput;

class CPPUTIL_API CMsgBoxF : public CFormatFeederBase<CMsgBoxF>
{
    typedef CFormatFeederBase<CMsgBoxF> TFeeder;

public:
    /// type holds MB_* style bits, and 0x04000000 when the text is HTML; extra is passed
    /// through to the box. A compiled message is shown with its id.
    CMsgBoxF(COutput& output, const char* format, unsigned int type, unsigned int extra);
    CMsgBoxF(COutput& output, const char* format, const CString& title, unsigned int type,
             unsigned int extra);
    CMsgBoxF(COutput& output, const CCompiledMsgBase& message, unsigned int type,
             unsigned int extra);
    CMsgBoxF(COutput& output, const CCompiledMsgBase& message, const CString& title,
             unsigned int type, unsigned int extra);
    CMsgBoxF(const CMsgBoxF& other);
    CMsgBoxF& operator=(const CMsgBoxF& other);
    /// Shows the box unless it was shown already or ShowOnShow was applied; the answer is lost.
    ~CMsgBoxF() noexcept(false) override;

    /// Manipulators, applied with operator%.
    static void ShowOnShow(CMsgBoxF& box);
    static void ShowOnlyOnce(CMsgBoxF& box);
    static void NoMessageLogging(CMsgBoxF& box);
    static void SelectableShowOnlyOnce(CMsgBoxF& box);
    static void SuppressSimiliar(CMsgBoxF& box);

    using TFeeder::operator%;
    CMsgBoxF& operator%(void (*manipulator)(CMsgBoxF&));

    /// The answer to remember in place of the button pressed.
    void SetRegisteredSelection(int selection);

    /// Shows the box, or answers as remembered, and logs it; returns the answer.
    virtual int Show();

    static constexpr unsigned int k_uHtmlText = 0x04000000;

protected:
    /// The finished text; as plain text when html is false and the box holds HTML.
    CString GetString(bool html) const;
    CString GetTitle() const;

private:
    CMsgBoxF& ReturnMyself() override { return *this; }
    void Initialize(COutput& output, const CString& title, unsigned int type, unsigned int extra);
    int DisplayMessageBox();
    void RegisterMessage(int answer);

    COutput* m_poOutput;
    bool m_bShowOnDestruction;
    bool m_bShowOnlyOnce;
    bool m_bLogMessage;
    bool m_bSelectableShowOnlyOnce;
    bool m_bSuppressSimilar;
    int m_iRegisteredSelection;
    CString m_sTitle;
    CString m_sKey;
    unsigned int m_uType;
    unsigned int m_uExtra;
};

} // namespace Text
} // namespace CppUtil
