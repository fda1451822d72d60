// The registry benchmarks' store on POSIX systems: a temporary file registry, whose folder also
// holds the baseline's file; all of it goes at the end.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

class CBenchStore
{
public:
    // The section key goes with the folder.
    explicit CBenchStore(const char*)
    {
        char folder[] = "/tmp/cpputil-bench-XXXXXX";
        m_sRoot = ::mkdtemp(folder);
        ::setenv("CPPUTIL_REGISTRY_ROOT", m_sRoot.c_str(), 1);
    }
    ~CBenchStore()
    {
        std::string command = "rm -rf '" + m_sRoot + "'";
        if (std::system(command.c_str()) != 0)
            std::fprintf(stderr, "could not remove %s\n", m_sRoot.c_str());
    }
    CBenchStore(const CBenchStore&) = delete;
    CBenchStore& operator=(const CBenchStore&) = delete;

    std::string BaselineFile() const { return m_sRoot + "/small.txt"; }

private:
    std::string m_sRoot;
};

namespace RegistryOps
{

// The baseline: a plain open, read and close of a small file.
inline int PlainRead(const std::string& path)
{
    char buffer[512];
    const int fd = ::open(path.c_str(), O_RDONLY);
    const int count = fd < 0 ? -1 : static_cast<int>(::read(fd, buffer, sizeof buffer));
    if (fd >= 0)
        ::close(fd);
    return count;
}

} // namespace RegistryOps
