// Where the host's settings live on Windows: the system's own registry.
#pragma once

#include <filesystem>

// Windows has one registry for every run: there is nothing to place.
inline void PlaceRegistry(const std::filesystem::path&) {}
