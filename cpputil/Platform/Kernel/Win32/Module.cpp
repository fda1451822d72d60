#include "../Module.h"

HINSTANCE CppUtil::Platform::LibraryInstance()
{
    static HINSTANCE s_hInstance = []
    {
        HMODULE module = nullptr;
        ::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                 GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                             reinterpret_cast<LPCSTR>(&LibraryInstance), &module);
        return module;
    }();
    return s_hInstance;
}
