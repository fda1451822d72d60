#include "../Runtime.h"

// No COM, no structured exceptions (signals are not translated) and no modules for windows.
bool CppUtil::Platform::EnterSingleThreadedApartment()
{
    return false;
}

void CppUtil::Platform::LeaveComApartment() {}

bool CppUtil::Platform::SetSehHook(SehHookFunction)
{
    return false;
}

HINSTANCE CppUtil::Platform::LibraryInstance()
{
    return nullptr;
}
