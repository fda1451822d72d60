#include "SeTranslate.h"

#include "CppUtil.Exception.QlException.h"
#include "Platform/Kernel/SeTranslator.h"

#include <cstdarg>

namespace CppUtil
{
namespace Exception
{
namespace
{

struct SDescription
{
    DWORD m_dwCode;
    const char* m_szText;
};

// Searched from the top; the first matching code wins.
const SDescription k_aDescriptions[] = {
    {0xC0000005, "Access Violation.  Check pointer values and array indexes."},
    {0x80000002, "EXCEPTION_DATATYPE_MISALIGNMENT"},
    {0xC000008C, "Array Bounds Exceeded.  Check array indexes."},
    {0xC0000094, "Division by Zero."},
    {0xC0000095, "Integer Operation Overflow."},
    {0xC0000096, "Privileged Instruction.  An instruction was attempted that is not allowed in "
                 "this operating system mode."},
    {0xC0000006, "EXCEPTION_IN_PAGE_ERROR"},
    {0xC000001D, "EXCEPTION_ILLEGAL_INSTRUCTION"},
    {0xC0000025, "EXCEPTION_NONCONTINUABLE_EXCEPTION"},
    {0xC00000FD, "Stack Overflow."},
    {0xC0000026, "EXCEPTION_INVALID_DISPOSITION"},
    {0x80000001, "EXCEPTION_GUARD_PAGE"},
    {0xC0000008, "Invalid Handle."},
    {0xC000008D, "EXCEPTION_FLT_DENORMAL_OPERAND"},
    {0xC000008E, "EXCEPTION_FLT_DIVIDE_BY_ZERO"},
    {0xC000008F, "EXCEPTION_FLT_INEXACT_RESULT"},
    {0xC0000090, "EXCEPTION_FLT_INVALID_OPERATION"},
    {0xC0000091, "EXCEPTION_FLT_OVERFLOW"},
    {0xC0000092, "EXCEPTION_FLT_STACK_CHECK"},
    {0xC0000093, "EXCEPTION_FLT_UNDERFLOW"},
};

const DWORD k_dwThreadNameException = 0x406D1388;
const DWORD k_dwAccessViolation = 0xC0000005;

const char* const k_szHeaderFormat = "Win32 Exception 0x%lX at address 0x%0.8lX.\n\n";
const char* const k_szAccessFormat = "\nA %s occured %s inaccessible address 0x%0.8lX";

// The texts keep their long-standing "%0.8lX" (precision wins over the 0 flag, giving at least
// eight digits), which compile-time format checks flag; they are applied through a va_list.
void AppendFormatted(CString& text, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    text.AppendFormatV(format, arguments);
    va_end(arguments);
}

// Addresses are shown as unsigned long, which is 32 bits wide on Windows: a 64-bit address there
// loses its upper half, exactly as the message format has always shown it.
unsigned long AsAddress(ULONG_PTR value)
{
    return static_cast<unsigned long>(value);
}

} // namespace

void StructuredExceptionTranslate(unsigned int code, _EXCEPTION_POINTERS* info)
{
    if (code == k_dwThreadNameException)
        return;

    const EXCEPTION_RECORD* record = info ? info->ExceptionRecord : nullptr;
    const ULONG_PTR address = record ? reinterpret_cast<ULONG_PTR>(record->ExceptionAddress) : 0;

    CString message;
    AppendFormatted(message, k_szHeaderFormat, static_cast<unsigned long>(code),
                    AsAddress(address));

    const char* description = "<No Description>";
    for (const SDescription& row : k_aDescriptions)
    {
        if (row.m_dwCode == code)
        {
            description = row.m_szText;
            break;
        }
    }
    message += description;

    if (code == k_dwAccessViolation && record)
    {
        // A zero first word reads as a write: the mapping has always been shown this way.
        const bool zero = record->ExceptionInformation[0] == 0;
        AppendFormatted(message, k_szAccessFormat, zero ? "WRITE" : "READ", zero ? "to" : "from",
                        AsAddress(record->ExceptionInformation[1]));
    }

    ThrowQlException(message, "CppUtil::Exception::StructuredExceptionTranslate", "SeTranslate",
                     45);
}

bool InstallStructuredExceptionTranslator()
{
    return Platform::SetSeTranslator(&StructuredExceptionTranslate);
}

} // namespace Exception
} // namespace CppUtil
