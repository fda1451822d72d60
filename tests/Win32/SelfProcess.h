// This test program started once more, running one test (disabled ones too) with one more
// environment variable, to be killed with no clean-up of any kind.
#pragma once

#include <cpputil/Platform/Types/WinTypes.h>
#include <string>

class CSelfProcess
{
public:
    CSelfProcess(const char* variable, const std::string& value, const std::string& test)
    {
        const std::string filter = "--gtest_filter=" + test;
        const std::string disabled = "--gtest_also_run_disabled_tests";
        ::SetEnvironmentVariableA(variable, value.c_str());
        char self[MAX_PATH];
        ::GetModuleFileNameA(nullptr, self, MAX_PATH);
        std::string command = "\"" + std::string(self) + "\" " + filter + " " + disabled;
        STARTUPINFOA startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION info = {};
        m_bStarted = ::CreateProcessA(self, &command[0], nullptr, nullptr, FALSE, 0, nullptr,
                                      nullptr, &startup, &info) != FALSE;
        if (m_bStarted)
        {
            ::CloseHandle(info.hThread);
            m_hProcess = info.hProcess;
        }
    }

    // No clean-up of any kind runs in the writer.
    void Kill()
    {
        ::TerminateProcess(m_hProcess, 9);
        ::WaitForSingleObject(m_hProcess, INFINITE);
        ::CloseHandle(m_hProcess);
    }

    bool m_bStarted = false;

private:
    HANDLE m_hProcess = nullptr;
};
