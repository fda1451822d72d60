// What a call throws, for tests that check the text of an exception and, for the library's own,
// the place it names.
#pragma once

#include <cpputil/CppUtil.Exception.QlException.h>

#include <gtest/gtest.h>

#include <exception>
#include <string>

// The text of the exception of type TException that the call throws; a failure when none comes.
template <class TException = std::exception, class TCall>
std::string Thrown(const TCall& call)
{
    try
    {
        call();
    }
    catch (const TException& e)
    {
        return e.what();
    }
    ADD_FAILURE() << "the call threw nothing";
    return std::string();
}

// The text of the library exception that the call throws, which must name this function, file
// and line.
template <class TCall>
std::string ThrownAt(const TCall& call, const std::string& function, const char* file,
                     unsigned int line)
{
    try
    {
        call();
    }
    catch (const CppUtil::Exception::CQlException& e)
    {
        EXPECT_STREQ(function.c_str(), e.GetFunction());
        EXPECT_STREQ(file, e.GetFile());
        EXPECT_EQ(line, e.GetLine());
        return e.what();
    }
    ADD_FAILURE() << "no exception from " << function;
    return std::string();
}
