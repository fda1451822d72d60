/// @file
/// HTML texts as the library's dialogs show them.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

namespace CppUtil
{
namespace Gui
{

class CPPUTIL_API CHtmlDlg
{
public:
    /// Wraps an HTML fragment into a whole page in the dialogs' base style.
    static CString BaseSystemFormatHtml(const CString& body);

    /// The text a reader sees in an HTML page: tags removed (with the contents of head, style
    /// and script), runs of white space as one blank, <br> as a line break (CR LF), character
    /// entities decoded.
    static CString ToPlainText(const CString& html);

private:
    CHtmlDlg() = delete;
};

} // namespace Gui
} // namespace CppUtil
