// The file registry: the store behind the POSIX registry calls, also used directly by
// cpputil-reg. A hive is a folder ($CPPUTIL_REGISTRY_ROOT/HKEY_LOCAL_MACHINE ...), a key a folder
// below it, and a key's values one file in it (".values.reg", see RegFile.h). Folder names are
// the key names with '%', '/', control characters and a leading '.' written as %XX, so that no
// key name can leave its hive or collide with the key's own files.
#pragma once

#include "../../CppUtil.Api.h"
#include "RegFile.h"
#include "Registry.h"

#include <boost/function.hpp>

#include <string>
#include <vector>

namespace CppUtil
{
namespace Platform
{

class CPPUTIL_API CFileRegistry
{
public:
    // HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER from their names or the short forms HKLM and HKCU,
    // any letter case; null for anything else.
    static HKEY HiveByName(const std::string& name);
    static const char* HiveName(HKEY hive);
    static std::string HiveFolder(HKEY hive);

    // The folder of the key at path ('\'-separated, empty levels ignored) below baseFolder, whose
    // display name is baseName. With create, missing keys are made (created tells whether the
    // last one was). ERROR_FILE_NOT_FOUND for a missing key, ERROR_INVALID_PARAMETER for a level
    // the file system cannot name.
    static LONG FindKey(const std::string& baseFolder, const std::string& path, bool create,
                        std::string& folder, bool* created = nullptr);

    // Never fails: a missing, unreadable or damaged file reads as no values.
    static std::vector<SRegValue> ReadValues(const std::string& folder);
    // Under the key's lock: reads the values, lets change edit them and, when it returns true,
    // replaces the file in one step (temporary file, flush, rename). A writer killed at any point
    // leaves the old file or the new one.
    static LONG UpdateValues(const std::string& folder, const std::string& keyName,
                             const boost::function<bool(std::vector<SRegValue>&)>& change);
    static SRegValue* FindValue(std::vector<SRegValue>& values, const std::string& name);

    // Names of the sub-keys, sorted without regard to letter case.
    static std::vector<std::string> SubKeys(const std::string& folder);
    static LONG DeleteTree(const std::string& folder);

    static std::string EncodeName(const std::string& name);
    static std::string DecodeName(const std::string& name);
    static bool SameName(const std::string& a, const std::string& b);
};

} // namespace Platform
} // namespace CppUtil
