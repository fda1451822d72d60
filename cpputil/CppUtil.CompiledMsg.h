/// @file
/// Messages compiled into a module's message table and fetched by numeric id.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <boost/function.hpp>
#include <fstream>
#include <memory>

namespace CppUtil
{

class CCompiledMsgImpl;

class CPPUTIL_API CCompiledMsgBase
{
public:
    /// module names the module whose table holds the message ("cpputil" for the library's own);
    /// an empty name means the host program. secondText is a note kept with the message, for
    /// example its symbolic name, for tools that list messages.
    CCompiledMsgBase(unsigned long id, const CString& module, const CString& secondText);
    CCompiledMsgBase(const CCompiledMsgBase& other);
    CCompiledMsgBase& operator=(const CCompiledMsgBase& other);
    virtual ~CCompiledMsgBase();

    unsigned long GetId() const;
    const CString& GetModule() const;
    const CString& GetSecondText() const;

    /// The message text as the table holds it, inserts such as %s untouched. Throws CQlException
    /// "Could not load compiled message with ID ..." when the module or the message is missing.
    CString LoadCStr() const;
    /// The text followed by a blank and GetIdDisplayStr(); the text alone while ids are hidden.
    CString LoadCStrWithMsgId() const;
    /// The id as users quote it, "(ID module:number)", or empty while IsShowId answers false.
    CString GetIdDisplayStr() const;

    /// Whether ids are shown to users; unset means they are.
    static boost::function<bool()> IsShowId;

    /// Inside a catch handler: whether the exception being handled is a failure of LoadCStr.
    static bool CheckException();

    /// Appends one message to an extraction file as "[[text]]" and a blank line, on one line and
    /// at most 255 characters long.
    static void WriteToFile(std::basic_ofstream<char>& file, CString text);

private:
    std::shared_ptr<CCompiledMsgImpl> m_poImpl;
};

} // namespace CppUtil
