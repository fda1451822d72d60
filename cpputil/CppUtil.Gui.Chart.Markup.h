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

/// Text fit for XML content and attribute values. Bytes above 127 are taken as Latin-1, since the
/// library's narrow texts carry no encoding of their own; control characters XML cannot hold
/// become '?'.
CString Escape(const CString& text);
/// "#rrggbb".
CString ToHex(const Gdiplus::Color& color);

} // namespace Markup
} // namespace Chart
} // namespace Gui
} // namespace CppUtil
