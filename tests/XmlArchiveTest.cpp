// CXmlIArchive and CXmlVersioning against documents that Boost's own xml_oarchive wrote. The
// documents are kept in tests/xml-archive/ so that builds without Boost.Serialization (Win32) read
// the same files; where xml_oarchive is at hand, the first test checks that it still writes
// exactly what they hold (CPPUTIL_WRITE_XML_ARCHIVES=1 rewrites them instead).
#include "ScratchFolder.h"
#include "Thrown.h"

#include <cpputil/CppUtil.Settings.XmlIArchive.h>
#include <cpputil/CppUtil.Settings.XmlVersioning.h>

#include <gtest/gtest.h>

#if defined(CPPUTIL_HAVE_XML_OARCHIVE)
#include <boost/archive/xml_oarchive.hpp>
#include <boost/serialization/string.hpp>
#endif

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>

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

// The text of CXmlIArchive's failure to load the named value from the file, with "@" for the
// quoted name of the file.
template <class TValue>
std::string Failure(const std::string& file, const char* name, TValue&& value)
{
    std::string text =
        Thrown<CQlException>([&] { CXmlIArchive(file.c_str()) >> make_nvp(name, value); });
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
        const auto put = [&archive](const char* element, auto value)
        { archive << make_nvp(element, value); };
        if (name == "values.xml")
            put("name", std::string(k_szName)), put("count", -42), put("enabled", true),
                put("gain", 0.1), put("offset", 2.5f),
                put("grade", static_cast<unsigned char>(200)), put("mode", ModeRun),
                put("wide", 1LL << 40), put("huge", 1e300),
                put("nan", std::numeric_limits<double>::quiet_NaN());
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

#if defined(CPPUTIL_HAVE_XML_OARCHIVE)
TEST(XmlArchiveTest, KeptDocumentsAreWhatXmlOArchiveWrites)
{
    const bool rewrite = std::getenv("CPPUTIL_WRITE_XML_ARCHIVES") != nullptr;
    for (const char* name : {"values.xml", "station-v1.xml", "station-v2.xml", "station-v3.xml"})
    {
        if (rewrite)
            std::ofstream(Fixture(name), std::ios::binary) << Written(name);
        EXPECT_EQ(Written(name), ReadAll(Fixture(name))) << name;
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

    // The second nozzle's element has no class attributes: it takes the first one's version. An
    // older document loads with the defaults of what it lacks.
    const auto load = [](const char* file)
    {
        SStation station(2);
        CXmlIArchive(Fixture(file).c_str()) >> make_nvp("station", station);
        return std::make_tuple(
            station.m_oVersioning.GetVersion(), station.m_oVersioning.GetSupportedVersion(),
            station.m_sName, station.m_oFirst.m_iNumber, station.m_oFirst.m_fOffset,
            station.m_oSecond.m_iNumber, station.m_oSecond.m_fOffset, station.m_dGain);
    };
    EXPECT_EQ(std::make_tuple(2u, 2u, std::string("Station 2"), 1, 0.25f, 2, -0.5f, 2.75),
              load("station-v2.xml"));
    EXPECT_EQ(std::make_tuple(1u, 2u, std::string("Station 1"), 1, 0.25f, 2, -0.5f, 1.0),
              load("station-v1.xml"));

    SStation newer(2);
    EXPECT_EQ("The settings file @, element \"station/versioning\": the document has version 3, "
              "newer than version 2, the newest this program reads.",
              Failure(Fixture("station-v3.xml"), "station", newer));
    EXPECT_EQ("unnamed", newer.m_sName);
}

TEST(XmlArchiveTest, MissingElementsValuesThatDoNotFitAndBadFiles)
{
    const std::string values = Fixture("values.xml");
    const auto bad = [](const std::string& name, const std::string& text, const char* what) {
        return "The settings file @, element \"" + name + "\": \"" + text + "\" is not " + what +
               ".";
    };
    const char* const int32 = "a whole number from -2147483648 to 2147483647";
    EXPECT_EQ("The settings file @ has no element \"colour\".", Failure(values, "colour", 0));
    EXPECT_EQ(bad("name", k_szName, int32), Failure(values, "name", 0));
    EXPECT_EQ(bad("wide", "1099511627776", int32), Failure(values, "wide", 0));
    EXPECT_EQ(bad("grade", "200", "a whole number from -128 to 127"),
              Failure(values, "grade", static_cast<signed char>(0)));
    EXPECT_EQ(bad("count", "-42", "a whole number from 0 to 4294967295"),
              Failure(values, "count", 0u));
    EXPECT_EQ(bad("huge", "1.00000000000000005e+300", "a number within the range of a float"),
              Failure(values, "huge", 0.0f));
    EXPECT_EQ(bad("name", k_szName, "a truth value (0 or 1)"), Failure(values, "name", false));
    EXPECT_EQ("The settings file @, element \"station\": it holds elements, not a value.",
              Failure(Fixture("station-v2.xml"), "station", 0));

    const std::string station = ReadAll(Fixture("station-v2.xml"));
    const std::string root = station.substr(0, station.find("<station"));
    const auto edited = [&station](const std::string& from, const char* to)
    { return std::string(station).replace(station.find(from), from.size(), to); };
    std::string deep = root;
    for (int i = 0; i < 1000; ++i)
        deep += "<station>";
    const std::string notArchive =
        "The settings file @ is not a serialization archive: its root is "
        "not a boost_serialization element with signature "
        "\"serialization::archive\".";
    const std::pair<std::string, std::string> k_aDocuments[] = {
        {station.substr(0, station.find("<number>2")),
         "The settings file @ is not well-formed XML: unexpected end of data (line 14)."},
        {"<station><name>x</name></station>", notArchive},
        {"", notArchive},
        {edited("serialization::archive", "serialization::other"), notArchive},
        {deep, "The settings file @ nests elements more than 100 deep."},
        // Inside objects the path says where; a value where an object belongs lacks its elements.
        {edited("<number>2</number>", "<number>2x</number>"),
         "The settings file @, element \"station/second/number\": \"2x\" is not a whole number "
         "from -2147483648 to 2147483647."},
        {root + "<station>2</station></boost_serialization>",
         "The settings file @ has no element \"station/versioning\"."},
        {edited("version=\"1\"", "version=\"9\""),
         "The settings file @, element \"station/first\": its class version 9 is newer than 1, "
         "the newest this program reads."},
    };
    const CScratchFolder folder;
    const std::string file = folder / "station.xml";
    for (const auto& document : k_aDocuments)
    {
        std::ofstream(file, std::ios::binary) << document.first;
        EXPECT_EQ(document.second, Failure(file, "station", SStation(2))) << document.first;
    }
    // The whole document is read and checked when the archive is made.
    for (const std::string& name : {folder.Path().string(), folder / "missing.xml"})
        EXPECT_EQ("Cannot open the settings file \"" + name + "\".",
                  Thrown<CQlException>([&name] { CXmlIArchive archive(name.c_str()); }));
}
