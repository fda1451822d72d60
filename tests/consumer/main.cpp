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

    const DWORD_PTR inserts[] = {MSG_CONSUMER_TABLE, reinterpret_cast<DWORD_PTR>("FormatMessageA")};
    char text[256];
    const DWORD length =
        FormatMessageA(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY,
                       GetModuleHandleA(nullptr), MSG_CONSUMER_TABLE, 0, text, sizeof text,
                       reinterpret_cast<va_list*>(const_cast<DWORD_PTR*>(inserts)));
    std::cout << std::string(text, length);
    if (consumer_crypto_check() == 0)
        std::cout << "consumer: AES and SHA-256 answer C code" << std::endl;
    return length != 0 ? 0 : 1;
}
