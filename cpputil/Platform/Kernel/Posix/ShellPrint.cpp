#include "../ShellPrint.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace
{

// The system's default search path, which a shell uses while PATH is unset.
std::string DefaultPath()
{
    const std::size_t size = ::confstr(_CS_PATH, nullptr, 0);
    if (size == 0)
        return "/usr/bin:/bin";
    std::string path(size, '\0');
    ::confstr(_CS_PATH, &path[0], size);
    path.resize(size - 1);
    return path;
}

// The first "lp" on PATH that is an executable file, as a shell would find it; empty when there
// is none.
std::string FindLp()
{
    const char* path = std::getenv("PATH");
    const std::string folders = path ? path : DefaultPath();
    std::size_t start = 0;
    while (start <= folders.size())
    {
        std::size_t end = folders.find(':', start);
        if (end == std::string::npos)
            end = folders.size();
        // An empty entry means the current folder, as for the shell.
        const std::string folder = end == start ? "." : folders.substr(start, end - start);
        const std::string candidate = folder + "/lp";
        struct stat status;
        if (::stat(candidate.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    return std::string();
}

} // namespace

std::string CppUtil::Platform::PrintFile(const std::string& path)
{
    const std::string lp = FindLp();
    if (lp.empty())
        return "no print command: \"lp\" was not found on PATH";
    // "--" so that a file name starting with '-' is not taken for an option.
    std::string arguments[] = {"lp", "--", path};
    char* argv[] = {&arguments[0][0], &arguments[1][0], &arguments[2][0], nullptr};
    // lp tells the job's number on its output, which is not ours to show.
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    const std::unique_ptr<posix_spawn_file_actions_t, int (*)(posix_spawn_file_actions_t*)> release(
        &actions, ::posix_spawn_file_actions_destroy);
    ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const int error = ::posix_spawn(&child, lp.c_str(), &actions, nullptr, argv, environ);
    if (error != 0)
        return lp + " could not be started: " + std::strerror(error);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
    {
        if (errno != EINTR)
            return lp + " could not be waited for: " + std::strerror(errno);
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return std::string();
    if (WIFEXITED(status))
        return lp + " failed with exit status " + std::to_string(WEXITSTATUS(status));
    return lp + " was ended by signal " + std::to_string(WTERMSIG(status));
}
