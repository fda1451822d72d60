/// @file
/// Reads settings documents written by Boost.Serialization's xml_oarchive.
///
/// The document is read with Boost.PropertyTree's XML reader on every backend: Boost.Serialization
/// ships its archive classes as a compiled library, which not every toolchain we build with has
/// (MinGW-w64 on Debian has only the headers), and one reader for all keeps the backends alike.
/// The loading side of the Boost archive interface is offered, so the same `serialize` member
/// that saves an object through xml_oarchive loads it here:
///
///     CXmlIArchive archive("station.xml");
///     archive >> boost::serialization::make_nvp("station", station);
///
/// The format read is xml_oarchive's: a root element `boost_serialization` with signature
/// "serialization::archive", then one element per name-value pair. A class's element carries
/// class_id, tracking_level and version attributes the first time the document holds that class;
/// later elements of the same class have none and load with the version read first. An element
/// without any version, of a class not seen before, loads with version 0 (a document a person
/// wrote by hand). A version newer than `boost::serialization::version<T>` is refused, as
/// Boost's own reader does.
///
/// Loaded are: bool (0 or 1), integers and enumerations (decimal, and within the type's range),
/// float and double (xml_oarchive's scientific form, also nan and inf), std::string and CString
/// (the element's text byte for byte; a text of blanks only reads as empty), and classes with a
/// `template <class Archive> void serialize(Archive&, const unsigned int version)` member or a
/// free serialize function. Elements are found by name among the current element's children,
/// the first one not read yet, so their order does not matter. Collections, pointers and
/// long double are not read.
///
/// Every failure raises CQlException whose text names the file and, where there is one, the
/// element as a path from the document's top ("station/nozzle/offset"): a file that cannot be
/// opened, XML that is not well-formed or nests more than 100 elements deep, a root that is not
/// an archive, a missing element, and a value that does not fit its type ("abc" or "nan" into an
/// int, 300 into an unsigned char, 1e39 into a float). After a failure inside an object the
/// archive is back at the level where the failed load began.
#pragma once

#include "CppUtil.Api.h"
#include "Platform/Types/CString.h"

#include <boost/mpl/bool.hpp>
#include <boost/serialization/nvp.hpp>
#include <boost/serialization/serialization.hpp>
#include <boost/serialization/version.hpp>

#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace CppUtil
{
namespace Settings
{

class CPPUTIL_API CXmlIArchive
{
public:
    /// The archive concept's tags, for serialize functions that split saving from loading.
    typedef boost::mpl::bool_<true> is_loading;
    typedef boost::mpl::bool_<false> is_saving;

    /// Reads and checks the whole document; raises CQlException as described above.
    explicit CXmlIArchive(const CString& fileName);
    ~CXmlIArchive();
    CXmlIArchive(const CXmlIArchive&) = delete;
    CXmlIArchive& operator=(const CXmlIArchive&) = delete;

    template <class T>
    CXmlIArchive& operator>>(const boost::serialization::nvp<T>& item)
    {
        static_assert(!std::is_pointer<T>::value, "objects are loaded by value, not by pointer");
        static_assert(!std::is_same<T, long double>::value, "long double is not loaded");
        Load(item.name(), item.value());
        return *this;
    }
    template <class T>
    CXmlIArchive& operator&(const boost::serialization::nvp<T>& item)
    {
        return *this >> item;
    }

    const CString& GetFileName() const;
    /// For checks in a serialize function: raises CQlException whose text names the file and
    /// the element being loaded, followed by problem.
    [[noreturn]] void ThrowError(const CString& problem) const;

private:
    template <class T>
    void Load(const char* name, T& value)
    {
        if constexpr (std::is_enum<T>::value)
        {
            // xml_oarchive writes an enumeration as an int.
            long long number = 0;
            LoadSigned(name, number, std::numeric_limits<int>::min(),
                       std::numeric_limits<int>::max());
            value = static_cast<T>(number);
        }
        else if constexpr (std::is_same<T, bool>::value || std::is_floating_point<T>::value ||
                           std::is_same<T, std::string>::value || std::is_same<T, CString>::value)
        {
            LoadValue(name, value);
        }
        else if constexpr (std::is_integral<T>::value && std::is_signed<T>::value)
        {
            long long number = 0;
            LoadSigned(name, number, std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
            value = static_cast<T>(number);
        }
        else if constexpr (std::is_integral<T>::value)
        {
            unsigned long long number = 0;
            LoadUnsigned(name, number, std::numeric_limits<T>::max());
            value = static_cast<T>(number);
        }
        else
        {
            const unsigned int version =
                EnterObject(name, typeid(T), boost::serialization::version<T>::value);
            try
            {
                boost::serialization::serialize_adl(*this, value, version);
            }
            catch (...)
            {
                LeaveObject();
                throw;
            }
            LeaveObject();
        }
    }

    void LoadValue(const char* name, bool& value);
    void LoadValue(const char* name, float& value);
    void LoadValue(const char* name, double& value);
    void LoadValue(const char* name, std::string& value);
    void LoadValue(const char* name, CString& value);
    void LoadSigned(const char* name, long long& value, long long min, long long max);
    void LoadUnsigned(const char* name, unsigned long long& value, unsigned long long max);
    /// Makes the named child the current element; returns the class version to load it with.
    unsigned int EnterObject(const char* name, const std::type_info& type, unsigned int newest);
    void LeaveObject();

    struct SDocument;
    std::unique_ptr<SDocument> m_poDocument;
};

} // namespace Settings
} // namespace CppUtil
