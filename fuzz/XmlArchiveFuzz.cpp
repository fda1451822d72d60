// Any file given to CXmlIArchive either loads or raises CQlException; nothing else escapes and
// nothing crashes, whatever the nesting, the attributes or the values.
#include "FuzzCheck.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Settings.XmlIArchive.h>
#include <cpputil/CppUtil.Settings.XmlVersioning.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

using boost::serialization::make_nvp;

namespace
{

struct SNozzle
{
    int m_iNumber = 0;
    float m_fOffset = 0.0f;
    unsigned char m_uGrade = 0;

    template <class Archive>
    void serialize(Archive& archive, const unsigned int version)
    {
        archive& make_nvp("number", m_iNumber) & make_nvp("offset", m_fOffset);
        if (version >= 1)
            archive& make_nvp("grade", m_uGrade);
    }
};

struct SStation
{
    CppUtil::Settings::CXmlVersioning m_oVersioning{2};
    CString m_sName;
    bool m_bEnabled = false;
    SNozzle m_oFirst;
    SNozzle m_oSecond;
    double m_dGain = 1.0;
    unsigned long long m_uCount = 0;

    template <class Archive>
    void serialize(Archive& archive, const unsigned int)
    {
        archive& make_nvp("versioning", m_oVersioning) & make_nvp("name", m_sName);
        archive& make_nvp("enabled", m_bEnabled) & make_nvp("first", m_oFirst);
        archive& make_nvp("second", m_oSecond);
        if (m_oVersioning.GetVersion() >= 2)
            archive& make_nvp("gain", m_dGain) & make_nvp("count", m_uCount);
    }
};

} // namespace

BOOST_CLASS_VERSION(SNozzle, 1)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // One file per fuzzing process, gone when the process ends.
    static const struct SInputFile
    {
        const std::string m_sPath =
            (std::filesystem::temp_directory_path() /
             ("cpputil-xml-archive-fuzz-" + std::to_string(::getpid()) + ".xml"))
                .string();
        ~SInputFile() { std::remove(m_sPath.c_str()); }
    } input;
    const std::string& file = input.m_sPath;
    std::ofstream(file, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    try
    {
        CppUtil::Settings::CXmlIArchive archive(file.c_str());
        SStation station;
        archive >> make_nvp("station", station);
        Check(station.m_oVersioning.GetVersion() <= 2);
        std::string text;
        archive& make_nvp("text", text);
    }
    catch (const CppUtil::Exception::CQlException& failure)
    {
        // Every failure names the file.
        Check(std::string(failure.what()).find(file) != std::string::npos);
    }
    return 0;
}
