// This test program started once more, running one test (disabled ones too) with one more
// environment variable, to be killed with no clean-up of any kind.
#pragma once

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

class CSelfProcess
{
public:
    CSelfProcess(const char* variable, const std::string& value, const std::string& test)
    {
        const std::string filter = "--gtest_filter=" + test;
        const std::string disabled = "--gtest_also_run_disabled_tests";
        ::setenv(variable, value.c_str(), 1);
        std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
        char* argv[] = {&self[0], const_cast<char*>(filter.c_str()),
                        const_cast<char*>(disabled.c_str()), nullptr};
        m_bStarted = ::posix_spawn(&m_iPid, self.c_str(), nullptr, nullptr, argv, environ) == 0;
    }

    // No clean-up of any kind runs in the writer.
    void Kill()
    {
        ::kill(m_iPid, SIGKILL);
        int status = 0;
        ::waitpid(m_iPid, &status, 0);
    }

    bool m_bStarted = false;

private:
    pid_t m_iPid = 0;
};
