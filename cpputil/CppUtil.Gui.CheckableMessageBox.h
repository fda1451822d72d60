/// @file
/// A message box that can carry a "do not show again" check box, with a seam for the host.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <boost/function.hpp>

namespace CppUtil
{
namespace Gui
{

class CPPUTIL_API CCheckableMessageBox
{
public:
    /// Shows a box in place of the platform's and returns the button id (IDOK 1, IDCANCEL 2,
    /// IDABORT 3, IDYES 6, IDNO 7 ...); sets checked when the user ticked the check box.
    typedef boost::function<int(const CString& text, const CString& caption, unsigned int type,
                                unsigned int extra, bool showCheckBox, bool& checked)>
        TPresenter;

    explicit CCheckableMessageBox(bool showCheckBox);

    /// type holds MB_* style bits; extra is passed through to the presenter. Without a presenter
    /// the platform's box is shown: a real one on Windows; on POSIX the box goes to standard
    /// error and its default button answers.
    int MessageBoxA(const CString& text, const CString& caption, unsigned int type,
                    unsigned int extra);

    /// Whether the check box was ticked when the box closed.
    bool IsChecked() const { return m_bChecked; }

    /// Process-wide; an empty presenter restores the platform's box.
    static void SetPresenter(const TPresenter& presenter);

private:
    bool m_bShowCheckBox;
    bool m_bChecked;
};

} // namespace Gui
} // namespace CppUtil
