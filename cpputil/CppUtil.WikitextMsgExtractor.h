/// @file
/// The compiled messages of a module listed as wiki text, for the developers' message pages.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <map>

namespace CppUtil
{

/// Lists a module's message table as a wiki table, one row a message: its id, its symbolic
/// name and its text as CCompiledMsgBase::LoadCStr gives it (inserts such as %1 untouched).
/// cpputil-mc --wiki prints the same table from the .mc file.
///
/// Decisions:
/// - A compiled table keeps no symbolic names. The library's own come from a list made from its
///   .mc at build time; for other modules the caller passes the names it knows (for example
///   from the header the message compiler made), and a message without one has an empty cell.
/// - Ids are listed in every language the table has, each with its text in the language
///   FormatMessageA picks by default.
/// - Failures (a module that is not loaded or has no table, a file that cannot be written)
///   raise CQlException naming the module or the file.
class CPPUTIL_API CWikitextMsgExtractor
{
public:
    /// The file name the library's messages are written to.
    static const CString k_sLibraryFileName;

    /// module as for CCompiledMsgBase: "cpputil" for the library's own, empty for the program.
    static CString ListMessages(const CString& module,
                                const std::map<unsigned long, CString>& symbolicNames);
    /// The library's own messages, with their symbolic names.
    static CString ListLibraryMessages();

    static void WriteToFile(const CString& path, const CString& wikitext);
    /// Writes ListLibraryMessages() as k_sLibraryFileName into the job-log folder
    /// (Exception::g_sCurrentJobLogDir), or into the temporary folder while there is none, and
    /// returns the file's path.
    static CString WriteLibraryMessages();

private:
    CWikitextMsgExtractor() = delete;
};

} // namespace CppUtil
