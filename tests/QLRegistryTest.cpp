#include "QLRegistryTest.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/Platform/Registry/CRegKey.h>
#include <cpputil/RegistryValue.h>

#include <chrono>
#include <vector>

namespace
{

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
    // A name whose lower case another name has already is marked with a trailing '_'.
    const char* const names[] = {"\x80", "\x9F_", "z", "\xFF", "\xC9_", "\xB5", "\xE9", "\xDF"};
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
    EXPECT_EQ("z \xB5 \xDF \xE9 \xC9_ \xFF \x9F_ \x80 ", order);
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
    ASSERT_TRUE(
        ExchangeWithEditor(keyName, CQLRegistry::GetSectionKeyName(section), import, exported));
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
    ASSERT_EQ(1u, m_oRecorder.Texts().size());
    EXPECT_THAT(
        m_oRecorder.Texts()[0],
        ::testing::StartsWith(cannotOpen + "\\Z for write access. RegOpenKeyEx() failed with: "));

    CQLRegistry::GrantFullControlForEveryoneToKey(m_oOut, walk, true);
    ExpectOpenToEveryoneWithSubKeys(walk);
    CQLRegistry::GrantFullControlForEveryoneToKey(m_oOut, m_oSandbox.KeyPath("Nowhere"), false);
    ASSERT_EQ(3u, m_oRecorder.Texts().size());
    EXPECT_EQ("Could not set \"Everyone\" permission for HKEY_LOCAL_MACHINE\\" +
                  std::string(m_oSandbox.KeyPath("Nowhere")) +
                  " because the current user does not have write access to all subkeys.",
              m_oRecorder.Texts()[2]);
}
