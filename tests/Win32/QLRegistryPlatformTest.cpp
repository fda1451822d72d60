// The settings store against Windows' own registry tools and security descriptors.
#include "../QLRegistryTest.h"
#include "../ScratchFolder.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <utility>

bool IsOpenToEveryone(const CString& keyPath, bool* inherits)
{
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
}

void ExpectOpenToEveryoneWithSubKeys(const CString& walk)
{
    // Wine, unlike Windows, does not carry an inheritable entry down to existing sub-keys: the
    // entry itself must ask for it.
    bool inherits = false;
    EXPECT_TRUE(IsOpenToEveryone(walk, &inherits));
    EXPECT_TRUE(inherits);
}

bool ExchangeWithEditor(const std::string& keyName, const CString&, const std::string& import,
                        std::string& exported)
{
    const CScratchFolder folder;
    const std::string path = folder / "editor.reg";
    const auto regedit = [](const std::string& arguments)
    { return std::system(("regedit " + arguments + " 2>NUL").c_str()); };
    regedit("/e \"" + path + "\" \"" + keyName + "\"");
    exported = ReadAll(path);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << import;
    regedit("/s \"" + path + "\"");
    return true;
}

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
            EXPECT_THAT(output, ::testing::HasSubstr(expected));
    }
    reg("add " + key + " /v Added /t REG_DWORD /d 7 /f");
    reg("add " + key + " /v AddedText /t REG_SZ /d \"from reg\" /f");
    reg("add " + key + " /v AddedBytes /t REG_BINARY /d 00ff10 /f");
    EXPECT_EQ(7ul, Load<unsigned long>(HKEY_CURRENT_USER, section, "Added", 0));
    EXPECT_EQ(CString("from reg"), Load<CString>(HKEY_CURRENT_USER, section, "AddedText", ""));
    EXPECT_EQ((std::vector<unsigned char>{0, 0xFF, 0x10}),
              Load(HKEY_CURRENT_USER, section, "AddedBytes", std::vector<unsigned char>()));
}
