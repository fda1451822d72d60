#include "FileRegistry.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_map>

namespace CppUtil
{
namespace Platform
{
namespace
{

const char k_szValueFile[] = ".values.reg";
const char k_szTempPrefix[] = ".values.reg.";
const char k_szLockFile[] = ".lock";

char Fold(char ch)
{
    return (ch >= 'A' && ch <= 'Z') ? static_cast<char>(ch - 'A' + 'a') : ch;
}

bool IsFolder(const std::string& path)
{
    struct stat info;
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

LONG FromErrno(int error)
{
    switch (error)
    {
    case ENOENT:
    case ENOTDIR:
        return ERROR_FILE_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
        return ERROR_ACCESS_DENIED;
    case ENAMETOOLONG:
        return ERROR_INVALID_PARAMETER;
    default:
        return error;
    }
}

LONG MakeFolders(const std::string& path)
{
    if (path.empty() || IsFolder(path))
        return ERROR_SUCCESS;
    const std::size_t slash = path.find_last_of('/');
    if (slash != std::string::npos && slash > 0)
    {
        const LONG status = MakeFolders(path.substr(0, slash));
        if (status != ERROR_SUCCESS)
            return status;
    }
    if (::mkdir(path.c_str(), 0755) != 0 && errno != EEXIST)
        return FromErrno(errno);
    return ERROR_SUCCESS;
}

bool ReadWhole(const std::string& path, std::string& bytes)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return false;
    char buffer[16384];
    ssize_t count;
    while ((count = ::read(fd, buffer, sizeof buffer)) > 0)
        bytes.append(buffer, static_cast<std::size_t>(count));
    ::close(fd);
    return count == 0;
}

bool WriteWhole(int fd, const std::string& bytes)
{
    std::size_t done = 0;
    while (done < bytes.size())
    {
        const ssize_t count = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

std::vector<std::string> Entries(const std::string& folder)
{
    std::vector<std::string> names;
    DIR* dir = ::opendir(folder.c_str());
    if (!dir)
        return names;
    while (const dirent* entry = ::readdir(dir))
        names.push_back(entry->d_name);
    ::closedir(dir);
    return names;
}

} // namespace

HKEY CFileRegistry::HiveByName(const std::string& name)
{
    if (SameName(name, "HKLM") || SameName(name, "HKEY_LOCAL_MACHINE"))
        return HKEY_LOCAL_MACHINE;
    if (SameName(name, "HKCU") || SameName(name, "HKEY_CURRENT_USER"))
        return HKEY_CURRENT_USER;
    return nullptr;
}

const char* CFileRegistry::HiveName(HKEY hive)
{
    return hive == HKEY_LOCAL_MACHINE ? "HKEY_LOCAL_MACHINE" : "HKEY_CURRENT_USER";
}

std::string CFileRegistry::HiveFolder(HKEY hive)
{
    const char* root = std::getenv("CPPUTIL_REGISTRY_ROOT");
    if (root && *root)
        return std::string(root) + "/" + HiveName(hive);
    if (hive == HKEY_LOCAL_MACHINE)
        return "/var/lib/cpputil/registry/HKEY_LOCAL_MACHINE";
    const char* config = std::getenv("XDG_CONFIG_HOME");
    std::string base;
    if (config && *config)
        base = config;
    else
    {
        const char* home = std::getenv("HOME");
        base = std::string(home ? home : "") + "/.config";
    }
    return base + "/cpputil/registry/HKEY_CURRENT_USER";
}

std::string CFileRegistry::EncodeName(const std::string& name)
{
    std::string encoded;
    for (std::size_t i = 0; i < name.size(); ++i)
    {
        const unsigned char ch = static_cast<unsigned char>(name[i]);
        if (ch < 0x20 || ch == 0x7F || ch == '%' || ch == '/' || ch == '\\' ||
            (i == 0 && ch == '.'))
        {
            char escape[4];
            std::snprintf(escape, sizeof escape, "%%%02X", ch);
            encoded += escape;
        }
        else
            encoded += static_cast<char>(ch);
    }
    return encoded;
}

std::string CFileRegistry::DecodeName(const std::string& name)
{
    std::string decoded;
    for (std::size_t i = 0; i < name.size(); ++i)
    {
        if (name[i] == '%' && i + 2 < name.size() &&
            std::isxdigit(static_cast<unsigned char>(name[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(name[i + 2])))
        {
            decoded += static_cast<char>(std::strtol(name.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        }
        else
            decoded += name[i];
    }
    return decoded;
}

bool CFileRegistry::SameName(const std::string& a, const std::string& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                              [](char x, char y) { return Fold(x) == Fold(y); });
}

LONG CFileRegistry::FindKey(const std::string& baseFolder, const std::string& path, bool create,
                            std::string& folder, bool* created)
{
    if (created)
        *created = false;
    if (!IsFolder(baseFolder) && !(create && MakeFolders(baseFolder) == ERROR_SUCCESS))
    {
        struct stat info;
        // A hive folder that is a link is the administrator's choice; levels below never are.
        if (::stat(baseFolder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
            return create ? ERROR_ACCESS_DENIED : ERROR_FILE_NOT_FOUND;
    }
    std::string current = baseFolder;
    std::size_t start = 0;
    while (start <= path.size())
    {
        std::size_t end = path.find('\\', start);
        if (end == std::string::npos)
            end = path.size();
        const std::string level = path.substr(start, end - start);
        start = end + 1;
        if (level.empty())
            continue;
        const std::string encoded = EncodeName(level);
        if (encoded.size() > 255)
            return ERROR_INVALID_PARAMETER;
        std::string next = current + "/" + encoded;
        if (!IsFolder(next))
        {
            bool found = false;
            for (const std::string& entry : Entries(current))
            {
                if (entry[0] != '.' && SameName(DecodeName(entry), level) &&
                    IsFolder(current + "/" + entry))
                {
                    next = current + "/" + entry;
                    found = true;
                    break;
                }
            }
            if (!found)
            {
                if (!create)
                    return ERROR_FILE_NOT_FOUND;
                if (::mkdir(next.c_str(), 0755) != 0 && errno != EEXIST)
                    return FromErrno(errno);
                if (!IsFolder(next))
                    return ERROR_ACCESS_DENIED;
                if (created)
                    *created = true;
            }
        }
        current = next;
    }
    folder = current;
    return ERROR_SUCCESS;
}

std::vector<SRegValue> CFileRegistry::ReadValues(const std::string& folder)
{
    std::string bytes;
    std::vector<SRegSection> sections;
    if (!ReadWhole(folder + "/" + k_szValueFile, bytes) || !CRegFile::Parse(bytes, sections) ||
        sections.empty())
        return {};
    std::vector<SRegValue> values;
    std::unordered_map<std::string, std::size_t> index;
    for (SRegValue& value : sections.front().m_oValues)
    {
        if (value.m_bDelete)
            continue;
        std::string folded = value.m_sName;
        std::transform(folded.begin(), folded.end(), folded.begin(), Fold);
        // A later line for the same name wins, as on import.
        const auto found = index.emplace(folded, values.size());
        if (found.second)
            values.push_back(std::move(value));
        else
            values[found.first->second] = std::move(value);
    }
    return values;
}

SRegValue* CFileRegistry::FindValue(std::vector<SRegValue>& values, const std::string& name)
{
    for (SRegValue& value : values)
        if (SameName(value.m_sName, name))
            return &value;
    return nullptr;
}

LONG CFileRegistry::UpdateValues(const std::string& folder, const std::string& keyName,
                                 const boost::function<bool(std::vector<SRegValue>&)>& change)
{
    const std::string lockPath = folder + "/" + k_szLockFile;
    const int lock = ::open(lockPath.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (lock < 0)
        return FromErrno(errno);
    while (::flock(lock, LOCK_EX) != 0 && errno == EINTR)
    {
    }
    struct SUnlock
    {
        int m_iFd;
        ~SUnlock() { ::close(m_iFd); }
    } unlock{lock};

    // Temporary files left behind by killed writers: no live writer has one while we hold the
    // lock.
    for (const std::string& entry : Entries(folder))
        if (entry.compare(0, sizeof k_szTempPrefix - 1, k_szTempPrefix) == 0)
            ::unlink((folder + "/" + entry).c_str());

    std::vector<SRegValue> values = ReadValues(folder);
    if (!change(values))
        return ERROR_SUCCESS;
    std::vector<SRegSection> sections{SRegSection{keyName, false, values}};
    const std::string text = CRegFile::Write(sections);

    const std::string target = folder + "/" + k_szValueFile;
    std::string temp = folder + "/" + k_szTempPrefix + "XXXXXX";
    const int fd = ::mkostemp(&temp[0], O_CLOEXEC);
    if (fd < 0)
        return FromErrno(errno);
    struct stat old;
    // The old file's permissions survive the rewrite, so a granted key stays granted.
    const mode_t mode = ::lstat(target.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644;
    bool written = ::fchmod(fd, mode) == 0 && WriteWhole(fd, text) && ::fsync(fd) == 0;
    const int error = errno;
    written = (::close(fd) == 0) && written;
    if (!written || ::rename(temp.c_str(), target.c_str()) != 0)
    {
        const int failure = written ? errno : error;
        ::unlink(temp.c_str());
        return FromErrno(failure ? failure : EIO);
    }
    // The folder is not flushed: after a power cut the rename may be lost, which leaves the old
    // file whole, and a flush there would double the cost of every write.
    return ERROR_SUCCESS;
}

std::vector<std::string> CFileRegistry::SubKeys(const std::string& folder)
{
    std::vector<std::string> names;
    for (const std::string& entry : Entries(folder))
        if (entry[0] != '.' && IsFolder(folder + "/" + entry))
            names.push_back(DecodeName(entry));
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b)
              {
                  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                                      [](char x, char y)
                                                      { return Fold(x) < Fold(y); });
              });
    return names;
}

LONG CFileRegistry::DeleteTree(const std::string& folder)
{
    for (const std::string& entry : Entries(folder))
    {
        if (entry == "." || entry == "..")
            continue;
        const std::string path = folder + "/" + entry;
        if (IsFolder(path))
        {
            const LONG status = DeleteTree(path);
            if (status != ERROR_SUCCESS)
                return status;
        }
        else if (::unlink(path.c_str()) != 0)
            return FromErrno(errno);
    }
    return ::rmdir(folder.c_str()) == 0 ? ERROR_SUCCESS : FromErrno(errno);
}

} // namespace Platform
} // namespace CppUtil
