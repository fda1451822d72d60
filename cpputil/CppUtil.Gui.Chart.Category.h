/// @file
/// One kind of data or event in a chart.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

namespace CppUtil
{
namespace Gui
{
namespace Chart
{

class CPPUTIL_API CCategory
{
public:
    enum EFlags
    {
        FLAGABLE = 1,
        CHARTABLE = 2,
        OPEN_IN_EXTERNAL_VIEWER = 4,
        ERROR_CATEGORY = 8
    };

    /// A non-empty parent name makes this a sub-category of the group of that name.
    CCategory(const CString& name, int flags, const CString& parentName)
        : m_sName(name), m_iFlags(flags), m_sParentName(parentName)
    {
    }

    CString GetName() const { return m_sName; }
    /// A sub-category is shown under its group's name.
    CString GetDisplayName() const { return IsSubCategory() ? m_sParentName : m_sName; }
    int GetFlags() const { return m_iFlags; }
    const CString& GetParentName() const { return m_sParentName; }

    bool IsFlagable() const { return (m_iFlags & FLAGABLE) != 0; }
    bool IsChartable() const { return (m_iFlags & CHARTABLE) != 0; }
    bool IsOpenInExternalViewer() const { return (m_iFlags & OPEN_IN_EXTERNAL_VIEWER) != 0; }
    bool IsError() const { return (m_iFlags & ERROR_CATEGORY) != 0; }
    bool IsSubCategory() const { return !m_sParentName.IsEmpty(); }
    bool IsSubCategoryOf(const CString& parentName) const { return m_sParentName == parentName; }

private:
    CString m_sName;
    int m_iFlags;
    CString m_sParentName;
};

} // namespace Chart
} // namespace Gui
} // namespace CppUtil
