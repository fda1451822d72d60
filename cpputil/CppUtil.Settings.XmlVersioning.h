/// @file
/// The version of a settings document as a whole.
///
/// A settings class holds one and serializes it first, under a name of its choosing; saving
/// (through xml_oarchive) writes the version this program supports, loading (through
/// CXmlIArchive) reads the document's. A document newer than the program is refused with a
/// CQlException naming the file, the element and both versions, before anything else of it is
/// read. An older document loads: the class reads only the elements its version has, and the
/// others keep the defaults the object had:
///
///     struct SStation
///     {
///         CXmlVersioning m_oVersioning{2};
///         CString m_sOperator = "unknown";
///         double m_dGain = 1.0; // since version 2
///
///         template <class Archive>
///         void serialize(Archive& archive, const unsigned int)
///         {
///             archive & boost::serialization::make_nvp("versioning", m_oVersioning);
///             archive & boost::serialization::make_nvp("operator", m_sOperator);
///             if (m_oVersioning.GetVersion() >= 2)
///                 archive & boost::serialization::make_nvp("gain", m_dGain);
///         }
///     };
///
/// In the document it is an element holding one element "version". This is the document's own
/// number, kept by the settings code; the class versions that Boost.Serialization writes
/// (BOOST_CLASS_VERSION) are checked by CXmlIArchive as well.
#pragma once

#include "CppUtil.Api.h"

#include <boost/serialization/nvp.hpp>

namespace CppUtil
{
namespace Settings
{

class CXmlIArchive;

class CPPUTIL_API CXmlVersioning
{
public:
    /// supported: the version this program writes and the newest it reads.
    explicit CXmlVersioning(unsigned int supported) : m_uVersion(supported), m_uSupported(supported)
    {
    }

    /// The loaded document's version; the supported one before loading and when saving.
    unsigned int GetVersion() const { return m_uVersion; }
    unsigned int GetSupportedVersion() const { return m_uSupported; }

    template <class Archive>
    void serialize(Archive& archive, const unsigned int)
    {
        archive& boost::serialization::make_nvp("version", m_uVersion);
        if constexpr (Archive::is_loading::value)
            CheckLoaded(archive);
    }

private:
    /// Refuses a document newer than supported, through the archive that read it.
    void CheckLoaded(const CXmlIArchive& archive) const;

    unsigned int m_uVersion;
    unsigned int m_uSupported;
};

} // namespace Settings
} // namespace CppUtil
