// A program outside the tree that logs one line through an installed CppUtil, reads a message of
// its own message table and, from C, encrypts and hashes through the C exports.
#include "Consumer.h"

#include <cpputil/CppUtil.h>

#include <iostream>
#include <string>

extern "C" int consumer_crypto_check(void);

int main()
{
    using namespace CppUtil::Text;
    CMessageManager* manager = new CMessageManager;
    COutput out(manager);
    manager->SetLoggingEventHandler([](const char* text, bool, const char*, ELogEntryDestination)
                                    { std::cout << "consumer: " << text << std::endl; });
    out.LogF("Lot %s logged through %s", 0u) % "A-17" % "CppUtil";

    // The empty module name is the program itself.
    const CString text =
        CppUtil::CCompiledMsgBase(MSG_CONSUMER_TABLE, "", "MSG_CONSUMER_TABLE").LoadCStr();
    std::cout << text.GetString();
    if (consumer_crypto_check() == 0)
        std::cout << "consumer: AES and SHA-256 answer C code" << std::endl;
    return 0;
}
