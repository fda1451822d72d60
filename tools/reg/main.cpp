// cpputil-reg: the administrator's command for the file registry of POSIX systems, with the verbs
// and switches of Windows' reg.exe.
//
//   cpputil-reg query  KeyName [/v ValueName | /ve] [/s]
//   cpputil-reg add    KeyName [/v ValueName | /ve] [/t Type] [/s Separator] [/d Data] [/f]
//   cpputil-reg delete KeyName [/v ValueName | /ve | /va] [/f]
//   cpputil-reg import FileName
//   cpputil-reg export KeyName FileName [/y]
//
// KeyName is HKLM\... or HKCU\... (or the long forms). The exit status is 0 on success, 1 on
// failure and on a declined confirmation.
#include "RegCommand.h"

#include <iostream>

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    return CppUtil::Tools::RunRegCommand(arguments, std::cin, std::cout, std::cerr);
}
