// CXmlIArchive and CXmlVersioning against documents that Boost's own xml_oarchive wrote. The
// documents are kept in tests/xml-archive/ so that builds without Boost.Serialization (Win32) read
// the same files; where xml_oarchive is at hand, the first test checks that it still writes
// exactly what they hold (CPPUTIL_WRITE_XML_ARCHIVES=1 rewrites them instead).
#include "Thrown.h"

#include <cpputil/CppUtil.Exception.QlException.h>
#include <cpputil/CppUtil.Settings.XmlIArchive.h>
#include <cpputil/CppUtil.Settings.XmlVersioning.h>

#include <gtest/gtest.h>

#if defined(CPPUTIL_HAVE_XML_OARCHIVE)
#include <boost/archive/xml_oarchive.hpp>
#include <boost/serialization/string.hpp>
#endif

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>

using boost::serialization::make_nvp;
using CppUtil::Exception::CQlException;
using CppUtil::Settings::CXmlIArchive;
using CppUtil::Settings::CXmlVersioning;

namespace
{

struct SNozzle
{
    int m_iNumber = 0;
    float m_fOffset = 0.0f;

    template <class Archive>
    void serialize(Archive& archive, const unsigned int version)
    {
        archive& make_nvp("number", m_iNumber);
        if (version >= 1)
            archive& make_nvp("offset", m_fOffset);
    }
};

// Written with a class version newer than SNozzle's.
struct SFutureNozzle
{
    int m_iNumber = 7;

    template <class Archive>
    void serialize(Archive& archive, const unsigned int)
    {
        archive& make_nvp("number", m_iNumber);
    }
};

struct SStation
{
    CXmlVersioning m_oVersioning;
    std::string m_sName = "unnamed";
    SNozzle m_oFirst;
    SNozzle m_oSecond;
    double m_dGain = 1.0; // since version 2

    explicit SStation(unsigned int version) : m_oVersioning(version) {}

    template <class Archive>
    void serialize(Archive& archive, const unsigned int)
    {
        archive& make_nvp("versioning", m_oVersioning) & make_nvp("name", m_sName);
        archive& make_nvp("first", m_oFirst) & make_nvp("second", m_oSecond);
        if (m_oVersioning.GetVersion() >= 2)
            archive& make_nvp("gain", m_dGain);
    }
};

enum EMode
{
    ModeIdle,
    ModeRun = 3
};

const char* const k_szName = "Line <A&B> \"7\" 'x' \xC3\xA9";

std::string Fixture(const std::string& name)
{
    return std::string(CPPUTIL_XML_ARCHIVES) + "/" + name;
}

std::string Read(const std::string& file)
{
    std::ostringstream content;
    content << std::ifstream(file, std::ios::binary).rdbuf();
    return content.str();
}

// The text of CXmlIArchive's failure to open the file and load from it, with "@" for the quoted
// name of the file.
template <class TLoad>
std::string Failure(const std::string& file, const TLoad& load)
{
    std::string text = Thrown<CQlException>(
        [&]
        {
            CXmlIArchive archive(file.c_str());
            load(archive);
        });
    const std::size_t at = text.find("\"" + file + "\"");
    return at == std::string::npos ? text : text.replace(at, file.size() + 2, "@");
}

#if defined(CPPUTIL_HAVE_XML_OARCHIVE)
// What xml_oarchive writes for each kept document.
std::string Written(const std::string& name)
{
    std::ostringstream stream;
    {
        boost::archive::xml_oarchive archive(stream);
        if (name == "values.xml")
        {
            std::string text = k_szName, word = "abc";
            int count = -42;
            bool enabled = true;
            double gain = 0.1, huge = 1e300, nan = std::numeric_limits<double>::quiet_NaN();
            float offset = 2.5f;
            unsigned char grade = 200;
            EMode mode = ModeRun;
            long long wide = 1LL << 40;
            SFutureNozzle future;
            archive << make_nvp("name", text) << make_nvp("word", word) << make_nvp("count", count)
                    << make_nvp("enabled", enabled) << make_nvp("gain", gain)
                    << make_nvp("offset", offset) << make_nvp("grade", grade)
                    << make_nvp("mode", mode) << make_nvp("wide", wide) << make_nvp("huge", huge)
                    << make_nvp("nan", nan) << make_nvp("future", future);
        }
        else
        {
            SStation station(static_cast<unsigned int>(name[9] - '0'));
            station.m_sName = "Station " + name.substr(9, 1);
            station.m_oFirst = SNozzle{1, 0.25f};
            station.m_oSecond = SNozzle{2, -0.5f};
            station.m_dGain = 2.75;
            archive << make_nvp("station", station);
        }
    }
    return stream.str();
}
#endif

} // namespace

BOOST_CLASS_VERSION(SNozzle, 1)
BOOST_CLASS_VERSION(SFutureNozzle, 9)

#if defined(CPPUTIL_HAVE_XML_OARCHIVE)
TEST(XmlArchiveTest, KeptDocumentsAreWhatXmlOArchiveWrites)
{
    const bool rewrite = std::getenv("CPPUTIL_WRITE_XML_ARCHIVES") != nullptr;
    for (const char* name : {"values.xml", "station-v1.xml", "station-v2.xml", "station-v3.xml"})
    {
        if (rewrite)
            std::ofstream(Fixture(name), std::ios::binary) << Written(name);
        EXPECT_EQ(Written(name), Read(Fixture(name))) << name;
    }
}
#endif

TEST(XmlArchiveTest, LoadsValuesAndObjectsOlderWithDefaultsNewerRefused)
{
    CXmlIArchive values(Fixture("values.xml").c_str());
    CString name;
    std::tuple<int, bool, double, float, unsigned char, EMode, long long> got{};
    auto& [count, enabled, gain, offset, grade, mode, wide] = got;
    double nan = 0.0;
    // In another order than written: elements are found by name.
    values >> make_nvp("count", count) >> make_nvp("name", name) >> make_nvp("enabled", enabled);
    values& make_nvp("gain", gain) & make_nvp("offset", offset) & make_nvp("grade", grade);
    values >> make_nvp("nan", nan) >> make_nvp("wide", wide) >> make_nvp("mode", mode);
    EXPECT_EQ(CString(k_szName), name);
    EXPECT_EQ(std::make_tuple(-42, true, 0.1, 2.5f, 200, ModeRun, 1LL << 40), got);
    EXPECT_TRUE(std::isnan(nan));

    // The second nozzle's element has no class attributes: it takes the first one's version.
    SStation station(2);
    CXmlIArchive(Fixture("station-v2.xml").c_str()) >> make_nvp("station", station);
    EXPECT_EQ(std::make_tuple(2u, std::string("Station 2"), 1, 0.25f, 2, -0.5f, 2.75),
              std::make_tuple(station.m_oVersioning.GetVersion(), station.m_sName,
                              station.m_oFirst.m_iNumber, station.m_oFirst.m_fOffset,
                              station.m_oSecond.m_iNumber, station.m_oSecond.m_fOffset,
                              station.m_dGain));

    SStation older(2);
    CXmlIArchive(Fixture("station-v1.xml").c_str()) >> make_nvp("station", older);
    EXPECT_EQ(std::make_tuple(1u, 2u, std::string("Station 1"), 2, 1.0),
              std::make_tuple(older.m_oVersioning.GetVersion(),
                              older.m_oVersioning.GetSupportedVersion(), older.m_sName,
                              older.m_oSecond.m_iNumber, older.m_dGain));

    SStation newer(2);
    EXPECT_EQ("The settings file @, element \"station/versioning\": the document has version 3, "
              "newer than version 2, the newest this program reads.",
              Failure(Fixture("station-v3.xml"),
                      [&](CXmlIArchive& archive) { archive >> make_nvp("station", newer); }));
    EXPECT_EQ("unnamed", newer.m_sName);
}

TEST(XmlArchiveTest, MissingElementsValuesThatDoNotFitAndBadFiles)
{
    const auto load = [](const char* name, auto value)
    {
        return Failure(Fixture("values.xml"),
                       [&](CXmlIArchive& archive) { archive >> make_nvp(name, value); });
    };
    const auto bad = [](const std::string& name, const std::string& text, const char* what) {
        return "The settings file @, element \"" + name + "\": \"" + text + "\" is not " + what +
               ".";
    };
    const char* const int32 = "a whole number from -2147483648 to 2147483647";
    EXPECT_EQ("The settings file @ has no element \"colour\".", load("colour", 0));
    EXPECT_EQ(bad("word", "abc", int32), load("word", 0));
    EXPECT_EQ(bad("nan", "nan", int32), load("nan", 0));
    EXPECT_EQ(bad("wide", "1099511627776", int32), load("wide", 0));
    EXPECT_EQ(bad("grade", "200", "a whole number from -128 to 127"),
              load("grade", static_cast<signed char>(0)));
    EXPECT_EQ(bad("count", "-42", "a whole number from 0 to 4294967295"), load("count", 0u));
    EXPECT_EQ(bad("huge", "1.00000000000000005e+300", "a number within the range of a float"),
              load("huge", 0.0f));
    EXPECT_EQ(bad("name", k_szName, "a truth value (0 or 1)"), load("name", false));
    EXPECT_EQ("The settings file @, element \"future\": its class version 9 is newer than 1, the "
              "newest this program reads.",
              load("future", SNozzle()));

    const std::filesystem::path dir =
        std::filesystem::temp_directory_path() / "cpputil-xml-archive-test";
    std::filesystem::create_directories(dir);
    const auto failure = [&dir](const char* name, const std::string& content)
    {
        const std::string file = (dir / name).string();
        std::ofstream(file, std::ios::binary) << content;
        SStation station(2);
        return Failure(file,
                       [&](CXmlIArchive& archive) { archive >> make_nvp("station", station); });
    };
    const std::string station = Read(Fixture("station-v2.xml"));
    const std::string root = station.substr(0, station.find("<station"));
    std::string letters = station, deep = root;
    letters.replace(letters.find("<number>2</number>"), 18, "<number>2x</number>");
    for (int i = 0; i < 1000; ++i)
        deep += "<station>";

    EXPECT_EQ("The settings file @ is not well-formed XML: unexpected end of data (line 14).",
              failure("cut.xml", station.substr(0, station.find("<number>2"))));
    for (const char* content : {"<station><name>x</name></station>", ""})
        EXPECT_EQ("The settings file @ is not a serialization archive: its root is not a "
                  "boost_serialization element with signature \"serialization::archive\".",
                  failure("plain.xml", content));
    EXPECT_EQ("Cannot open the settings file @.", Failure(dir.string(), [](CXmlIArchive&) {}));
    EXPECT_EQ("The settings file @ nests elements more than 100 deep.", failure("deep.xml", deep));
    // Inside objects the path says where; a value where an object belongs lacks its elements.
    EXPECT_EQ("The settings file @, element \"station/second/number\": \"2x\" is not a whole "
              "number from -2147483648 to 2147483647.",
              failure("letters.xml", letters));
    EXPECT_EQ("The settings file @ has no element \"station/versioning\".",
              failure("flat.xml", root + "<station>2</station></boost_serialization>"));
    // With the folder gone, nothing is written either.
    std::filesystem::remove_all(dir);
    EXPECT_EQ("Cannot open the settings file @.", failure("cut.xml", ""));
}
