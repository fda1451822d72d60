// The settings store against the file registry: its folders' modes are its permissions.
#include "../QLRegistryTest.h"

#include <cpputil/Platform/Registry/Posix/FileRegistry.h>
#include <cpputil/Platform/Registry/Posix/RegFile.h>

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

bool IsOpenToEveryone(const CString& keyPath, bool* inherits)
{
    std::string folder;
    struct stat info;
    if (inherits)
        *inherits = false;
    return CppUtil::Platform::CFileRegistry::FindKey(
               CppUtil::Platform::CFileRegistry::HiveFolder(HKEY_LOCAL_MACHINE),
               keyPath.GetString(), false, folder) == ERROR_SUCCESS &&
           ::stat(folder.c_str(), &info) == 0 && (info.st_mode & 0002) != 0;
}

void ExpectOpenToEveryoneWithSubKeys(const CString& walk)
{
    EXPECT_TRUE(IsOpenToEveryone(walk));
    EXPECT_TRUE(IsOpenToEveryone(walk + "\\B\\C"));
}

bool ExchangeWithEditor(const std::string& keyName, const CString& keyPath,
                        const std::string& import, std::string& exported)
{
    using CppUtil::Platform::CFileRegistry;
    using CppUtil::Platform::CRegFile;
    std::string folder;
    std::vector<CppUtil::Platform::SRegSection> sections;
    if (CFileRegistry::FindKey(CFileRegistry::HiveFolder(HKEY_CURRENT_USER), std::string(keyPath),
                               false, folder) != ERROR_SUCCESS)
        return false;
    exported =
        CRegFile::ToUtf16(CRegFile::Write({{keyName, false, CFileRegistry::ReadValues(folder)}}));
    if (!CRegFile::Parse(import, sections) || sections.size() != 1)
        return false;
    return CFileRegistry::UpdateValues(
               folder, keyName,
               [&sections](std::vector<CppUtil::Platform::SRegValue>& values)
               {
                   for (const auto& value : sections[0].m_oValues)
                       values.push_back(value);
                   return true;
               }) == ERROR_SUCCESS;
}

// The walk stops at a sub-key this user cannot write, and nothing is granted then.
TEST_F(QLRegistryTest, WriteAccessWalkStopsAtAKeyThisUserCannotWrite)
{
    for (const char* section : {"Walk\\A", "Walk\\B\\C", "Walk\\B\\D"})
        Store<unsigned long>(HKEY_LOCAL_MACHINE, m_oSandbox.Section(section), "V", 1);
    const CString walk = m_oSandbox.KeyPath("Walk");
    CQLRegistry::GrantFullControlForEveryoneToKey(m_oOut, walk, true);
    // A sub-key this user cannot write; root writes everywhere, so the walk runs in a child that
    // has given up root.
    std::string locked;
    ASSERT_EQ(ERROR_SUCCESS, CppUtil::Platform::CFileRegistry::FindKey(
                                 CppUtil::Platform::CFileRegistry::HiveFolder(HKEY_LOCAL_MACHINE),
                                 std::string(walk) + "\\B\\C", false, locked));
    ASSERT_EQ(0, ::chmod(locked.c_str(), 0555));
    ASSERT_EQ(0, ::chmod(m_oSandbox.Root().c_str(), 0755));
    const std::size_t before = m_oRecorder.Texts().size();
    // The child exits with 1 when the walk passed, 2 on wrong log lines, 10 without setuid.
    EXPECT_EXIT(
        {
            if (::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0))
                ::_exit(10);
            int status = CQLRegistry::CurrentUserHasWriteAccessToAllChildKeys(m_oOut, walk) ? 1 : 0;
            CQLRegistry::GrantFullControlForEveryoneToKey(m_oOut, walk, false);
            const std::vector<std::string> texts = m_oRecorder.Texts();
            const std::string expected = "Could not open " + std::string(walk) +
                                         "\\B\\C for write access. RegOpenKeyEx() failed with: "
                                         "Access is denied.";
            if (texts.size() != before + 3 || texts[before] != expected ||
                texts[before + 1] != expected ||
                texts[before + 2].find("Could not set \"Everyone\" permission") != 0)
                status |= 2;
            for (const std::string& text : texts)
                std::fprintf(stderr, "child log: %s\n", text.c_str());
            ::_exit(status);
        },
        ::testing::ExitedWithCode(0), "");
    struct stat info;
    ASSERT_EQ(0, ::stat(locked.c_str(), &info));
    EXPECT_EQ(0555u, info.st_mode & 0777u);
    ::chmod(locked.c_str(), 0755);
}
