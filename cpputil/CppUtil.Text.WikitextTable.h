/// @file
/// Message tables written as wiki text, shared by the library and the message compiler.
#pragma once

#include "CppUtil.Api.h"

#include <cstdint>
#include <map>
#include <string>

namespace CppUtil
{
namespace Text
{

/// A wiki table ("{| ... |}") of messages, one row a message: its id in decimal (as users quote
/// it from "(ID module:number)"), its symbolic name (empty where none is known) and its text.
/// Rows come out in the order of their ids whatever order they were added in.
class CPPUTIL_API CWikitextTable
{
public:
    void AddMessage(std::uint32_t id, const std::string& symbolicName, const std::string& text);
    std::string Str() const;

    /// A text fit for one table cell: the line breaks at its end dropped, the others as
    /// "<br />", and every character that wiki or HTML markup would act on ('|', '{', '}', '[',
    /// ']', '<', '>', '&', '\'', '~') as a character reference, so that "||", "{{...}}",
    /// "[[...]]", "''", "~~~~" and tags show as they are. Underscores in a run of two or more are
    /// references too (no magic words such as __TOC__); bytes above 127 are references to their
    /// meaning in the ANSI code page, as in the library's HTML pages; control characters other
    /// than tab become '?', as they do there.
    static std::string Escape(const std::string& text);

private:
    std::map<std::uint32_t, std::string> m_oRows;
};

} // namespace Text
} // namespace CppUtil
