#include "LogRecorder.h"
#include "RegistrySandbox.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/Platform/CRegKey.h>
#include <cpputil/RegistryValue.h>

#include <chrono>
#include <cstdio>
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <cpputil/Platform/Posix/FileRegistry.h>
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
        CRegistryValue<T> value(m_oOut, hive, section, name, defaultValue, true, false, true);
        return value.GetValue();
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

// Runs first in this program: only the process's first store object reads the switch.
TEST_F(QLRegistryTest, FirstStoreObjectNotesTheExtractorSwitch)
{
    {
        CppUtil::Platform::CRegKey key;
        ASSERT_EQ(ERROR_SUCCESS,
                  key.Create(HKEY_CURRENT_USER,
                             CQLRegistry::GetSectionKeyName("WikitextMsgExtractor"), nullptr,
                             REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, nullptr));
        ASSERT_EQ(ERROR_SUCCESS, key.SetDWORDValue("Enable", 1));
    }
    {
        CQLRegistry first(m_oOut, HKEY_CURRENT_USER, m_oSandbox.Section("Any"), KEY_READ);
    }
    {
        CQLRegistry second(m_oOut, HKEY_CURRENT_USER, m_oSandbox.Section("Any"), KEY_READ);
    }
    const std::vector<std::string> texts = LogTexts();
    ASSERT_EQ(1u, texts.size());
    EXPECT_NE(std::string::npos, texts[0].find("WikitextMsgExtractor\\Enable"));
#if defined(_WIN32)
    ::RegDeleteTreeA(HKEY_CURRENT_USER, CQLRegistry::GetSectionKeyName("WikitextMsgExtractor"));
#endif
}

TEST_F(QLRegistryTest, TypedValuesRoundTripAndMissingOnesGiveDefaults)
{
    const CString section = m_oSandbox.Section("Typed");
    const HKEY hive = HKEY_CURRENT_USER;
    EXPECT_EQ(7ul, Load<unsigned long>(hive, section, "Dword", 7));
    EXPECT_EQ(CString("none"), Load<CString>(hive, section, "Text", "none"));

    Store<unsigned long>(hive, section, "Dword", 0xFFFFFFFFul);
    Store<unsigned long long>(hive, section, "Qword", 0xFEDCBA9876543210ull);
    Store<CString>(hive, section, "Text", "C:\\dir \"quoted\" = [x]");
    Store<CString>(hive, section, "Empty", "");
    Store(hive, section, "Bytes", std::vector<unsigned char>{0, 1, 0xFF, 0, 0x7F});
    Store(hive, section, "List", std::vector<CString>{"ab", "c", "d e"});
    Store(hive, section, "NoList", std::vector<CString>());
    Store(hive, section, "Third", 1.0 / 3);
    Store(hive, section, "Huge", -1.5e300);

    EXPECT_EQ(0xFFFFFFFFul, Load<unsigned long>(hive, section, "dword", 7));
    EXPECT_EQ(0xFEDCBA9876543210ull, Load<unsigned long long>(hive, section, "QWORD", 1));
    EXPECT_EQ(CString("C:\\dir \"quoted\" = [x]"), Load<CString>(hive, section, "Text", "none"));
    EXPECT_EQ(CString(""), Load<CString>(hive, section, "Empty", "none"));
    EXPECT_EQ((std::vector<unsigned char>{0, 1, 0xFF, 0, 0x7F}),
              Load(hive, section, "Bytes", std::vector<unsigned char>{9}));
    EXPECT_EQ((std::vector<CString>{"ab", "c", "d e"}),
              Load(hive, section, "List", std::vector<CString>{"x"}));
    EXPECT_EQ(std::vector<CString>(), Load(hive, section, "NoList", std::vector<CString>{"x"}));
    EXPECT_EQ(std::vector<CString>{"x"}, Load(hive, section, "Missing", std::vector<CString>{"x"}));
    EXPECT_EQ(1.0 / 3, Load(hive, section, "Third", 0.0));
    EXPECT_EQ(-1.5e300, Load(hive, section, "Huge", 0.0));
    EXPECT_EQ(2.5, Load(hive, section, "Missing", 2.5));

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

TEST_F(QLRegistryTest, ValueOfAnotherTypeReadsAsDefaultUntilRewritten)
{
    const CString section = m_oSandbox.Section("Types");
    Store<CString>(HKEY_CURRENT_USER, section, "Number", "12");
    Store<unsigned long>(HKEY_CURRENT_USER, section, "Text", 12);
    Store<CString>(HKEY_CURRENT_USER, section, "Real", "1.5x");
    EXPECT_EQ(5ul, Load<unsigned long>(HKEY_CURRENT_USER, section, "Number", 5));
    EXPECT_EQ(5ull, Load<unsigned long long>(HKEY_CURRENT_USER, section, "Text", 5));
    EXPECT_EQ(CString("d"), Load<CString>(HKEY_CURRENT_USER, section, "Text", "d"));
    EXPECT_EQ(std::vector<unsigned char>{1},
              Load(HKEY_CURRENT_USER, section, "Text", std::vector<unsigned char>{1}));
    EXPECT_EQ(std::vector<CString>{"d"},
              Load(HKEY_CURRENT_USER, section, "Number", std::vector<CString>{"d"}));
    EXPECT_EQ(0.25, Load(HKEY_CURRENT_USER, section, "Real", 0.25));

    Store<unsigned long>(HKEY_CURRENT_USER, section, "Number", 12);
    EXPECT_EQ(12ul, Load<unsigned long>(HKEY_CURRENT_USER, section, "Number", 5));
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
    EXPECT_EQ(static_cast<DWORD>(KEY_READ), reader.GetGrantedAccess());
    EXPECT_FALSE(reader.CurrentUserHasWritePermission());
    EXPECT_TRUE(reader.IsValuePresent("PRESENT"));
    EXPECT_FALSE(reader.IsValuePresent("Absent"));
    CQLRegistry copy(reader);
    EXPECT_TRUE(copy.IsValuePresent("Present"));

    CQLRegistry writer(m_oOut, HKEY_CURRENT_USER, section, KEY_ALL_ACCESS);
    EXPECT_TRUE(writer.CurrentUserHasWritePermission());
}

TEST_F(QLRegistryTest, FailedWritesRaiseTheStoreTexts)
{
    // No registry takes a key name of 300 characters.
    const CString section = m_oSandbox.Section(std::string(300, 'k'));
    CRegistryValue<unsigned long> value(m_oOut, HKEY_CURRENT_USER, section, "V", 3, true, false,
                                        false);
    try
    {
        value.SetValue(4);
        ADD_FAILURE() << "the write succeeded";
    }
    catch (const CppUtil::Exception::CQlException& e)
    {
        EXPECT_EQ("Could not create or write registry key [" +
                      std::string(CQLRegistry::GetSectionKeyName(section)) +
                      "].\nIn order to run the software successfully, you must have \"Full "
                      "Control\" permissions for this key.",
                  std::string(e.what()));
        EXPECT_EQ(CString("CppUtil::Settings::CRegistryValue<unsigned long>::SetValue"),
                  e.GetFunction());
        EXPECT_EQ(CString("RegistryValue"), e.GetFile());
    }
    value.SetValue(4, true);
    EXPECT_EQ(3ul, value.GetValue());
    EXPECT_THROW(CQLRegistry::SetHklmPermissionSectionKeys(m_oOut, {section}),
                 CppUtil::Exception::CQlException);
    CQLRegistry::SetHklmPermissionSectionKeys(m_oOut, {});

#if !defined(_WIN32)
    // The file registry refuses value names that would break its lines.
    CRegistryValue<unsigned long> broken(m_oOut, HKEY_CURRENT_USER, m_oSandbox.Section("Ok"),
                                         "a\nb", 0, true, false, false);
    try
    {
        broken.SetValue(1);
        ADD_FAILURE() << "the write succeeded";
    }
    catch (const CppUtil::Exception::CQlException& e)
    {
        EXPECT_EQ(std::string("Could not set DWORD value \"a\nb\" to registry. Error code = 87"),
                  e.what());
        EXPECT_EQ(CString("CppUtil::Settings::CQLRegistry::SetDWORDValue"), e.GetFunction());
        EXPECT_EQ(CString("QLRegistry"), e.GetFile());
    }
#endif
}

TEST_F(QLRegistryTest, PermissionSectionsMatchInAnyCaseAndDecideTheGrant)
{
    const CString listed = m_oSandbox.Section("Perm\\Shared");
    const CString other = m_oSandbox.Section("Private");
    CQLRegistry::SetHklmPermissionSectionKeys(m_oOut, {listed});
    EXPECT_EQ(CString("Everyone"), Load<CString>(HKEY_LOCAL_MACHINE, listed, "Permission", ""));

    CString shouted = listed;
    shouted.MakeUpper();
    {
        CQLRegistry reader(m_oOut, HKEY_LOCAL_MACHINE, shouted, KEY_READ);
        EXPECT_FALSE(reader.ShouldGrantHklmSectionKeyPermissionToEveryone());
        CQLRegistry opened(m_oOut, HKEY_LOCAL_MACHINE, shouted, KEY_ALL_ACCESS);
        EXPECT_TRUE(opened.ShouldGrantHklmSectionKeyPermissionToEveryone());
        CQLRegistry user(m_oOut, HKEY_CURRENT_USER, listed, KEY_READ);
        EXPECT_TRUE(user.Create());
        EXPECT_FALSE(user.ShouldGrantHklmSectionKeyPermissionToEveryone());
        CQLRegistry unlisted(m_oOut, HKEY_LOCAL_MACHINE, other, KEY_READ);
        EXPECT_TRUE(unlisted.Create());
        EXPECT_FALSE(unlisted.ShouldGrantHklmSectionKeyPermissionToEveryone());
        CQLRegistry parent(m_oOut, HKEY_LOCAL_MACHINE, m_oSandbox.Section("Perm"), KEY_READ);
        EXPECT_TRUE(parent.Create());
        EXPECT_FALSE(parent.ShouldGrantHklmSectionKeyPermissionToEveryone());
    }
    bool inherits = true;
    EXPECT_TRUE(IsOpenToEveryone(CQLRegistry::GetSectionKeyName(listed), &inherits));
    EXPECT_FALSE(inherits);
    EXPECT_FALSE(IsOpenToEveryone(CQLRegistry::GetSectionKeyName(other)));
    EXPECT_FALSE(IsOpenToEveryone(CQLRegistry::GetSectionKeyName(m_oSandbox.Section("Perm"))));
    EXPECT_TRUE(m_oRecorder.Lines().empty());

    CQLRegistry::SetHklmPermissionSectionKeys(m_oOut, {});
    CQLRegistry later(m_oOut, HKEY_LOCAL_MACHINE, listed, KEY_ALL_ACCESS);
    EXPECT_FALSE(later.ShouldGrantHklmSectionKeyPermissionToEveryone());
}

TEST_F(QLRegistryTest, WriteAccessWalkCoversEveryChildKey)
{
    for (const char* section : {"Walk\\A", "Walk\\B\\C", "Walk\\B\\D"})
        Store<unsigned long>(HKEY_LOCAL_MACHINE, m_oSandbox.Section(section), "V", 1);
    const CString walk = m_oSandbox.KeyPath("Walk");
    EXPECT_TRUE(CQLRegistry::CurrentUserHasWriteAccessToAllChildKeys(m_oOut, walk));
    EXPECT_FALSE(CQLRegistry::CurrentUserHasWriteAccessToAllChildKeys(m_oOut, walk + "\\Z"));
    const std::vector<std::string> missing = LogTexts();
    ASSERT_EQ(1u, missing.size());
    EXPECT_EQ(0u, missing[0].find("Could not open " + std::string(walk) +
                                  "\\Z for write access. RegOpenKeyEx() failed with: "));

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
    EXPECT_EQ(3u, LogTexts().size());
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
        const bool writable = CQLRegistry::CurrentUserHasWriteAccessToAllChildKeys(m_oOut, walk);
        CQLRegistry::GrantFullControlForEveryoneToKey(m_oOut, walk, false);
        const std::vector<std::string> texts = LogTexts();
        const std::string expected = "Could not open " + std::string(walk) +
                                     "\\B\\C for write access. RegOpenKeyEx() failed with: "
                                     "Access is denied.";
        int status = writable ? 1 : 0;
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
namespace
{

// Runs Wine's (or Windows') own reg.exe and returns what it printed.
std::string RunReg(const std::string& arguments)
{
    std::string output;
    FILE* pipe = ::_popen(("reg " + arguments + " 2>&1").c_str(), "r");
    if (!pipe)
        return output;
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe))
        output += buffer;
    ::_pclose(pipe);
    return output;
}

} // namespace

TEST_F(QLRegistryTest, SystemRegToolAgreesWithTheStore)
{
    const CString section = m_oSandbox.Section("Cross");
    const std::string key = "HKCU\\" + std::string(CQLRegistry::GetSectionKeyName(section));
    Store<unsigned long>(HKEY_CURRENT_USER, section, "Dword", 0x2A);
    Store<CString>(HKEY_CURRENT_USER, section, "Text", "hello world");
    Store(HKEY_CURRENT_USER, section, "List", std::vector<CString>{"a", "b"});
    const std::string dword = RunReg("query \"" + key + "\" /v Dword");
    EXPECT_NE(std::string::npos, dword.find("REG_DWORD")) << dword;
    EXPECT_NE(std::string::npos, dword.find("0x2a")) << dword;
    const std::string text = RunReg("query \"" + key + "\" /v Text");
    EXPECT_NE(std::string::npos, text.find("REG_SZ")) << text;
    EXPECT_NE(std::string::npos, text.find("hello world")) << text;
    const std::string list = RunReg("query \"" + key + "\" /v List");
    EXPECT_NE(std::string::npos, list.find("REG_MULTI_SZ")) << list;

    RunReg("add \"" + key + "\" /v Added /t REG_DWORD /d 7 /f");
    RunReg("add \"" + key + "\" /v AddedText /t REG_SZ /d \"from reg\" /f");
    RunReg("add \"" + key + "\" /v AddedBytes /t REG_BINARY /d 00ff10 /f");
    EXPECT_EQ(7ul, Load<unsigned long>(HKEY_CURRENT_USER, section, "Added", 0));
    EXPECT_EQ(CString("from reg"), Load<CString>(HKEY_CURRENT_USER, section, "AddedText", ""));
    EXPECT_EQ((std::vector<unsigned char>{0, 0xFF, 0x10}),
              Load(HKEY_CURRENT_USER, section, "AddedBytes", std::vector<unsigned char>()));
}
#endif
