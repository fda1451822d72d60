// Modules and their message tables for POSIX systems: GetModuleHandleA and FormatMessageA with
// the names and behaviour of windows.h. A module here is a table that the generated source of
// cpputil_add_message_table registered when its executable or shared library was loaded.
#pragma once

#include <cstdarg>

#define FORMAT_MESSAGE_MAX_WIDTH_MASK 0x000000FF
#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x00000100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x00000200
#define FORMAT_MESSAGE_FROM_STRING 0x00000400
#define FORMAT_MESSAGE_FROM_HMODULE 0x00000800
#define FORMAT_MESSAGE_FROM_SYSTEM 0x00001000
#define FORMAT_MESSAGE_ARGUMENT_ARRAY 0x00002000

#define LANG_NEUTRAL 0x00
#define LANG_ENGLISH 0x09
#define SUBLANG_NEUTRAL 0x00
#define SUBLANG_DEFAULT 0x01
#define SUBLANG_SYS_DEFAULT 0x02
#define SUBLANG_ENGLISH_US 0x01
#define MAKELANGID(primary, sub) ((((WORD)(sub)) << 10) | (WORD)(primary))
#define PRIMARYLANGID(language) ((WORD)(language)&0x3FF)

namespace CppUtil
{
namespace Platform
{

typedef void* HLOCAL;
typedef const void* LPCVOID;
typedef ULONG_PTR DWORD_PTR;

// NULL is the executable. A name matches without regard to case, with or without ".dll" or
// ".exe"; an unknown one gives NULL and ERROR_MOD_NOT_FOUND.
HMODULE GetModuleHandleA(LPCSTR moduleName);

// Win32's insert rules apply unless FORMAT_MESSAGE_IGNORE_INSERTS is given, and its line layout:
// FORMAT_MESSAGE_MAX_WIDTH_MASK joins the lines, a width of 1 to 254 wraps them.
// Floating-point inserts are not supported, as on Windows.
DWORD FormatMessageA(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId, LPSTR buffer,
                     DWORD size, va_list* arguments);

// Frees what FORMAT_MESSAGE_ALLOCATE_BUFFER allocated; returns NULL.
HLOCAL LocalFree(HLOCAL memory);

} // namespace Platform
} // namespace CppUtil
