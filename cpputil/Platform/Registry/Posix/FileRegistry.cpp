#include "FileRegistry.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <list>
#include <map>
#include <mutex>
#include <pthread.h>
#include <sys/file.h>
#include <sys/random.h>
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
const char k_szJournalFile[] = ".values.journal";
const char k_szFileHeader[] = "Windows Registry Editor Version 5.00\n";
const char k_szJournalHeader[] = "Windows Registry Editor Version 5.00\n\n; generation ";
// The journal is folded into the value file once it is larger than both this and the file: a
// fold flushes the disk, which costs milliseconds, and a process's first read of the key parses
// the whole journal.
const off_t k_lMinJournal = 512 * 1024;
// Keys whose values (and key folders found) one process keeps in memory, and the size of the files
// they were read from; past either it forgets the keys it used least recently. Bounded by size
// rather than by a small count, a large key in use is not read again because many small ones are.
const std::size_t k_uMaxCachedKeys = 4096;
const std::size_t k_uMaxCachedBytes = 32 * 1024 * 1024;

// Names are in the ANSI code page, Windows-1252, and fold as Windows folds them: every letter
// with a partner of the other case there, not only ASCII's (the multiplication sign between the
// capitals is not one).
char Fold(char ch)
{
    const unsigned char code = static_cast<unsigned char>(ch);
    if ((code >= 'A' && code <= 'Z') || (code >= 0xC0 && code <= 0xDE && code != 0xD7))
        return static_cast<char>(code + 0x20);
    switch (code)
    {
    case 0x8A: // S, O E and Z with caron or ligature, and Y with diaeresis
    case 0x8C:
    case 0x8E:
        return static_cast<char>(code + 0x10);
    case 0x9F:
        return static_cast<char>(0xFF);
    default:
        return ch;
    }
}

bool IsFolder(const std::string& path)
{
    struct stat info;
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// The Win32 code of the same meaning for a failure the file system reports: the number itself
// would be read as a Win32 code and given another code's text (ENOSPC is 28, "out of paper").
LONG FromErrno(int error)
{
    static const int k_aiErrors[][2] = {
        {ENOENT, ERROR_FILE_NOT_FOUND},      {ENOTDIR, ERROR_PATH_NOT_FOUND},
        {EMFILE, ERROR_TOO_MANY_OPEN_FILES}, {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
        {EACCES, ERROR_ACCESS_DENIED},       {EPERM, ERROR_ACCESS_DENIED},
        {EISDIR, ERROR_ACCESS_DENIED},       {EBADF, ERROR_INVALID_HANDLE},
        {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},   {EXDEV, ERROR_NOT_SAME_DEVICE},
        {EROFS, ERROR_WRITE_PROTECT},        {EINVAL, ERROR_INVALID_PARAMETER},
        {ENOSPC, ERROR_DISK_FULL},           {EDQUOT, ERROR_DISK_FULL},
        {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},    {EBUSY, ERROR_BUSY},
        {EEXIST, ERROR_ALREADY_EXISTS},      {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
    };
    for (const auto& pair : k_aiErrors)
    {
        if (pair[0] == error)
            return pair[1];
    }
    return ERROR_GEN_FAILURE;
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

struct SCloser
{
    int m_iFd;
    ~SCloser() { ::close(m_iFd); }
};

std::mutex s_oCacheMutex;
// The descriptors of the key locks open in this process. A lock belongs to its open file, which a
// child made by fork shares: the child closes its copies, or it would hold the lock as long as it
// lives. Opened and closed under s_oLockFdsMutex, so that no fork falls between.
std::mutex s_oLockFdsMutex;
std::vector<int> s_oLockFds;

// The key's lock, held from construction to destruction: serialises writers in all processes.
class CKeyLock
{
public:
    explicit CKeyLock(const std::string& folder) : m_iFd(-1), m_lStatus(ERROR_SUCCESS)
    {
        {
            std::lock_guard<std::mutex> guard(s_oLockFdsMutex);
            m_iFd = ::open((folder + "/" + k_szLockFile).c_str(),
                           O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
            if (m_iFd >= 0)
                s_oLockFds.push_back(m_iFd);
            else
                m_lStatus = FromErrno(errno);
        }
        if (m_iFd >= 0)
            while (::flock(m_iFd, LOCK_EX) != 0 && errno == EINTR)
            {
            }
    }
    ~CKeyLock()
    {
        if (m_iFd < 0)
            return;
        // A child made by fork while this lock was held has closed it already.
        std::lock_guard<std::mutex> guard(s_oLockFdsMutex);
        const auto found = std::find(s_oLockFds.begin(), s_oLockFds.end(), m_iFd);
        if (found == s_oLockFds.end())
            return;
        s_oLockFds.erase(found);
        ::close(m_iFd);
    }
    CKeyLock(const CKeyLock&) = delete;
    CKeyLock& operator=(const CKeyLock&) = delete;
    LONG Status() const { return m_lStatus; }

private:
    int m_iFd;
    LONG m_lStatus;
};

// What tells one version of a file from another without reading it.
struct SStamp
{
    SStamp() : m_bExists(false), m_uDevice(0), m_uInode(0), m_lSize(0), m_oModified{}, m_oChanged{}
    {
    }
    explicit SStamp(const struct stat& info)
        : m_bExists(true), m_uDevice(info.st_dev), m_uInode(info.st_ino), m_lSize(info.st_size),
          m_oModified(info.st_mtim), m_oChanged(info.st_ctim)
    {
    }
    bool SameFile(const SStamp& other) const
    {
        return m_bExists && other.m_bExists && m_uDevice == other.m_uDevice &&
               m_uInode == other.m_uInode;
    }
    bool operator==(const SStamp& other) const
    {
        return m_bExists == other.m_bExists &&
               (!m_bExists || (SameFile(other) && m_lSize == other.m_lSize &&
                               m_oModified.tv_sec == other.m_oModified.tv_sec &&
                               m_oModified.tv_nsec == other.m_oModified.tv_nsec &&
                               m_oChanged.tv_sec == other.m_oChanged.tv_sec &&
                               m_oChanged.tv_nsec == other.m_oChanged.tv_nsec));
    }

    bool m_bExists;
    dev_t m_uDevice;
    ino_t m_uInode;
    off_t m_lSize;
    timespec m_oModified;
    timespec m_oChanged;
};

SStamp StampOf(const std::string& path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 ? SStamp(info) : SStamp();
}

// Reads fd from offset up to size, or less at the end of the file; bytes gets what was read.
void ReadAt(int fd, off_t offset, off_t size, std::string& bytes)
{
    bytes.resize(size > offset ? static_cast<std::size_t>(size - offset) : 0);
    std::size_t done = 0;
    while (done < bytes.size())
    {
        const ssize_t count =
            ::pread(fd, &bytes[done], bytes.size() - done, offset + static_cast<off_t>(done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    bytes.resize(done);
}

// The bytes of a file from offset on, and the stamp of what was read.
bool ReadFrom(const std::string& path, off_t offset, std::string& bytes, SStamp& stamp)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return false;
    SCloser closer{fd};
    struct stat info;
    if (::fstat(fd, &info) != 0)
        return false;
    stamp = SStamp(info);
    ReadAt(fd, offset, info.st_size, bytes);
    return true;
}

std::string Folded(const std::string& name)
{
    std::string folded = name;
    std::transform(folded.begin(), folded.end(), folded.begin(), Fold);
    return folded;
}

std::string Checksum(const std::string& bytes)
{
    // FNV-1a: enough to tell a whole record from a torn or overwritten one.
    unsigned long long hash = 0xcbf29ce484222325ull;
    for (char ch : bytes)
        hash = (hash ^ static_cast<unsigned char>(ch)) * 0x100000001b3ull;
    char text[20];
    std::snprintf(text, sizeof text, "; %016llx", hash);
    return text;
}

// A journal record: the value's lines as the value file has them, then a line with their
// checksum. A record without its checksum line, or with a wrong one, is not applied.
std::string Record(const SRegValue& value)
{
    const std::string lines = CRegFile::WriteValue(value);
    return lines + Checksum(lines) + "\n";
}

// One process's copy of a key's values, and the versions of the files it was read from.
struct SKeyCache
{
    SKeyCache() : m_lJournalEnd(0), m_lFoldAt(0), m_bLoaded(false) {}

    SStamp m_oValuesFile;
    SStamp m_oJournal;
    std::string m_sJournalHeader; // empty when the key has no usable journal
    off_t m_lJournalEnd;          // the end of the last record read
    off_t m_lFoldAt;              // after a failed fold, the journal size to try again at
    bool m_bLoaded;
    std::vector<SRegValue> m_oValues;
    std::unordered_map<std::string, std::size_t> m_oIndex; // folded name -> position
};

// At most k_uMaxCachedKeys entries by name, weighing k_uMaxCachedBytes together: the entries used
// least recently make room.
template <class T>
class CRecentMap
{
public:
    CRecentMap() : m_uWeight(0) {}

    // The entry for name, default-made when missing; it becomes the most recently used.
    T& operator[](const std::string& name)
    {
        if (T* entry = Find(name))
            return *entry;
        if (m_oEntries.size() >= k_uMaxCachedKeys)
            Erase(m_oOrder.back());
        m_oOrder.push_front(name);
        SEntry& entry = m_oEntries[name];
        entry.m_itOrder = m_oOrder.begin();
        return entry.m_oValue;
    }
    T* Find(const std::string& name)
    {
        const auto found = m_oEntries.find(name);
        if (found == m_oEntries.end())
            return nullptr;
        m_oOrder.splice(m_oOrder.begin(), m_oOrder, found->second.m_itOrder);
        return &found->second.m_oValue;
    }
    // Sets the weight of name's entry, and forgets others while the whole weighs too much.
    void Weigh(const std::string& name, std::size_t weight)
    {
        const auto found = m_oEntries.find(name);
        if (found == m_oEntries.end())
            return;
        m_uWeight = m_uWeight - found->second.m_uWeight + weight;
        found->second.m_uWeight = weight;
        while (m_uWeight > k_uMaxCachedBytes && m_oOrder.back() != name)
            Erase(m_oOrder.back());
    }
    void Erase(const std::string& name)
    {
        const auto found = m_oEntries.find(name);
        if (found == m_oEntries.end())
            return;
        m_uWeight -= found->second.m_uWeight;
        m_oOrder.erase(found->second.m_itOrder);
        m_oEntries.erase(found);
    }

private:
    struct SEntry
    {
        SEntry() : m_oValue(), m_uWeight(0) {}

        T m_oValue;
        std::size_t m_uWeight;
        std::list<std::string>::iterator m_itOrder;
    };

    std::list<std::string> m_oOrder; // most recently used first
    std::unordered_map<std::string, SEntry> m_oEntries;
    std::size_t m_uWeight;
};

CRecentMap<SKeyCache> s_oCaches;
// Key folders found by FindKey: base folder, NUL, folded path -> folder and its identity.
CRecentMap<std::pair<std::string, SStamp>> s_oFolders;
// The keys this process has written and not flushed since, by hive: folder -> key name. A flush
// takes all of its hive's along, as Windows flushes the whole hive.
std::map<HKEY, std::map<std::string, std::string>> s_oUnflushed;

// A fork waits until no thread of the process is inside the cache or opening or closing a key
// lock, so that the child finds both mutexes free and knows every lock descriptor it shares.
const int s_iAtFork = ::pthread_atfork(
    []
    {
        s_oCacheMutex.lock();
        s_oLockFdsMutex.lock();
    },
    []
    {
        s_oLockFdsMutex.unlock();
        s_oCacheMutex.unlock();
    },
    []
    {
        for (int fd : s_oLockFds)
            ::close(fd);
        s_oLockFds.clear();
        s_oLockFdsMutex.unlock();
        s_oCacheMutex.unlock();
    });

void Apply(SKeyCache& cache, const SRegValue& value)
{
    const std::string folded = Folded(value.m_sName);
    const auto found = cache.m_oIndex.find(folded);
    if (value.m_bDelete)
    {
        if (found == cache.m_oIndex.end())
            return;
        cache.m_oValues.erase(cache.m_oValues.begin() + static_cast<std::ptrdiff_t>(found->second));
        cache.m_oIndex.clear();
        for (std::size_t i = 0; i < cache.m_oValues.size(); ++i)
            cache.m_oIndex.emplace(Folded(cache.m_oValues[i].m_sName), i);
    }
    else if (found != cache.m_oIndex.end())
    {
        // The name keeps the spelling it was first written with.
        SRegValue& existing = cache.m_oValues[found->second];
        existing.m_dwType = value.m_dwType;
        existing.m_oData = value.m_oData;
    }
    else
    {
        cache.m_oIndex.emplace(folded, cache.m_oValues.size());
        cache.m_oValues.push_back(value);
    }
}

// Applies the whole records in bytes; returns the end of the last one.
std::size_t ApplyRecords(SKeyCache& cache, const std::string& bytes)
{
    std::size_t end = 0;
    std::size_t line = 0;
    while (line < bytes.size())
    {
        const std::size_t lineEnd = bytes.find('\n', line);
        if (lineEnd == std::string::npos)
            break;
        if (bytes[line] == ';')
        {
            const std::string lines = bytes.substr(end, line - end);
            std::vector<SRegSection> sections;
            if (bytes.compare(line, lineEnd - line, Checksum(lines)) == 0 &&
                CRegFile::Parse(k_szFileHeader + lines, sections) && sections.size() == 1 &&
                sections[0].m_oValues.size() == 1)
                Apply(cache, sections[0].m_oValues[0]);
            end = lineEnd + 1;
        }
        line = lineEnd + 1;
    }
    return end;
}

std::size_t JournalHeaderSize()
{
    return sizeof k_szJournalHeader - 1 + 17;
}

bool IsJournalHeader(const std::string& bytes)
{
    return bytes.size() >= JournalHeaderSize() &&
           bytes.compare(0, sizeof k_szJournalHeader - 1, k_szJournalHeader) == 0 &&
           bytes[JournalHeaderSize() - 1] == '\n';
}

// Only what was appended since the last read; false when the journal is not the one read then.
// Every fold gives the new journal a generation of its own, read here on every call: file
// identity, size and times cannot tell a new journal from the old one where the file system
// hands a freed inode number on and keeps times to the second.
bool ReadJournalTail(const std::string& path, SKeyCache& cache)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return false;
    SCloser closer{fd};
    struct stat info;
    std::string header;
    if (::fstat(fd, &info) != 0 || info.st_size < cache.m_lJournalEnd)
        return false;
    ReadAt(fd, 0, static_cast<off_t>(JournalHeaderSize()), header);
    if (header != cache.m_sJournalHeader)
        return false;
    // The journal only grows until a fold replaces it; a torn record seen at its end is read
    // again until the next writer cuts it off.
    if (info.st_size > cache.m_lJournalEnd)
    {
        std::string tail;
        ReadAt(fd, cache.m_lJournalEnd, info.st_size, tail);
        cache.m_lJournalEnd += static_cast<off_t>(ApplyRecords(cache, tail));
    }
    cache.m_oJournal = SStamp(info);
    return true;
}

// The cache of folder, weighed by the size of the files it was read from.
SKeyCache& Weighed(const std::string& folder, SKeyCache& cache)
{
    s_oCaches.Weigh(folder, static_cast<std::size_t>(cache.m_oValuesFile.m_lSize) +
                                static_cast<std::size_t>(cache.m_lJournalEnd));
    return cache;
}

// The key's values as they are now, read again only as far as the files changed.
SKeyCache& Refreshed(const std::string& folder)
{
    SKeyCache& cache = s_oCaches[folder];
    const std::string valuesPath = folder + "/" + k_szValueFile;
    const std::string journalPath = folder + "/" + k_szJournalFile;
    // A value file changed by hand is read again; one replaced by a fold comes with a new journal.
    if (cache.m_bLoaded && StampOf(valuesPath) == cache.m_oValuesFile)
    {
        if (cache.m_sJournalHeader.empty()
                ? !cache.m_oJournal.m_bExists && !StampOf(journalPath).m_bExists
                : ReadJournalTail(journalPath, cache))
            return Weighed(folder, cache);
    }

    // The journal first: a value file replaced after it was opened already holds its records.
    const off_t foldAt = cache.m_lFoldAt;
    cache = SKeyCache();
    cache.m_bLoaded = true;
    cache.m_lFoldAt = foldAt;
    std::string journalBytes;
    ReadFrom(journalPath, 0, journalBytes, cache.m_oJournal);
    std::string bytes;
    std::vector<SRegSection> sections;
    if (ReadFrom(valuesPath, 0, bytes, cache.m_oValuesFile) && CRegFile::Parse(bytes, sections) &&
        !sections.empty())
    {
        // A later line for the same name wins, as on import.
        for (const SRegValue& value : sections.front().m_oValues)
            if (!value.m_bDelete)
                Apply(cache, value);
    }
    if (IsJournalHeader(journalBytes))
    {
        cache.m_sJournalHeader = journalBytes.substr(0, JournalHeaderSize());
        cache.m_lJournalEnd = static_cast<off_t>(
            JournalHeaderSize() + ApplyRecords(cache, journalBytes.substr(JournalHeaderSize())));
    }
    return Weighed(folder, cache);
}

// Writes bytes to a new file beside target and renames it over target, keeping target's
// permissions so that a granted key stays granted.
LONG ReplaceFile(const std::string& folder, const std::string& target, const std::string& bytes,
                 mode_t mode, bool flush)
{
    std::string temp = folder + "/" + k_szTempPrefix + "XXXXXX";
    const int fd = ::mkostemp(&temp[0], O_CLOEXEC);
    if (fd < 0)
        return FromErrno(errno);
    bool written = ::fchmod(fd, mode) == 0 && WriteWhole(fd, bytes) && (!flush || ::fsync(fd) == 0);
    const int error = errno;
    written = (::close(fd) == 0) && written;
    if (!written || ::rename(temp.c_str(), target.c_str()) != 0)
    {
        const int failure = written ? errno : error;
        ::unlink(temp.c_str());
        return FromErrno(failure ? failure : EIO);
    }
    return ERROR_SUCCESS;
}

// Under the key's lock: values become the value file and the journal starts again empty. The
// value file is flushed before it replaces the old one, so that even a system crash leaves the
// old file or the new one; flushFolder makes the renames themselves last.
LONG Compact(const std::string& folder, const std::string& keyName, std::vector<SRegValue> values,
             bool flushFolder)
{
    // Temporary files left behind by killed writers: no live writer has one while we hold the
    // lock.
    for (const std::string& entry : Entries(folder))
        if (entry.compare(0, sizeof k_szTempPrefix - 1, k_szTempPrefix) == 0)
            ::unlink((folder + "/" + entry).c_str());

    const std::string valuesPath = folder + "/" + k_szValueFile;
    const std::string journalPath = folder + "/" + k_szJournalFile;
    // A key's first files are as open as its folder, without the search bits: written first by
    // one user, a key granted to everyone stays writable by the others.
    struct stat old;
    const mode_t mode = ::lstat(valuesPath.c_str(), &old) == 0 || ::stat(folder.c_str(), &old) == 0
                            ? (old.st_mode & (S_ISDIR(old.st_mode) ? 0666 : 07777))
                            : 0644;
    LONG status = ReplaceFile(folder, valuesPath,
                              CRegFile::Write({SRegSection{keyName, false, values}}), mode, true);
    // A new generation tells readers that the journal they read from is gone, even when the new
    // one gets the old one's inode number, size and times: random, so that no process, nor a key
    // deleted and made again, meets one it has seen.
    timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    static unsigned int s_uCounter = 0;
    unsigned long long number = (static_cast<unsigned long long>(now.tv_sec) << 32) ^
                                static_cast<unsigned long long>(now.tv_nsec) ^
                                (static_cast<unsigned long long>(::getpid()) << 44) ^ ++s_uCounter;
    unsigned long long random = 0;
    if (::getrandom(&random, sizeof random, GRND_NONBLOCK) == static_cast<ssize_t>(sizeof random))
        number ^= random;
    char generation[20];
    std::snprintf(generation, sizeof generation, "%016llx\n", number);
    const std::string header = k_szJournalHeader + std::string(generation);
    if (status == ERROR_SUCCESS)
        status = ReplaceFile(folder, journalPath, header, mode, false);
    if (status == ERROR_SUCCESS && flushFolder)
    {
        const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0 || ::fsync(fd) != 0)
            status = FromErrno(errno);
        if (fd >= 0)
            ::close(fd);
    }
    // The copy in memory stays good: the next read compares it with the files as they are.
    if (status != ERROR_SUCCESS)
        return status;
    // This process knows what it wrote: it need not read it back.
    SKeyCache& cache = s_oCaches[folder];
    cache = SKeyCache();
    cache.m_bLoaded = true;
    for (const SRegValue& value : values)
        Apply(cache, value);
    cache.m_oValuesFile = StampOf(valuesPath);
    cache.m_oJournal = StampOf(journalPath);
    cache.m_sJournalHeader = header;
    cache.m_lJournalEnd = static_cast<off_t>(header.size());
    return ERROR_SUCCESS;
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

HKEY CFileRegistry::HiveOf(const std::string& keyName)
{
    return HiveByName(keyName.substr(0, keyName.find('\\')));
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
    // A key found before is still the same folder when that folder has the same identity: a
    // level replaced since (by a link, say) would lead to another folder.
    const std::string lookup = baseFolder + '\0' + Folded(path);
    {
        std::lock_guard<std::mutex> guard(s_oCacheMutex);
        const auto* found = s_oFolders.Find(lookup);
        struct stat info;
        if (found && ::lstat(found->first.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
            SStamp(info).SameFile(found->second))
        {
            folder = found->first;
            return ERROR_SUCCESS;
        }
    }
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
    struct stat info;
    if (::lstat(folder.c_str(), &info) == 0)
    {
        std::lock_guard<std::mutex> guard(s_oCacheMutex);
        s_oFolders[lookup] = std::make_pair(folder, SStamp(info));
    }
    return ERROR_SUCCESS;
}

std::vector<SRegValue> CFileRegistry::ReadValues(const std::string& folder)
{
    std::lock_guard<std::mutex> guard(s_oCacheMutex);
    return Refreshed(folder).m_oValues;
}

bool CFileRegistry::QueryValue(const std::string& folder, const std::string& name, SRegValue& value)
{
    std::lock_guard<std::mutex> guard(s_oCacheMutex);
    const SKeyCache& cache = Refreshed(folder);
    const auto found = cache.m_oIndex.find(Folded(name));
    if (found == cache.m_oIndex.end())
        return false;
    value = cache.m_oValues[found->second];
    return true;
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
    CKeyLock lock(folder);
    if (lock.Status() != ERROR_SUCCESS)
        return lock.Status();
    // The key's lock keeps every other writer out while change runs, which may take long (it may
    // ask the user); readers in this process need not wait for it.
    std::vector<SRegValue> values = ReadValues(folder);
    if (!change(values))
        return ERROR_SUCCESS;
    std::lock_guard<std::mutex> guard(s_oCacheMutex);
    const LONG status = Compact(folder, keyName, values, false);
    if (status == ERROR_SUCCESS)
        s_oUnflushed[HiveOf(keyName)][folder] = keyName;
    return status;
}

LONG CFileRegistry::WriteValue(const std::string& folder, const std::string& keyName,
                               const SRegValue& value)
{
    CKeyLock lock(folder);
    if (lock.Status() != ERROR_SUCCESS)
        return lock.Status();
    std::lock_guard<std::mutex> guard(s_oCacheMutex);
    SKeyCache* cache = &Refreshed(folder);
    if (value.m_bDelete && cache->m_oIndex.count(Folded(value.m_sName)) == 0)
        return ERROR_FILE_NOT_FOUND;
    const std::string journal = folder + "/" + k_szJournalFile;
    if (cache->m_sJournalHeader.empty())
    {
        // A key written before it had a journal, or one whose journal was lost.
        const LONG status = Compact(folder, keyName, cache->m_oValues, false);
        if (status != ERROR_SUCCESS)
            return status;
        cache = &Refreshed(folder);
    }
    const int fd = ::open(journal.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0)
        return FromErrno(errno);
    SCloser closer{fd};
    // What a killed writer left after the last whole record would run into this one.
    if (cache->m_oJournal.m_lSize != cache->m_lJournalEnd &&
        ::ftruncate(fd, cache->m_lJournalEnd) != 0)
        return FromErrno(errno);
    const std::string record = Record(value);
    if (!WriteWhole(fd, record))
    {
        const int error = errno;
        ::ftruncate(fd, cache->m_lJournalEnd);
        return FromErrno(error ? error : EIO);
    }
    Apply(*cache, value);
    s_oUnflushed[HiveOf(keyName)][folder] = keyName;
    cache->m_lJournalEnd += static_cast<off_t>(record.size());
    cache->m_oJournal.m_lSize = cache->m_lJournalEnd;
    // Folding costs a rewrite of the value file: done once the journal has grown as large, it
    // costs each write no more than a constant share.
    const off_t end = cache->m_lJournalEnd;
    if (end > std::max({k_lMinJournal, cache->m_oValuesFile.m_lSize, cache->m_lFoldAt}) &&
        Compact(folder, keyName, cache->m_oValues, false) != ERROR_SUCCESS)
    {
        // The record has landed and other processes may have read it already, so the write has
        // succeeded; the fold only saves later reads work. Tried again once the journal has
        // doubled, a full disk costs each write no more than before.
        Refreshed(folder).m_lFoldAt = 2 * end;
    }
    return ERROR_SUCCESS;
}

LONG CFileRegistry::Flush(HKEY hive)
{
    std::map<std::string, std::string> keys;
    {
        std::lock_guard<std::mutex> guard(s_oCacheMutex);
        keys.swap(s_oUnflushed[hive]);
    }
    LONG result = ERROR_SUCCESS;
    for (const auto& key : keys)
    {
        // A key deleted since holds nothing to keep.
        if (!IsFolder(key.first))
            continue;
        CKeyLock lock(key.first);
        LONG status = lock.Status();
        std::lock_guard<std::mutex> guard(s_oCacheMutex);
        if (status == ERROR_SUCCESS)
            status = Compact(key.first, key.second, Refreshed(key.first).m_oValues, true);
        if (status != ERROR_SUCCESS)
        {
            // Still to be flushed next time; the first failure is the one reported.
            s_oUnflushed[hive].insert(key);
            if (result == ERROR_SUCCESS)
                result = status;
        }
    }
    return result;
}

std::vector<std::string> CFileRegistry::SubKeys(const std::string& folder)
{
    std::vector<std::string> names;
    for (const std::string& entry : Entries(folder))
        if (entry[0] != '.' && IsFolder(folder + "/" + entry))
            names.push_back(DecodeName(entry));
    // In the order Windows gives them: by the UTF-16 code units of the names in lower case.
    std::sort(names.begin(), names.end(),
              [](const std::string& a, const std::string& b)
              {
                  return std::lexicographical_compare(
                      a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y)
                      { return CRegFile::Wide(Fold(x)) < CRegFile::Wide(Fold(y)); });
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
