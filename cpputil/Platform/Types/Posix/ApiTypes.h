// The Win32 types and values of the installed headers on POSIX systems, with windows.h's names
// and layouts, in the layer's namespace: a host may define the global names for itself.
#pragma once

#include <cstdint>
#include <pthread.h>

namespace CppUtil
{
namespace Platform
{

typedef std::uint32_t DWORD;
typedef std::int32_t LONG;
typedef std::uint32_t ULONG;
typedef std::int32_t BOOL;
typedef unsigned char BYTE;
typedef std::uint16_t WORD;
typedef unsigned int UINT;
typedef std::int64_t LONGLONG;
typedef std::uint64_t ULONGLONG;
typedef std::uintptr_t UINT_PTR;
typedef std::uintptr_t ULONG_PTR;
typedef std::intptr_t LONG_PTR;
typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef void* PVOID;
typedef void* LPVOID;
typedef void* HANDLE;
typedef const char* LPCSTR;
typedef char* LPSTR;
typedef DWORD* LPDWORD;

union LARGE_INTEGER
{
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    } u;
    LONGLONG QuadPart;
};

typedef struct _SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
} SYSTEMTIME, *PSYSTEMTIME, *LPSYSTEMTIME;

// OLE automation dates: days since 1899-12-30, the time of day as the fraction.
typedef double DATE;
typedef DWORD LCID;

// Incomplete types keep the handle kinds apart, as STRICT windows.h does.
struct HWND__;
typedef HWND__* HWND;
struct HMENU__;
typedef HMENU__* HMENU;
struct HINSTANCE__;
typedef HINSTANCE__* HINSTANCE;
typedef HINSTANCE HMODULE;
struct HICON__;
typedef HICON__* HICON;
typedef HICON HCURSOR;
struct HBRUSH__;
typedef HBRUSH__* HBRUSH;
struct HKEY__;
typedef HKEY__* HKEY;
typedef DWORD REGSAM;
typedef int SOCKET;

typedef void (*TIMERPROC)(HWND window, UINT message, UINT_PTR idEvent, DWORD time);

// No cursor position: there is no pointer to report.
struct tagMSG
{
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
};
typedef tagMSG MSG;
typedef tagMSG* PMSG;
typedef tagMSG* LPMSG;

struct _SECURITY_ATTRIBUTES
{
    DWORD nLength;
    LPVOID lpSecurityDescriptor;
    BOOL bInheritHandle;
};
typedef _SECURITY_ATTRIBUTES SECURITY_ATTRIBUTES;
typedef _SECURITY_ATTRIBUTES* LPSECURITY_ATTRIBUTES;

// The layer's own lock; only its critical-section functions may touch it.
struct _RTL_CRITICAL_SECTION
{
    pthread_mutex_t Mutex;
};
typedef _RTL_CRITICAL_SECTION CRITICAL_SECTION;
typedef _RTL_CRITICAL_SECTION* LPCRITICAL_SECTION;

constexpr DWORD EXCEPTION_MAXIMUM_PARAMETERS = 15;

struct _EXCEPTION_RECORD
{
    DWORD ExceptionCode;
    DWORD ExceptionFlags;
    _EXCEPTION_RECORD* ExceptionRecord;
    PVOID ExceptionAddress;
    DWORD NumberParameters;
    ULONG_PTR ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
};
typedef _EXCEPTION_RECORD EXCEPTION_RECORD;
typedef _EXCEPTION_RECORD* PEXCEPTION_RECORD;

// Processor state is not captured on POSIX; the record keeps the member for layout fidelity.
struct _CONTEXT;
typedef _CONTEXT* PCONTEXT;

struct _EXCEPTION_POINTERS
{
    PEXCEPTION_RECORD ExceptionRecord;
    PCONTEXT ContextRecord;
};
typedef _EXCEPTION_POINTERS EXCEPTION_POINTERS;

// The registry hives the settings store documents.
inline const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000001));
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(0x80000002));

// Message-box styles and button ids, with windows.h's values.
constexpr UINT MB_OK = 0x00000000;
constexpr UINT MB_OKCANCEL = 0x00000001;
constexpr UINT MB_ABORTRETRYIGNORE = 0x00000002;
constexpr UINT MB_YESNOCANCEL = 0x00000003;
constexpr UINT MB_YESNO = 0x00000004;
constexpr UINT MB_RETRYCANCEL = 0x00000005;
constexpr UINT MB_CANCELTRYCONTINUE = 0x00000006;
constexpr UINT MB_TYPEMASK = 0x0000000F;

constexpr UINT MB_ICONHAND = 0x00000010;
constexpr UINT MB_ICONERROR = MB_ICONHAND;
constexpr UINT MB_ICONSTOP = MB_ICONHAND;
constexpr UINT MB_ICONQUESTION = 0x00000020;
constexpr UINT MB_ICONEXCLAMATION = 0x00000030;
constexpr UINT MB_ICONWARNING = MB_ICONEXCLAMATION;
constexpr UINT MB_ICONASTERISK = 0x00000040;
constexpr UINT MB_ICONINFORMATION = MB_ICONASTERISK;
constexpr UINT MB_ICONMASK = 0x000000F0;

constexpr UINT MB_DEFBUTTON1 = 0x00000000;
constexpr UINT MB_DEFBUTTON2 = 0x00000100;
constexpr UINT MB_DEFBUTTON3 = 0x00000200;
constexpr UINT MB_DEFBUTTON4 = 0x00000300;
constexpr UINT MB_DEFMASK = 0x00000F00;

constexpr UINT MB_SETFOREGROUND = 0x00010000;

constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDABORT = 3;
constexpr int IDRETRY = 4;
constexpr int IDIGNORE = 5;
constexpr int IDYES = 6;
constexpr int IDNO = 7;
constexpr int IDTRYAGAIN = 10;
constexpr int IDCONTINUE = 11;

} // namespace Platform
} // namespace CppUtil
