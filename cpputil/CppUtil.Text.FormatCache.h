/// @file
/// Pool of parsed boost::format objects, keyed by their format text.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <boost/format.hpp>
#include <memory>
#include <vector>

namespace CppUtil
{
namespace Text
{

class CFormatCache;

/// A parsed format on loan from the pool, with the text it was parsed from.
class CPPUTIL_API CPooledFormat
{
public:
    CPooledFormat(const CString& text, const boost::format& format)
        : m_sText(text), m_oFormat(format), m_poSlot(nullptr), m_uGeneration(0)
    {
    }

    const CString& GetText() const { return m_sText; }
    boost::format& Format() { return m_oFormat; }
    const boost::format& Format() const { return m_oFormat; }

private:
    friend class CFormatCache;

    CString m_sText;
    boost::format m_oFormat;
    /// Where the pool keeps formats of this text, valid while the pool's generation is unchanged:
    /// giving a format back then needs no lookup.
    std::vector<std::unique_ptr<CPooledFormat>>* m_poSlot;
    unsigned int m_uGeneration;
};

/// Parsing a format text costs more than applying it, and a host logs the same few hundred texts
/// over and over. A builder borrows a parsed format for its text and gives it back cleared, so a
/// text is parsed about once. A borrowed format belongs to its builder alone.
class CPPUTIL_API CFormatCache
{
public:
    /// A format for text with no arguments fed: a pooled one when there is one, otherwise a
    /// freshly parsed one.
    static std::unique_ptr<CPooledFormat> Acquire(const CString& text);

    /// Gives a format back to the pool after clearing its arguments.
    static void Release(std::unique_ptr<CPooledFormat> format);

    /// How many formats the pool holds, for tests and diagnostics.
    static std::size_t GetPooledCount();

private:
    CFormatCache() = delete;
};

} // namespace Text
} // namespace CppUtil
