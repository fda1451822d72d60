/// @file
/// The backend's free-form date and time parser behind COleDateTime::ParseDateTime.
#pragma once

#include "../Types/WinTypes.h"

namespace CppUtil
{
namespace Platform
{

bool ParseOleDate(const char* text, DWORD flags, LCID lcid, DATE& date);

} // namespace Platform
} // namespace CppUtil
