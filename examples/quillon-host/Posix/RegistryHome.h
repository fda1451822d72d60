// Where the host's settings live on POSIX systems: a file registry.
#pragma once

#include <filesystem>
#include <stdlib.h>

// The file registry lives in the run's folder unless one was chosen.
inline void PlaceRegistry(const std::filesystem::path& folder)
{
    ::setenv("CPPUTIL_REGISTRY_ROOT", folder.string().c_str(), 0);
}
