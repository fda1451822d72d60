#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/Platform/Kernel/WinMessages.h>
#include <cpputil/SeTranslate.h>

#include <gtest/gtest.h>

using CppUtil::Exception::CQlException;

namespace
{

// Runs the translator on a synthetic record and returns what it threw.
CQlException Translate(unsigned int code, ULONG_PTR address, ULONG_PTR info0 = 0,
                       ULONG_PTR info1 = 0)
{
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = code;
    record.ExceptionAddress = reinterpret_cast<PVOID>(address);
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = info0;
    record.ExceptionInformation[1] = info1;
    EXCEPTION_POINTERS pointers = {&record, nullptr};
    try
    {
        CppUtil::Exception::StructuredExceptionTranslate(code, &pointers);
    }
    catch (const CQlException& e)
    {
        return e;
    }
    ADD_FAILURE() << "no exception for code " << code;
    return CQlException("", "", "", 0);
}

} // namespace

TEST(QlExceptionTest, ThrowCarriesMessageAndPlace)
{
    try
    {
        CppUtil::Exception::ThrowQlException("Disk full.\r\nRetry?", "CppUtil::Demo::Save",
                                             "CppUtil.Demo", 321);
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_STREQ("Disk full.\r\nRetry?", e.what());
        const CQlException* ql = dynamic_cast<const CQlException*>(&e);
        ASSERT_NE(nullptr, ql);
        EXPECT_EQ(CString("CppUtil::Demo::Save"), ql->GetFunction());
        EXPECT_EQ(CString("CppUtil.Demo"), ql->GetFile());
        EXPECT_EQ(321u, ql->GetLine());
        return;
    }
    FAIL() << "ThrowQlException returned";
}

TEST(QlExceptionTest, AccessViolationNamesAccessAndAddress)
{
    // A zero first word is reported as a write.
    CQlException write = Translate(0xC0000005, 0x401000, 0, 0);
    EXPECT_STREQ("Win32 Exception 0xC0000005 at address 0x00401000.\n\n"
                 "Access Violation.  Check pointer values and array indexes.\n"
                 "A WRITE occured to inaccessible address 0x00000000",
                 write.what());
    EXPECT_EQ(CString("CppUtil::Exception::StructuredExceptionTranslate"), write.GetFunction());
    EXPECT_EQ(CString("SeTranslate"), write.GetFile());
    EXPECT_EQ(45u, write.GetLine());

    CQlException read = Translate(0xC0000005, 0xDEADBEEF, 1, 0x1234);
    EXPECT_STREQ("Win32 Exception 0xC0000005 at address 0xDEADBEEF.\n\n"
                 "Access Violation.  Check pointer values and array indexes.\n"
                 "A READ occured from inaccessible address 0x00001234",
                 read.what());
}

TEST(QlExceptionTest, DescriptionsComeFromTheTable)
{
    EXPECT_STREQ("Win32 Exception 0xC0000094 at address 0x00000010.\n\nDivision by Zero.",
                 Translate(0xC0000094, 0x10).what());
    EXPECT_STREQ("Win32 Exception 0xC0000096 at address 0x00000000.\n\nPrivileged Instruction.  "
                 "An instruction was attempted that is not allowed in this operating system mode.",
                 Translate(0xC0000096, 0).what());
    EXPECT_STREQ("Win32 Exception 0x80000002 at address 0x00000000.\n\n"
                 "EXCEPTION_DATATYPE_MISALIGNMENT",
                 Translate(0x80000002, 0).what());
    EXPECT_STREQ("Win32 Exception 0xC0000093 at address 0x00000000.\n\nEXCEPTION_FLT_UNDERFLOW",
                 Translate(0xC0000093, 0).what());
    // Only an access violation gets the access line, whatever the record holds.
    EXPECT_STREQ("Win32 Exception 0xC00000FD at address 0x00000000.\n\nStack Overflow.",
                 Translate(0xC00000FD, 0, 1, 0x1234).what());
    EXPECT_STREQ("Win32 Exception 0xE0000001 at address 0x0000ABCD.\n\n<No Description>",
                 Translate(0xE0000001, 0xABCD).what());

    // The debugger's thread-naming exception passes through.
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = 0x406D1388;
    EXCEPTION_POINTERS pointers = {&record, nullptr};
    EXPECT_NO_THROW(CppUtil::Exception::StructuredExceptionTranslate(0x406D1388, &pointers));
}
