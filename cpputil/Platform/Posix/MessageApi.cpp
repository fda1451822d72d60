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

// Windows' own texts, in US English, for the Win32 codes a caller can meet here: those the layer
// and the file registry set, Winsock's (sockets report them in place of errno values), and the
// common file, registry, window and wait failures a host passes on. Any other code has no text,
// as on Windows, where FormatMessageA fails for it.
const SSystemMessage k_aoSystemMessages[] = {
    {0, "The operation completed successfully."},
    {1, "Incorrect function."},
    {2, "The system cannot find the file specified."},
    {3, "The system cannot find the path specified."},
    {4, "The system cannot open the file."},
    {5, "Access is denied."},
    {6, "The handle is invalid."},
    {7, "The storage control blocks were destroyed."},
    {8, "Not enough memory resources are available to process this command."},
    {9, "The storage control block address is invalid."},
    {10, "The environment is incorrect."},
    {11, "An attempt was made to load a program with an incorrect format."},
    {12, "The access code is invalid."},
    {13, "The data is invalid."},
    {14, "Not enough memory resources are available to complete this operation."},
    {15, "The system cannot find the drive specified."},
    {16, "The directory cannot be removed."},
    {17, "The system cannot move the file to a different disk drive."},
    {18, "There are no more files."},
    {19, "The media is write protected."},
    {20, "The system cannot find the device specified."},
    {21, "The device is not ready."},
    {22, "The device does not recognize the command."},
    {23, "Data error (cyclic redundancy check)."},
    {24, "The program issued a command but the command length is incorrect."},
    {25, "The drive cannot locate a specific area or track on the disk."},
    {26, "The specified disk or diskette cannot be accessed."},
    {27, "The drive cannot find the sector requested."},
    {28, "The printer is out of paper."},
    {29, "The system cannot write to the specified device."},
    {30, "The system cannot read from the specified device."},
    {31, "A device attached to the system is not functioning."},
    {32, "The process cannot access the file because it is being used by another process."},
    {33, "The process cannot access the file because another process has locked a portion of the "
         "file."},
    {34, "The wrong diskette is in the drive. Insert %2 (Volume Serial Number: %3) into drive %1."},
    {36, "Too many files opened for sharing."},
    {38, "Reached the end of the file."},
    {39, "The disk is full."},
    {50, "The request is not supported."},
    {52, "You were not connected because a duplicate name exists on the network."},
    {53, "The network path was not found."},
    {64, "The specified network name is no longer available."},
    {67, "The network name cannot be found."},
    {80, "The file exists."},
    {82, "The directory or file cannot be created."},
    {87, "The parameter is incorrect."},
    {109, "The pipe has been ended."},
    {110, "The system cannot open the device or file specified."},
    {111, "The file name is too long."},
    {112, "There is not enough space on the disk."},
    {120, "This function is not supported on this system."},
    {122, "The data area passed to a system call is too small."},
    {123, "The filename, directory name, or volume label syntax is incorrect."},
    {126, "The specified module could not be found."},
    {127, "The specified procedure could not be found."},
    {145, "The directory is not empty."},
    {161, "The specified path is invalid."},
    {170, "The requested resource is in use."},
    {183, "Cannot create a file when that file already exists."},
    {206, "The filename or extension is too long."},
    {232, "The pipe is being closed."},
    {233, "No process is on the other end of the pipe."},
    {234, "More data is available."},
    {235, "The action requested resulted in no work being done. Error-specific cleanup has been "
          "performed."},
    {259, "No more data is available."},
    {267, "The directory name is invalid."},
    {299, "Only part of a ReadProcessMemory or WriteProcessMemory request was completed."},
    {317,
     "The system cannot find message text for message number 0x%1 in the message file for %2."},
    {487, "Attempt to access invalid address."},
    {534, "Arithmetic result exceeded 32 bits."},
    {995, "The I/O operation has been aborted because of either a thread exit or an application "
          "request."},
    {996, "Overlapped I/O event is not in a signaled state."},
    {997, "Overlapped I/O operation is in progress."},
    {998, "Invalid access to memory location."},
    {1004, "Invalid flags."},
    {1009, "The configuration registry database is corrupt."},
    {1010, "The configuration registry key is invalid."},
    {1011, "The configuration registry key could not be opened."},
    {1012, "The configuration registry key could not be read."},
    {1013, "The configuration registry key could not be written."},
    {1015, "The registry is corrupted."},
    {1018, "Illegal operation attempted on a registry key that has been marked for deletion."},
    {1021, "Cannot create a stable subkey under a volatile parent key."},
    {1060, "The specified service does not exist as an installed service."},
    {1115, "A system shutdown is in progress."},
    {1168, "Element not found."},
    {1223, "The operation was canceled by the user."},
    {1244, "The operation being requested was not performed because the user has not been "
           "authenticated."},
    {1326, "The user name or password is incorrect."},
    {1400, "Invalid window handle."},
    {1401, "Invalid menu handle."},
    {1407, "Cannot find window class."},
    {1410, "Class already exists."},
    {1411, "Class does not exist."},
    {1413, "Invalid index."},
    {1444, "Invalid thread identifier."},
    {1450, "Insufficient system resources exist to complete the requested service."},
    {1460, "This operation returned because the timeout period expired."},
    {1722, "The RPC server is unavailable."},
    {1812, "The specified image file did not contain a resource section."},
    {1813, "The specified resource type cannot be found in the image file."},
    {1814, "The specified resource name cannot be found in the image file."},
    {1815, "The specified resource language ID cannot be found in the image file."},
    {10004, "A blocking operation was interrupted by a call to WSACancelBlockingCall."},
    {10009, "The file handle supplied is not valid."},
    {10013, "An attempt was made to access a socket in a way forbidden by its access permissions."},
    {10014, "The system detected an invalid pointer address in attempting to use a pointer "
            "argument in a call."},
    {10022, "An invalid argument was supplied."},
    {10024, "Too many open sockets."},
    {10035, "A non-blocking socket operation could not be completed immediately."},
    {10036, "A blocking operation is currently executing."},
    {10037, "An operation was attempted on a non-blocking socket that already had an operation in "
            "progress."},
    {10038, "An operation was attempted on something that is not a socket."},
    {10039, "A required address was omitted from an operation on a socket."},
    {10040, "A message sent on a datagram socket was larger than the internal message buffer or "
            "some other network limit, or the buffer used to receive a datagram into was smaller "
            "than the datagram itself."},
    {10041, "A protocol was specified in the socket function call that does not support the "
            "semantics of the socket type requested."},
    {10042, "An unknown, invalid, or unsupported option or level was specified in a getsockopt or "
            "setsockopt call."},
    {10043, "The requested protocol has not been configured into the system, or no implementation "
            "for it exists."},
    {10044, "The support for the specified socket type does not exist in this address family."},
    {10045, "The attempted operation is not supported for the type of object referenced."},
    {10046, "The protocol family has not been configured into the system or no implementation for "
            "it exists."},
    {10047, "An address incompatible with the requested protocol was used."},
    {10048, "Only one usage of each socket address (protocol/network address/port) is normally "
            "permitted."},
    {10049, "The requested address is not valid in its context."},
    {10050, "A socket operation encountered a dead network."},
    {10051, "A socket operation was attempted to an unreachable network."},
    {10052, "The connection has been broken due to keep-alive activity detecting a failure while "
            "the operation was in progress."},
    {10053, "An established connection was aborted by the software in your host machine."},
    {10054, "An existing connection was forcibly closed by the remote host."},
    {10055, "An operation on a socket could not be performed because the system lacked sufficient "
            "buffer space or because a queue was full."},
    {10056, "A connect request was made on an already connected socket."},
    {10057, "A request to send or receive data was disallowed because the socket is not connected "
            "and (when sending on a datagram socket using a sendto call) no address was supplied."},
    {10058, "A request to send or receive data was disallowed because the socket had already been "
            "shut down in that direction with a previous shutdown call."},
    {10059, "Too many references to some kernel object."},
    {10060, "A connection attempt failed because the connected party did not properly respond "
            "after a period of time, or established connection failed because connected host has "
            "failed to respond."},
    {10061, "No connection could be made because the target machine actively refused it."},
    {10062, "Cannot translate name."},
    {10063, "Name component or name was too long."},
    {10064, "A socket operation failed because the destination host was down."},
    {10065, "A socket operation was attempted to an unreachable host."},
    {11001, "No such host is known."},
    {11002, "This is usually a temporary error during hostname resolution and means that the local "
            "server did not receive a response from an authoritative server."},
    {11003, "A non-recoverable error occurred during a database lookup."},
    {11004, "The requested name is valid, but no data of the requested type was found."},
};

DWORD SystemText(DWORD code, DWORD languageId, std::string& text)
{
    // The texts are US English; a caller asking for another language gets what Windows gives
    // when that language is not installed.
    if (languageId != 0 && languageId != MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT) &&
        languageId != MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT) &&
        languageId != MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US))
        return ERROR_RESOURCE_LANG_NOT_FOUND;
    for (const SSystemMessage& message : k_aoSystemMessages)
    {
        if (message.m_dwCode == code)
        {
            text = message.m_szText;
            text += "\r\n";
            return ERROR_SUCCESS;
        }
    }
    return ERROR_MR_MID_NOT_FOUND;
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
