#include "../Module.h"

HINSTANCE CppUtil::Platform::LibraryInstance()
{
    return nullptr;
}
