// GetModuleHandleA, FormatMessageA and LocalFree for POSIX systems.
#include "MessageFormatter.h"
#include "MessageTableRegistry.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using CppUtil::Platform::CMessageFormatter;
using CppUtil::Platform::CMessageTableRegistry;

namespace
{

struct SSystemMessage
{
    DWORD m_dwCode;
    const char* m_szText;
};

// Windows' own texts for the Win32 codes the layer sets. They win over errno values that happen
// to share a number, since the layer's callers expect Windows' meaning for them.
const SSystemMessage k_aoSystemMessages[] = {
    {ERROR_SUCCESS, "The operation completed successfully."},
    {ERROR_FILE_NOT_FOUND, "The system cannot find the file specified."},
    {ERROR_ACCESS_DENIED, "Access is denied."},
    {ERROR_INVALID_HANDLE, "The handle is invalid."},
    {ERROR_INVALID_DATA, "The data is invalid."},
    {ERROR_NOT_ENOUGH_MEMORY, "Not enough memory resources are available to process this command."},
    {ERROR_NOT_SUPPORTED, "The request is not supported."},
    {ERROR_INVALID_PARAMETER, "The parameter is incorrect."},
    {ERROR_INSUFFICIENT_BUFFER, "The data area passed to a system call is too small."},
    {ERROR_MOD_NOT_FOUND, "The specified module could not be found."},
    {ERROR_MORE_DATA, "More data is available."},
    {ERROR_NO_MORE_ITEMS, "No more data is available."},
    {ERROR_NO_WORK_DONE, "The action requested resulted in no work being done. Error-specific "
                         "cleanup has been performed."},
    {ERROR_MR_MID_NOT_FOUND, "The system cannot find message text for message number 0x%1 in the "
                             "message file for %2."},
    {ERROR_INVALID_WINDOW_HANDLE, "Invalid window handle."},
    {ERROR_CANNOT_FIND_WND_CLASS, "Cannot find window class."},
    {ERROR_CLASS_ALREADY_EXISTS, "Class already exists."},
    {ERROR_CLASS_DOES_NOT_EXIST, "Class does not exist."},
    {ERROR_INVALID_INDEX, "Invalid index."},
    {ERROR_INVALID_THREAD_ID, "Invalid thread identifier."},
    {ERROR_RESOURCE_DATA_NOT_FOUND, "The specified image file did not contain a resource section."},
    {ERROR_RESOURCE_TYPE_NOT_FOUND,
     "The specified resource type cannot be found in the image file."},
    {ERROR_RESOURCE_LANG_NOT_FOUND,
     "The specified resource language ID cannot be found in the image file."},
};

// NULL for a number that is no errno value.
const char* ErrnoText(int code)
{
#if defined(__GLIBC__) && (__GLIBC__ > 2 || (__GLIBC__ == 2 && __GLIBC_MINOR__ >= 32))
    return strerrordesc_np(code);
#else
    const char* text = std::strerror(code);
    return text && std::strncmp(text, "Unknown error", 13) != 0 ? text : nullptr;
#endif
}

DWORD SystemText(DWORD code, DWORD languageId, std::string& text)
{
    // The texts are US English; a caller asking for another language gets what Windows gives
    // when that language is not installed.
    if (languageId != 0 && languageId != MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT) &&
        languageId != MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT) &&
        languageId != MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US))
        return ERROR_RESOURCE_LANG_NOT_FOUND;
    const char* found = nullptr;
    for (const SSystemMessage& message : k_aoSystemMessages)
    {
        if (message.m_dwCode == code)
            found = message.m_szText;
    }
    if (!found && code <= 0x7FFFFFFF)
        found = ErrnoText(static_cast<int>(code));
    if (!found)
        return ERROR_MR_MID_NOT_FOUND;
    text = found;
    text += "\r\n";
    return ERROR_SUCCESS;
}

DWORD Fail(DWORD error)
{
    SetLastError(error);
    return 0;
}

} // namespace

HMODULE GetModuleHandleA(LPCSTR moduleName)
{
    HMODULE module = CMessageTableRegistry::Instance().Find(moduleName);
    if (!module)
        SetLastError(ERROR_MOD_NOT_FOUND);
    return module;
}

DWORD FormatMessageA(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId, LPSTR buffer,
                     DWORD size, va_list* arguments)
{
    const bool allocate = (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
    if (allocate && buffer)
        *reinterpret_cast<LPSTR*>(buffer) = nullptr;

    std::string text;
    DWORD error = ERROR_INVALID_PARAMETER;
    if (flags & FORMAT_MESSAGE_FROM_STRING)
    {
        if (source)
        {
            text = static_cast<const char*>(source);
            error = ERROR_SUCCESS;
        }
    }
    else
    {
        if (flags & FORMAT_MESSAGE_FROM_HMODULE)
            error = CMessageTableRegistry::Instance().Lookup(
                static_cast<HMODULE>(const_cast<void*>(source)), messageId, languageId, text);
        // The system's texts are the fallback when a module does not have the message.
        if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) && error != ERROR_SUCCESS)
            error = SystemText(messageId, languageId, text);
    }
    if (error != ERROR_SUCCESS)
        return Fail(error);

    std::string out;
    error = CMessageFormatter(flags, arguments).Format(text.c_str(), out);
    if (error != ERROR_SUCCESS)
        return Fail(error);
    if (out.empty())
        return Fail(ERROR_NO_WORK_DONE);
    if (!buffer)
        return Fail(ERROR_INVALID_PARAMETER);

    if (allocate)
    {
        const size_t bytes = std::max<size_t>(out.size() + 1, size);
        char* memory = static_cast<char*>(std::malloc(bytes));
        if (!memory)
            return Fail(ERROR_NOT_ENOUGH_MEMORY);
        std::memcpy(memory, out.c_str(), out.size() + 1);
        *reinterpret_cast<LPSTR*>(buffer) = memory;
    }
    else
    {
        if (out.size() + 1 > size)
            return Fail(ERROR_INSUFFICIENT_BUFFER);
        std::memcpy(buffer, out.c_str(), out.size() + 1);
    }
    return static_cast<DWORD>(out.size());
}

HLOCAL LocalFree(HLOCAL memory)
{
    std::free(memory);
    return nullptr;
}
