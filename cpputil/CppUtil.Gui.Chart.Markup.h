/// @file
/// Text helpers for the chart views' SVG and HTML. Internal to the library.
#pragma once

#include "Platform/Types/CString.h"
#include "Platform/Types/GdiplusTypes.h"

namespace CppUtil
{
namespace Gui
{
namespace Chart
{
namespace Markup
{

/// Text fit for XML content and attribute values. Bytes above 127 become character references
/// of their meaning in the ANSI code page (Text::AnsiCodePoint), so that the page reads the same
/// whatever encoding it is opened in; control characters XML cannot hold become '?'.
CString Escape(const CString& text);
/// "#rrggbb".
CString ToHex(const Gdiplus::Color& color);

} // namespace Markup
} // namespace Chart
} // namespace Gui
} // namespace CppUtil
