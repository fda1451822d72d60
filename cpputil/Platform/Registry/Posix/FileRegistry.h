// The file registry: the store behind the POSIX registry calls, also used directly by
// cpputil-reg. A hive is a folder ($CPPUTIL_REGISTRY_ROOT/HKEY_LOCAL_MACHINE ...), a key a folder
// below it, and a key's values one file in it (".values.reg", see RegFile.h). Folder names are
// the key names with '%', '/', control characters and a leading '.' written as %XX, so that no
// key name can leave its hive or collide with the key's own files.
//
// A single value's write is appended, as one checksummed record, to the key's journal
// (".values.journal", in the same text form); the journal is folded into the value file once it
// outgrows it, and each fold starts a journal with a new generation. Each process keeps the values
// of the keys it used last in memory and, before a read, checks the journal's generation and size
// (and the value file's identity, size and times), reading only what was appended since.
#pragma once

#include "RegFile.h"
#include "Registry.h"

#include <boost/function.hpp>

#include <string>
#include <vector>

namespace CppUtil
{
namespace Platform
{

class CFileRegistry
{
public:
    // HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER from their names or the short forms HKLM and HKCU,
    // any letter case; null for anything else.
    static HKEY HiveByName(const std::string& name);
    // The hive a key's full name ("HKEY_LOCAL_MACHINE\\Software...") starts with.
    static HKEY HiveOf(const std::string& keyName);
    static const char* HiveName(HKEY hive);
    static std::string HiveFolder(HKEY hive);

    // The folder of the key at path ('\'-separated, empty levels ignored) below baseFolder, whose
    // display name is baseName. With create, missing keys are made (created tells whether the
    // last one was). ERROR_FILE_NOT_FOUND for a missing key, ERROR_INVALID_PARAMETER for a level
    // the file system cannot name.
    static LONG FindKey(const std::string& baseFolder, const std::string& path, bool create,
                        std::string& folder, bool* created = nullptr);

    // Never fail: a missing, unreadable or damaged file reads as no values.
    static std::vector<SRegValue> ReadValues(const std::string& folder);
    static bool QueryValue(const std::string& folder, const std::string& name, SRegValue& value);
    // Under the key's lock: reads the values, lets change edit them and, when it returns true,
    // replaces the file in one step (temporary file, flush, rename). A writer killed at any point
    // leaves the old file or the new one.
    static LONG UpdateValues(const std::string& folder, const std::string& keyName,
                             const boost::function<bool(std::vector<SRegValue>&)>& change);
    // Under the key's lock: sets one value, or removes it when m_bDelete is set
    // (ERROR_FILE_NOT_FOUND when it is missing), by appending to the journal. Visible to every
    // process on return; a writer killed at any point leaves the value old or new. A fold that
    // fails after the record has landed does not fail the write.
    static LONG WriteValue(const std::string& folder, const std::string& keyName,
                           const SRegValue& value);
    // For every key of hive that this process has written (WriteValue, UpdateValues) since its
    // last flush: folds the journal into the value file and flushes the file and the key's folder
    // to the disk. Until then a write survives the crash of its process but not of the system.
    // Keys written by other processes only are left to them; nothing to flush succeeds.
    static LONG Flush(HKEY hive);
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
