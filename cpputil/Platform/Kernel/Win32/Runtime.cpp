#include "../Runtime.h"

#if CPPUTIL_COMPILER_MSVC
#include <eh.h>
#endif
#include <objbase.h>

bool CppUtil::Platform::EnterSingleThreadedApartment()
{
    // S_FALSE (already initialised the same way) still has to be balanced.
    return SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
}

void CppUtil::Platform::LeaveComApartment()
{
    ::CoUninitialize();
}

bool CppUtil::Platform::SetSehHook(SehHookFunction translator)
{
#if CPPUTIL_COMPILER_MSVC
    _set_se_translator(translator);
    return true;
#else
    // MinGW's runtime has no hook for structured exceptions.
    (void)translator;
    return false;
#endif
}

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
