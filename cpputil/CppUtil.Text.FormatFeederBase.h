/// @file
/// Base of every text builder: a format text fed its arguments one by one with operator%.
#pragma once

#include "CppUtil.Text.FormatCache.h"
#include "Platform/Types/CString.h"

#include <boost/format.hpp>
#include <memory>
#include <utility>

namespace CppUtil
{
namespace Text
{

/// T is the derived builder; operator% returns it so that feeding chains keep the builder's type.
template <class T>
class CFormatFeederBase
{
public:
    explicit CFormatFeederBase(const CString& format) : m_poFormat(CFormatCache::Acquire(format)) {}

    /// A copy carries the arguments fed so far in a format of its own.
    CFormatFeederBase(const CFormatFeederBase& other)
        : m_poFormat(std::make_unique<CPooledFormat>(*other.m_poFormat))
    {
    }

    CFormatFeederBase(CFormatFeederBase&& other) noexcept : m_poFormat(std::move(other.m_poFormat))
    {
    }

    CFormatFeederBase& operator=(const CFormatFeederBase& other)
    {
        if (this != &other)
            m_poFormat = std::make_unique<CPooledFormat>(*other.m_poFormat);
        return *this;
    }

    /// Derived builders write in their destructors and may throw from there.
    virtual ~CFormatFeederBase() noexcept(false) { CFormatCache::Release(std::move(m_poFormat)); }

    /// Feeds one argument with boost::format's rules (too many arguments throw
    /// boost::io::too_many_args; manipulators such as boost::io::group are accepted).
    template <class A>
    T& operator%(const A& argument)
    {
        m_poFormat->Format() % argument;
        return ReturnMyself();
    }

    /// The format with every fed argument applied; throws boost::io::too_few_args while
    /// arguments are missing.
    CString GetString() const { return CString(m_poFormat->Format().str()); }

    /// The format text as given, before any argument.
    const CString& GetFormatText() const { return m_poFormat->GetText(); }

private:
    virtual T& ReturnMyself() = 0;

    std::unique_ptr<CPooledFormat> m_poFormat;
};

} // namespace Text
} // namespace CppUtil
