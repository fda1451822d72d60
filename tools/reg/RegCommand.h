// The commands of cpputil-reg, apart from the process so that they can be driven with streams.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace CppUtil
{
namespace Tools
{

// Runs one command line (without the program name); answers to confirmations are read from in.
int RunRegCommand(const std::vector<std::string>& arguments, std::istream& in, std::ostream& out,
                  std::ostream& err);

} // namespace Tools
} // namespace CppUtil
