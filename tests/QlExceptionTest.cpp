#include "Thrown.h"

#include <cpputil/Platform/Kernel/WinMessages.h>
#include <cpputil/SeTranslate.h>

namespace
{

// Runs the translator on a synthetic record and returns the text it threw.
std::string Translate(unsigned int code, ULONG_PTR address, ULONG_PTR info0 = 0,
                      ULONG_PTR info1 = 0)
{
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = code;
    record.ExceptionAddress = reinterpret_cast<PVOID>(address);
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = info0;
    record.ExceptionInformation[1] = info1;
    EXCEPTION_POINTERS pointers = {&record, nullptr};
    return ThrownAt([&] { CppUtil::Exception::StructuredExceptionTranslate(code, &pointers); },
                    "CppUtil::Exception::StructuredExceptionTranslate", "SeTranslate", 45);
}

} // namespace

TEST(QlExceptionTest, ThrowCarriesMessageAndPlace)
{
    const auto save = []
    {
        CppUtil::Exception::ThrowQlException("Disk full.\r\nRetry?", "CppUtil::Demo::Save",
                                             "CppUtil.Demo", 321);
    };
    EXPECT_EQ("Disk full.\r\nRetry?", Thrown<std::runtime_error>(save));
    EXPECT_EQ("Disk full.\r\nRetry?", ThrownAt(save, "CppUtil::Demo::Save", "CppUtil.Demo", 321));
}

TEST(QlExceptionTest, StructuredExceptionsAreDescribedFromTheTable)
{
    const std::string av = "Access Violation.  Check pointer values and array indexes.\n";
    // A zero first word is reported as a write; only an access violation gets the access line,
    // whatever the record holds.
    EXPECT_EQ("Win32 Exception 0xC0000005 at address 0x00401000.\n\n" + av +
                  "A WRITE occured to inaccessible address 0x00000000",
              Translate(0xC0000005, 0x401000, 0, 0));
    EXPECT_EQ("Win32 Exception 0xC0000005 at address 0xDEADBEEF.\n\n" + av +
                  "A READ occured from inaccessible address 0x00001234",
              Translate(0xC0000005, 0xDEADBEEF, 1, 0x1234));
    EXPECT_EQ("Win32 Exception 0xC0000094 at address 0x00000010.\n\nDivision by Zero.",
              Translate(0xC0000094, 0x10));
    EXPECT_EQ("Win32 Exception 0xC0000096 at address 0x00000000.\n\nPrivileged Instruction.  "
              "An instruction was attempted that is not allowed in this operating system mode.",
              Translate(0xC0000096, 0));
    EXPECT_EQ("Win32 Exception 0x80000002 at address 0x00000000.\n\n"
              "EXCEPTION_DATATYPE_MISALIGNMENT",
              Translate(0x80000002, 0));
    EXPECT_EQ("Win32 Exception 0xC0000093 at address 0x00000000.\n\nEXCEPTION_FLT_UNDERFLOW",
              Translate(0xC0000093, 0));
    EXPECT_EQ("Win32 Exception 0xC00000FD at address 0x00000000.\n\nStack Overflow.",
              Translate(0xC00000FD, 0, 1, 0x1234));
    EXPECT_EQ("Win32 Exception 0xE0000001 at address 0x0000ABCD.\n\n<No Description>",
              Translate(0xE0000001, 0xABCD));

    // The debugger's thread-naming exception passes through.
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = 0x406D1388;
    EXCEPTION_POINTERS pointers = {&record, nullptr};
    EXPECT_NO_THROW(CppUtil::Exception::StructuredExceptionTranslate(0x406D1388, &pointers));
}
