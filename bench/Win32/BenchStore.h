// The registry benchmarks' store on Windows: the section key of HKCU, removed at the end, and the
// baseline's file in the temporary folder.
#pragma once

#include <cpputil/Platform/Registry/Registry.h>

#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <string>

class CBenchStore
{
public:
    explicit CBenchStore(const char* sectionKey) : m_szSectionKey(sectionKey) {}
    ~CBenchStore() { ::RegDeleteTreeA(HKEY_CURRENT_USER, m_szSectionKey); }
    CBenchStore(const CBenchStore&) = delete;
    CBenchStore& operator=(const CBenchStore&) = delete;

    std::string BaselineFile() const
    {
        const char* temp = std::getenv("TEMP");
        return std::string(temp ? temp : ".") + "\\cpputil-bench-small.txt";
    }

private:
    const char* m_szSectionKey;
};

namespace RegistryOps
{

// The baseline: a plain open, read and close of a small file.
inline int PlainRead(const std::string& path)
{
    char buffer[512];
    const int fd = ::_open(path.c_str(), _O_RDONLY | _O_BINARY);
    const int count = fd < 0 ? -1 : ::_read(fd, buffer, sizeof buffer);
    if (fd >= 0)
        ::_close(fd);
    return count;
}

} // namespace RegistryOps
