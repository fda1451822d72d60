// A program outside the tree that logs one line through an installed CppUtil.
#include <cpputil/CppUtil.h>

#include <iostream>

int main()
{
    using namespace CppUtil::Text;
    CMessageManager* manager = new CMessageManager;
    COutput out(manager);
    manager->SetLoggingEventHandler([](const char* text, bool, const char*, ELogEntryDestination)
                                    { std::cout << "consumer: " << text << std::endl; });
    out.LogF("Lot %s logged through %s", 0u) % "A-17" % "CppUtil";
    return 0;
}
