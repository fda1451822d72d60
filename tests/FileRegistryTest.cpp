// The POSIX file registry: names that try to leave the hive, damaged files, killed and
// concurrent writers, and the registry editor's file format.
#include "RegistrySandbox.h"
#include "ScratchFolder.h"

#include <cpputil/CppUtil.Text.Output.h>
#include <cpputil/Platform/Registry/CRegKey.h>
#include <cpputil/Platform/Registry/Posix/FileRegistry.h>
#include <cpputil/RegistryValue.h>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using CppUtil::Platform::CFileRegistry;
using CppUtil::Platform::CRegFile;
using CppUtil::Platform::CRegKey;
using CppUtil::Platform::SRegSection;
using CppUtil::Platform::SRegValue;
using CppUtil::Settings::CRegistryValue;

namespace
{

CString Load(const CString& section, const char* name, const CString& defaultValue)
{
    return CRegistryValue<CString>(CppUtil::Text::DefaultOutput(), HKEY_CURRENT_USER, section, name,
                                   defaultValue, true, false, true)
        .GetValue();
}

void Store(const CString& section, const char* name, const CString& value)
{
    CRegistryValue<CString>(CppUtil::Text::DefaultOutput(), HKEY_CURRENT_USER, section, name, "",
                            true, false, false)
        .SetValue(value);
}

// The folder of a key.
std::string KeyFolder(const std::string& key, bool create = false, HKEY hive = HKEY_CURRENT_USER)
{
    std::string folder;
    EXPECT_EQ(ERROR_SUCCESS,
              CFileRegistry::FindKey(CFileRegistry::HiveFolder(hive), key, create, folder));
    return folder;
}

// A file of a key: its values, or the journal of writes not yet folded.
std::string KeyFile(const std::string& key, const char* name = ".values.reg",
                    HKEY hive = HKEY_CURRENT_USER)
{
    return KeyFolder(key, false, hive) + "/" + name;
}

LONG CreateKey(CRegKey& key, const std::string& path, HKEY hive = HKEY_CURRENT_USER)
{
    return key.Create(hive, path.c_str(), nullptr, 0, KEY_ALL_ACCESS, nullptr, nullptr);
}

// Starts body in a child process, which exits with what it returns.
pid_t Spawn(const std::function<int()>& body)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(body());
    return child;
}

// The child's exit status, or -1 when it did not exit by itself.
int Reap(pid_t child)
{
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

int InChild(const std::function<int()>& body)
{
    return Reap(Spawn(body));
}

std::string Text(const std::vector<unsigned char>& data)
{
    return std::string(data.begin(), data.end());
}

// Writes count values name0... of one key, each with the text prefix + index.
void WriteValues(const std::string& key, const std::string& prefix, int first, int count)
{
    CRegKey registry;
    if (CreateKey(registry, key) != ERROR_SUCCESS)
        ::_exit(3);
    for (int i = first; i < first + count; ++i)
        if (registry.SetStringValue(("name" + std::to_string(i)).c_str(),
                                    (prefix + std::to_string(i)).c_str()) != ERROR_SUCCESS)
            ::_exit(4);
}

bool g_bTimeless = false;

// While one lives, this process (the registry in it included) sees a file system that keeps no
// file times, as one that keeps them to the second sees files written within one second.
struct STimeless
{
    STimeless() { g_bTimeless = true; }
    ~STimeless() { g_bTimeless = false; }
};

int Timeless(int result, struct stat* info)
{
    if (g_bTimeless)
        info->st_mtim = info->st_ctim = info->st_atim = timespec{};
    return result;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int stat(const char* __restrict path,
                                                           struct stat* __restrict info) noexcept
{
    return Timeless(::fstatat(AT_FDCWD, path, info, 0), info);
}

extern "C" __attribute__((visibility("default"))) int lstat(const char* __restrict path,
                                                            struct stat* __restrict info) noexcept
{
    return Timeless(::fstatat(AT_FDCWD, path, info, AT_SYMLINK_NOFOLLOW), info);
}

extern "C" __attribute__((visibility("default"))) int fstat(int fd, struct stat* info) noexcept
{
    return Timeless(::fstatat(fd, "", info, AT_EMPTY_PATH), info);
}

TEST(FileRegistryTest, HostileNamesStayInsideTheirHive)
{
    CRegistrySandbox sandbox;
    const std::vector<std::string> names = {"..",          "..\\..\\..\\..\\escape",
                                            "a/../../b",   "/etc",
                                            ".",           "%2E%2E",
                                            "x\x01y\x7f",  ".lock",
                                            ".values.reg", "MiXed%2F"};
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        Store(names[i].c_str(), "../../v", ("data" + std::to_string(i)).c_str());
        Store(names[i].c_str(), "/etc/passwd", names[i].c_str());
    }
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        EXPECT_EQ(CString(("data" + std::to_string(i)).c_str()),
                  Load(names[i].c_str(), "../../V", ""))
            << names[i];
        EXPECT_EQ(CString(names[i].c_str()), Load(names[i].c_str(), "/ETC/passwd", ""));
    }
    // Everything is below the hive, and the hive's own key files were not taken over.
    std::size_t entries = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(sandbox.Root()))
    {
        EXPECT_THAT(entry.path().string(),
                    ::testing::StartsWith(sandbox.Root() + "/HKEY_CURRENT_USER"));
        ++entries;
    }
    EXPECT_GT(entries, names.size());
    EXPECT_EQ(CString(""), Load("..\\..", "../../v", ""));
    EXPECT_EQ(CString("data9"), Load("mixed%2f", "../../v", ""));

    // A value name with line breaks is escaped in the key's file and read back whole.
    const char* const broken = "line\nbreak\r\"q\"";
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(key, sandbox.KeyPath("Breaks").GetString()));
    ASSERT_EQ(ERROR_SUCCESS, key.SetStringValue(broken, "kept"));
    ASSERT_EQ(ERROR_SUCCESS, key.Flush());
    std::vector<SRegSection> sections;
    ASSERT_TRUE(CRegFile::Parse(ReadAll(KeyFile(sandbox.KeyPath("Breaks").GetString())), sections));
    ASSERT_EQ(1u, sections.size());
    ASSERT_EQ(1u, sections[0].m_oValues.size());
    EXPECT_EQ(broken, sections[0].m_oValues[0].m_sName);
    EXPECT_THAT(Text(sections[0].m_oValues[0].m_oData), ::testing::StartsWith("kept"));
}

TEST(FileRegistryTest, DamagedValueFilesReadAsDefaultsAndAreRepaired)
{
    CRegistrySandbox sandbox;
    const CString section = sandbox.Section("Damaged");
    const std::vector<std::string> damages = {
        "Windows Registry Editor Version "
        "5.00\n\n[HKEY_CURRENT_USER\\x]\n\"Keep\"=\"kept\"\n\"Lost\"=\"trunc",
        "Windows Registry Editor Version "
        "5.00\n\n[k]\n\"Keep\"=\"kept\"\n\"Lost\"=dword:zz\n\"Lost\"=hex(7):6",
        "Windows Registry Editor Version 5.00\n\"Keep\"=\"kept\"\n\"Lost\"=hex:1,2,\\",
        "just some text\n\"Lost\"=\"x\"\n",
        std::string("\0\xff\xfe\x01garbage", 11),
        "",
        std::string("\xFF\xFEW\0i\0", 6)};
    for (std::size_t i = 0; i < damages.size(); ++i)
    {
        Store(section, "Keep", "kept");
        CRegKey key;
        ASSERT_EQ(ERROR_SUCCESS,
                  key.Open(HKEY_CURRENT_USER, sandbox.KeyPath("Damaged"), KEY_WRITE));
        ASSERT_EQ(ERROR_SUCCESS, key.Flush());
        std::ofstream(KeyFile(sandbox.KeyPath("Damaged").GetString()),
                      std::ios::binary | std::ios::trunc)
            << damages[i];
        const bool keeps = i < 3;
        EXPECT_EQ(CString(keeps ? "kept" : "default"), Load(section, "Keep", "default")) << i;
        EXPECT_EQ(CString("default"), Load(section, "Lost", "default")) << i;
        Store(section, "Lost", "repaired");
        EXPECT_EQ(CString("repaired"), Load(section, "Lost", "default")) << i;
        EXPECT_EQ(CString(keeps ? "kept" : "default"), Load(section, "Keep", "default")) << i;
    }
}

TEST(FileRegistryTest, TornAndForgedJournalRecordsAreIgnoredAndFileSystemFailuresAreWin32Codes)
{
    CRegistrySandbox sandbox;
    const CString section = sandbox.Section("Journal");
    Store(section, "Keep", "kept");
    const std::string journal = KeyFile(sandbox.KeyPath("Journal").GetString(), ".values.journal");
    // A record whose checksum does not match, then one cut short by a killed writer.
    std::ofstream(journal, std::ios::binary | std::ios::app)
        << "\"Keep\"=\"forged\"\n; 0123456789abcdef\n\"Keep\"=\"tor";
    EXPECT_EQ(CString("kept"), Load(section, "Keep", "default"));
    Store(section, "After", "landed");
    EXPECT_EQ(CString("landed"), Load(section, "After", "default"));
    EXPECT_EQ(CString("kept"), Load(section, "Keep", "default"));

    // A failure of the file system reaches the caller as the Win32 code of its meaning, never as
    // the errno number, which Win32 would read as another code (21, EISDIR, is "device not
    // ready"). The journal replaced by a folder: opening it to append fails with EISDIR.
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Open(HKEY_CURRENT_USER, sandbox.KeyPath("Journal"), KEY_WRITE));
    ASSERT_EQ(ERROR_SUCCESS, key.Flush());
    ASSERT_EQ(0, ::unlink(journal.c_str()));
    ASSERT_EQ(0, ::mkdir(journal.c_str(), 0755));
    EXPECT_EQ(ERROR_ACCESS_DENIED, key.SetDWORDValue("Value", 1));
    EXPECT_EQ(CString("kept"), Load(section, "Keep", "default"));
}

// A writer killed again and again, amid its writes and amid the folds they make (values large
// enough for one every few hundred writes): every value is old or new, in the writer's order, and
// no write whose call returned is lost.
TEST(FileRegistryTest, KilledWriterLeavesEveryValueOldOrNew)
{
    CRegistrySandbox sandbox;
    const std::string key = "Software\\Crash";
    const int count = 200;
    const std::string pad(2000, 'p');
    const auto text = [&](int trial, int round, int i)
    {
        return "t" + std::to_string(trial) + "r" + std::to_string(round) + "-" + std::to_string(i) +
               pad;
    };
    const std::string folder = KeyFolder(key, true);
    const auto seed = [&](std::vector<SRegValue>& values)
    {
        for (int i = 0; i < count; ++i)
        {
            const std::string stored = text(0, 0, i) + '\0';
            values.push_back(SRegValue{"name" + std::to_string(i), REG_SZ,
                                       std::vector<unsigned char>(stored.begin(), stored.end()),
                                       false});
        }
        return true;
    };
    ASSERT_EQ(ERROR_SUCCESS, CFileRegistry::UpdateValues(folder, key, seed));
    // The writes whose calls returned, counted by the writer where this process sees them.
    auto* returned = static_cast<std::atomic<long>*>(::mmap(nullptr, sizeof(std::atomic<long>),
                                                            PROT_READ | PROT_WRITE,
                                                            MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(MAP_FAILED, static_cast<void*>(returned));
    std::pair<int, int> last(0, 0);
    for (int trial = 1; trial <= 12; ++trial)
    {
        returned->store(0);
        const pid_t child = Spawn(
            [&]
            {
                CRegKey registry;
                if (CreateKey(registry, key) != ERROR_SUCCESS)
                    return 3;
                for (int round = 0;; ++round)
                    for (int i = 0; i < count; ++i)
                    {
                        if (registry.SetStringValue(("name" + std::to_string(i)).c_str(),
                                                    text(trial, round, i).c_str()) != ERROR_SUCCESS)
                            return 4;
                        returned->fetch_add(1);
                    }
            });
        ASSERT_NE(-1, child);
        ::usleep(static_cast<useconds_t>(20000 + trial * 37 % 13 * 10000));
        ::kill(child, SIGKILL);
        ASSERT_EQ(-1, Reap(child)) << "the writer failed";

        std::vector<SRegValue> values = CFileRegistry::ReadValues(folder);
        ASSERT_EQ(static_cast<std::size_t>(count), values.size());
        const long landed = returned->load();
        long shown = 0; // the writes of this trial the values show
        std::pair<int, int> previous(trial, 1 << 30);
        for (int i = 0; i < count; ++i)
        {
            const SRegValue* value = CFileRegistry::FindValue(values, "name" + std::to_string(i));
            ASSERT_NE(nullptr, value) << i;
            const std::string stored = Text(value->m_oData);
            std::pair<int, int> now(-1, -1);
            ASSERT_EQ(2, std::sscanf(stored.c_str(), "t%dr%d-", &now.first, &now.second)) << i;
            ASSERT_EQ(text(now.first, now.second, i) + '\0', stored) << i;
            // The writer went round in order: round r + 1 up to the kill, round r after it.
            ASSERT_LE(now, previous) << "trial " << trial << ", value " << i;
            ASSERT_GE(now, last) << "trial " << trial << ", value " << i;
            previous = now;
            if (now.first == trial)
                shown += now.second + 1;
        }
        EXPECT_LE(landed, shown) << "trial " << trial << ": writes that returned were lost";
        EXPECT_LE(shown, landed + 1) << "trial " << trial;
        last = previous;
    }
    ::munmap(returned, sizeof(std::atomic<long>));
}

TEST(FileRegistryTest, ConcurrentWritersLoseNoValue)
{
    CRegistrySandbox sandbox;
    const std::string key = "Software\\Shared";
    const int perThread = 60;
    std::vector<pid_t> children;
    for (int process = 0; process < 2; ++process)
        children.push_back(Spawn(
            [&]
            {
                std::thread other(WriteValues, key, "v", (process * 2 + 1) * perThread, perThread);
                WriteValues(key, "v", process * 2 * perThread, perThread);
                other.join();
                return 0;
            }));
    for (pid_t child : children)
        EXPECT_EQ(0, Reap(child));
    std::vector<SRegValue> values = CFileRegistry::ReadValues(KeyFolder(key));
    EXPECT_EQ(4u * perThread, values.size());
    for (int i = 0; i < 4 * perThread; ++i)
    {
        const SRegValue* value = CFileRegistry::FindValue(values, "name" + std::to_string(i));
        ASSERT_NE(nullptr, value) << i;
        EXPECT_EQ("v" + std::to_string(i) + '\0', Text(value->m_oData)); // with its zero
    }
}

TEST(FileRegistryTest, EditorFilesParseInBothEncodings)
{
    const std::string exported =
        "Windows Registry Editor Version 5.00\r\n\r\n; a comment\r\n"
        "[HKEY_LOCAL_MACHINE\\Software\\Velmora\\Quillon\\VerboseLogging]\r\n"
        "@=\"default\"\r\n"
        "\"ApsLog\"=dword:00000001\r\n"
        "\"Path\"=\"C:\\\\Program Files\\\\\\\"Q\\\"\"\r\n"
        "\"Big\"=hex(b):10,32,54,76,98,ba,dc,fe\r\n"
        "\"List\"=hex(7):61,00,62,00,00,00,63,00,\\\r\n  00,00,00,00\r\n"
        "\"Expand\"=hex(2):25,00,41,00,25,00,00,00\r\n"
        "\"Bytes\"=hex:00,ff,\\\r\n  10\r\n"
        "\"Gone\"=-\r\n\r\n"
        "[-HKEY_LOCAL_MACHINE\\Software\\Velmora\\Quillon\\Old]\r\n";
    std::string wide = "\xFF\xFE";
    for (char ch : exported)
        wide += std::string{ch, '\0'};
    for (const std::string& bytes : {exported, wide})
    {
        std::vector<SRegSection> sections;
        ASSERT_TRUE(CRegFile::Parse(bytes, sections));
        ASSERT_EQ(2u, sections.size());
        EXPECT_FALSE(sections[0].m_bDelete);
        EXPECT_TRUE(sections[1].m_bDelete);
        EXPECT_EQ("HKEY_LOCAL_MACHINE\\Software\\Velmora\\Quillon\\Old", sections[1].m_sKey);
        const std::vector<SRegValue>& values = sections[0].m_oValues;
        ASSERT_EQ(8u, values.size());
        EXPECT_EQ("", values[0].m_sName);
        std::vector<std::string> data;
        for (std::size_t i = 0; i < 7; ++i)
            data.push_back(Text(values[i].m_oData));
        using namespace std::string_literals;
        EXPECT_THAT(data, ::testing::ElementsAre("default\0"s, "\x01\0\0\0"s,
                                                 "C:\\Program Files\\\"Q\"\0"s,
                                                 "\x10\x32\x54\x76\x98\xba\xdc\xfe"s, "ab\0c\0\0"s,
                                                 "%A%\0"s, "\0\xff\x10"s));
        EXPECT_EQ(static_cast<DWORD>(REG_DWORD), values[1].m_dwType);
        EXPECT_EQ(static_cast<DWORD>(REG_QWORD), values[3].m_dwType);
        EXPECT_EQ(static_cast<DWORD>(REG_MULTI_SZ), values[4].m_dwType);
        EXPECT_TRUE(values[7].m_bDelete);
    }

    // The editor refuses the escape \0, and imports nothing from its line on.
    std::vector<SRegSection> cut;
    ASSERT_TRUE(
        CRegFile::Parse("REGEDIT4\n[a]\n\"x\"=\"1\"\n\"z\"=\"p\\0q\"\n\"y\"=\"2\"\n\n[b]\n", cut));
    ASSERT_EQ(1u, cut.size());
    ASSERT_EQ(1u, cut[0].m_oValues.size());
    EXPECT_EQ("x", cut[0].m_oValues[0].m_sName);

    std::vector<SRegSection> none;
    EXPECT_FALSE(CRegFile::Parse("REGEDIT5\n[x]\n", none));
    EXPECT_FALSE(CRegFile::Parse("", none));
}

TEST(FileRegistryTest, ReaderInAnotherProcessSeesEachWriteOnReturn)
{
    CRegistrySandbox sandbox;
    const std::string key = "Software\\Large";
    const int count = 4000;
    WriteValues(key, "seed", 0, count);
    CRegKey reader;
    ASSERT_EQ(ERROR_SUCCESS, reader.Open(HKEY_CURRENT_USER, key.c_str(), KEY_READ));
    int toChild[2];
    int toParent[2];
    ASSERT_EQ(0, ::pipe(toChild));
    ASSERT_EQ(0, ::pipe(toParent));
    const int rounds = 40;
    const pid_t child = Spawn(
        [&]
        {
            // Each round rewrites a share of the key before the probe, and every third one folds
            // the journal into the value file, so that the reader meets both between two reads.
            for (int round = 0; round < rounds; ++round)
            {
                char token = 0;
                if (::read(toChild[0], &token, 1) != 1)
                    ::_exit(5);
                WriteValues(key, "r" + std::to_string(round) + "-", round * 100 % count, 100);
                CRegKey writer;
                if (round % 3 == 2 &&
                    (writer.Open(HKEY_CURRENT_USER, key.c_str(), KEY_WRITE) != ERROR_SUCCESS ||
                     writer.Flush() != ERROR_SUCCESS))
                    ::_exit(7);
                WriteValues(key, "probe" + std::to_string(round) + "-", count, 1);
                if (::write(toParent[1], &token, 1) != 1)
                    ::_exit(6);
            }
            return 0;
        });
    ASSERT_NE(-1, child);
    for (int round = 0; round < rounds; ++round)
    {
        char token = 'x';
        ASSERT_EQ(1, ::write(toChild[1], &token, 1));
        ASSERT_EQ(1, ::read(toParent[0], &token, 1));
        const auto query = [&reader](int i)
        {
            char text[64] = {};
            ULONG chars = sizeof text;
            EXPECT_EQ(ERROR_SUCCESS,
                      reader.QueryStringValue(("name" + std::to_string(i)).c_str(), text, &chars));
            return std::string(text);
        };
        EXPECT_EQ("probe" + std::to_string(round) + "-" + std::to_string(count), query(count));
        const int changed = round * 100 % count + 99;
        EXPECT_EQ("r" + std::to_string(round) + "-" + std::to_string(changed), query(changed));
    }
    EXPECT_EQ(0, Reap(child));
    EXPECT_EQ(
        static_cast<std::size_t>(count + 1),
        CFileRegistry::ReadValues(sandbox.Root() + "/HKEY_CURRENT_USER/Software/Large").size());
}

// Three flushes by another process between two of ours bring the value file and the journal back
// to inode numbers this process saw before; on a file system that keeps times to the second
// nothing else tells the files apart.
TEST(FileRegistryTest, WritesAcrossFoldsInAnotherProcessAreNeitherMissedNorUndone)
{
    CRegistrySandbox sandbox;
    STimeless timeless;
    const std::string key = "Software\\Folds";
    CRegKey mine;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(mine, key));
    ASSERT_EQ(ERROR_SUCCESS, mine.SetDWORDValue("Theirs", 0));
    ASSERT_EQ(ERROR_SUCCESS, mine.SetDWORDValue("Mine", 0));
    ASSERT_EQ(ERROR_SUCCESS, mine.Flush());
    for (DWORD round = 1; round <= 20; ++round)
    {
        const auto theirs = [&]
        {
            CRegKey other;
            bool ok = other.Open(HKEY_CURRENT_USER, key.c_str(), KEY_ALL_ACCESS) == ERROR_SUCCESS;
            for (DWORD step = 3; ok && step-- > 0;)
                ok = other.SetDWORDValue("Theirs", round + step * 1000) == ERROR_SUCCESS &&
                     other.Flush() == ERROR_SUCCESS;
            return ok ? 0 : 3;
        };
        ASSERT_EQ(0, InChild(theirs));
        DWORD seen = 0;
        ASSERT_EQ(ERROR_SUCCESS, mine.QueryDWORDValue("Theirs", seen));
        EXPECT_EQ(round, seen) << "a write of another process missed";
        ASSERT_EQ(ERROR_SUCCESS, mine.SetDWORDValue("Mine", round));
        ASSERT_EQ(ERROR_SUCCESS, mine.Flush());
        char expected[32];
        std::snprintf(expected, sizeof expected, "\"Theirs\"=dword:%08x\n", round);
        EXPECT_THAT(ReadAll(KeyFile(key)), ::testing::HasSubstr(expected))
            << "a write of another process undone by our fold in round " << round;
    }
}

// A key in use stays in memory however many others the process touches: its journal, changed
// in place behind the registry's back, is not read again.
TEST(FileRegistryTest, KeyInUseStaysInMemoryAmongManyOthers)
{
    CRegistrySandbox sandbox;
    CRegKey mine;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(mine, "Software\\InUse"));
    ASSERT_EQ(ERROR_SUCCESS, mine.SetDWORDValue("v", 1));
    DWORD seen = 0;
    ASSERT_EQ(ERROR_SUCCESS, mine.QueryDWORDValue("v", seen));
    {
        const std::string path = KeyFile("Software\\InUse", ".values.journal");
        std::fstream journal(path, std::ios::in | std::ios::out);
        journal.seekp(static_cast<std::streamoff>(ReadAll(path).find("dword:00000001") + 13));
        journal.put('2'); // the record's checksum no longer matches: read again, v is gone
    }
    for (int i = 0; i < 5000; ++i)
    {
        CRegKey other;
        ASSERT_EQ(ERROR_SUCCESS, CreateKey(other, "Software\\Other\\" + std::to_string(i / 64) +
                                                      "\\" + std::to_string(i % 64)));
        EXPECT_EQ(ERROR_FILE_NOT_FOUND, other.QueryDWORDValue("v", seen));
        ASSERT_EQ(ERROR_SUCCESS, mine.QueryDWORDValue("v", seen)) << "after " << i << " others";
        EXPECT_EQ(1u, seen);
    }
}

// A fold that finds the disk full comes after the write's record has landed: the write succeeds
// and every process sees it.
TEST(FileRegistryTest, WriteWhoseFoldFindsTheDiskFullLandsAndSucceeds)
{
    CRegistrySandbox sandbox;
    const std::string key = "Software\\Full";
    const std::string big(16 * 1024, 'x');
    CRegKey registry;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(registry, key));
    for (int i = 0; i < 40; ++i)
        ASSERT_EQ(ERROR_SUCCESS,
                  registry.SetStringValue(("old" + std::to_string(i)).c_str(), big.c_str()));
    ASSERT_EQ(ERROR_SUCCESS, registry.Flush());
    const auto fill = [&]
    {
        // Room for the journal, which grows to the value file's size before a fold, but not for
        // the new value file, which holds both.
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1024 * 1024, 1024 * 1024};
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
            return 2;
        for (int i = 0; i < 48; ++i)
            if (registry.SetStringValue(("new" + std::to_string(i)).c_str(), big.c_str()) !=
                ERROR_SUCCESS)
                return 10 + i;
        return 0;
    };
    EXPECT_EQ(0, InChild(fill)) << "the write that folded reported a failure";
    const std::string folder = KeyFolder(key);
    EXPECT_EQ(88u, CFileRegistry::ReadValues(folder).size());
    ASSERT_EQ(ERROR_SUCCESS, registry.Flush());
    EXPECT_EQ(88u, CFileRegistry::ReadValues(folder).size());
}

// A child made by fork while another thread is inside a write neither waits for what that thread
// held (the process's cache, the key's lock) nor keeps the key locked for as long as it lives.
TEST(FileRegistryTest, ChildForkedDuringAWriteWritesAndLocksNothing)
{
    CRegistrySandbox sandbox;
    CRegKey registry;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(registry, "Software\\Forked"));
    std::atomic<bool> stop{false};
    std::thread writer(
        [&]
        {
            for (DWORD i = 0; !stop; ++i)
                registry.SetDWORDValue("Busy", i);
        });
    // A child that hangs is killed by its alarm.
    const auto writes = []
    {
        ::alarm(5);
        CRegKey again;
        return again.Open(HKEY_CURRENT_USER, "Software\\Forked", KEY_ALL_ACCESS) == ERROR_SUCCESS &&
                       again.SetDWORDValue("Child", 1) == ERROR_SUCCESS
                   ? 0
                   : 3;
    };
    int hung = -1;
    for (int i = 0; i < 100 && hung < 0; ++i)
        if (InChild(writes) != 0)
            hung = i;
    // A child that lives on does not keep the key locked.
    const pid_t sleeper = Spawn([] { return static_cast<int>(::sleep(30)); });
    EXPECT_NE(-1, sleeper);
    stop = true;
    writer.join();
    EXPECT_EQ(-1, hung) << "a child forked during a write hung";
    EXPECT_EQ(0, InChild(writes)) << "the key stayed locked";
    if (sleeper > 0 && ::kill(sleeper, SIGKILL) == 0)
        Reap(sleeper);
}

// Another user (nobody) writes a key granted to everyone before it held a value, whose files the
// administrator's first write made, and flushes a key it may read but not write. A flush with
// nothing of this process's to fold leaves the value file as it is.
TEST(FileRegistryTest, GrantedKeyTakesEveryUsersWritesAndReadersFlush)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "needs to become another user";
    CRegistrySandbox sandbox;
    ASSERT_EQ(0, ::chmod(sandbox.Root().c_str(), 0755));
    const CString granted = sandbox.KeyPath("Granted");
    const CString readOnly = sandbox.KeyPath("ReadOnly");
    CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(key, granted.GetString(), HKEY_LOCAL_MACHINE));
    CppUtil::Settings::CQLRegistry::GrantFullControlForEveryoneToKey(CppUtil::Text::DefaultOutput(),
                                                                     granted, false);
    ASSERT_EQ(ERROR_SUCCESS, key.SetDWORDValue("First", 1));
    ASSERT_EQ(ERROR_SUCCESS, key.SetDWORDValue("Folded", 1));
    ASSERT_EQ(ERROR_SUCCESS, key.Flush());
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(key, readOnly.GetString(), HKEY_LOCAL_MACHINE));
    ASSERT_EQ(ERROR_SUCCESS, key.SetDWORDValue("v", 1));
    ASSERT_EQ(ERROR_SUCCESS, key.Flush());
    const std::string valueFile = KeyFile(readOnly.GetString(), ".values.reg", HKEY_LOCAL_MACHINE);
    struct stat before;
    struct stat after;
    ASSERT_EQ(0, ::stat(valueFile.c_str(), &before));
    ASSERT_EQ(ERROR_SUCCESS, key.Flush());
    ASSERT_EQ(0, ::stat(valueFile.c_str(), &after));
    EXPECT_EQ(before.st_ino, after.st_ino) << "a flush with nothing to fold rewrote the file";

    const auto asNobody = [&]
    {
        if (::setgid(65534) != 0 || ::setuid(65534) != 0)
            return 2;
        CRegKey mine;
        LONG status = mine.Open(HKEY_LOCAL_MACHINE, granted, KEY_ALL_ACCESS);
        if (status == ERROR_SUCCESS)
            status = mine.SetDWORDValue("Second", 2);
        if (status != ERROR_SUCCESS)
            return 100 + static_cast<int>(status);
        if (mine.Open(HKEY_LOCAL_MACHINE, readOnly, KEY_READ) != ERROR_SUCCESS)
            return 3;
        status = mine.Flush();
        return status == ERROR_SUCCESS ? 0 : 200 + static_cast<int>(status);
    };
    EXPECT_EQ(0, InChild(asNobody)) << "100 + the write's Win32 code, 200 + the flush's";
}

// A flush of one key, or of the hive, folds this process's writes to every key of the hive into
// their value files.
TEST(FileRegistryTest, FlushTakesTheWholeHiveAlong)
{
    CRegistrySandbox sandbox;
    CRegKey first;
    CRegKey second;
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(first, "Software\\First"));
    ASSERT_EQ(ERROR_SUCCESS, CreateKey(second, "Software\\Second"));
    ASSERT_EQ(ERROR_SUCCESS, first.SetDWORDValue("One", 1));
    ASSERT_EQ(ERROR_SUCCESS, second.SetDWORDValue("Two", 2));
    ASSERT_EQ(ERROR_SUCCESS, ::RegFlushKey(HKEY_CURRENT_USER));
    EXPECT_THAT(ReadAll(KeyFile("Software\\First")), ::testing::HasSubstr("dword:00000001"));
    EXPECT_THAT(ReadAll(KeyFile("Software\\Second")), ::testing::HasSubstr("dword:00000002"));
    ASSERT_EQ(ERROR_SUCCESS, second.SetDWORDValue("Two", 3));
    ASSERT_EQ(ERROR_SUCCESS, first.Flush());
    EXPECT_THAT(ReadAll(KeyFile("Software\\Second")), ::testing::HasSubstr("dword:00000003"));
}
