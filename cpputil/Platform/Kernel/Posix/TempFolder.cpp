#include "../TempFolder.h"

#include <filesystem>

std::string CppUtil::Platform::GetTempFolder(CString& folder)
{
    // Paths are bytes here, taken as they are.
    std::error_code error;
    const std::filesystem::path path = std::filesystem::temp_directory_path(error);
    if (error)
        return error.message();
    folder = path.native().c_str();
    return std::string();
}
