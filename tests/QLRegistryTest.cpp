#include "LogRecorder.h"
#include "RegistrySandbox.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/Platform/Registry/CRegKey.h>
#include <cpputil/RegistryValue.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <utility>
#include <vector>

#if !defined(_WIN32)
#include <cpputil/Platform/Registry/Posix/FileRegistry.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

using namespace CppUtil::Settings;
using CppUtil::Text::CMessageManager;
using CppUtil::Text::COutput;

namespace
{

class QLRegistryTest : public ::testing::Test
{
protected:
    QLRegistryTest() : m_poManager(new CMessageManager), m_oOut(m_poManager)
    {
        m_poManager->SetLoggingEventHandler(m_oRecorder.Handler());
    }

    template <class T>
    T Load(HKEY hive, const CString& section, const char* name, const T& defaultValue)
    {
        return CRegistryValue<T>(m_oOut, hive, section, name, defaultValue, true, false, true)
            .GetValue();
    }

    template <class T>
    void Store(HKEY hive, const CString& section, const char* name, const T& value)
    {
        CRegistryValue<T>(m_oOut, hive, section, name, T(), true, false, false).SetValue(value);
    }

    std::vector<std::string> LogTexts()
    {
        std::vector<std::string> texts;
        for (const SLogLine& line : m_oRecorder.Lines())
            texts.push_back(line.m_sText);
        return texts;
    }

    CRegistrySandbox m_oSandbox;
    CLogRecorder m_oRecorder;
    CMessageManager* m_poManager;
    COutput m_oOut;
};

// "text | function | file" of the exception the call raises, empty if it raises none.
template <class F>
std::string Failure(F call)
{
    try
    {
        call();
    }
    catch (const CppUtil::Exception::CQlException& e)
    {
        return std::string(e.what()) + " | " + e.GetFunction().GetString() + " | " +
               e.GetFile().GetString();
    }
    return "";
}

// Whether HKLM\keyPath is open to every user; inherits tells whether sub-keys are to follow.
bool IsOpenToEveryone(const CString& keyPath, bool* inherits = nullptr)
{
#if defined(_WIN32)
    PACL dacl = nullptr;
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (::GetNamedSecurityInfoA("MACHINE\\" + keyPath, SE_REGISTRY_KEY, DACL_SECURITY_INFORMATION,
                                nullptr, nullptr, &dacl, nullptr, &descriptor) != ERROR_SUCCESS)
        return false;
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    PSID everyone = nullptr;
    ::AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everyone);
    bool found = false;
    for (DWORD i = 0; dacl && i < dacl->AceCount; ++i)
    {
        ACCESS_ALLOWED_ACE* ace = nullptr;
        if (::GetAce(dacl, i, reinterpret_cast<void**>(&ace)) &&
            ace->Header.AceType == ACCESS_ALLOWED_ACE_TYPE && ::EqualSid(&ace->SidStart, everyone))
        {
            found = true;
            if (inherits)
                *inherits = (ace->Header.AceFlags & CONTAINER_INHERIT_ACE) != 0;
        }
    }
    ::FreeSid(everyone);
    ::LocalFree(descriptor);
    return found;
#else
    std::string folder;
    struct stat info;
    if (inherits)
        *inherits = false;
    return CppUtil::Platform::CFileRegistry::FindKey(
               CppUtil::Platform::CFileRegistry::HiveFolder(HKEY_LOCAL_MACHINE),
               keyPath.GetString(), false, folder) == ERROR_SUCCESS &&
           ::stat(folder.c_str(), &info) == 0 && (info.st_mode & 0002) != 0;
#endif
}

} // namespace

TEST_F(QLRegistryTest, TypedValuesRoundTripAndMissingOrMistypedOnesGiveDefaults)
{
    const CString section = m_oSandbox.Section("Typed");
    const HKEY hive = HKEY_CURRENT_USER;
    EXPECT_EQ(7ul, Load<unsigned long>(hive, section, "Dword", 7));
    EXPECT_EQ(std::vector<CString>{"x"}, Load(hive, section, "List", std::vector<CString>{"x"}));
    EXPECT_EQ(2.5, Load(hive, section, "Third", 2.5));

    Store<unsigned long>(hive, section, "Dword", 0xFFFFFFFFul);
    Store<unsigned long long>(hive, section, "Qword", 0xFEDCBA9876543210ull);
    Store<CString>(hive, section, "Text", "C:\\dir \"quoted\" = [x]");
    Store<CString>(hive, section, "Empty", "");
    Store(hive, section, "Bytes", std::vector<unsigned char>{0, 1, 0xFF, 0, 0x7F});
    Store(hive, section, "List", std::vector<CString>{"ab", "c", "d e"});
    Store(hive, section, "NoList", std::vector<CString>());
    Store(hive, section, "Third", 1.0 / 3);
    Store<CString>(hive, section, "Number", "12");
    Store<CString>(hive, section, "Real", "1.5x");

    // Names match in any case.
    EXPECT_EQ(0xFFFFFFFFul, Load<unsigned long>(hive, section, "dword", 7));
    EXPECT_EQ(0xFEDCBA9876543210ull, Load<unsigned long long>(hive, section, "QWORD", 1));
    EXPECT_EQ(CString("C:\\dir \"quoted\" = [x]"), Load<CString>(hive, section, "Text", "none"));
    EXPECT_EQ(CString(""), Load<CString>(hive, section, "Empty", "none"));
    EXPECT_EQ((std::vector<unsigned char>{0, 1, 0xFF, 0, 0x7F}),
              Load(hive, section, "Bytes", std::vector<unsigned char>{9}));
    EXPECT_EQ((std::vector<CString>{"ab", "c", "d e"}),
              Load(hive, section, "List", std::vector<CString>{"x"}));
    EXPECT_EQ(std::vector<CString>(), Load(hive, section, "NoList", std::vector<CString>{"x"}));
    EXPECT_EQ(1.0 / 3, Load(hive, section, "Third", 0.0));

    // A value of another type reads as the default until it is rewritten.
    EXPECT_EQ(5ul, Load<unsigned long>(hive, section, "Number", 5));
    EXPECT_EQ(5ull, Load<unsigned long long>(hive, section, "Dword", 5));
    EXPECT_EQ(CString("d"), Load<CString>(hive, section, "Dword", "d"));
    EXPECT_EQ(std::vector<unsigned char>{1},
              Load(hive, section, "Dword", std::vector<unsigned char>{1}));
    EXPECT_EQ(std::vector<CString>{"d"}, Load(hive, section, "Number", std::vector<CString>{"d"}));
    EXPECT_EQ(0.25, Load(hive, section, "Real", 0.25));
    Store<unsigned long>(hive, section, "Number", 12);
    EXPECT_EQ(12ul, Load<unsigned long>(hive, section, "Number", 5));

    // A value read once is kept; a value set through the object is what it then answers.
    CRegistryValue<unsigned long> cached(m_oOut, hive, section, "Dword", 0, true, false, false);
    EXPECT_FALSE(cached.IsLoaded());
    EXPECT_EQ(0xFFFFFFFFul, cached.GetValue());
    Store<unsigned long>(hive, section, "Dword", 5);
    EXPECT_EQ(0xFFFFFFFFul, cached.GetValue());
    CRegistryValue<unsigned long> fresh(m_oOut, hive, section, "Dword", 0, false, false, false);
    EXPECT_EQ(5ul, fresh.GetValue());
    Store<unsigned long>(hive, section, "Dword", 6);
    EXPECT_EQ(6ul, fresh.GetValue());
}

TEST_F(QLRegistryTest, AnsiLettersFoldAndTextsWithoutTheirNulReadWithOne)
{
    // Letters of the ANSI code page beyond ASCII match in either case, in key and value names;
    // the multiplication and division signs are not a pair.
    const HKEY hive = HKEY_CURRENT_USER;
    const CString upper = m_oSandbox.Section("Cl\xC9\x8A");
    const CString lower = m_oSandbox.Section("cl\xE9\x9A");
    Store<CString>(hive, upper, "\xC4pfel\xDE\x8C\x8E\x9F\xC0", "kept");
    Store<CString>(hive, upper, "\xD7", "times");
    EXPECT_EQ(CString("kept"), Load<CString>(hive, lower, "\xE4PFEL\xFE\x9C\x9E\xFF\xE0", "none"));
    EXPECT_EQ(CString("none"), Load<CString>(hive, lower, "\xF7", "none"));
    EXPECT_EQ(CString("times"), Load<CString>(hive, lower, "\xD7", "none"));

    CppUtil::Platform::CRegKey key;
    ASSERT_EQ(ERROR_SUCCESS, key.Open(hive, m_oSandbox.KeyPath("CL\xE9\x8A"), KEY_ALL_ACCESS));
    // The narrow call counts in a NUL that follows the data, so the text ends on another byte.
    ASSERT_EQ(ERROR_SUCCESS,
              ::RegSetValueExA(key, "Raw", 0, REG_SZ, reinterpret_cast<const BYTE*>("abcd"), 3));
    ASSERT_EQ(ERROR_SUCCESS, ::RegSetValueExA(key, "Nothing", 0, REG_SZ, nullptr, 0));
    // A text stored without its NUL is refused, as ATL refuses it.
    char text[16] = "zzzzz";
    ULONG chars = sizeof text;
    EXPECT_EQ(ERROR_INVALID_DATA, key.QueryStringValue("Raw", text, &chars));
    EXPECT_EQ(CString("none"), Load<CString>(hive, upper, "Raw", "none"));
    chars = sizeof text;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue("Nothing", text, &chars));
    EXPECT_EQ(std::string(), text);
    EXPECT_EQ(0u, chars);
    chars = sizeof text;
    EXPECT_EQ(ERROR_SUCCESS, key.QueryStringValue("\xc4PFEL\xfe\x9c\x9e\xff\xc0", text, &chars));
    EXPECT_EQ(std::string("kept"), text);
    EXPECT_EQ(5u, chars);

    // Sub-keys come in the order of their names' UTF-16 characters in lower case.
    const char* const names[] = {"\x80",
                                 "\x9F"
                                 "3",
                                 "z",
                                 "\xFF",
                                 "\xC9"
                                 "2",
                                 "\xB5",
                                 "\xE9",
                                 "\xDF"};
    for (const char* name : names)
    {
        CppUtil::Platform::CRegKey sub;
        ASSERT_EQ(ERROR_SUCCESS,
                  sub.Create(key, name, nullptr, 0, KEY_ALL_ACCESS, nullptr, nullptr));
    }
    std::string order;
    char name[16];
    for (DWORD index = 0, length = sizeof name;
         ::RegEnumKeyExA(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) ==
         ERROR_SUCCESS;
         ++index, length = sizeof name)
        order += std::string(name, length) + " ";
    EXPECT_EQ("z \xB5 \xDF \xE9 \xC9"
              "2 \xFF \x9F"
              "3 \x80 ",
              order);
}

// A key's file as the registry editor writes it (UTF-16LE with its mark, CR LF line ends), and
// what it imports: the euro sign is 0x80 in the ANSI code page, line breaks are escaped, and an
// escape the editor does not know stands for the character escaped.
TEST_F(QLRegistryTest, EditorFilesCarryAnsiTextAndEscapesBothWays)
{
    const CString section = m_oSandbox.Section("Editor");
    const std::string keyName =
        "HKEY_CURRENT_USER\\" + std::string(CQLRegistry::GetSectionKeyName(section));
    const CString text = "\x80 \xE4\x8A\n\r\\\"";
    Store<CString>(HKEY_CURRENT_USER, section, "Euro\x80", text);
    const auto utf16 = [](const std::string& ascii, const std::u16string& rest)
    {
        std::string bytes = "\xFF\xFE";
        for (char16_t ch : std::u16string(ascii.begin(), ascii.end()) + rest)
            bytes += std::string{static_cast<char>(ch & 0xFF), static_cast<char>(ch >> 8)};
        return bytes;
    };
    const std::string header = "Windows Registry Editor Version 5.00\r\n\r\n[" + keyName + "]\r\n";
    const std::string expected =
        utf16(header, u"\"Euro\u20ac\"=\"\u20ac \u00e4\u0160\\n\\r\\\\\\\"\"\r\n\r\n");
    const std::string import = utf16(header, u"\"Back\"=\"\u20ac\u00e4\\n\"\r\n"
                                             u"\"Odd\"=\"a\\qb\"\r\n\"After\"=dword:00000002\r\n");
    std::string exported;
#if defined(_WIN32)
    const std::string path = std::string(std::getenv("TEMP")) + "\\cpputil-editor.reg";
    const auto regedit = [](const std::string& arguments)
    { return std::system(("regedit " + arguments + " 2>NUL").c_str()); };
    regedit("/e \"" + path + "\" \"" + keyName + "\"");
    std::ifstream file(path, std::ios::binary);
    exported.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    file.close();
    std::ofstream(path, std::ios::binary | std::ios::trunc) << import;
    regedit("/s \"" + path + "\"");
    std::remove(path.c_str());
#else
    using CppUtil::Platform::CFileRegistry;
    using CppUtil::Platform::CRegFile;
    std::string folder;
    ASSERT_EQ(ERROR_SUCCESS,
              CFileRegistry::FindKey(CFileRegistry::HiveFolder(HKEY_CURRENT_USER),
                                     std::string(CQLRegistry::GetSectionKeyName(section)), false,
                                     folder));
    exported =
        CRegFile::ToUtf16(CRegFile::Write({{keyName, false, CFileRegistry::ReadValues(folder)}}));
    std::vector<CppUtil::Platform::SRegSection> sections;
    ASSERT_TRUE(CRegFile::Parse(import, sections));
    ASSERT_EQ(1u, sections.size());
    ASSERT_EQ(ERROR_SUCCESS, CFileRegistry::UpdateValues(
                                 folder, keyName,
                                 [&sections](std::vector<CppUtil::Platform::SRegValue>& values)
                                 {
                                     for (const auto& value : sections[0].m_oValues)
                                         values.push_back(value);
                                     return true;
                                 }));
#endif
    EXPECT_EQ(expected, exported);
    EXPECT_EQ(CString("\x80\xE4\n"), Load<CString>(HKEY_CURRENT_USER, section, "Back", ""));
    EXPECT_EQ(CString("aqb"), Load<CString>(HKEY_CURRENT_USER, section, "Odd", "none"));
    EXPECT_EQ(2ul, Load<unsigned long>(HKEY_CURRENT_USER, section, "After", 0));
}

TEST_F(QLRegistryTest, OpeningRetriesAndRecordsTheGrantedAccess)
{
    const CString section = m_oSandbox.Section("Open");
    const auto start = std::chrono::steady_clock::now();
    CQLRegistry missing(m_oOut, HKEY_CURRENT_USER, section, KEY_ALL_ACCESS);
    // Two pauses of 10 ms between three attempts.
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(19));
    EXPECT_FALSE(missing.CurrentUserHasWritePermission());
    EXPECT_EQ(0u, missing.GetGrantedAccess());
    EXPECT_FALSE(missing.IsValuePresent("Anything"));
    EXPECT_TRUE(missing.Create());
    EXPECT_EQ(static_cast<DWORD>(0xF003F), missing.GetGrantedAccess());
    EXPECT_TRUE(missing.CurrentUserHasWritePermission());

    Store<unsigned long>(HKEY_CURRENT_USER, section, "Present", 1);
    CQLRegistry reader(m_oOut, HKEY_CURRENT_USER, section, KEY_READ);
    EXPECT_FALSE(reader.CurrentUserHasWritePermission());
    EXPECT_TRUE(reader.IsValuePresent("PRESENT"));
    EXPECT_FALSE(reader.IsValuePresent("Absent"));
    EXPECT_TRUE(CQLRegistry(reader).IsValuePresent("Present"));
    EXPECT_TRUE(CQLRegistry(m_oOut, HKEY_CURRENT_USER, section, KEY_ALL_ACCESS)
                    .CurrentUserHasWritePermission());
}

TEST_F(QLRegistryTest, FailedWritesRaiseTheStoreTexts)
{
    // No registry takes a key name of 300 characters.
    const CString section = m_oSandbox.Section(std::string(300, 'k'));
    CRegistryValue<unsigned long> value(m_oOut, HKEY_CURRENT_USER, section, "V", 3, true, false,
                                        false);
    EXPECT_EQ("Could not create or write registry key [" +
                  std::string(CQLRegistry::GetSectionKeyName(section)) +
                  "].\nIn order to run the software successfully, you must have \"Full "
                  "Control\" permissions for this key. | "
                  "CppUtil::Settings::CRegistryValue<unsigned long>::SetValue | RegistryValue",
              Failure([&] { value.SetValue(4); }));
    EXPECT_EQ("", Failure([&] { value.SetValue(4, true); }));
    EXPECT_EQ(3ul, value.GetValue());
    EXPECT_NE("", Failure([&] { CQLRegistry::SetHklmPermissionSectionKeys(m_oOut, {section}); }));
    CQLRegistry::SetHklmPermissionSectionKeys(m_oOut, {});

    // Where unsigned long is wider than a DWORD, a value beyond 32 bits is refused, not cut, and
    // the stored value stays.
    const CString ok = m_oSandbox.Section("Wide");
    CRegistryValue<unsigned long> wide(m_oOut, HKEY_CURRENT_USER, ok, "Dword", 0, true, false,
                                       false);
    wide.SetValue(0xFFFFFFFFul);
    if (sizeof(unsigned long) > sizeof(DWORD))
    {
        const unsigned long tooWide = static_cast<unsigned long>(0x100000005ull);
        EXPECT_EQ("Could not set DWORD value \"Dword\" to registry. Error code = 87 | "
                  "CppUtil::Settings::CQLRegistry::SetDWORDValue | QLRegistry",
                  Failure([&] { wide.SetValue(tooWide); }));
        EXPECT_EQ(0xFFFFFFFFul, wide.GetValue());
        EXPECT_EQ(0xFFFFFFFFul, Load<unsigned long>(HKEY_CURRENT_USER, ok, "Dword", 7));
    }
    // A value name beyond the longest the registry takes.
    const std::string longName(16384, 'n');
    CRegistryValue<unsigned long> broken(m_oOut, HKEY_CURRENT_USER, m_oSandbox.Section("Ok"),
                                         longName.c_str(), 0, true, false, false);
    EXPECT_EQ("Could not set DWORD value \"" + longName +
                  "\" to registry. Error code = 87 | "
                  "CppUtil::Settings::CQLRegistry::SetDWORDValue | QLRegistry",
              Failure([&] { broken.SetValue(1); }));
}

TEST_F(QLRegistryTest, PermissionSectionsMatchInAnyCaseAndDecideTheGrant)
{
    const CString listed = m_oSandbox.Section("Perm\\Shared");
    const CString other = m_oSandbox.Section("Private");
    const CString parent = m_oSandbox.Section("Perm");
    CQLRegistry::SetHklmPermissionSectionKeys(m_oOut, {listed});
    EXPECT_EQ(CString("Everyone"), Load<CString>(HKEY_LOCAL_MACHINE, listed, "Permission", ""));

    CString shouted = listed;
    shouted.MakeUpper();
    {
        // Only a listed HKLM section opened for writing is granted.
        CQLRegistry reader(m_oOut, HKEY_LOCAL_MACHINE, shouted, KEY_READ);
        EXPECT_FALSE(reader.ShouldGrantHklmSectionKeyPermissionToEveryone());
        CQLRegistry opened(m_oOut, HKEY_LOCAL_MACHINE, shouted, KEY_ALL_ACCESS);
        EXPECT_TRUE(opened.ShouldGrantHklmSectionKeyPermissionToEveryone());
        CQLRegistry user(m_oOut, HKEY_CURRENT_USER, listed, KEY_READ);
        CQLRegistry unlisted(m_oOut, HKEY_LOCAL_MACHINE, other, KEY_READ);
        CQLRegistry above(m_oOut, HKEY_LOCAL_MACHINE, parent, KEY_READ);
        for (CQLRegistry* registry : {&user, &unlisted, &above})
        {
            EXPECT_TRUE(registry->Create());
            EXPECT_FALSE(registry->ShouldGrantHklmSectionKeyPermissionToEveryone());
        }
    }
    bool inherits = true;
    EXPECT_TRUE(IsOpenToEveryone(CQLRegistry::GetSectionKeyName(listed), &inherits));
    EXPECT_FALSE(inherits);
    EXPECT_FALSE(IsOpenToEveryone(CQLRegistry::GetSectionKeyName(other)));
    EXPECT_FALSE(IsOpenToEveryone(CQLRegistry::GetSectionKeyName(parent)));
    EXPECT_TRUE(m_oRecorder.Lines().empty());

    CQLRegistry::SetHklmPermissionSectionKeys(m_oOut, {});
    EXPECT_FALSE(CQLRegistry(m_oOut, HKEY_LOCAL_MACHINE, listed, KEY_ALL_ACCESS)
                     .ShouldGrantHklmSectionKeyPermissionToEveryone());
}

TEST_F(QLRegistryTest, WriteAccessWalkCoversEveryChildKey)
{
    for (const char* section : {"Walk\\A", "Walk\\B\\C", "Walk\\B\\D"})
        Store<unsigned long>(HKEY_LOCAL_MACHINE, m_oSandbox.Section(section), "V", 1);
    const CString walk = m_oSandbox.KeyPath("Walk");
    const std::string cannotOpen = "Could not open " + std::string(walk);
    EXPECT_TRUE(CQLRegistry::CurrentUserHasWriteAccessToAllChildKeys(m_oOut, walk));
    EXPECT_FALSE(CQLRegistry::CurrentUserHasWriteAccessToAllChildKeys(m_oOut, walk + "\\Z"));
    ASSERT_EQ(1u, LogTexts().size());
    EXPECT_EQ(
        0u, LogTexts()[0].find(cannotOpen + "\\Z for write access. RegOpenKeyEx() failed with: "));

    CQLRegistry::GrantFullControlForEveryoneToKey(m_oOut, walk, true);
#if defined(_WIN32)
    // Wine, unlike Windows, does not carry an inheritable entry down to existing sub-keys: the
    // entry itself must ask for it.
    bool inherits = false;
    EXPECT_TRUE(IsOpenToEveryone(walk, &inherits));
    EXPECT_TRUE(inherits);
#else
    EXPECT_TRUE(IsOpenToEveryone(walk));
    EXPECT_TRUE(IsOpenToEveryone(walk + "\\B\\C"));
#endif
    CQLRegistry::GrantFullControlForEveryoneToKey(m_oOut, m_oSandbox.KeyPath("Nowhere"), false);
    ASSERT_EQ(3u, LogTexts().size());
    EXPECT_EQ("Could not set \"Everyone\" permission for HKEY_LOCAL_MACHINE\\" +
                  std::string(m_oSandbox.KeyPath("Nowhere")) +
                  " because the current user does not have write access to all subkeys.",
              LogTexts()[2]);

#if !defined(_WIN32)
    // A sub-key this user cannot write; root writes everywhere, so the walk runs in a child that
    // has given up root.
    std::string locked;
    ASSERT_EQ(ERROR_SUCCESS, CppUtil::Platform::CFileRegistry::FindKey(
                                 CppUtil::Platform::CFileRegistry::HiveFolder(HKEY_LOCAL_MACHINE),
                                 std::string(walk) + "\\B\\C", false, locked));
    ASSERT_EQ(0, ::chmod(locked.c_str(), 0555));
    ASSERT_EQ(0, ::chmod(m_oSandbox.Root().c_str(), 0755));
    const pid_t child = ::fork();
    ASSERT_NE(-1, child);
    if (child == 0)
    {
        if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
            ::_exit(10);
        int status = CQLRegistry::CurrentUserHasWriteAccessToAllChildKeys(m_oOut, walk) ? 1 : 0;
        CQLRegistry::GrantFullControlForEveryoneToKey(m_oOut, walk, false);
        const std::vector<std::string> texts = LogTexts();
        const std::string expected =
            cannotOpen + "\\B\\C for write access. RegOpenKeyEx() failed with: Access is denied.";
        if (texts.size() != 6 || texts[3] != expected || texts[4] != expected ||
            texts[5].find("Could not set \"Everyone\" permission") != 0)
            status |= 2;
        for (const std::string& text : texts)
            std::fprintf(stderr, "child log: %s\n", text.c_str());
        ::_exit(status);
    }
    int status = 0;
    ASSERT_EQ(child, ::waitpid(child, &status, 0));
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(0, WEXITSTATUS(status)) << "1: the walk passed, 2: wrong log lines, 10: no setuid";
    struct stat info;
    ASSERT_EQ(0, ::stat(locked.c_str(), &info));
    EXPECT_EQ(0555u, info.st_mode & 0777u);
    ::chmod(locked.c_str(), 0755);
#endif
}

#if defined(_WIN32)
TEST_F(QLRegistryTest, SystemRegToolAgreesWithTheStore)
{
    // Wine's (or Windows') own reg.exe, and what it printed.
    const auto reg = [](const std::string& arguments)
    {
        std::string output;
        if (FILE* pipe = ::_popen(("reg " + arguments + " 2>&1").c_str(), "r"))
        {
            char buffer[512];
            while (std::fgets(buffer, sizeof buffer, pipe))
                output += buffer;
            ::_pclose(pipe);
        }
        return output;
    };
    const CString section = m_oSandbox.Section("Cross");
    const std::string key =
        "\"HKCU\\" + std::string(CQLRegistry::GetSectionKeyName(section)) + "\"";
    Store<unsigned long>(HKEY_CURRENT_USER, section, "Dword", 0x2A);
    Store<CString>(HKEY_CURRENT_USER, section, "Text", "hello world");
    Store(HKEY_CURRENT_USER, section, "List", std::vector<CString>{"a", "b"});
    const std::pair<const char*, std::vector<std::string>> queries[] = {
        {"Dword", {"REG_DWORD", "0x2a"}},
        {"Text", {"REG_SZ", "hello world"}},
        {"List", {"REG_MULTI_SZ"}}};
    for (const auto& query : queries)
    {
        const std::string output = reg("query " + key + " /v " + query.first);
        for (const std::string& expected : query.second)
            EXPECT_NE(std::string::npos, output.find(expected)) << output;
    }
    reg("add " + key + " /v Added /t REG_DWORD /d 7 /f");
    reg("add " + key + " /v AddedText /t REG_SZ /d \"from reg\" /f");
    reg("add " + key + " /v AddedBytes /t REG_BINARY /d 00ff10 /f");
    EXPECT_EQ(7ul, Load<unsigned long>(HKEY_CURRENT_USER, section, "Added", 0));
    EXPECT_EQ(CString("from reg"), Load<CString>(HKEY_CURRENT_USER, section, "AddedText", ""));
    EXPECT_EQ((std::vector<unsigned char>{0, 0xFF, 0x10}),
              Load(HKEY_CURRENT_USER, section, "AddedBytes", std::vector<unsigned char>()));
}
#endif
