#include "CppUtil.Settings.XmlVersioning.h"

#include "CppUtil.Settings.XmlIArchive.h"

namespace CppUtil
{
namespace Settings
{

void CXmlVersioning::CheckLoaded(const CXmlIArchive& archive) const
{
    if (m_uVersion <= m_uSupported)
        return;
    CString problem;
    problem.Format("the document has version %u, newer than version %u, the newest this program "
                   "reads.",
                   m_uVersion, m_uSupported);
    archive.ThrowError(problem);
}

} // namespace Settings
} // namespace CppUtil
